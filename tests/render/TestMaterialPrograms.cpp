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

// Names of uniforms and where our structures have them.
using Members = std::vector<std::pair<std::string, int>>;
#define AT(type, member) static_cast<int>(offsetof(type, member))
#define M(type, member)                                                                                      \
    { #member, AT(type, member) }

// The members of a structure at `base`, by their names in the shaders.
Members In(const std::string& prefix, int base, Members members) {
    for (auto& [name, offset] : members) name = prefix + name, offset += base;
    return members;
}

Members Together(std::initializer_list<Members> lists) {
    Members all;
    for (const Members& list : lists) all.insert(all.end(), list.begin(), list.end());
    return all;
}

// Where the driver puts the members of a block in those programs that have it. A program tells only of
// members that it reads; each must be read by one of them.
void ExpectLayout(const std::vector<gl::Name>& programs, UniformBlock number, const Members& members) {
    const UniformBlockInfo& info = kUniformBlockTable[static_cast<std::size_t>(number)];
    SCOPED_TRACE(info.name);
    std::map<std::string, int> told;
    for (const gl::Name program : programs) {
        const GLuint index = glGetUniformBlockIndex(program, info.name);
        if (index == GL_INVALID_INDEX) continue;
        GLint value = 0;
        glGetActiveUniformBlockiv(program, index, GL_UNIFORM_BLOCK_DATA_SIZE, &value);
        EXPECT_EQ(static_cast<std::size_t>(value), info.size);
        glGetActiveUniformBlockiv(program, index, GL_UNIFORM_BLOCK_BINDING, &value);
        EXPECT_EQ(value, static_cast<GLint>(number));
        for (const auto& [name, offset] : members) {
            const char* text = name.c_str();
            GLuint uniform = GL_INVALID_INDEX;
            glGetUniformIndices(program, 1, &text, &uniform);
            if (uniform != GL_INVALID_INDEX)
                glGetActiveUniformsiv(program, 1, &uniform, GL_UNIFORM_OFFSET, &told[name]);
        }
    }
    EXPECT_EQ(told, (std::map<std::string, int>(members.begin(), members.end())));
}

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

    using T = TransformBlock;
    ExpectLayout(programs, UniformBlock::TransformMatrices,
                 {M(T, viewMatrix), M(T, projectionMatrix), M(T, eyePosition), M(T, viewportScale),
                  M(T, viewportOffset)});
    using L = LightBlock;
    const Members light{M(L, position),        M(L, direction), M(L, diffuse),    M(L, cosCone),
                        M(L, feather),         M(L, falloff),   M(L, type),       M(L, shadowId),
                        M(L, diffusion),       M(L, darkness),  M(L, shadowBias), M(L, shadowMatrix),
                        M(L, projectionMatrix)};
    ExpectLayout(programs, UniformBlock::Lights,
                 Together({{M(LightsBlock, numLights), M(LightsBlock, ambientLights)},
                           In("lights[0].", 16, light),
                           In("lights[7].", 16 + 7 * 208, light)}));
    using R = RenderPropertiesBlock;
    const auto render = [](const char* structure, int base, const Members& members) {
        return In(std::string("RenderProperties.") + structure, base, members);
    };
    ExpectLayout(
        programs, UniformBlock::RenderProperties,
        Together(
            {render("fog.", AT(R, fog), {M(FogBlock, color), M(FogBlock, falloff)}),
             render("shadow.", AT(R, shadow),
                    {M(ShadowBlock, enabled), M(ShadowBlock, reflectionInfluence),
                     M(ShadowBlock, smoothSample), M(ShadowBlock, invMapSize),
                     M(ShadowBlock, softBlurDepthBias)}),
             render("subSurface.", AT(R, subSurface),
                    {M(SubSurfaceBlock, enabled), M(SubSurfaceBlock, sssBias)}),
             render("ao.", AT(R, ao), {M(OcclusionBlock, contrast), M(OcclusionBlock, color)}),
             render("matteShadow.", AT(R, matteShadow), {M(MatteShadowBlock, shadowTint)}),
             render("mixer.", AT(R, mixer), {M(MixerBlock, ambient), M(MixerBlock, shadows)}),
             render("outputProperties.", AT(R, outputProperties),
                    {M(OutputBlock, depthMin), M(OutputBlock, depthClamp), M(OutputBlock, dofViewMatrix),
                     M(OutputBlock, dofProjectionMatrix), M(OutputBlock, dofSpacing),
                     M(OutputBlock, wireframeOnly), M(OutputBlock, specularCompression)}),
             render("environmentChannel.", AT(R, environmentChannel),
                    {M(ChannelBlock, gamma), M(ChannelBlock, levelOutput)}),
             render("", 0,
                    {M(R, environmentMatrix), M(R, environmentTint), M(R, environmentExposure),
                     M(R, environmentGamma), M(R, globalWireframeWidth), M(R, lineWidthMultiplicator)})}));
    using S = ShaderStateBlock;
    using State = RenderStateBlock;
    ExpectLayout(programs, UniformBlock::ShaderState,
                 Together({In("renderState.", 0,
                              {M(State, dynamicReflection), M(State, clipPlane), M(State, globalEnvironment),
                               M(State, globalWireframe), M(State, flipNormals)}),
                           {M(S, frameBufferSize),
                            M(S, modelUvOffset),
                            M(S, viewportSize),
                            M(S, modelColor),
                            M(S, modelMatrix),
                            M(S, baseModelMatrix),
                            M(S, normalMatrix),
                            M(S, dynamicPlaneMatrix),
                            M(S, clipPlane),
                            {"cubeViewMatrix[0]", AT(S, cubeViewMatrix)}}}));
    using P = ModelPropertiesBlock;
    using D = DynamicReflectionBlock;
    ExpectLayout(programs, UniformBlock::ModelProperties,
                 Together({In("ModelProperties.", 0, {M(P, modelFlip), M(P, uvOffset), M(P, flipNormal)}),
                           In("ModelProperties.dynamicReflection.", AT(P, dynamicReflection),
                              {M(D, disableEnvironment), M(D, offset), M(D, reflectDirection)})}));
    using B = MaterialPropertiesBlock;
    const auto material = [](const char* structure, int base, const Members& members) {
        return In(std::string("MaterialProperties.") + structure, base, members);
    };
    ExpectLayout(
        programs, UniformBlock::MaterialProperties,
        Together(
            {material("", 0,
                      {M(B, specularColor), M(B, refractColor), M(B, diffuseAmount), M(B, specularSize),
                       M(B, flatShading), M(B, environmentMultiplier), M(B, twoSided),
                       M(B, refractDistortion), M(B, reflectBias), M(B, refractMode), M(B, emissiveDiffuse),
                       M(B, ambientOcclusionAmount), M(B, environmentDirection), M(B, alphaThreshold),
                       M(B, receiveShadow), M(B, ignoreIbl), M(B, energyConservation)}),
             material("subSurface.", AT(B, subSurface),
                      {M(SubSurfaceMaterialBlock, penetrationExponent), M(SubSurfaceMaterialBlock, color)}),
             material("normal.", AT(B, normal), {M(NormalBlock, swapXY), M(NormalBlock, invert)}),
             material("wireframe.", AT(B, wireframe),
                      {M(WireframeBlock, transferMode), M(WireframeBlock, color)}),
             material("diffuseChannel.", AT(B, diffuseChannel), {M(ChannelBlock, gamma)}),
             material("normalChannel.", AT(B, normalChannel), {M(ChannelBlock, uvRepeat)}),
             material("reflectChannel.", AT(B, reflectChannel), {M(ChannelBlock, levelOutput)})}));
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
