#include "render/DefaultTextures.h"

#include "render/gl/GLError.h"
#include "render/gl/Sampling.h"

#include <GL/glew.h>

#include <array>
#include <cstdint>

namespace velorin {

namespace {

using Texel = std::array<float, 4>;

gl::Texture Make2D(GLint internalFormat, const Texel& texel) {
    gl::Texture texture = gl::Texture::New();
    glBindTexture(GL_TEXTURE_2D, texture.name());
    glTexImage2D(GL_TEXTURE_2D, 0, internalFormat, 1, 1, 0, GL_RGBA, GL_FLOAT, texel.data());
    gl::SetSampling(GL_TEXTURE_2D, GL_LINEAR, GL_LINEAR, GL_REPEAT);
    glBindTexture(GL_TEXTURE_2D, 0);
    return texture;
}

gl::Texture MakeCube(GLint internalFormat, GLenum format, const Texel& texel) {
    gl::Texture texture = gl::Texture::New();
    glBindTexture(GL_TEXTURE_CUBE_MAP, texture.name());
    for (GLenum face = 0; face < 6; ++face)
        glTexImage2D(GL_TEXTURE_CUBE_MAP_POSITIVE_X + face, 0, internalFormat, 1, 1, 0, format, GL_FLOAT,
                     texel.data());
    gl::SetSampling(GL_TEXTURE_CUBE_MAP, GL_NEAREST, GL_NEAREST, GL_CLAMP_TO_EDGE);
    glBindTexture(GL_TEXTURE_CUBE_MAP, 0);
    return texture;
}

gl::Texture MakeArray(GLint internalFormat, GLenum format, const Texel& texel) {
    gl::Texture texture = gl::Texture::New();
    glBindTexture(GL_TEXTURE_2D_ARRAY, texture.name());
    glTexImage3D(GL_TEXTURE_2D_ARRAY, 0, internalFormat, 1, 1, 1, 0, format, GL_FLOAT, texel.data());
    gl::SetSampling(GL_TEXTURE_2D_ARRAY, GL_NEAREST, GL_NEAREST, GL_CLAMP_TO_EDGE);
    glBindTexture(GL_TEXTURE_2D_ARRAY, 0);
    return texture;
}

} // namespace

void DefaultTextures::Create() {
    constexpr Texel kWhite{1, 1, 1, 1}, kBlack{0, 0, 0, 1};
    white = Make2D(GL_RGBA8, kWhite);
    black = Make2D(GL_RGBA8, kBlack);
    flatNormal = Make2D(GL_RGBA16F, {0.5f, 0.5f, 1, 1});
    blackCube = MakeCube(GL_RGBA8, GL_RGBA, {0, 0, 0, 0});
    litShadowArray = MakeArray(GL_DEPTH_COMPONENT24, GL_DEPTH_COMPONENT, kWhite);
    litRayShadowArray = MakeArray(GL_RGBA16F, GL_RGBA, {1, 0, 1, 0});
    litShadowCube = MakeCube(GL_DEPTH_COMPONENT24, GL_DEPTH_COMPONENT, kWhite);
    gl::CheckGLError("VelorinRenderer::Init", __LINE__);
}

} // namespace velorin
