// What materials of the library are called is what one sees.
#include "app/CommandRunner.h"

#include "app/images/Picture.h"
#include "core/document/SceneMaterial.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <array>

namespace velorin::app {
namespace {

using nlohmann::json;

constexpr int kCell = 60; // pixels of a ball's place

class MaterialLook : public CommandTest {
protected:
    // The presets of the table as balls in a row, lit by the renderer's own studio, or in the dark before a
    // wall that glows green.
    void Draw(const std::vector<std::pair<const char*, const char*>>& presets, bool dark) {
        std::ifstream file(std::string(VELORIN_SOURCE_DIR) + "/tools/make_content/library.json");
        const json table = json::parse(file);
        json materials = json::array(), balls = json::array();
        const double middle = (static_cast<double>(presets.size()) - 1) / 2;
        for (const auto& [folder, name] : presets) {
            const double place = static_cast<double>(materials.size()) - middle;
            balls.push_back({{"name", name},
                             {"type", 6},
                             {"primitive", "Sphere"},
                             {"sphere", {{"segments", 16}}},
                             {"position", {place * 1.25, 0, 0}},
                             {"bindings", {materials.size()}}});
            for (const json& preset : table.at("materials").at(folder))
                if (preset.at("name") == name) materials.push_back(preset);
        }
        ASSERT_EQ(materials.size(), presets.size());
        const int width = kCell * static_cast<int>(presets.size());
        json models = {{{"name", "Balls"}, {"type", 8}, {"groups", {1}}, {"children", balls}}};
        if (dark) {
            models.push_back({{"name", "Wall"},
                              {"type", 6},
                              {"primitive", "Plane"},
                              {"plane", {{"size", {20, 4}}}},
                              {"groups", {2}},
                              {"bindings", {materials.size()}}});
            materials.push_back({{"name", "Wall"},
                                 {"type", "Standard Shader"},
                                 {"diffuse", 0},
                                 {"specular", 0},
                                 {"illuminationIntensity", 1},
                                 {"illuminationColor", {0, 200, 0, 255}}});
        }
        const json project = {
            {"velorin", 1},
            {"composition", {{"width", width}, {"height", kCell}}},
            {"camera",
             {{"position", {width / 2, kCell / 2, -3000}},
              {"pointOfInterest", {width / 2, kCell / 2, 0}},
              {"zoom", 3000}}},
            {"lights", {{{"name", "Key"}, {"type", "parallel"}, {"intensity", dark ? 0 : 40}}}},
            {"effects",
             {{{"parameters",
                {{"1. Particle Size", 1.85},
                 {"2. Position Z", 200},
                 {"Physical Environment/Exposure", dark ? 0 : 1}}},
               {"scene", {{"environment", {{"path", ""}}}, {"materials", materials}, {"models", models}}}}}}};
        Write("look.json", project.dump());
        const Ran ran = Velorin("render look.json -o look.png --quiet");
        ASSERT_EQ(ran.status, 0) << ran.error;
        std::string reason;
        ASSERT_TRUE(ReadPicture(Path("look.png"), picture_, reason)) << reason;
    }
    // Mean colour of the middle of a ball.
    [[nodiscard]] std::array<double, 3> Ball(int index) const {
        std::array<double, 3> sum{};
        for (int y = kCell / 2 - 12; y < kCell / 2 + 12; ++y)
            for (int x = index * kCell + kCell / 2 - 12; x < index * kCell + kCell / 2 + 12; ++x)
                for (std::size_t c = 0; c < 3; ++c)
                    sum[c] +=
                        std::to_integer<int>(picture_.row(y)[4 * static_cast<std::size_t>(x) + c]) / 576.0;
        return sum;
    }

    Picture picture_;
};

TEST_F(MaterialLook, InTheStudio) {
    ASSERT_NO_FATAL_FAILURE(Draw({{"Metals", "Gold"},
                                  {"Metals", "Silver"},
                                  {"Metals", "Copper"},
                                  {"Plastics", "Glossy White"},
                                  {"Plastics", "Glossy Black"}},
                                 false));
    const auto gold = Ball(0), silver = Ball(1), copper = Ball(2), white = Ball(3), black = Ball(4);
    EXPECT_GT(gold[0], 1.5 * gold[2]);
    EXPECT_GT(gold[1], 1.25 * gold[2]); // yellow, not red
    EXPECT_NEAR(silver[0] / silver[2], 1, 0.12);
    EXPECT_GT(copper[0], 1.25 * copper[1]); // redder than gold
    EXPECT_GT(white[1], 3 * black[1]);
}

TEST_F(MaterialLook, InTheDark) {
    ASSERT_NO_FATAL_FAILURE(Draw({{"Metals", "Gold"},
                                  {"Light", "Neon Pink"},
                                  {"Glass", "Clear Glass"},
                                  {"Technical", "X-Ray"},
                                  {"Ceramic and Stone", "Porcelain"}},
                                 true));
    const auto gold = Ball(0), neon = Ball(1), glass = Ball(2), ray = Ball(3), porcelain = Ball(4);
    EXPECT_LT(gold[0] + gold[1] + gold[2], 12); // nothing to mirror, and not a trace of the wall
    EXPECT_LT(porcelain[1], 6);
    EXPECT_GT(neon[0], 200);
    EXPECT_GT(neon[0], 2 * neon[1]);
    EXPECT_GT(glass[1], 60); // the wall shines through
    EXPECT_GT(glass[1], 4 * glass[0]);
    EXPECT_GT(ray[1], 150);
}

// A sheet that renews puts a picture into a preset that has none and changes nothing else.
TEST_F(MaterialLook, InThePreset) {
    SceneMaterial red;
    red.name = "Red";
    red.pbrDiffuseColor = {210, 12, 12, 255};
    red.pbrGlossiness = 0.3f;
    ASSERT_TRUE(red.WritePreset(Path("Red.qmt"), {}));
    const Ran ran = Velorin("sheet . -o sheet.png --tile 64x64 --renew");
    ASSERT_EQ(ran.status, 0) << ran.error;
    SceneMaterial found;
    ASSERT_TRUE(found.ReadPreset(Path("Red.qmt")));
    EXPECT_EQ(found.name, "Red");
    EXPECT_TRUE(static_cast<const MaterialSettings&>(found) == red);
    ASSERT_EQ(found.thumbnail.size(), std::size_t{4} * kThumbnailWidth * kThumbnailHeight);
    const std::uint8_t* middle =
        &found.thumbnail[4 * (kThumbnailHeight / 2 * kThumbnailWidth + kThumbnailWidth / 2)];
    EXPECT_GT(middle[0], 3 * middle[1]);
    EXPECT_EQ(middle[3], 255);
    EXPECT_EQ(found.thumbnail[3], 0); // nothing around the ball
}

} // namespace
} // namespace velorin::app
