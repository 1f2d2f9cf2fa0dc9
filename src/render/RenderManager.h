#pragma once

#include "render/ShaderAssembly.h"
#include "render/UniformBlocks.h"
#include "render/gl/Handles.h"

#include <array>
#include <memory>
#include <unordered_map>

namespace velorin {

struct RenderSettings;
struct RenderStatistics;

// Units of the samplers of the material programs, fixed when a program is built.
enum class TextureUnit : int {
    Diffuse = 0,
    Normal = 1,
    Specular = 2,
    Occlusion = 3,
    Emissive = 4,
    Reflect = 5,
    Environment = 6,       // 2D, longitude and latitude
    ShadowMaps = 7,        // 2D array of depths, compare mode off
    RayShadows = 8,        // 2D array: shadow, mean distance, twice
    ReflectionPlane = 9,   // 2D
    ReflectionCube = 10,   // cube
    Ibl = 11,              // cube whose level n is n / 6 rough
    PointShadows = 12,     // cube of depths
    AmbientOcclusion = 16, // 2D
};

// Owns every program that draws a model, and the uniform blocks that they share. Programs are compiled on
// first use and kept. Needs the renderer's context current for every call but the pure setters.
class RenderManager {
public:
    // `statistics` outlives it. Compiles the vertex and geometry stages, makes the four buffers and binds
    // them.
    explicit RenderManager(RenderStatistics& statistics);
    ~RenderManager();
    RenderManager(const RenderManager&) = delete;
    RenderManager& operator=(const RenderManager&) = delete;

    // Binds the four buffers of this object to their bases. At the start of a frame, since others may have
    // bound theirs.
    void BindBuffers() const;

    // The program of a key: 0 when it did not compile, which is told once.
    [[nodiscard]] gl::Name GetProgram(ShaderKey key);

    // What the following draws write. Forgets the program in use, so that the next draw binds its own.
    void SetPass(MaterialPass pass);
    [[nodiscard]] MaterialPass pass() const { return pass_; }

    // What the next draw is: `state` for its block, and the two choices of its program besides the pass
    // (`globalWireframe` of the state counts as wireframe too).
    [[nodiscard]] ShaderStateBlock& state() { return state_; }
    void SetMaterialKind(bool physical, bool wireframe) {
        physical_ = physical;
        wireframe_ = wireframe;
    }
    // Model space to world, with and without the mesh's own transform; also sets the matrix of the normals.
    void SetModelMatrices(const Matrix& model, const Matrix& base);

    // Before each draw: sends the state and binds the program when it is another. False when there is none:
    // the draw is to be left out.
    [[nodiscard]] bool ApplyShaderState();

    void SetCamera(const Matrix& view, const Matrix& projection, Point3 eyeWorld,
                   Point2 viewportScale = {1, 1}, Point2 viewportOffset = {0, 0});
    // Lights and everything that is the same for the whole picture.
    void SetFrame(const RenderSettings& settings);

    // The blocks of a model and a material in buffers of their own: a new buffer, or the same one refilled.
    static void UploadModel(gl::Buffer& buffer, const ModelPropertiesBlock& block);
    static void UploadMaterial(gl::Buffer& buffer, const MaterialPropertiesBlock& block);
    // Of a sampler; its unit becomes the active one.
    static void BindTexture(TextureUnit unit, unsigned target, gl::Name texture);
    static void BindModel(const gl::Buffer& buffer);
    static void BindMaterial(const gl::Buffer& buffer);

private:
    [[nodiscard]] gl::Program CompileShader(ShaderKey key) const;

    RenderStatistics& statistics_;
    gl::Shader vertexStage_, triangleStage_, cubeStage_;
    std::array<gl::Buffer, 4> buffers_; // by UniformBlock
    std::unordered_map<std::uint8_t, gl::Program> programs_;
    ShaderStateBlock state_;
    MaterialPass pass_ = MaterialPass::None;
    bool physical_ = false, wireframe_ = false;
    ShaderKey key_;             // of the last draw
    gl::Name program_ = 0;      // its program
    bool programKnown_ = false; // false: the next draw binds, whatever is bound
};

} // namespace velorin
