#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

// From the key of a material program to the texts it is made of. Nothing here knows GL.

namespace velorin {

// What a material program writes. Values are those of the key.
enum class MaterialPass : std::uint8_t {
    None = 0, // no program
    Image = 1,
    Unlit,
    Property,
    GlowProperty,
    ShadowMap,
    PointShadow,
    AmbientOcclusion,
    Shadows,
    PhysicalParts,
    Diffuse,
    Specular,
    Normals,
    ZDepth,
    DynamicReflection,
    Reflection,
    Refraction,
    Illumination,
    Lighting,
    SubSurface,
    Focus,
    WorldPosition,
    Shading
};
inline constexpr int kMaterialPasses = 22;

// Pieces that a program may take, with the numbers they go by.
enum class ShaderModule : std::uint8_t {
    Diffuse,
    Specular,
    Emissive,
    Reflect,
    Environment,
    Normal,
    Fog,
    Lights,
    Physical,
    Shadows,
    Occlusion,
    OcclusionTexture,
    ClipPlane
};
inline constexpr int kShaderModules = 13;

// One program: 8 bits, the pass in 0 to 5, wireframe in 6, Physical in 7.
struct ShaderKey {
    MaterialPass pass = MaterialPass::None;
    bool wireframe = false; // the material's, or that of the whole picture
    bool physical = false;  // else Standard
    [[nodiscard]] constexpr std::uint8_t bits() const {
        return static_cast<std::uint8_t>(static_cast<unsigned>(pass) | (wireframe ? 64u : 0u) |
                                         (physical ? 128u : 0u));
    }
    [[nodiscard]] static constexpr ShaderKey FromBits(std::uint8_t bits) {
        return {static_cast<MaterialPass>(bits & 63), (bits & 64) != 0, (bits & 128) != 0};
    }
    friend constexpr bool operator==(ShaderKey, ShaderKey) = default;
};

// A text and the file it came from.
struct ShaderPiece {
    std::string_view file;
    std::string_view text;
};

// In link order.
[[nodiscard]] std::span<const ShaderModule> PassModules(MaterialPass pass);

// The pass whose modules and main text the key's program has: Physical computes Diffuse, Specular, Reflection
// and Refraction as parts of one text.
[[nodiscard]] MaterialPass AssembledPass(ShaderKey key);

// The shares of a component that the program of the key shows, constants of the program.
struct PartCoefficients {
    float diffuse, refraction, reflection, specular; // `pbrCoeff`
};
[[nodiscard]] PartCoefficients PhysicalCoefficients(ShaderKey key);
struct ReflectionCoefficients {
    float reflection, refraction; // `reflectionRefractionCoeff`
};
[[nodiscard]] ReflectionCoefficients StandardCoefficients(ShaderKey key);

// The fragment stage of a key, in order: state, material, common functions, wireframe, modules, main. Empty
// for a pass that is none of the table.
[[nodiscard]] std::vector<ShaderPiece> FragmentPieces(ShaderKey key);
[[nodiscard]] std::vector<ShaderPiece> VertexPieces();

enum class GeometryStage { None, Triangles, Cube };
[[nodiscard]] GeometryStage GeometryOf(ShaderKey key);
[[nodiscard]] std::vector<ShaderPiece> GeometryPieces(GeometryStage stage);

} // namespace velorin
