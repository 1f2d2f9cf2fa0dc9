#pragma once

#include "app/images/Picture.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

namespace velorin::app {

using nlohmann::json;

struct Ran {
    int status = -1;
    std::string out, error;
};

// Runs the real command in a folder of its own, which goes when the test ends.
class CommandTest : public testing::Test {
protected:
    void SetUp() override {
        std::string name = (std::filesystem::temp_directory_path() / "velorin_app_XXXXXX").string();
        ASSERT_TRUE(mkdtemp(name.data()));
        folder_ = name;
        unsetenv("VELORIN_TEST_FAULT");
        for (const char* below : {"user", "out"}) std::filesystem::create_directory(folder_ / below);
        setenv("VELORIN_USER_PATH", (folder_ / "user").c_str(), 1);
        setenv("VELORIN_LOG", (folder_ / "log.txt").c_str(), 1);
    }
    void TearDown() override { std::filesystem::remove_all(folder_); }

    [[nodiscard]] std::string Path(const std::string& name) const { return (folder_ / name).string(); }
    [[nodiscard]] bool Exists(const std::string& name) const {
        return std::filesystem::exists(folder_ / name);
    }
    void Write(const std::string& name, const std::string& text) const {
        std::ofstream(folder_ / name, std::ios::binary) << text;
    }
    [[nodiscard]] std::string Read(const std::string& name) const {
        std::ifstream in(folder_ / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    // What is in the folder "out".
    [[nodiscard]] std::set<std::string> Out() const {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder_ / "out"))
            names.insert(entry.path().filename().string());
        return names;
    }

    // A line of the shell, in the folder; $V is the command and $P the test plug-in.
    [[nodiscard]] Ran Shell(const std::string& line) const {
        const std::string script = "cd '" + folder_.string() +
                                   "'; V='" VELORIN_COMMAND "'; P='" VELORIN_TEST_PLUGIN "'; " + line +
                                   " >stdout.txt 2>stderr.txt";
        const int status = std::system(script.c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, Read("stdout.txt"), Read("stderr.txt")};
    }
    [[nodiscard]] Ran Velorin(const std::string& arguments) const { return Shell("$V " + arguments); }
    // With the test plug-in.
    [[nodiscard]] Ran Render(const std::string& arguments) const {
        return Shell("$V render --plugin $P " + arguments);
    }
    // Succeeds without a word of complaint; gives what it prints.
    std::string Good(const std::string& arguments) const {
        const Ran ran = Velorin(arguments);
        EXPECT_EQ(ran.status, 0) << arguments;
        EXPECT_EQ(ran.error, "") << arguments;
        return ran.out;
    }
    [[nodiscard]] json Json(const std::string& arguments) const {
        return json::parse(Good(arguments + " --json"), nullptr, false);
    }

    [[nodiscard]] Picture Pixels(const std::string& name) const {
        Picture picture;
        std::string reason;
        EXPECT_TRUE(ReadPicture(Path(name), picture, reason)) << name << ": " << reason;
        return picture;
    }
    // From 0 to 1.
    [[nodiscard]] static double Value(const Picture& picture, int x, int y, int channel) {
        const std::size_t at = static_cast<std::size_t>(4 * x + channel);
        if (picture.depth == 8) return std::to_integer<int>(picture.row(y)[at]) / 255.0;
        if (picture.depth == 16) return reinterpret_cast<const std::uint16_t*>(picture.row(y))[at] / 65535.0;
        return static_cast<double>(reinterpret_cast<const float*>(picture.row(y))[at]);
    }

    std::filesystem::path folder_;
};

// The real plug-in, where it is built; it stands beside the command.
inline std::string RealPlugin() {
    return (std::filesystem::path(VELORIN_COMMAND).parent_path() / "Velorin.aex").string();
}

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

// With a cube to show, alone or in a small project that draws quickly, and an extrusion with two bevels.
class PluginTest : public CommandTest {
protected:
    void SetUp() override {
        CommandTest::SetUp();
        if (!std::filesystem::exists(RealPlugin())) GTEST_SKIP() << "the plug-in is not built";
        Write("cube.obj", kCube);
        Write("cube.json", R"({"composition": {"width": 64, "height": 36, "duration": 1}, "effects": [{
          "parameters": {"1. Particle Size": 0.5}, "scene": {
            "materials": [{"name": "Plain", "type": "Standard Shader"}],
            "models": [{"name": "cube", "type": 2, "path": "cube.obj", "groups": [1], "bindings": [0],
                        "normalizeSize": true}]}}]})");
        Write("letter.json", R"({"effects": [{"scene": {"models": [{"name": "Letter", "type": 7,
          "bevelCopies": 1, "bevels": [{}, {"bevelSize": 2}], "storedPaths": [[{"position": [0, 0]},
          {"position": [100, 0]}, {"position": [50, 80]}]]}]}}]})");
    }
};

} // namespace velorin::app
