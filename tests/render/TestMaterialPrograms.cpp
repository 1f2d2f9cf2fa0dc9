#include "render/DriverMessages.h"
#include "render/MaterialHarness.h"

#include "platform/Environment.h"
#include "render/gl/Shaders.h"

#include <GL/glew.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <unistd.h>

namespace velorin {
namespace {

using test::MaterialHarness;
using test::RendererTest;

class MaterialPrograms : public RendererTest {};

std::vector<ShaderKey> AllKeys() {
    std::vector<ShaderKey> keys;
    for (int pass = 1; pass <= kMaterialPasses; ++pass)
        for (const bool wireframe : {false, true})
            for (const bool physical : {false, true})
                keys.push_back({static_cast<MaterialPass>(pass), wireframe, physical});
    return keys;
}

TEST_F(MaterialPrograms, EveryKeyLinksOnce) {
    RenderStatistics statistics;
    RenderManager manager(statistics);
    std::map<std::uint8_t, gl::Name> programs;
    for (const ShaderKey key : AllKeys()) {
        const gl::Name program = manager.GetProgram(key);
        EXPECT_NE(program, 0u) << int{key.bits()};
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR)) << int{key.bits()};
        programs[key.bits()] = program;
        for (std::size_t i = 0; i < kUniformBlockTable.size(); ++i) { // as large as our structures
            const GLuint block = glGetUniformBlockIndex(program, kUniformBlockTable[i].name);
            if (block == GL_INVALID_INDEX) continue;
            GLint size = 0, binding = -1;
            glGetActiveUniformBlockiv(program, block, GL_UNIFORM_BLOCK_DATA_SIZE, &size);
            glGetActiveUniformBlockiv(program, block, GL_UNIFORM_BLOCK_BINDING, &binding);
            EXPECT_EQ(static_cast<std::size_t>(size), kUniformBlockTable[i].size) << i;
            EXPECT_EQ(static_cast<std::size_t>(binding), i);
        }
    }
    EXPECT_EQ(programs.size(), 88u);
    EXPECT_EQ(programs.count(128 + 64 + 22), 1u); // Shading, Physical, with lines
    for (const ShaderKey key : AllKeys()) EXPECT_EQ(manager.GetProgram(key), programs[key.bits()]);
    EXPECT_EQ(statistics.programsCompiled, 88u);
    for (const int bits : {0, 23, 63, 64, 128, 192, 255}) // no such pass
        EXPECT_TRUE(FragmentPieces(ShaderKey::FromBits(static_cast<std::uint8_t>(bits))).empty()) << bits;
}

TEST_F(MaterialPrograms, ProgramChangesOnlyWithItsKey) {
    RenderStatistics statistics;
    RenderManager manager(statistics);
    const auto bound = [] {
        GLint program = 0;
        glGetIntegerv(GL_CURRENT_PROGRAM, &program);
        return static_cast<gl::Name>(program);
    };
    EXPECT_FALSE(manager.ApplyShaderState()); // no pass
    EXPECT_EQ(bound(), 0u);
    manager.SetPass(MaterialPass::Unlit);
    ASSERT_TRUE(manager.ApplyShaderState());
    const gl::Name plain = bound();
    EXPECT_EQ(plain, manager.GetProgram({MaterialPass::Unlit, false, false}));
    // Wireframe of the whole picture counts for a material that has none.
    manager.state().renderState.globalWireframe = 1;
    ASSERT_TRUE(manager.ApplyShaderState());
    EXPECT_EQ(bound(), manager.GetProgram({MaterialPass::Unlit, true, false}));
    EXPECT_NE(bound(), plain);
    manager.state().renderState.globalWireframe = 0;
    manager.SetMaterialKind(true, false);
    ASSERT_TRUE(manager.ApplyShaderState());
    EXPECT_EQ(bound(), manager.GetProgram({MaterialPass::Unlit, false, true}));
    // Another owner's program is replaced after SetPass.
    glUseProgram(0);
    manager.SetPass(MaterialPass::Unlit);
    ASSERT_TRUE(manager.ApplyShaderState());
    EXPECT_NE(bound(), 0u);
    manager.SetPass(MaterialPass::None);
    EXPECT_FALSE(manager.ApplyShaderState());
    EXPECT_EQ(bound(), 0u);
}

// Texts from a folder take the place of the embedded ones; a faulty one is told of once and draws nothing.
TEST_F(MaterialPrograms, FaultyTextIsReportedOnce) {
    namespace fs = std::filesystem;
    const fs::path folder = fs::temp_directory_path() / ("velorin_shaders_" + std::to_string(::getpid()));
    fs::create_directories(folder);
    fs::copy(fs::path(VELORIN_SOURCE_DIR) / "src/render/shaders", folder, fs::copy_options::recursive);
    std::ofstream(folder / "material_main_unlit.glsl") << "void main() { nonsense }\n";
    SetEnvironmentVariable("VELORIN_SHADERS", folder.string());
    RenderStatistics statistics;
    RenderManager manager(statistics);
    manager.SetPass(MaterialPass::Unlit);
    testing::internal::CaptureStderr();
    EXPECT_FALSE(manager.ApplyShaderState());
    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_NE(told.find("Shader Log"), std::string::npos) << told;
    EXPECT_NE(told.find("material_main_unlit"), std::string::npos) << told;
    testing::internal::CaptureStderr();
    EXPECT_FALSE(manager.ApplyShaderState());
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    manager.SetPass(MaterialPass::Normals); // the others still work
    EXPECT_TRUE(manager.ApplyShaderState());
    SetEnvironmentVariable("VELORIN_SHADERS", std::nullopt);
    fs::remove_all(folder);
    test::ForgiveDriverMessages();
    glUseProgram(0);
}

} // namespace
} // namespace velorin
