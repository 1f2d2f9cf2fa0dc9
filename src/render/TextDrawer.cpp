#include "render/TextDrawer.h"

#include "render/ShaderTexts.h"
#include "render/gl/GLError.h"
#include "render/gl/GLStateScope.h"
#include "render/gl/Sampling.h"
#include "render/gl/Shaders.h"
#include "services/StringConversion.h"

#include <GL/glew.h>

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

namespace velorin {

namespace {

gl::Program MakeProgram() {
    constexpr std::string_view kVersion = "#version 150 core\n";
    const std::array<std::string_view, 3> vertexParts{kVersion, "#define VERT_SHADER\n", shaders::text_glsl};
    const std::array<std::string_view, 2> fragmentParts{kVersion, shaders::text_glsl};
    const gl::Shader vertex = gl::CompileStage(gl::Stage::Vertex, vertexParts, gl::OnFault::Log);
    const gl::Shader fragment = gl::CompileStage(gl::Stage::Fragment, fragmentParts, gl::OnFault::Log);
    const std::array<const gl::Shader*, 2> stages{&vertex, &fragment};
    constexpr std::array<const char*, 1> kAttributes{"coord"};
    constexpr std::array<const char*, 1> kOutputs{"fragData"};
    gl::Program program = gl::LinkProgram(stages, {kAttributes, kOutputs, {}}, gl::OnFault::Log);
    constexpr std::array<gl::SamplerUnit, 1> kSamplers{{{"fontSampler", 0}}};
    gl::SetSamplerUnits(program, kSamplers);
    return program;
}

using Corner = std::array<float, 4>; // x, y, u, v

// Two triangles a visible character.
std::vector<Corner> Corners(const GlyphAtlas& atlas, std::string_view text, Point2 baseline) {
    std::vector<Corner> corners;
    Point2 pen = baseline;
    const auto width = static_cast<float>(atlas.width), height = static_cast<float>(atlas.height);
    for (const char16_t character : Utf8ToUtf16(text)) {
        if (character == u'\n') {
            pen = {baseline.x, pen.y + static_cast<float>(atlas.lineHeight)};
            continue;
        }
        const Glyph& glyph = atlas.at(character);
        const auto corner = [&](int right, int down) {
            const int dx = right * glyph.width, dy = down * glyph.height;
            return Corner{
                pen.x + static_cast<float>(glyph.left + dx), pen.y + static_cast<float>(glyph.top + dy),
                static_cast<float>(glyph.x + dx) / width, static_cast<float>(glyph.y + dy) / height};
        };
        if (glyph.width > 0 && glyph.height > 0)
            corners.insert(corners.end(), {corner(0, 0), corner(1, 0), corner(0, 1), corner(0, 1),
                                           corner(1, 0), corner(1, 1)});
        pen.x += static_cast<float>(glyph.advance);
    }
    return corners;
}

} // namespace

TextDrawer::TextDrawer(std::string pattern, int pixelHeight)
    : pattern_(std::move(pattern)), pixelHeight_(pixelHeight) {
}

void TextDrawer::SetFont(const std::string& pattern, int pixelHeight) {
    if (pattern == pattern_ && pixelHeight == pixelHeight_) return;
    pattern_ = pattern;
    pixelHeight_ = pixelHeight;
    tried_ = false;
    atlas_.reset();
    texture_.Reset();
}

bool TextDrawer::Load() {
    if (!tried_) atlas_ = BuildGlyphAtlas(pattern_, pixelHeight_);
    tried_ = true;
    return atlas_.has_value();
}

int TextDrawer::Width(std::string_view text) {
    if (!Load()) return 0;
    int width = 0;
    for (const char16_t character : Utf8ToUtf16(text)) width += atlas_->at(character).advance;
    return width;
}

int TextDrawer::LineHeight() {
    return Load() ? atlas_->lineHeight : 0;
}

bool TextDrawer::MakeObjects() {
    if (!program_) program_ = MakeProgram();
    if (!array_) {
        array_ = gl::VertexArray::New();
        vertices_ = gl::Buffer::New();
        glBindVertexArray(array_.name());
        glBindBuffer(GL_ARRAY_BUFFER, vertices_.name());
        glEnableVertexAttribArray(0);
        glVertexAttribPointer(0, 4, GL_FLOAT, GL_FALSE, sizeof(Corner), nullptr);
    }
    if (!texture_) {
        texture_ = gl::Texture::New();
        glBindTexture(GL_TEXTURE_2D, texture_.name());
        glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
        glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
        glPixelStorei(GL_UNPACK_SKIP_ROWS, 0);
        glPixelStorei(GL_UNPACK_SKIP_PIXELS, 0);
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB8, atlas_->width, atlas_->height, 0, GL_RGB, GL_UNSIGNED_BYTE,
                     atlas_->rgb.data());
        gl::SetSampling(GL_TEXTURE_2D, GL_LINEAR, GL_LINEAR, GL_CLAMP_TO_EDGE);
    }
    return program_ && gl::CheckGLError("TextDrawer::MakeObjects", __LINE__) == 0;
}

void TextDrawer::Draw(std::string_view text, Point2 baseline, Point4 colour, const Matrix& projection) {
    if (text.empty() || !Load()) return;
    const std::vector<Corner> corners = Corners(*atlas_, text, baseline);
    if (corners.empty()) return;
    const gl::GLStateScope state;
    glActiveTexture(GL_TEXTURE0);
    glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
    if (!MakeObjects()) return;
    glBindVertexArray(array_.name());
    glBindBuffer(GL_ARRAY_BUFFER, vertices_.name());
    glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(corners.size() * sizeof(Corner)), corners.data(),
                 GL_STREAM_DRAW);
    glBindTexture(GL_TEXTURE_2D, texture_.name());
    glUseProgram(program_.name());
    glUniformMatrix4fv(glGetUniformLocation(program_.name(), "projMatrix"), 1, GL_FALSE, projection.data());
    glUniform4f(glGetUniformLocation(program_.name(), "color"), colour.x, colour.y, colour.z, colour.w);
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_CULL_FACE);
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    glEnable(GL_BLEND);
    glBlendEquation(GL_FUNC_ADD);
    glBlendFuncSeparate(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA, GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
    glDrawArrays(GL_TRIANGLES, 0, static_cast<GLsizei>(corners.size()));
    gl::CheckGLError("TextDrawer::Draw", __LINE__);
}

Matrix TextDrawer::PixelProjection(int width, int height) {
    // Row 0 of a target is the picture's top: clip y grows downwards with it.
    return Matrix::Scale({2 / static_cast<float>(width), 2 / static_cast<float>(height), 1}) *
           Matrix::Translation({-1, -1, 0});
}

} // namespace velorin
