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
    }
    EXPECT_EQ(programs.size(), 88u);
    EXPECT_EQ(programs.count(128 + 64 + 22), 1u); // Shading, Physical, with lines
    for (const ShaderKey key : AllKeys()) EXPECT_EQ(manager.GetProgram(key), programs[key.bits()]);
    EXPECT_EQ(statistics.programsCompiled, 88u);
    for (const int bits : {0, 23, 63, 64, 128, 192, 255}) // no such pass
        EXPECT_TRUE(FragmentPieces(ShaderKey::FromBits(static_cast<std::uint8_t>(bits))).empty()) << bits;
}

// Names of uniforms and where our structures have them: the last one that is read of each structure, which is
// out of place when any before it is.
struct Member {
    UniformBlock block;
    std::string name;
    std::size_t offset;
};
#define FIELD(type, member) #member, offsetof(type, member)
#define PART(type, member, Part, last) #member "." #last, offsetof(type, member) + offsetof(Part, last)

std::vector<Member> Members() {
    using enum UniformBlock;
    using L = LightBlock;
    using R = RenderPropertiesBlock;
    using S = ShaderStateBlock;
    using P = ModelPropertiesBlock;
    using M = MaterialPropertiesBlock;
    return {{TransformMatrices, FIELD(TransformBlock, viewMatrix)},
            {TransformMatrices, FIELD(TransformBlock, eyePosition)},
            {TransformMatrices, FIELD(TransformBlock, viewportOffset)},
            {Lights, FIELD(LightsBlock, ambientLights)},
            {Lights, "lights[0].shadowBias", 16 + offsetof(L, shadowBias)},
            {Lights, "lights[7].projectionMatrix", 16 + 7 * 208 + offsetof(L, projectionMatrix)},
            {RenderProperties, PART(R, fog, FogBlock, falloff)},
            {RenderProperties, PART(R, shadow, ShadowBlock, softBlurDepthBias)},
            {RenderProperties, PART(R, subSurface, SubSurfaceBlock, sssBias)},
            {RenderProperties, PART(R, ao, OcclusionBlock, color)},
            {RenderProperties, PART(R, matteShadow, MatteShadowBlock, shadowTint)},
            {RenderProperties, PART(R, mixer, MixerBlock, shadows)},
            {RenderProperties, PART(R, outputProperties, OutputBlock, specularCompression)},
            {RenderProperties, PART(R, environmentChannel, ChannelBlock, levelOutput)},
            {RenderProperties, FIELD(R, environmentMatrix)},
            {RenderProperties, FIELD(R, lineWidthMultiplicator)},
            {ShaderState, PART(S, renderState, RenderStateBlock, flipNormals)},
            {ShaderState, FIELD(S, frameBufferSize)},
            {ShaderState, FIELD(S, modelColor)},
            {ShaderState, FIELD(S, dynamicPlaneMatrix)},
            {ShaderState, "cubeViewMatrix[0]", offsetof(S, cubeViewMatrix)},
            {ModelProperties, PART(P, dynamicReflection, DynamicReflectionBlock, reflectDirection)},
            {ModelProperties, FIELD(P, flipNormal)},
            {MaterialProperties, FIELD(M, refractDistortion)},
            {MaterialProperties, FIELD(M, energyConservation)},
            {MaterialProperties, PART(M, subSurface, SubSurfaceMaterialBlock, color)},
            {MaterialProperties, PART(M, normal, NormalBlock, invert)},
            {MaterialProperties, PART(M, wireframe, WireframeBlock, color)},
            {MaterialProperties, PART(M, diffuseChannel, ChannelBlock, gamma)},
            {MaterialProperties, PART(M, normalChannel, ChannelBlock, uvRepeat)},
            {MaterialProperties, PART(M, reflectChannel, ChannelBlock, levelOutput)}};
}

// A program tells only of members that it reads; each must be read by one of them.
TEST_F(MaterialPrograms, BlocksLieAsOurStructures) {
    RenderStatistics statistics;
    RenderManager manager(statistics);
    std::vector<gl::Name> programs;
    for (const ShaderKey key : {ShaderKey{MaterialPass::Image, true, false},
                                {MaterialPass::Image, false, true},
                                {MaterialPass::PointShadow, true, false},
                                {MaterialPass::ZDepth, false, false},
                                {MaterialPass::Focus, false, false}})
        programs.push_back(manager.GetProgram(key));
    for (const Member& member : Members()) {
        const UniformBlockInfo& info = kUniformBlockTable[static_cast<std::size_t>(member.block)];
        const bool named = member.block == UniformBlock::RenderProperties ||
                           member.block == UniformBlock::ModelProperties ||
                           member.block == UniformBlock::MaterialProperties;
        const std::string name = named ? std::string(info.name) + "." + member.name : member.name;
        SCOPED_TRACE(name);
        int found = 0;
        for (const gl::Name program : programs) {
            const GLuint index = glGetUniformBlockIndex(program, info.name);
            if (index == GL_INVALID_INDEX) continue;
            GLint value = 0;
            glGetActiveUniformBlockiv(program, index, GL_UNIFORM_BLOCK_DATA_SIZE, &value);
            EXPECT_EQ(static_cast<std::size_t>(value), info.size);
            glGetActiveUniformBlockiv(program, index, GL_UNIFORM_BLOCK_BINDING, &value);
            EXPECT_EQ(value, static_cast<GLint>(member.block));
            const char* text = name.c_str();
            GLuint uniform = GL_INVALID_INDEX;
            glGetUniformIndices(program, 1, &text, &uniform);
            if (uniform == GL_INVALID_INDEX) continue;
            glGetActiveUniformsiv(program, 1, &uniform, GL_UNIFORM_OFFSET, &value);
            EXPECT_EQ(static_cast<std::size_t>(value), member.offset);
            ++found;
        }
        EXPECT_GT(found, 0);
    }
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
