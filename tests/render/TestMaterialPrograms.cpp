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
        GLint valid = 0;
        glValidateProgram(program);
        glGetProgramiv(program, GL_LINK_STATUS, &valid);
        EXPECT_EQ(valid, GL_TRUE);
    }
    EXPECT_EQ(statistics.programsCompiled, 88u);
    for (const ShaderKey key : AllKeys()) EXPECT_EQ(manager.GetProgram(key), programs[key.bits()]);
    EXPECT_EQ(statistics.programsCompiled, 88u);
}

struct Member {
    const char* name;
    int offset;
};

// Where the driver puts the members of a block, beside where our structures have them.
void ExpectLayout(gl::Name program, const char* block, std::size_t size, const std::vector<Member>& members,
                  int binding) {
    SCOPED_TRACE(block);
    const GLuint index = glGetUniformBlockIndex(program, block);
    ASSERT_NE(index, GL_INVALID_INDEX);
    GLint value = 0;
    glGetActiveUniformBlockiv(program, index, GL_UNIFORM_BLOCK_DATA_SIZE, &value);
    EXPECT_EQ(static_cast<std::size_t>(value), size);
    glGetActiveUniformBlockiv(program, index, GL_UNIFORM_BLOCK_BINDING, &value);
    EXPECT_EQ(value, binding);
    for (const Member& member : members) {
        GLuint uniform = GL_INVALID_INDEX;
        glGetUniformIndices(program, 1, &member.name, &uniform);
        ASSERT_NE(uniform, GL_INVALID_INDEX) << member.name;
        GLint offset = -1;
        glGetActiveUniformsiv(program, 1, &uniform, GL_UNIFORM_OFFSET, &offset);
        EXPECT_EQ(offset, member.offset) << member.name;
    }
}

#define AT(type, member) static_cast<int>(offsetof(type, member))

TEST_F(MaterialPrograms, BlocksLieAsOurStructures) {
    RenderStatistics statistics;
    RenderManager manager(statistics);
    const gl::Name image = manager.GetProgram({MaterialPass::Image, true, false});
    const gl::Name physical = manager.GetProgram({MaterialPass::Image, false, true});
    const gl::Name cube = manager.GetProgram({MaterialPass::PointShadow, true, false});
    const gl::Name depth = manager.GetProgram({MaterialPass::ZDepth, false, false});
    const gl::Name focus = manager.GetProgram({MaterialPass::Focus, false, false});
    ASSERT_TRUE(image && physical && cube && depth && focus);

    using T = TransformBlock;
    ExpectLayout(image, "TransformMatrices", 160,
                 {{"viewMatrix", AT(T, viewMatrix)},
                  {"projectionMatrix", AT(T, projectionMatrix)},
                  {"eyePosition", AT(T, eyePosition)},
                  {"viewportScale", AT(T, viewportScale)},
                  {"viewportOffset", AT(T, viewportOffset)}},
                 0);
    using L = LightBlock;
    const auto light = [](int i, int inside) { return 16 + 208 * i + inside; };
    ExpectLayout(image, "Lights", 1696,
                 {{"numLights", 0},
                  {"lights[0].position", light(0, AT(L, position))},
                  {"lights[1].direction", light(1, AT(L, direction))},
                  {"lights[2].diffuse", light(2, AT(L, diffuse))},
                  {"lights[3].cosCone", light(3, AT(L, cosCone))},
                  {"lights[3].feather", light(3, AT(L, feather))},
                  {"lights[3].falloff", light(3, AT(L, falloff))},
                  {"lights[3].type", light(3, AT(L, type))},
                  {"lights[3].shadowId", light(3, AT(L, shadowId))},
                  {"lights[3].diffusion", light(3, AT(L, diffusion))},
                  {"lights[3].darkness", light(3, AT(L, darkness))},
                  {"lights[3].shadowBias", light(3, AT(L, shadowBias))},
                  {"lights[7].shadowMatrix", light(7, AT(L, shadowMatrix))},
                  {"lights[7].projectionMatrix", light(7, AT(L, projectionMatrix))},
                  {"ambientLights", AT(LightsBlock, ambientLights)}},
                 1);
    using R = RenderPropertiesBlock;
    const int fog = AT(R, fog), shadow = AT(R, shadow), sss = AT(R, subSurface), ao = AT(R, ao),
              matte = AT(R, matteShadow), mixer = AT(R, mixer), out = AT(R, outputProperties),
              environment = AT(R, environmentChannel);
    ExpectLayout(
        image, "RenderProperties", 592,
        {{"RenderProperties.fog.color", fog},
         {"RenderProperties.fog.falloff", fog + AT(FogBlock, falloff)},
         {"RenderProperties.shadow.enabled", shadow},
         {"RenderProperties.shadow.reflectionInfluence", shadow + AT(ShadowBlock, reflectionInfluence)},
         {"RenderProperties.shadow.smoothSample", shadow + AT(ShadowBlock, smoothSample)},
         {"RenderProperties.shadow.invMapSize", shadow + AT(ShadowBlock, invMapSize)},
         {"RenderProperties.shadow.softBlurDepthBias", shadow + AT(ShadowBlock, softBlurDepthBias)},
         {"RenderProperties.subSurface.enabled", sss},
         {"RenderProperties.subSurface.sssBias", sss + AT(SubSurfaceBlock, sssBias)},
         {"RenderProperties.ao.contrast", ao + AT(OcclusionBlock, contrast)},
         {"RenderProperties.ao.color", ao + AT(OcclusionBlock, color)},
         {"RenderProperties.matteShadow.shadowTint", matte + AT(MatteShadowBlock, shadowTint)},
         {"RenderProperties.mixer.ambient", mixer},
         {"RenderProperties.mixer.shadows", mixer + AT(MixerBlock, shadows)},
         {"RenderProperties.outputProperties.wireframeOnly", out + AT(OutputBlock, wireframeOnly)},
         {"RenderProperties.environmentChannel.gamma", environment},
         {"RenderProperties.environmentChannel.levelOutput", environment + AT(ChannelBlock, levelOutput)},
         {"RenderProperties.environmentMatrix", AT(R, environmentMatrix)},
         {"RenderProperties.environmentTint", AT(R, environmentTint)},
         {"RenderProperties.environmentExposure", AT(R, environmentExposure)},
         {"RenderProperties.environmentGamma", AT(R, environmentGamma)},
         {"RenderProperties.globalWireframeWidth", AT(R, globalWireframeWidth)},
         {"RenderProperties.lineWidthMultiplicator", AT(R, lineWidthMultiplicator)}},
        2);
    ExpectLayout(physical, "RenderProperties", 592,
                 {{"RenderProperties.outputProperties.specularCompression",
                   out + AT(OutputBlock, specularCompression)}},
                 2);
    ExpectLayout(depth, "RenderProperties", 592,
                 {{"RenderProperties.outputProperties.depthMin", out},
                  {"RenderProperties.outputProperties.depthClamp", out + AT(OutputBlock, depthClamp)}},
                 2);
    ExpectLayout(focus, "RenderProperties", 592,
                 {{"RenderProperties.outputProperties.dofViewMatrix", out + AT(OutputBlock, dofViewMatrix)},
                  {"RenderProperties.outputProperties.dofProjectionMatrix",
                   out + AT(OutputBlock, dofProjectionMatrix)},
                  {"RenderProperties.outputProperties.dofSpacing", out + AT(OutputBlock, dofSpacing)}},
                 2);
    using S = ShaderStateBlock;
    ExpectLayout(image, "ShaderState", 752,
                 {{"renderState.dynamicReflection", 0},
                  {"renderState.clipPlane", AT(RenderStateBlock, clipPlane)},
                  {"renderState.globalEnvironment", AT(RenderStateBlock, globalEnvironment)},
                  {"renderState.globalWireframe", AT(RenderStateBlock, globalWireframe)},
                  {"renderState.flipNormals", AT(RenderStateBlock, flipNormals)},
                  {"frameBufferSize", AT(S, frameBufferSize)},
                  {"modelUvOffset", AT(S, modelUvOffset)},
                  {"viewportSize", AT(S, viewportSize)},
                  {"modelColor", AT(S, modelColor)},
                  {"modelMatrix", AT(S, modelMatrix)},
                  {"baseModelMatrix", AT(S, baseModelMatrix)},
                  {"normalMatrix", AT(S, normalMatrix)},
                  {"dynamicPlaneMatrix", AT(S, dynamicPlaneMatrix)},
                  {"clipPlane", AT(S, clipPlane)}},
                 3);
    const GLuint cubes = glGetUniformBlockIndex(cube, "ShaderState");
    ASSERT_NE(cubes, GL_INVALID_INDEX);
    ExpectLayout(cube, "ShaderState", 752, {{"cubeViewMatrix[0]", AT(S, cubeViewMatrix)}}, 3);
    using D = DynamicReflectionBlock;
    const int reflection = AT(ModelPropertiesBlock, dynamicReflection);
    ExpectLayout(
        image, "ModelProperties", 96,
        {{"ModelProperties.modelFlip", 0},
         {"ModelProperties.uvOffset", AT(ModelPropertiesBlock, uvOffset)},
         {"ModelProperties.flipNormal", AT(ModelPropertiesBlock, flipNormal)},
         {"ModelProperties.dynamicReflection.disableEnvironment", reflection + AT(D, disableEnvironment)},
         {"ModelProperties.dynamicReflection.offset", reflection + AT(D, offset)},
         {"ModelProperties.dynamicReflection.reflectDirection", reflection + AT(D, reflectDirection)}},
        4);
    using M = MaterialPropertiesBlock;
    const int normal = AT(M, normal), wire = AT(M, wireframe), scatter = AT(M, subSurface);
    ExpectLayout(
        image, "MaterialProperties", 784,
        {{"MaterialProperties.specularColor", AT(M, specularColor)},
         {"MaterialProperties.refractColor", AT(M, refractColor)},
         {"MaterialProperties.diffuseAmount", AT(M, diffuseAmount)},
         {"MaterialProperties.specularSize", AT(M, specularSize)},
         {"MaterialProperties.flatShading", AT(M, flatShading)},
         {"MaterialProperties.twoSided", AT(M, twoSided)},
         {"MaterialProperties.refractDistortion", AT(M, refractDistortion)},
         {"MaterialProperties.reflectBias", AT(M, reflectBias)},
         {"MaterialProperties.refractMode", AT(M, refractMode)},
         {"MaterialProperties.emissiveDiffuse", AT(M, emissiveDiffuse)},
         {"MaterialProperties.ambientOcclusionAmount", AT(M, ambientOcclusionAmount)},
         {"MaterialProperties.environmentDirection", AT(M, environmentDirection)},
         {"MaterialProperties.alphaThreshold", AT(M, alphaThreshold)},
         {"MaterialProperties.receiveShadow", AT(M, receiveShadow)},
         {"MaterialProperties.subSurface.penetrationExponent",
          scatter + AT(SubSurfaceMaterialBlock, penetrationExponent)},
         {"MaterialProperties.subSurface.color", scatter + AT(SubSurfaceMaterialBlock, color)},
         {"MaterialProperties.normal.swapXY", normal + AT(NormalBlock, swapXY)},
         {"MaterialProperties.normal.invert", normal + AT(NormalBlock, invert)},
         {"MaterialProperties.wireframe.transferMode", wire + AT(WireframeBlock, transferMode)},
         {"MaterialProperties.wireframe.color", wire + AT(WireframeBlock, color)},
         {"MaterialProperties.diffuseChannel.gamma", AT(M, diffuseChannel)},
         {"MaterialProperties.normalChannel.uvRepeat", AT(M, normalChannel) + AT(ChannelBlock, uvRepeat)},
         {"MaterialProperties.reflectChannel.levelOutput",
          AT(M, reflectChannel) + AT(ChannelBlock, levelOutput)}},
        5);
    ExpectLayout(physical, "MaterialProperties", 784,
                 {{"MaterialProperties.energyConservation", AT(M, energyConservation)},
                  {"MaterialProperties.ignoreIbl", AT(M, ignoreIbl)},
                  {"MaterialProperties.environmentMultiplier", AT(M, environmentMultiplier)}},
                 5);
}

TEST_F(MaterialPrograms, SamplersHaveTheirUnits) {
    const std::map<std::string, int> units{{"diffuseSampler", 0},
                                           {"normalSampler", 1},
                                           {"specularSampler", 2},
                                           {"occlusionSampler", 3},
                                           {"emissiveSampler", 4},
                                           {"reflectSampler", 5},
                                           {"environmentSampler", 6},
                                           {"shadowMapSampler", 7},
                                           {"shadowRaySampler", 8},
                                           {"dynamicReflectSampler", 9},
                                           {"dynamicReflectCubeSampler", 10},
                                           {"iblSampler", 11},
                                           {"shadowCubemapSampler", 12},
                                           {"ambientOcclusionSampler", 16}};
    RenderStatistics statistics;
    RenderManager manager(statistics);
    std::map<std::string, int> found;
    for (const ShaderKey key : AllKeys()) {
        const gl::Name program = manager.GetProgram(key);
        for (const auto& [name, unit] : units) {
            const GLint location = glGetUniformLocation(program, name.c_str());
            if (location < 0) continue;
            GLint value = -1;
            glGetUniformiv(program, location, &value);
            EXPECT_EQ(value, unit) << name << " of " << int{key.bits()};
            found[name] = unit;
        }
    }
    EXPECT_EQ(found, units); // each is read somewhere
}

TEST_F(MaterialPrograms, PartsAreConstantsOfTheirProgram) {
    RenderStatistics statistics;
    RenderManager manager(statistics);
    const gl::Name diffuse = manager.GetProgram({MaterialPass::Diffuse, false, true});
    std::array<float, 4> values{};
    glGetUniformfv(diffuse, glGetUniformLocation(diffuse, "pbrCoeff"), values.data());
    EXPECT_EQ(values, (std::array<float, 4>{1, 0, 0, 0}));
    const gl::Name refraction = manager.GetProgram({MaterialPass::Refraction, false, false});
    std::array<float, 2> shares{};
    glGetUniformfv(refraction, glGetUniformLocation(refraction, "reflectionRefractionCoeff"), shares.data());
    EXPECT_EQ(shares, (std::array<float, 2>{0, 1}));
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
