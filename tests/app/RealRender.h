#pragma once

#include "app/CommandRunner.h"
#include "app/images/Picture.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace velorin::app {

// A cube of two units with outward faces.
inline constexpr const char* kCube = R"(v -1 -1 -1
v 1 -1 -1
v 1 1 -1
v -1 1 -1
v -1 -1 1
v 1 -1 1
v 1 1 1
v -1 1 1
f 1 4 3 2
f 5 6 7 8
f 1 2 6 5
f 4 8 7 3
f 1 5 8 4
f 2 3 7 6
)";

class RealRender : public PluginTest {
protected:
    void SetUp() override {
        PluginTest::SetUp();
        Write("cube.obj", kCube);
    }
    // Pixels that are covered at all, and the box around them.
    struct Coverage {
        int count = 0, left = 1 << 20, top = 1 << 20, right = -1, bottom = -1;
    };
    [[nodiscard]] Coverage Covered(const std::string& name, Picture& picture) const {
        std::string reason;
        EXPECT_TRUE(ReadPicture(Path(name), picture, reason)) << name << ": " << reason;
        return CoverageOf(picture);
    }
    [[nodiscard]] static Coverage CoverageOf(const Picture& picture) {
        Coverage covered;
        for (int y = 0; y < picture.height; ++y)
            for (int x = 0; x < picture.width; ++x)
                if (Value(picture, x, y, 3) > 0.5) {
                    ++covered.count;
                    covered.left = std::min(covered.left, x), covered.right = std::max(covered.right, x);
                    covered.top = std::min(covered.top, y), covered.bottom = std::max(covered.bottom, y);
                }
        return covered;
    }
    [[nodiscard]] static double Value(const Picture& picture, int x, int y, int channel) {
        const std::size_t at = static_cast<std::size_t>(4 * x + channel);
        if (picture.depth == 8) return std::to_integer<int>(picture.row(y)[at]) / 255.0;
        if (picture.depth == 16) return reinterpret_cast<const std::uint16_t*>(picture.row(y))[at] / 65535.0;
        return static_cast<double>(reinterpret_cast<const float*>(picture.row(y))[at]);
    }
};

} // namespace velorin::app
