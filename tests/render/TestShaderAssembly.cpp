#include "render/ShaderAssembly.h"

#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <string>

namespace velorin {
namespace {

struct PassExpectation {
    int pass;
    const char* modules; // by number, in link order
    const char *main, *physicalMain;
};

constexpr const char* kParts = "0 1 5 11 4 3 9 7 8 2 6 10";

const PassExpectation kPasses[] = {
    {1, "0 1 5 11 4 3 2 9 7 8 6 10 12", "image_standard", "image_physical"},
    {2, "0", "unlit", "unlit"},
    {3, "0 5 2", "property", "property"},
    {4, "0 5 2", "glow_property", "glow_property"},
    {5, "0", "shadow", "shadow"},
    {6, "0", "shadow", "shadow"},
    {7, "0 5 2 9 7 6 10", "ambient_occlusion", "ambient_occlusion"},
    {8, "0 5 9 7", "shadows", "shadows"},
    {9, kParts, "physical_parts", "physical_parts"},
    {10, "0 5 9 7 2 6 10", "diffuse", "physical_parts"},
    {11, "0 1 5 9 7 2 6 10", "specular", "physical_parts"},
    {12, "0 5", "normals", "normals"},
    {13, "0", "z_depth", "z_depth"},
    {14, kParts, "dynamic_reflection", "dynamic_reflection"},
    {15, "0 11 1 5 4 3 9 7 8", "reflection", "physical_parts"},
    {16, "0 11 1 5 4 3 9 7 8", "reflection", "physical_parts"},
    {17, "0 5 1 11 4 3 9 7 8 2", "illumination_standard", "illumination_physical"},
    {18, "0 1 5 4 3 9 7 2", "lighting", "lighting"},
    {19, "0 1 5 4 3 9 7", "sub_surface", "sub_surface"},
    {20, "0", "focus", "focus"},
    {21, "0", "world_position", "world_position"},
    {22, "0 5 2 9 7 6 10", "shading", "shading"},
};

// By module number.
const char* const kModuleNames[] = {
    "diffuse", "specular", "emissive", "reflect",   "environment",       "normal",    "fog",
    "lights",  "physical", "shadows",  "occlusion", "occlusion_texture", "clip_plane"};

std::vector<std::string> FilesOf(const std::vector<ShaderPiece>& pieces) {
    std::vector<std::string> files;
    for (const ShaderPiece& piece : pieces) files.emplace_back(piece.file);
    return files;
}

std::vector<std::string> ExpectedFiles(const std::string& modules, const std::string& main, bool lines) {
    std::vector<std::string> files{"material_state_glsl", "material_blocks_glsl", "material_common_glsl",
                                   lines ? "material_wireframe_glsl" : "material_wireframe_none_glsl"};
    std::istringstream numbers(modules);
    for (std::size_t number; numbers >> number;)
        files.push_back(std::string("material_module_") + kModuleNames[number] + "_glsl");
    if (main.starts_with("image_")) files.emplace_back("material_finish_image_glsl");
    files.push_back("material_main_" + main + "_glsl");
    return files;
}

TEST(ShaderAssembly, EveryKeyTakesItsPieces) {
    for (const PassExpectation& pass : kPasses) {
        for (const bool wireframe : {false, true}) {
            for (const bool physical : {false, true}) {
                SCOPED_TRACE(testing::Message() << pass.pass << ' ' << wireframe << ' ' << physical);
                const ShaderKey key{static_cast<MaterialPass>(pass.pass), wireframe, physical};
                const std::string main = physical ? pass.physicalMain : pass.main;
                const char* modules = main == "physical_parts" ? kParts : pass.modules;
                // The cube stage has no edges to give.
                const bool lines = wireframe && pass.pass != 6;
                EXPECT_EQ(FilesOf(FragmentPieces(key)), ExpectedFiles(modules, main, lines));
                const GeometryStage stage = !wireframe       ? GeometryStage::None
                                            : pass.pass == 6 ? GeometryStage::Cube
                                                             : GeometryStage::Triangles;
                EXPECT_EQ(GeometryOf(key), stage);
            }
        }
    }
}

TEST(ShaderAssembly, NothingForWhatIsNoPass) {
    for (const int bits : {0, 23, 63, 64, 128, 192, 255})
        EXPECT_TRUE(FragmentPieces(ShaderKey::FromBits(static_cast<std::uint8_t>(bits))).empty()) << bits;
}

TEST(ShaderAssembly, KeyBits) {
    EXPECT_EQ((ShaderKey{MaterialPass::Image, false, false}.bits()), 1);
    EXPECT_EQ((ShaderKey{MaterialPass::Diffuse, true, false}.bits()), 64 + 10);
    EXPECT_EQ((ShaderKey{MaterialPass::Shading, true, true}.bits()), 128 + 64 + 22);
    std::set<std::uint8_t> seen;
    for (int pass = 1; pass <= kMaterialPasses; ++pass)
        for (const int flags : {0, 64, 128, 192}) {
            const auto bits = static_cast<std::uint8_t>(pass | flags);
            EXPECT_EQ(ShaderKey::FromBits(bits).bits(), bits);
            seen.insert(ShaderKey::FromBits(bits).bits());
        }
    EXPECT_EQ(seen.size(), 88u);
}

TEST(ShaderAssembly, PartsKeepTheirOwnShare) {
    struct Row {
        MaterialPass pass;
        std::array<float, 4> pbr;      // diffuse, refraction, reflection, specular
        std::array<float, 2> standard; // reflection, refraction
    };
    const Row rows[] = {{MaterialPass::Diffuse, {1, 0, 0, 0}, {1, 1}},
                        {MaterialPass::Specular, {0, 0, 0, 1}, {1, 1}},
                        {MaterialPass::Reflection, {0, 0, 1, 0}, {1, 0}},
                        {MaterialPass::Refraction, {0, 1, 0, 0}, {0, 1}}};
    std::array<float, 4> sum{};
    for (const Row& row : rows) {
        const PartCoefficients c = PhysicalCoefficients({row.pass, false, true});
        const std::array<float, 4> values{c.diffuse, c.refraction, c.reflection, c.specular};
        EXPECT_EQ(values, row.pbr);
        for (std::size_t i = 0; i < 4; ++i) sum[i] += values[i];
        EXPECT_EQ(AssembledPass({row.pass, false, true}), MaterialPass::PhysicalParts);
        EXPECT_EQ(AssembledPass({row.pass, true, false}), row.pass);
        const ReflectionCoefficients s = StandardCoefficients({row.pass, false, false});
        EXPECT_EQ(s.reflection, row.standard[0]);
        EXPECT_EQ(s.refraction, row.standard[1]);
    }
    EXPECT_EQ(sum, (std::array<float, 4>{1, 1, 1, 1})); // together they are the whole
}

TEST(ShaderAssembly, TextsAreWellFormed) {
    for (int pass = 1; pass <= kMaterialPasses; ++pass) {
        const auto pieces = FragmentPieces({static_cast<MaterialPass>(pass), true, true});
        ASSERT_FALSE(pieces.empty());
        EXPECT_TRUE(pieces.front().text.starts_with("#version 150 core\n"));
        int mains = 0;
        std::set<std::string_view> files;
        for (const ShaderPiece& piece : pieces) {
            EXPECT_TRUE(files.insert(piece.file).second) << piece.file << " twice in pass " << pass;
            EXPECT_EQ(piece.text.back(), '\n') << piece.file;
            if (piece.text.find("void main()") != std::string_view::npos) ++mains;
        }
        EXPECT_EQ(mains, 1) << pass;
    }
}

} // namespace
} // namespace velorin
