#include "render/gl/Shaders.h"

#include "platform/MessageBox.h"
#include "render/gl/GLError.h"
#include "services/Log.h"

#include <GL/glew.h>

#include <array>
#include <vector>

namespace velorin::gl {

namespace {

constexpr GLsizei kLogSize = 2048;
constexpr std::string_view kVersionLine = "#version 150 core\n";
constexpr std::string_view kVertexDefine = "#define VERT_SHADER\n";

constexpr std::array<const char*, 5> kQuadAttributes{"inVertex", "inTexCoord", "inNormal", "inTangent",
                                                     "inSurfaceNormal"};
constexpr std::array<const char*, 4> kMeshAttributes{"inPosition", "inTexCoord", "inNormal", "inTangent"};
constexpr std::array<const char*, 3> kFragmentOutputs{"fragData[0]", "fragData[1]", "fragData[2]"};
constexpr std::array<const char*, 4> kFeedbackVaryings{"outVertex", "outTexCoords", "outNormal",
                                                       "outTangent"};

GLenum GlStage(Stage stage) {
    switch (stage) {
    case Stage::Vertex:
        return GL_VERTEX_SHADER;
    case Stage::Geometry:
        return GL_GEOMETRY_SHADER;
    case Stage::Fragment:
        break;
    }
    return GL_FRAGMENT_SHADER;
}

void ReportFault(const char* title, const char* text, OnFault fault) {
    LogError("%s: %s", title, text);
    if (fault == OnFault::Show) ShowMessage(title, text);
}

} // namespace

Shader CompileStage(Stage stage, std::span<const std::string_view> parts, OnFault fault) {
    std::vector<const GLchar*> texts;
    std::vector<GLint> lengths;
    texts.reserve(parts.size());
    lengths.reserve(parts.size());
    for (const std::string_view part : parts) {
        texts.push_back(part.data());
        lengths.push_back(static_cast<GLint>(part.size()));
    }
    Shader shader = Shader::Adopt(glCreateShader(GlStage(stage)));
    if (!shader) return {};
    glShaderSource(shader.name(), static_cast<GLsizei>(texts.size()), texts.data(), lengths.data());
    glCompileShader(shader.name());
    GLint compiled = GL_FALSE;
    glGetShaderiv(shader.name(), GL_COMPILE_STATUS, &compiled);
    if (compiled != GL_TRUE) {
        std::array<char, kLogSize> log{};
        glGetShaderInfoLog(shader.name(), kLogSize, nullptr, log.data());
        ReportFault("Shader Log", log.data(), fault);
        return {};
    }
    if (CheckGLError("gl::CompileStage", __LINE__) != 0) return {};
    return shader;
}

const ProgramInterface& QuadInterface() {
    static constexpr ProgramInterface names{std::span(kQuadAttributes).first(4), kFragmentOutputs, {}};
    return names;
}

const ProgramInterface& MeshInterface() {
    static constexpr ProgramInterface names{kMeshAttributes, kFragmentOutputs, {}};
    return names;
}

Program LinkProgram(std::span<const Shader* const> stages, const ProgramInterface& names, OnFault fault) {
    for (const Shader* stage : stages)
        if (!*stage) return {};
    Program program = Program::New();
    if (!program) return {};
    for (const Shader* stage : stages) glAttachShader(program.name(), stage->name());
    for (std::size_t i = 0; i < names.attributes.size(); ++i)
        glBindAttribLocation(program.name(), static_cast<GLuint>(i), names.attributes[i]);
    for (std::size_t i = 0; i < names.fragmentOutputs.size(); ++i)
        glBindFragDataLocation(program.name(), static_cast<GLuint>(i), names.fragmentOutputs[i]);
    if (!names.feedbackVaryings.empty())
        glTransformFeedbackVaryings(program.name(), static_cast<GLsizei>(names.feedbackVaryings.size()),
                                    names.feedbackVaryings.data(), GL_SEPARATE_ATTRIBS);
    glLinkProgram(program.name());
    for (const Shader* stage : stages) glDetachShader(program.name(), stage->name());
    GLint linked = GL_FALSE;
    glGetProgramiv(program.name(), GL_LINK_STATUS, &linked);
    if (linked != GL_TRUE) {
        std::array<char, kLogSize> log{};
        glGetProgramInfoLog(program.name(), kLogSize, nullptr, log.data());
        ReportFault("Program Log", log.data(), fault);
        return {};
    }
    return program;
}

Program CreateShaderProgram(std::string_view source) {
    if (source.empty()) return {};
    const std::array vertexParts{kVersionLine, kVertexDefine, source};
    const std::array fragmentParts{kVersionLine, source};
    const Shader vertex = CompileStage(Stage::Vertex, vertexParts, OnFault::Log);
    const Shader fragment = CompileStage(Stage::Fragment, fragmentParts, OnFault::Log);
    const std::array<const Shader*, 2> stages{&vertex, &fragment};
    return LinkProgram(stages, QuadInterface(), OnFault::Log);
}

Program CreateTwoStageProgram(std::string_view vertexText, std::string_view fragmentText) {
    const Shader vertex = CompileStage(Stage::Vertex, std::span(&vertexText, 1), OnFault::Show);
    const Shader fragment = CompileStage(Stage::Fragment, std::span(&fragmentText, 1), OnFault::Show);
    const std::array<const Shader*, 2> stages{&vertex, &fragment};
    return LinkProgram(stages, MeshInterface(), OnFault::Show);
}

Program CreateTransformFeedbackProgram(std::string_view source) {
    if (source.empty()) return {};
    const std::array parts{kVersionLine, kVertexDefine, source};
    const Shader vertex = CompileStage(Stage::Vertex, parts, OnFault::Log);
    const std::array<const Shader*, 1> stages{&vertex};
    const ProgramInterface names{kQuadAttributes, {}, kFeedbackVaryings};
    return LinkProgram(stages, names, OnFault::Log);
}

void SetSamplerUnits(const Program& program, std::span<const SamplerUnit> samplers) {
    if (!program) return;
    glUseProgram(program.name());
    for (const SamplerUnit& sampler : samplers) {
        const GLint location = glGetUniformLocation(program.name(), sampler.name);
        if (location >= 0) glUniform1i(location, sampler.unit);
    }
    glUseProgram(0);
}

} // namespace velorin::gl
