#include "render/RenderManager.h"

#include "platform/Environment.h"
#include "render/RenderSettings.h"
#include "render/RenderStatistics.h"
#include "render/gl/GLError.h"
#include "render/gl/Shaders.h"
#include "services/Log.h"
#include "services/MappedFile.h"

#include <GL/glew.h>

#include <string>
#include <type_traits>
#include <vector>

namespace velorin {

namespace {

constexpr std::array<gl::SamplerUnit, 14> kSamplers{{
    {"diffuseSampler", static_cast<int>(TextureUnit::Diffuse)},
    {"normalSampler", static_cast<int>(TextureUnit::Normal)},
    {"specularSampler", static_cast<int>(TextureUnit::Specular)},
    {"occlusionSampler", static_cast<int>(TextureUnit::Occlusion)},
    {"emissiveSampler", static_cast<int>(TextureUnit::Emissive)},
    {"reflectSampler", static_cast<int>(TextureUnit::Reflect)},
    {"environmentSampler", static_cast<int>(TextureUnit::Environment)},
    {"shadowMapSampler", static_cast<int>(TextureUnit::ShadowMaps)},
    {"shadowRaySampler", static_cast<int>(TextureUnit::RayShadows)},
    {"dynamicReflectSampler", static_cast<int>(TextureUnit::ReflectionPlane)},
    {"dynamicReflectCubeSampler", static_cast<int>(TextureUnit::ReflectionCube)},
    {"iblSampler", static_cast<int>(TextureUnit::Ibl)},
    {"shadowCubemapSampler", static_cast<int>(TextureUnit::PointShadows)},
    {"ambientOcclusionSampler", static_cast<int>(TextureUnit::AmbientOcclusion)},
}};

constexpr std::size_t IndexOf(UniformBlock block) {
    return static_cast<std::size_t>(block);
}
constexpr GLuint BindingOf(UniformBlock block) {
    return static_cast<GLuint>(block);
}

// The texts of the pieces: the embedded ones or, with VELORIN_SHADERS naming the folder of the shader texts,
// what the files hold now.
class PieceTexts {
public:
    explicit PieceTexts(const std::vector<ShaderPiece>& pieces) {
        const auto folder = EnvironmentVariable("VELORIN_SHADERS");
        edited_.reserve(pieces.size());
        for (const ShaderPiece& piece : pieces) {
            texts_.push_back(piece.text);
            if (folder && ReadEdited(*folder, piece.file)) texts_.back() = edited_.back();
        }
    }
    [[nodiscard]] std::span<const std::string_view> texts() const { return texts_; }

private:
    // The embedded name has underscores for the dots of the file's name; a stage suffix is told by its place.
    static std::string FileName(std::string_view piece) {
        std::string name(piece.substr(0, piece.size() - std::string_view("_glsl").size()));
        for (const std::string_view stage : {"_vert", "_geom", "_frag"})
            if (name.ends_with(stage)) name[name.size() - stage.size()] = '.';
        return name + ".glsl";
    }
    bool ReadEdited(const std::string& folder, std::string_view piece) {
        const std::string path = folder + "/" + FileName(piece);
        const MappedFile file = MappedFile::Open(path, FileAccess::Read);
        if (!file.valid()) {
            LogError("RenderManager::CompileShader: cannot read %s: %s", path.c_str(), file.reason().c_str());
            return false;
        }
        const Bytes bytes = file.bytes();
        edited_.emplace_back(reinterpret_cast<const char*>(bytes.data()), bytes.size());
        return true;
    }

    std::vector<std::string> edited_; // reserved, so that the views stay good
    std::vector<std::string_view> texts_;
};

// Compile logs number the pieces; this says which file each number is.
void LogPieceNames(const char* stage, const std::vector<ShaderPiece>& pieces) {
    std::string names;
    for (std::size_t i = 0; i < pieces.size(); ++i)
        names += " " + std::to_string(i) + "=" + std::string(pieces[i].file);
    LogError("RenderManager::CompileShader: texts of the %s stage:%s", stage, names.c_str());
}

gl::Shader Compile(gl::Stage stage, const char* name, const std::vector<ShaderPiece>& pieces) {
    const PieceTexts texts(pieces);
    gl::Shader shader = gl::CompileStage(stage, texts.texts(), gl::OnFault::Show);
    if (!shader) LogPieceNames(name, pieces);
    return shader;
}

gl::Buffer NewBlockBuffer(UniformBlock block) {
    gl::Buffer buffer = gl::Buffer::New();
    glBindBuffer(GL_UNIFORM_BUFFER, buffer.name());
    glBufferData(GL_UNIFORM_BUFFER, static_cast<GLsizeiptr>(kUniformBlockTable[IndexOf(block)].size), nullptr,
                 GL_DYNAMIC_DRAW);
    glBindBuffer(GL_UNIFORM_BUFFER, 0);
    return buffer;
}

template <class Block>
void Send(const gl::Buffer& buffer, const Block& block) {
    static_assert(std::is_trivially_copyable_v<Block>);
    glBindBuffer(GL_UNIFORM_BUFFER, buffer.name());
    glBufferSubData(GL_UNIFORM_BUFFER, 0, sizeof(Block), &block);
}

void SetConstants(ShaderKey key, GLuint program) {
    const PartCoefficients parts = PhysicalCoefficients(key);
    const GLint pbr = glGetUniformLocation(program, "pbrCoeff");
    if (pbr >= 0) glUniform4f(pbr, parts.diffuse, parts.refraction, parts.reflection, parts.specular);
    const ReflectionCoefficients shares = StandardCoefficients(key);
    const GLint reflection = glGetUniformLocation(program, "reflectionRefractionCoeff");
    if (reflection >= 0) glUniform2f(reflection, shares.reflection, shares.refraction);
}

} // namespace

RenderManager::RenderManager(RenderStatistics& statistics)
    : statistics_(statistics),
      vertexStage_(Compile(gl::Stage::Vertex, "vertex", VertexPieces())),
      triangleStage_(
          Compile(gl::Stage::Geometry, "triangle geometry", GeometryPieces(GeometryStage::Triangles))),
      cubeStage_(Compile(gl::Stage::Geometry, "cube geometry", GeometryPieces(GeometryStage::Cube))) {
    for (std::size_t i = 0; i < buffers_.size(); ++i)
        buffers_[i] = NewBlockBuffer(static_cast<UniformBlock>(i));
    BindBuffers();
    gl::CheckGLError("RenderManager::RenderManager", __LINE__);
}

RenderManager::~RenderManager() = default;

void RenderManager::BindBuffers() const {
    for (std::size_t i = 0; i < buffers_.size(); ++i)
        glBindBufferBase(GL_UNIFORM_BUFFER, static_cast<GLuint>(i), buffers_[i].name());
    glBindBuffer(GL_UNIFORM_BUFFER, 0);
}

gl::Name RenderManager::GetProgram(ShaderKey key) {
    const auto found = programs_.find(key.bits());
    if (found != programs_.end()) return found->second.name();
    programKnown_ = false; // compiling unbinds
    return programs_.emplace(key.bits(), CompileShader(key)).first->second.name();
}

gl::Program RenderManager::CompileShader(ShaderKey key) const {
    const std::vector<ShaderPiece> pieces = FragmentPieces(key);
    if (pieces.empty()) {
        LogError("RenderManager::CompileShader: no such material pass: %d", static_cast<int>(key.pass));
        return {};
    }
    const gl::Shader fragment = Compile(gl::Stage::Fragment, "fragment", pieces);
    std::vector<const gl::Shader*> stages{&vertexStage_, &fragment};
    if (GeometryOf(key) != GeometryStage::None)
        stages.push_back(GeometryOf(key) == GeometryStage::Cube ? &cubeStage_ : &triangleStage_);
    gl::Program program = gl::LinkProgram(stages, gl::MeshInterface(), gl::OnFault::Show);
    if (!program) return {};
    ++statistics_.programsCompiled;

    gl::SetSamplerUnits(program, kSamplers);
    glUseProgram(program.name());
    SetConstants(key, program.name());
    for (std::size_t i = 0; i < kUniformBlocks; ++i) {
        const GLuint index = glGetUniformBlockIndex(program.name(), kUniformBlockTable[i].name);
        if (index != GL_INVALID_INDEX) glUniformBlockBinding(program.name(), index, static_cast<GLuint>(i));
    }
    glUseProgram(0);
    gl::CheckGLError("RenderManager::CompileShader", __LINE__);
    return program;
}

void RenderManager::SetPass(MaterialPass pass) {
    pass_ = pass;
    programKnown_ = false;
}

void RenderManager::SetModelMatrices(const Matrix& model, const Matrix& base) {
    state_.modelMatrix = model;
    state_.baseModelMatrix = base;
    state_.normalMatrix = Transposed(Inverse(model));
}

bool RenderManager::ApplyShaderState() {
    if (pass_ == MaterialPass::None) {
        glUseProgram(0);
        programKnown_ = false;
        return false;
    }
    Send(buffers_[IndexOf(UniformBlock::ShaderState)], state_);
    const ShaderKey key{pass_, wireframe_ || state_.renderState.globalWireframe != 0, physical_};
    if (programKnown_ && key == key_) return program_ != 0;
    program_ = GetProgram(key);
    glUseProgram(program_);
    key_ = key;
    programKnown_ = true;
    return program_ != 0;
}

void RenderManager::SetCamera(const Matrix& view, const Matrix& projection, Point3 eyeWorld,
                              Point2 viewportScale, Point2 viewportOffset) {
    Send(buffers_[IndexOf(UniformBlock::TransformMatrices)],
         FillTransform(view, projection, eyeWorld, viewportScale, viewportOffset));
}

void RenderManager::SetFrame(const RenderSettings& settings) {
    Send(buffers_[IndexOf(UniformBlock::Lights)], FillLights(settings));
    Send(buffers_[IndexOf(UniformBlock::RenderProperties)], FillRenderProperties(settings));
}

void RenderManager::UploadModel(gl::Buffer& buffer, const ModelPropertiesBlock& block) {
    if (!buffer) buffer = NewBlockBuffer(UniformBlock::ModelProperties);
    Send(buffer, block);
}

void RenderManager::UploadMaterial(gl::Buffer& buffer, const MaterialPropertiesBlock& block) {
    if (!buffer) buffer = NewBlockBuffer(UniformBlock::MaterialProperties);
    Send(buffer, block);
}

void RenderManager::BindTexture(TextureUnit unit, unsigned target, gl::Name texture) {
    glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(unit));
    glBindTexture(target, texture);
}

void RenderManager::BindModel(const gl::Buffer& buffer) {
    glBindBufferBase(GL_UNIFORM_BUFFER, BindingOf(UniformBlock::ModelProperties), buffer.name());
}

void RenderManager::BindMaterial(const gl::Buffer& buffer) {
    glBindBufferBase(GL_UNIFORM_BUFFER, BindingOf(UniformBlock::MaterialProperties), buffer.name());
}

} // namespace velorin
