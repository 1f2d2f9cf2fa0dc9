#include "render/ShaderAssembly.h"

#include "render/ShaderTexts.h"

#include <array>
#include <cstddef>

namespace velorin {

namespace {

using Module = ShaderModule;

// A name and its text out of the embedded header.
#define VELORIN_PIECE(name)                                                                                  \
    ShaderPiece {                                                                                            \
#name, shaders::name                                                                                 \
    }

constexpr std::array<ShaderPiece, kShaderModules> kModuleTexts{
    VELORIN_PIECE(material_module_diffuse_glsl),     VELORIN_PIECE(material_module_specular_glsl),
    VELORIN_PIECE(material_module_emissive_glsl),    VELORIN_PIECE(material_module_reflect_glsl),
    VELORIN_PIECE(material_module_environment_glsl), VELORIN_PIECE(material_module_normal_glsl),
    VELORIN_PIECE(material_module_fog_glsl),         VELORIN_PIECE(material_module_lights_glsl),
    VELORIN_PIECE(material_module_physical_glsl),    VELORIN_PIECE(material_module_shadows_glsl),
    VELORIN_PIECE(material_module_occlusion_glsl),   VELORIN_PIECE(material_module_occlusion_texture_glsl),
    VELORIN_PIECE(material_module_clip_plane_glsl)};

constexpr Module kImage[] = {
    Module::Diffuse, Module::Specular,  Module::Normal,   Module::OcclusionTexture, Module::Environment,
    Module::Reflect, Module::Emissive,  Module::Shadows,  Module::Lights,           Module::Physical,
    Module::Fog,     Module::Occlusion, Module::ClipPlane};
constexpr Module kDiffuseOnly[] = {Module::Diffuse};
constexpr Module kProperty[] = {Module::Diffuse, Module::Normal, Module::Emissive};
constexpr Module kShaded[] = {Module::Diffuse, Module::Normal, Module::Emissive, Module::Shadows,
                              Module::Lights,  Module::Fog,    Module::Occlusion};
constexpr Module kShadows[] = {Module::Diffuse, Module::Normal, Module::Shadows, Module::Lights};
constexpr Module kParts[] = {Module::Diffuse,     Module::Specular, Module::Normal,  Module::OcclusionTexture,
                             Module::Environment, Module::Reflect,  Module::Shadows, Module::Lights,
                             Module::Physical,    Module::Emissive, Module::Fog,     Module::Occlusion};
constexpr Module kDiffuse[] = {Module::Diffuse,  Module::Normal, Module::Shadows,  Module::Lights,
                               Module::Emissive, Module::Fog,    Module::Occlusion};
constexpr Module kSpecular[] = {Module::Diffuse, Module::Specular, Module::Normal, Module::Shadows,
                                Module::Lights,  Module::Emissive, Module::Fog,    Module::Occlusion};
constexpr Module kNormals[] = {Module::Diffuse, Module::Normal};
constexpr Module kReflection[] = {Module::Diffuse, Module::OcclusionTexture, Module::Specular,
                                  Module::Normal,  Module::Environment,      Module::Reflect,
                                  Module::Shadows, Module::Lights,           Module::Physical};
constexpr Module kIllumination[] = {
    Module::Diffuse, Module::Normal,  Module::Specular, Module::OcclusionTexture, Module::Environment,
    Module::Reflect, Module::Shadows, Module::Lights,   Module::Physical,         Module::Emissive};
constexpr Module kLighting[] = {Module::Diffuse, Module::Specular, Module::Normal, Module::Environment,
                                Module::Reflect, Module::Shadows,  Module::Lights, Module::Emissive};
constexpr Module kSubSurface[] = {Module::Diffuse, Module::Specular, Module::Normal, Module::Environment,
                                  Module::Reflect, Module::Shadows,  Module::Lights};

struct PassRow {
    std::span<const Module> modules;
    ShaderPiece main;         // of Standard materials
    ShaderPiece physicalMain; // of Physical ones; without a text: the same
    bool finish = false;      // the main texts end with the picture's common last steps
};

// By pass.
const std::array<PassRow, kMaterialPasses + 1>& PassTable() {
    static constexpr std::array<PassRow, kMaterialPasses + 1> table{{
        {},
        {kImage, VELORIN_PIECE(material_main_image_standard_glsl),
         VELORIN_PIECE(material_main_image_physical_glsl), true},
        {kDiffuseOnly, VELORIN_PIECE(material_main_unlit_glsl), {}},
        {kProperty, VELORIN_PIECE(material_main_property_glsl), {}},
        {kProperty, VELORIN_PIECE(material_main_glow_property_glsl), {}},
        {kDiffuseOnly, VELORIN_PIECE(material_main_shadow_glsl), {}},
        {kDiffuseOnly, VELORIN_PIECE(material_main_shadow_glsl), {}},
        {kShaded, VELORIN_PIECE(material_main_ambient_occlusion_glsl), {}},
        {kShadows, VELORIN_PIECE(material_main_shadows_glsl), {}},
        {kParts, VELORIN_PIECE(material_main_physical_parts_glsl), {}},
        {kDiffuse, VELORIN_PIECE(material_main_diffuse_glsl), {}},
        {kSpecular, VELORIN_PIECE(material_main_specular_glsl), {}},
        {kNormals, VELORIN_PIECE(material_main_normals_glsl), {}},
        {kDiffuseOnly, VELORIN_PIECE(material_main_z_depth_glsl), {}},
        {kParts, VELORIN_PIECE(material_main_dynamic_reflection_glsl), {}},
        {kReflection, VELORIN_PIECE(material_main_reflection_glsl), {}},
        {kReflection, VELORIN_PIECE(material_main_reflection_glsl), {}},
        {kIllumination, VELORIN_PIECE(material_main_illumination_standard_glsl),
         VELORIN_PIECE(material_main_illumination_physical_glsl)},
        {kLighting, VELORIN_PIECE(material_main_lighting_glsl), {}},
        {kSubSurface, VELORIN_PIECE(material_main_sub_surface_glsl), {}},
        {kDiffuseOnly, VELORIN_PIECE(material_main_focus_glsl), {}},
        {kDiffuseOnly, VELORIN_PIECE(material_main_world_position_glsl), {}},
        {kShaded, VELORIN_PIECE(material_main_shading_glsl), {}},
    }};
    return table;
}

const PassRow* RowOf(MaterialPass pass) {
    const auto index = static_cast<std::size_t>(pass);
    return index >= 1 && index <= kMaterialPasses ? &PassTable()[index] : nullptr;
}

} // namespace

std::span<const ShaderModule> PassModules(MaterialPass pass) {
    const PassRow* row = RowOf(pass);
    return row ? row->modules : std::span<const ShaderModule>{};
}

MaterialPass AssembledPass(ShaderKey key) {
    const bool isPart = key.pass == MaterialPass::Diffuse || key.pass == MaterialPass::Specular ||
                        key.pass == MaterialPass::Reflection || key.pass == MaterialPass::Refraction;
    return key.physical && isPart ? MaterialPass::PhysicalParts : key.pass;
}

PartCoefficients PhysicalCoefficients(ShaderKey key) {
    switch (key.pass) {
    case MaterialPass::Diffuse:
        return {1, 0, 0, 0};
    case MaterialPass::Refraction:
        return {0, 1, 0, 0};
    case MaterialPass::Reflection:
        return {0, 0, 1, 0};
    case MaterialPass::Specular:
        return {0, 0, 0, 1};
    default:
        return {1, 1, 1, 1};
    }
}

ReflectionCoefficients StandardCoefficients(ShaderKey key) {
    if (key.pass == MaterialPass::Reflection) return {1, 0};
    if (key.pass == MaterialPass::Refraction) return {0, 1};
    return {1, 1};
}

std::vector<ShaderPiece> FragmentPieces(ShaderKey key) {
    const PassRow* row = RowOf(AssembledPass(key));
    if (!row) return {};
    std::vector<ShaderPiece> pieces{VELORIN_PIECE(material_state_glsl), VELORIN_PIECE(material_blocks_glsl),
                                    VELORIN_PIECE(material_common_glsl)};
    // The cube stage hands on no distances to edges.
    const bool lines = GeometryOf(key) == GeometryStage::Triangles;
    pieces.push_back(lines ? VELORIN_PIECE(material_wireframe_glsl)
                           : VELORIN_PIECE(material_wireframe_none_glsl));
    for (const ShaderModule module : row->modules)
        pieces.push_back(kModuleTexts[static_cast<std::size_t>(module)]);
    if (row->finish) pieces.push_back(VELORIN_PIECE(material_finish_image_glsl));
    pieces.push_back(key.physical && !row->physicalMain.text.empty() ? row->physicalMain : row->main);
    return pieces;
}

std::vector<ShaderPiece> VertexPieces() {
    return {VELORIN_PIECE(material_state_glsl), VELORIN_PIECE(material_mesh_vert_glsl)};
}

GeometryStage GeometryOf(ShaderKey key) {
    if (!key.wireframe) return GeometryStage::None;
    return key.pass == MaterialPass::PointShadow ? GeometryStage::Cube : GeometryStage::Triangles;
}

std::vector<ShaderPiece> GeometryPieces(GeometryStage stage) {
    switch (stage) {
    case GeometryStage::Triangles:
        return {VELORIN_PIECE(material_state_glsl), VELORIN_PIECE(material_triangle_geom_glsl)};
    case GeometryStage::Cube:
        return {VELORIN_PIECE(material_state_glsl), VELORIN_PIECE(material_cube_geom_glsl)};
    case GeometryStage::None:
        break;
    }
    return {};
}

#undef VELORIN_PIECE

} // namespace velorin
