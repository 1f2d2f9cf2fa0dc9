#include "render/GuestState.h"

#include <array>

namespace velorin::test {

std::vector<GLint> StateNow() {
    std::vector<GLint> state;
    const auto one = [&](GLenum what) { glGetIntegerv(what, &state.emplace_back()); };
    for (const GLenum what :
         {GL_CURRENT_PROGRAM, GL_VERTEX_ARRAY_BINDING, GL_ARRAY_BUFFER_BINDING, GL_PIXEL_PACK_BUFFER_BINDING,
          GL_PIXEL_UNPACK_BUFFER_BINDING, GL_UNIFORM_BUFFER_BINDING, GL_DRAW_FRAMEBUFFER_BINDING,
          GL_READ_FRAMEBUFFER_BINDING, GL_RENDERBUFFER_BINDING, GL_ACTIVE_TEXTURE})
        one(what);
    for (const GLenum what : {GL_BLEND, GL_DEPTH_TEST, GL_CULL_FACE, GL_SCISSOR_TEST, GL_STENCIL_TEST,
                              GL_MULTISAMPLE, GL_POLYGON_OFFSET_FILL, GL_DEPTH_CLAMP, GL_DEPTH_WRITEMASK,
                              GL_TEXTURE_CUBE_MAP_SEAMLESS, GL_RASTERIZER_DISCARD})
        one(what);
    for (const GLenum what : {GL_BLEND_SRC_RGB, GL_BLEND_DST_RGB, GL_BLEND_SRC_ALPHA, GL_BLEND_DST_ALPHA,
                              GL_DEPTH_FUNC, GL_CULL_FACE_MODE, GL_FRONT_FACE, GL_PACK_ALIGNMENT,
                              GL_UNPACK_ALIGNMENT, GL_UNPACK_ROW_LENGTH, GL_POINT_SIZE})
        one(what);
    for (const GLenum what : {GL_VIEWPORT, GL_SCISSOR_BOX, GL_COLOR_WRITEMASK, GL_POLYGON_MODE}) {
        std::array<GLint, 4> four{};
        glGetIntegerv(what, four.data());
        state.insert(state.end(), four.begin(), four.end());
    }
    for (const GLenum what : {GL_BLEND_COLOR, GL_COLOR_CLEAR_VALUE}) {
        std::array<GLfloat, 4> colour{};
        glGetFloatv(what, colour.data());
        for (const GLfloat c : colour) state.push_back(static_cast<GLint>(c * 1000));
    }
    GLint active = 0;
    glGetIntegerv(GL_ACTIVE_TEXTURE, &active);
    for (GLenum unit = 0; unit < 32; ++unit) {
        glActiveTexture(GL_TEXTURE0 + unit);
        for (const GLenum what :
             {GL_TEXTURE_BINDING_2D, GL_TEXTURE_BINDING_CUBE_MAP, GL_TEXTURE_BINDING_2D_ARRAY})
            one(what);
    }
    glActiveTexture(static_cast<GLenum>(active));
    for (GLuint i = 0; i < 6; ++i) glGetIntegeri_v(GL_UNIFORM_BUFFER_BINDING, i, &state.emplace_back());
    return state;
}

void SetOddState(GLuint texture, GLuint buffer) {
    for (const GLenum unit : {30, 31, 3}) {
        glActiveTexture(GL_TEXTURE0 + unit);
        glBindTexture(GL_TEXTURE_2D, texture);
    }
    glBindBuffer(GL_ARRAY_BUFFER, buffer);
    glEnable(GL_BLEND);
    glEnable(GL_DEPTH_TEST);
    glEnable(GL_SCISSOR_TEST);
    glDisable(GL_CULL_FACE);
    glScissor(1, 2, 3, 4);
    glViewport(5, 6, 7, 8);
    glBlendFuncSeparate(GL_ONE, GL_DST_ALPHA, GL_ZERO, GL_SRC_ALPHA);
    glClearColor(0.1f, 0.2f, 0.3f, 0.4f);
    glColorMask(GL_TRUE, GL_FALSE, GL_TRUE, GL_FALSE);
    glDepthMask(GL_FALSE);
    glDepthFunc(GL_GEQUAL);
    glCullFace(GL_FRONT);
    glFrontFace(GL_CCW);
    glPolygonMode(GL_FRONT_AND_BACK, GL_LINE);
    glPointSize(3);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 2);
    glPixelStorei(GL_UNPACK_ROW_LENGTH, 77);
}

} // namespace velorin::test
