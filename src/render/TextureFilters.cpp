#include "render/CubeFaces.h"
#include "render/FullScreenQuad.h"
#include "render/RenderStatistics.h"
#include "render/SampleRows.h"
#include "render/ShaderTexts.h"
#include "render/TextureManager.h"
#include "render/gl/GLError.h"
#include "render/gl/Sampling.h"
#include "render/gl/Shaders.h"
#include "services/NxMath.h"

#include <GL/glew.h>

#include <algorithm>
#include <array>
#include <bit>
#include <string>
#include <string_view>

// What TextureManager derives from textures by drawing.

namespace velorin {

namespace {

constexpr GLint kSamplesUnit = 30, kSourceUnit = 31;
constexpr int kFilteredLevels = 6;

struct FilterRow {
    const char* name;
    std::string_view text;
    std::array<gl::SamplerUnit, 2> samplers;
};

// In the order of TextureManager::Filter.
constexpr std::array<FilterRow, 6> kTable{{
    {"sphereBlurProgram", shaders::texture_sphere_blur_glsl, {{{"sphereTexture", kSourceUnit}, {"", 0}}}},
    {"envToCubeProgram", shaders::texture_env_to_cube_glsl, {{{"envTexture", kSourceUnit}, {"", 0}}}},
    {"bumpToNormalProgram", shaders::texture_bump_to_normal_glsl, {{{"bumpTexture", kSourceUnit}, {"", 0}}}},
    {"cubeFilterProgram",
     shaders::texture_cube_filter_glsl,
     {{{"cubeTexture", kSourceUnit}, {"samplesTexture", kSamplesUnit}}}},
    {"sphereFilterProgram",
     shaders::texture_sphere_filter_glsl,
     {{{"sphereTexture", kSourceUnit}, {"samplesTexture", kSamplesUnit}}}},
    {"cubeCopyProgram", shaders::texture_cube_copy_glsl, {{{"cubeTexture", kSourceUnit}, {"", 0}}}},
}};

void SetUniform(gl::Name program, const char* name, float value) {
    glUniform1f(glGetUniformLocation(program, name), value);
}
void SetUniform(gl::Name program, const char* name, int value) {
    glUniform1i(glGetUniformLocation(program, name), value);
}
void SetUniform(gl::Name program, const char* name, Point2 value) {
    glUniform2f(glGetUniformLocation(program, name), value.x, value.y);
}
void SetUniform(gl::Name program, const char* name, Point3 value) {
    glUniform3f(glGetUniformLocation(program, name), value.x, value.y, value.z);
}

GLenum Face(std::size_t i) {
    return GL_TEXTURE_CUBE_MAP_POSITIVE_X + static_cast<GLenum>(i);
}

GLsizei LevelSide(std::uint32_t side, int level) {
    return static_cast<GLsizei>(std::max(side >> level, 1u));
}

void SetLevels(GLenum target, GLint base, GLint last, GLint minFilter) {
    glTexParameteri(target, GL_TEXTURE_BASE_LEVEL, base);
    glTexParameteri(target, GL_TEXTURE_MAX_LEVEL, last);
    glTexParameteri(target, GL_TEXTURE_MIN_FILTER, minFilter);
}

void AllocateFaces(GLint level, GLint format, GLsizei side) {
    for (std::size_t i = 0; i < kCubeFaces.size(); ++i)
        glTexImage2D(Face(i), level, format, side, side, 0, GL_RGBA, GL_FLOAT, nullptr);
}

struct Measures {
    GLint width = 0, height = 0, format = 0;
};

// Of level 0 of a 2D texture, which stays bound to the source unit.
Measures BindSource(gl::Name texture) {
    Measures m;
    glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(kSourceUnit));
    glBindTexture(GL_TEXTURE_2D, texture);
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, &m.width);
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_HEIGHT, &m.height);
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_INTERNAL_FORMAT, &m.format);
    return m;
}

// A new 2D texture without pixels, bound to the samples unit.
gl::Texture NewTarget(const Measures& m, GLint format, GLint wrapT) {
    gl::Texture texture = gl::Texture::New();
    glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(kSamplesUnit));
    glBindTexture(GL_TEXTURE_2D, texture.name());
    glTexImage2D(GL_TEXTURE_2D, 0, format, m.width, m.height, 0, GL_RGBA, GL_FLOAT, nullptr);
    SetLevels(GL_TEXTURE_2D, 0, 0, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_REPEAT);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, wrapT);
    return texture;
}

// The texel as a sampler shows it: the host's layers are stored in another order. The texture is bound to the
// active unit.
std::array<GLfloat, 4> AsSampled(const std::array<GLfloat, 4>& stored) {
    constexpr std::array<GLenum, 4> kOrder{GL_TEXTURE_SWIZZLE_R, GL_TEXTURE_SWIZZLE_G, GL_TEXTURE_SWIZZLE_B,
                                           GL_TEXTURE_SWIZZLE_A};
    std::array<GLfloat, 4> colour{};
    for (std::size_t i = 0; i < colour.size(); ++i) {
        GLint from = GL_ZERO;
        glGetTexParameteriv(GL_TEXTURE_2D, kOrder[i], &from);
        if (from >= GL_RED && from <= GL_ALPHA)
            colour[i] = stored[static_cast<std::size_t>(from - GL_RED)];
        else
            colour[i] = from == GL_ONE ? 1.0f : 0.0f;
    }
    return colour;
}

// A full mip chain for the texture bound to the samples unit.
void FinishTarget(const Measures& m) {
    glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(kSamplesUnit));
    const auto side = static_cast<unsigned>(std::max(m.width, m.height));
    SetLevels(GL_TEXTURE_2D, 0, static_cast<GLint>(std::bit_width(side)) - 1, GL_LINEAR_MIPMAP_LINEAR);
    glGenerateMipmap(GL_TEXTURE_2D);
}

} // namespace

// Takes the GL state that drawing here changes, sets what it needs, and puts everything back. Its own frame
// buffer is bound for drawing while it lives.
struct TextureManager::FilterScope {
    static constexpr std::array<GLenum, 7> kCapabilities{GL_BLEND,
                                                         GL_DEPTH_TEST,
                                                         GL_SCISSOR_TEST,
                                                         GL_STENCIL_TEST,
                                                         GL_CULL_FACE,
                                                         GL_RASTERIZER_DISCARD,
                                                         GL_TEXTURE_CUBE_MAP_SEAMLESS};
    std::array<GLboolean, kCapabilities.size()> enabled{};
    GLint program = 0, vertexArray = 0, drawFramebuffer = 0, readFramebuffer = 0, activeTexture = 0,
          frontFace = 0, cullFace = 0, unpackBuffer = 0;
    std::array<GLint, 2> polygonMode{};
    std::array<GLint, 4> viewport{};
    std::array<GLboolean, 4> colourMask{};
    std::array<std::array<GLint, 2>, 2> bindings{}; // units 30 and 31: 2D, cube
    gl::Framebuffer framebuffer;

    FilterScope() : framebuffer(gl::Framebuffer::New()) {
        glGetIntegerv(GL_CURRENT_PROGRAM, &program);
        glGetIntegerv(GL_VERTEX_ARRAY_BINDING, &vertexArray);
        glGetIntegerv(GL_DRAW_FRAMEBUFFER_BINDING, &drawFramebuffer);
        glGetIntegerv(GL_READ_FRAMEBUFFER_BINDING, &readFramebuffer);
        glGetIntegerv(GL_PIXEL_UNPACK_BUFFER_BINDING, &unpackBuffer);
        glGetIntegerv(GL_VIEWPORT, viewport.data());
        glGetIntegerv(GL_ACTIVE_TEXTURE, &activeTexture);
        glGetIntegerv(GL_FRONT_FACE, &frontFace);
        glGetIntegerv(GL_CULL_FACE_MODE, &cullFace);
        glGetIntegerv(GL_POLYGON_MODE, polygonMode.data());
        glGetBooleanv(GL_COLOR_WRITEMASK, colourMask.data());
        for (std::size_t i = 0; i < enabled.size(); ++i) enabled[i] = glIsEnabled(kCapabilities[i]);
        for (std::size_t i = 0; i < bindings.size(); ++i) {
            glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(kSamplesUnit) + static_cast<GLenum>(i));
            glGetIntegerv(GL_TEXTURE_BINDING_2D, &bindings[i][0]);
            glGetIntegerv(GL_TEXTURE_BINDING_CUBE_MAP, &bindings[i][1]);
        }
        gl::DrainGLErrors();
        for (const GLenum capability : kCapabilities) glDisable(capability);
        glEnable(GL_CULL_FACE);
        glEnable(GL_TEXTURE_CUBE_MAP_SEAMLESS);
        glFrontFace(GL_CW);
        glCullFace(GL_BACK);
        glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
        glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
        glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
        glBindFramebuffer(GL_FRAMEBUFFER, framebuffer.name());
    }
    ~FilterScope() {
        for (std::size_t i = 0; i < bindings.size(); ++i) {
            glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(kSamplesUnit) + static_cast<GLenum>(i));
            glBindTexture(GL_TEXTURE_2D, static_cast<GLuint>(bindings[i][0]));
            glBindTexture(GL_TEXTURE_CUBE_MAP, static_cast<GLuint>(bindings[i][1]));
        }
        for (std::size_t i = 0; i < enabled.size(); ++i)
            (enabled[i] ? glEnable : glDisable)(kCapabilities[i]);
        glColorMask(colourMask[0], colourMask[1], colourMask[2], colourMask[3]);
        glPolygonMode(GL_FRONT_AND_BACK, static_cast<GLenum>(polygonMode[0]));
        glCullFace(static_cast<GLenum>(cullFace));
        glFrontFace(static_cast<GLenum>(frontFace));
        glActiveTexture(static_cast<GLenum>(activeTexture));
        glViewport(viewport[0], viewport[1], viewport[2], viewport[3]);
        glBindBuffer(GL_PIXEL_UNPACK_BUFFER, static_cast<GLuint>(unpackBuffer));
        glBindFramebuffer(GL_READ_FRAMEBUFFER, static_cast<GLuint>(readFramebuffer));
        glBindFramebuffer(GL_DRAW_FRAMEBUFFER, static_cast<GLuint>(drawFramebuffer));
        glBindVertexArray(static_cast<GLuint>(vertexArray));
        glUseProgram(static_cast<GLuint>(program));
    }
    FilterScope(const FilterScope&) = delete;
    FilterScope& operator=(const FilterScope&) = delete;
};

void TextureManager::MakeSamplesTexture() {
    const FilterScope scope;
    samples_ = gl::Texture::New();
    glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(kSamplesUnit));
    glBindTexture(GL_TEXTURE_2D, samples_.name());
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA16F, kSampleRowWidth, kSampleRows, 0, GL_RGBA, GL_FLOAT,
                 MakeSampleRows().data());
    SetLevels(GL_TEXTURE_2D, 0, 0, GL_NEAREST);
    gl::SetSampling(GL_TEXTURE_2D, GL_NEAREST, GL_NEAREST, GL_CLAMP_TO_EDGE);
}

// Built on first use, since few projects need all of them.
gl::Name TextureManager::Program(Filter filter) {
    const auto i = static_cast<std::size_t>(filter);
    if (!programTried_[i]) {
        programTried_[i] = true;
        programs_[i] = gl::CreateShaderProgram(std::string(shaders::post_quad_glsl).append(kTable[i].text));
        if (programs_[i]) ++statistics_.programsCompiled;
        gl::SetSamplerUnits(programs_[i], kTable[i].samplers);
    }
    glUseProgram(programs_[i].name());
    return programs_[i].name();
}

void TextureManager::DrawCubeLevel(gl::Name program, gl::Name cube, int level, std::uint32_t side) const {
    const GLsizei pixels = LevelSide(side, level);
    glViewport(0, 0, pixels, pixels);
    for (std::size_t i = 0; i < kCubeFaces.size(); ++i) {
        const CubeFace& face = kCubeFaces[i]; // the programs' coordinates run from 0 to 1
        SetUniform(program, "initialCoord", face.forward - face.across - face.down);
        SetUniform(program, "coordIncX", face.across * 2);
        SetUniform(program, "coordIncY", face.down * 2);
        glFramebufferTexture2D(GL_DRAW_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, Face(i), cube, level);
        quad_.Draw();
    }
}

// A picture of one pixel: every filter gives its colour again.
void TextureManager::FillConstantCube(gl::Name texture, gl::Name cube) const {
    std::array<GLfloat, 4> colour{};
    glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(kSourceUnit));
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
    if (glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE) {
        glReadPixels(0, 0, 1, 1, GL_RGBA, GL_FLOAT, colour.data());
    } else { // a format that cannot be drawn to
        glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_FLOAT, colour.data());
    }
    colour = AsSampled(colour);
    for (int level = 0; level <= kFilteredLevels; ++level) {
        glViewport(0, 0, LevelSide(kEnvironmentCubeSide, level), LevelSide(kEnvironmentCubeSide, level));
        for (std::size_t i = 0; i < kCubeFaces.size(); ++i) {
            glFramebufferTexture2D(GL_DRAW_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, Face(i), cube, level);
            glClearBufferfv(GL_COLOR, 0, colour.data());
        }
    }
}

gl::Texture TextureManager::EnvToCubeMap(gl::Name texture) {
    const FilterScope scope;
    const Measures source = BindSource(texture);
    const GLint format = source.format == GL_RGBA16F ? GL_RGBA16F : GL_RGBA8;
    const auto side = static_cast<GLsizei>(kEnvironmentCubeSide);

    gl::Texture cube = gl::Texture::New();
    glBindTexture(GL_TEXTURE_CUBE_MAP, cube.name());
    const bool constant = source.width == 1 && source.height == 1;
    const int levels = constant ? kFilteredLevels : 0;
    for (int level = 0; level <= levels; ++level)
        AllocateFaces(level, format, LevelSide(kEnvironmentCubeSide, level));
    const GLint minFilter = constant ? GL_LINEAR_MIPMAP_LINEAR : GL_LINEAR;
    SetLevels(GL_TEXTURE_CUBE_MAP, 0, levels, minFilter);
    gl::SetSampling(GL_TEXTURE_CUBE_MAP, minFilter, GL_LINEAR, GL_CLAMP_TO_EDGE);
    if (constant) {
        FillConstantCube(texture, cube.name());
    } else {
        // At a pole the last row must not mix with the first.
        GLint wrap = GL_REPEAT;
        glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, &wrap);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
        if (const gl::Name program = Program(Filter::EnvToCube))
            DrawCubeLevel(program, cube.name(), 0, static_cast<std::uint32_t>(side));
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, wrap);
        FilterCubeMap(cube.name(), kEnvironmentCubeSide, static_cast<unsigned>(format), false);
    }
    if (gl::CheckGLError("TextureManager::EnvToCubeMap", __LINE__) != 0) return {};
    return cube;
}

// Each level from the one above, which is the last that may be read while it is drawn. The cube is bound to
// the source unit.
void TextureManager::FilterLevels(gl::Name cube, std::uint32_t size, bool quick, int skip) {
    const gl::Name program = Program(Filter::CubeFilter);
    if (!program) return;
    const SampleRowSet set = quick ? kCubeQuick : kCubeFull;
    SetUniform(program, "numSamples", set.samples);
    const int last = std::min(skip + kFilteredLevels, static_cast<int>(std::bit_width(size)) - 1);
    for (int level = skip + 1; level <= last; ++level) {
        SetUniform(program, "sampleLod", level == skip + 1 ? 0.0f : static_cast<float>(level - 1));
        SetUniform(program, "roughnessLayer", set.firstRow + level - 1 - skip);
        DrawCubeLevel(program, cube, level, size);
        SetLevels(GL_TEXTURE_CUBE_MAP, 0, level, GL_LINEAR_MIPMAP_LINEAR);
    }
}

// Level L takes the picture of level skip + L. Only the levels below it may be read meanwhile.
void TextureManager::SpreadLevels(gl::Name cube, std::uint32_t size, int skip) {
    const gl::Name program = Program(Filter::CubeCopy);
    if (!program) return;
    SetUniform(program, "sampleLod", static_cast<float>(skip - 1)); // counted from the base level
    for (int level = 1; level <= kFilteredLevels; ++level) {
        SetLevels(GL_TEXTURE_CUBE_MAP, level + 1, skip + kFilteredLevels, GL_LINEAR_MIPMAP_LINEAR);
        DrawCubeLevel(program, cube, level, size);
    }
    SetLevels(GL_TEXTURE_CUBE_MAP, 0, kFilteredLevels, GL_LINEAR_MIPMAP_LINEAR);
}

void TextureManager::FilterCubeMap(gl::Name cube, std::uint32_t size, unsigned internalFormat, bool quick) {
    if (size < 2) return;
    const FilterScope scope;
    glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(kSamplesUnit));
    glBindTexture(GL_TEXTURE_2D, samples_.name());
    glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(kSourceUnit));
    glBindTexture(GL_TEXTURE_CUBE_MAP, cube);
    const int lastLevel = static_cast<int>(std::bit_width(size)) - 1; // log2
    for (int level = 1; level <= lastLevel; ++level)
        AllocateFaces(level, static_cast<GLint>(internalFormat), LevelSide(size, level));
    SetLevels(GL_TEXTURE_CUBE_MAP, 0, 0, GL_LINEAR_MIPMAP_LINEAR);
    // 3 - log2(512 / size): the level of side 64.
    const int skip = quick ? std::max(lastLevel - 6, 0) : 0;
    FilterLevels(cube, size, quick, skip);
    if (skip > 0) SpreadLevels(cube, size, skip);
    gl::CheckGLError("TextureManager::FilterCubeMap", __LINE__);
}

void TextureManager::FilterSphereMap(gl::Name texture, std::uint32_t width, std::uint32_t height,
                                     bool quick) {
    const FilterScope scope;
    glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(kSamplesUnit));
    glBindTexture(GL_TEXTURE_2D, samples_.name());
    glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(kSourceUnit));
    glBindTexture(GL_TEXTURE_2D, texture);
    const int lastLevel = static_cast<int>(std::bit_width(std::max(width, height))) - 1;
    for (int level = 1; level <= lastLevel; ++level)
        glTexImage2D(GL_TEXTURE_2D, level, GL_RGBA16F, LevelSide(width, level), LevelSide(height, level), 0,
                     GL_RGBA, GL_FLOAT, nullptr);
    SetLevels(GL_TEXTURE_2D, 0, 0, GL_LINEAR_MIPMAP_LINEAR);
    const gl::Name program = Program(Filter::SphereFilter);
    if (!program) return;
    const SampleRowSet set = quick ? kSphereQuick : kSphereFull;
    SetUniform(program, "numSamples", set.samples);
    SetUniform(program, "aspectRatio", static_cast<float>(height) / static_cast<float>(width));
    for (int level = 1; level <= std::min(kFilteredLevels, lastLevel); ++level) {
        SetUniform(program, "sampleLod", static_cast<float>(level - 1));
        SetUniform(program, "roughnessLayer", set.firstRow + level - 1);
        glFramebufferTexture2D(GL_DRAW_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, level);
        glViewport(0, 0, LevelSide(width, level), LevelSide(height, level));
        quad_.Draw();
        SetLevels(GL_TEXTURE_2D, 0, level, GL_LINEAR_MIPMAP_LINEAR);
    }
    gl::CheckGLError("TextureManager::FilterSphereMap", __LINE__);
}

gl::Texture TextureManager::BumpToNormal(gl::Name texture) {
    const FilterScope scope;
    const Measures source = BindSource(texture);
    gl::Texture normals = NewTarget(source, GL_RGBA16F, GL_REPEAT);
    const gl::Name program = Program(Filter::BumpToNormal);
    if (!program) return {};
    SetUniform(program, "pixelSize",
               Point2{1 / static_cast<float>(source.width), 1 / static_cast<float>(source.height)});
    glFramebufferTexture2D(GL_DRAW_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, normals.name(), 0);
    glViewport(0, 0, source.width, source.height);
    quad_.Draw();
    FinishTarget(source);
    if (gl::CheckGLError("TextureManager::BumpToNormal", __LINE__) != 0) return {};
    return normals;
}

void TextureManager::BlurPass(gl::Name source, gl::Name target, std::uint32_t width, std::uint32_t height,
                              float radius, bool horizontal) {
    const gl::Name program = Program(Filter::SphereBlur);
    if (!program) return;
    BindSource(source);
    SetUniform(program, "blurRadius", radius);
    SetUniform(program, "blurDirection", horizontal ? Point2{1, 0} : Point2{0, 1});
    glFramebufferTexture2D(GL_DRAW_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, target, 0);
    glViewport(0, 0, static_cast<GLsizei>(width), static_cast<GLsizei>(height));
    quad_.Draw();
}

gl::Texture TextureManager::BlurSphere(gl::Name texture, float radius) {
    const FilterScope scope;
    const Measures source = BindSource(texture);
    const auto width = static_cast<std::uint32_t>(source.width),
               height = static_cast<std::uint32_t>(source.height);
    const gl::Texture between = NewTarget(source, GL_RGBA16F, GL_CLAMP_TO_EDGE);
    gl::Texture blurred = NewTarget(source, GL_RGBA16F, GL_CLAMP_TO_EDGE);
    BlurPass(texture, between.name(), width, height, radius, true);
    BlurPass(between.name(), blurred.name(), width, height, radius, false);
    FinishTarget(source);
    if (gl::CheckGLError("TextureManager::BlurSphere", __LINE__) != 0) return {};
    return blurred;
}

} // namespace velorin
