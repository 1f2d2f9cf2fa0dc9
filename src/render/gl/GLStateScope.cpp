#include "render/gl/GLStateScope.h"

#include <GL/glew.h>

#include <array>

namespace velorin::gl {

namespace {

constexpr std::array<GLenum, 14> kCapabilities{GL_BLEND,
                                               GL_DEPTH_TEST,
                                               GL_CULL_FACE,
                                               GL_SCISSOR_TEST,
                                               GL_MULTISAMPLE,
                                               GL_DEPTH_CLAMP,
                                               GL_POLYGON_OFFSET_FILL,
                                               GL_POLYGON_OFFSET_LINE,
                                               GL_STENCIL_TEST,
                                               GL_RASTERIZER_DISCARD,
                                               GL_FRAMEBUFFER_SRGB,
                                               GL_TEXTURE_CUBE_MAP_SEAMLESS,
                                               GL_PROGRAM_POINT_SIZE,
                                               GL_SAMPLE_ALPHA_TO_COVERAGE};

constexpr std::array<GLenum, 12> kPixelStore{
    GL_PACK_ALIGNMENT,   GL_PACK_ROW_LENGTH,   GL_PACK_SKIP_ROWS,    GL_PACK_SKIP_PIXELS,
    GL_UNPACK_ALIGNMENT, GL_UNPACK_ROW_LENGTH, GL_UNPACK_SKIP_ROWS,  GL_UNPACK_SKIP_PIXELS,
    GL_PACK_SWAP_BYTES,  GL_UNPACK_SWAP_BYTES, GL_PACK_IMAGE_HEIGHT, GL_UNPACK_IMAGE_HEIGHT};

struct TextureTarget {
    GLenum target, query;
};
constexpr std::array<TextureTarget, 4> kTextureTargets{
    TextureTarget{GL_TEXTURE_2D, GL_TEXTURE_BINDING_2D},
    TextureTarget{GL_TEXTURE_CUBE_MAP, GL_TEXTURE_BINDING_CUBE_MAP},
    TextureTarget{GL_TEXTURE_2D_ARRAY, GL_TEXTURE_BINDING_2D_ARRAY},
    TextureTarget{GL_TEXTURE_2D_MULTISAMPLE, GL_TEXTURE_BINDING_2D_MULTISAMPLE}};

// Material units are 0 to 12 and 16; the texture filters work on the last two.
constexpr std::array<int, 20> kUnits{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 30, 31};
constexpr GLuint kUniformBindings = 6;

GLuint GetName(GLenum query) {
    GLint value = 0;
    glGetIntegerv(query, &value);
    return static_cast<GLuint>(value);
}

GLenum GetEnum(GLenum query) {
    return GetName(query);
}

} // namespace

struct GLStateScope::Saved {
    std::array<GLboolean, kCapabilities.size()> capabilities{};
    std::array<GLint, kPixelStore.size()> pixelStore{};
    std::array<std::array<GLuint, kTextureTargets.size()>, kUnits.size()> textures{};
    struct Range {
        GLuint buffer = 0;
        GLint64 start = 0, size = 0;
    };
    std::array<Range, kUniformBindings> uniformRanges{};
    GLenum activeTexture = GL_TEXTURE0;
    GLuint program = 0, vertexArray = 0, arrayBuffer = 0, packBuffer = 0, unpackBuffer = 0, uniformBuffer = 0;
    GLuint drawFramebuffer = 0, readFramebuffer = 0, renderbuffer = 0;
    std::array<GLint, 4> viewport{}, scissor{};
    GLenum blendSrcRgb = 0, blendDstRgb = 0, blendSrcAlpha = 0, blendDstAlpha = 0, blendEqRgb = 0,
           blendEqAlpha = 0;
    std::array<GLfloat, 4> blendColour{}, clearColour{};
    GLfloat clearDepth = 1, pointSize = 1, offsetFactor = 0, offsetUnits = 0;
    std::array<GLboolean, 4> colourMask{};
    GLboolean depthMask = GL_TRUE, sampleShading = GL_FALSE;
    GLfloat minSampleShading = 0;
    GLenum depthFunc = 0, cullFace = 0, frontFace = 0;
    std::array<GLint, 2> polygonMode{};

    void SaveObjects();
    void SaveState();
    void RestoreObjects() const;
    void RestoreState() const;
};

void GLStateScope::Saved::SaveObjects() {
    activeTexture = GetEnum(GL_ACTIVE_TEXTURE);
    for (std::size_t u = 0; u < kUnits.size(); ++u) {
        glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(kUnits[u]));
        for (std::size_t t = 0; t < kTextureTargets.size(); ++t)
            textures[u][t] = GetName(kTextureTargets[t].query);
    }
    glActiveTexture(activeTexture);
    program = GetName(GL_CURRENT_PROGRAM);
    vertexArray = GetName(GL_VERTEX_ARRAY_BINDING);
    arrayBuffer = GetName(GL_ARRAY_BUFFER_BINDING);
    packBuffer = GetName(GL_PIXEL_PACK_BUFFER_BINDING);
    unpackBuffer = GetName(GL_PIXEL_UNPACK_BUFFER_BINDING);
    uniformBuffer = GetName(GL_UNIFORM_BUFFER_BINDING);
    for (GLuint i = 0; i < kUniformBindings; ++i) {
        GLint buffer = 0;
        glGetIntegeri_v(GL_UNIFORM_BUFFER_BINDING, i, &buffer);
        uniformRanges[i].buffer = static_cast<GLuint>(buffer);
        glGetInteger64i_v(GL_UNIFORM_BUFFER_START, i, &uniformRanges[i].start);
        glGetInteger64i_v(GL_UNIFORM_BUFFER_SIZE, i, &uniformRanges[i].size);
    }
    drawFramebuffer = GetName(GL_DRAW_FRAMEBUFFER_BINDING);
    readFramebuffer = GetName(GL_READ_FRAMEBUFFER_BINDING);
    renderbuffer = GetName(GL_RENDERBUFFER_BINDING);
}

void GLStateScope::Saved::SaveState() {
    for (std::size_t i = 0; i < kCapabilities.size(); ++i) capabilities[i] = glIsEnabled(kCapabilities[i]);
    for (std::size_t i = 0; i < kPixelStore.size(); ++i) glGetIntegerv(kPixelStore[i], &pixelStore[i]);
    glGetIntegerv(GL_VIEWPORT, viewport.data());
    glGetIntegerv(GL_SCISSOR_BOX, scissor.data());
    blendSrcRgb = GetEnum(GL_BLEND_SRC_RGB);
    blendDstRgb = GetEnum(GL_BLEND_DST_RGB);
    blendSrcAlpha = GetEnum(GL_BLEND_SRC_ALPHA);
    blendDstAlpha = GetEnum(GL_BLEND_DST_ALPHA);
    blendEqRgb = GetEnum(GL_BLEND_EQUATION_RGB);
    blendEqAlpha = GetEnum(GL_BLEND_EQUATION_ALPHA);
    glGetFloatv(GL_BLEND_COLOR, blendColour.data());
    glGetFloatv(GL_COLOR_CLEAR_VALUE, clearColour.data());
    glGetFloatv(GL_DEPTH_CLEAR_VALUE, &clearDepth);
    glGetFloatv(GL_POINT_SIZE, &pointSize);
    glGetFloatv(GL_POLYGON_OFFSET_FACTOR, &offsetFactor);
    glGetFloatv(GL_POLYGON_OFFSET_UNITS, &offsetUnits);
    glGetBooleanv(GL_COLOR_WRITEMASK, colourMask.data());
    glGetBooleanv(GL_DEPTH_WRITEMASK, &depthMask);
    if (GLEW_ARB_sample_shading) {
        sampleShading = glIsEnabled(GL_SAMPLE_SHADING_ARB);
        glGetFloatv(GL_MIN_SAMPLE_SHADING_VALUE_ARB, &minSampleShading);
    }
    depthFunc = GetEnum(GL_DEPTH_FUNC);
    cullFace = GetEnum(GL_CULL_FACE_MODE);
    frontFace = GetEnum(GL_FRONT_FACE);
    glGetIntegerv(GL_POLYGON_MODE, polygonMode.data()); // a core context may answer with one value only
}

void GLStateScope::Saved::RestoreObjects() const {
    const auto bindFramebuffer = [](GLenum target, GLuint name) {
        glBindFramebuffer(target, name == 0 || glIsFramebuffer(name) ? name : 0);
    };
    for (std::size_t u = 0; u < kUnits.size(); ++u) {
        glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(kUnits[u]));
        for (std::size_t t = 0; t < kTextureTargets.size(); ++t) {
            const GLuint name = textures[u][t];
            glBindTexture(kTextureTargets[t].target, name == 0 || glIsTexture(name) ? name : 0);
        }
    }
    glActiveTexture(activeTexture);
    glUseProgram(program == 0 || glIsProgram(program) ? program : 0);
    glBindVertexArray(vertexArray == 0 || glIsVertexArray(vertexArray) ? vertexArray : 0);
    const auto buffer = [](GLuint name) { return name == 0 || glIsBuffer(name) ? name : 0; };
    glBindBuffer(GL_ARRAY_BUFFER, buffer(arrayBuffer));
    glBindBuffer(GL_PIXEL_PACK_BUFFER, buffer(packBuffer));
    glBindBuffer(GL_PIXEL_UNPACK_BUFFER, buffer(unpackBuffer));
    for (GLuint i = 0; i < kUniformBindings; ++i) {
        const Range& range = uniformRanges[i];
        const GLuint name = buffer(range.buffer);
        if (name != 0 && range.size > 0)
            glBindBufferRange(GL_UNIFORM_BUFFER, i, name, static_cast<GLintptr>(range.start),
                              static_cast<GLsizeiptr>(range.size));
        else
            glBindBufferBase(GL_UNIFORM_BUFFER, i, name);
    }
    glBindBuffer(GL_UNIFORM_BUFFER, buffer(uniformBuffer));
    bindFramebuffer(GL_DRAW_FRAMEBUFFER, drawFramebuffer);
    bindFramebuffer(GL_READ_FRAMEBUFFER, readFramebuffer);
    glBindRenderbuffer(GL_RENDERBUFFER,
                       renderbuffer == 0 || glIsRenderbuffer(renderbuffer) ? renderbuffer : 0);
}

void GLStateScope::Saved::RestoreState() const {
    const auto set = [](GLenum capability, GLboolean on) {
        if (on)
            glEnable(capability);
        else
            glDisable(capability);
    };
    for (std::size_t i = 0; i < kCapabilities.size(); ++i) set(kCapabilities[i], capabilities[i]);
    for (std::size_t i = 0; i < kPixelStore.size(); ++i) glPixelStorei(kPixelStore[i], pixelStore[i]);
    glViewport(viewport[0], viewport[1], viewport[2], viewport[3]);
    glScissor(scissor[0], scissor[1], scissor[2], scissor[3]);
    glBlendFuncSeparate(blendSrcRgb, blendDstRgb, blendSrcAlpha, blendDstAlpha);
    glBlendEquationSeparate(blendEqRgb, blendEqAlpha);
    glBlendColor(blendColour[0], blendColour[1], blendColour[2], blendColour[3]);
    glClearColor(clearColour[0], clearColour[1], clearColour[2], clearColour[3]);
    glClearDepth(clearDepth);
    glPointSize(pointSize);
    glPolygonOffset(offsetFactor, offsetUnits);
    glColorMask(colourMask[0], colourMask[1], colourMask[2], colourMask[3]);
    glDepthMask(depthMask);
    if (GLEW_ARB_sample_shading) {
        set(GL_SAMPLE_SHADING_ARB, sampleShading);
        glMinSampleShadingARB(minSampleShading);
    }
    glDepthFunc(depthFunc);
    glCullFace(cullFace);
    glFrontFace(frontFace);
    glPolygonMode(GL_FRONT_AND_BACK, static_cast<GLenum>(polygonMode[0]));
}

GLStateScope::GLStateScope() : saved_(std::make_unique<Saved>()) {
    saved_->SaveObjects();
    saved_->SaveState();
}

GLStateScope::~GLStateScope() {
    saved_->RestoreObjects();
    saved_->RestoreState();
}

} // namespace velorin::gl
