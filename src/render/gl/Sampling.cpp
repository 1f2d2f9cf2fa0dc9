#include "render/gl/Sampling.h"

#include <GL/glew.h>

#include <initializer_list>

namespace velorin::gl {

void SetSampling(unsigned target, int minFilter, int magFilter, int wrap) {
    glTexParameteri(target, GL_TEXTURE_MIN_FILTER, minFilter);
    glTexParameteri(target, GL_TEXTURE_MAG_FILTER, magFilter);
    for (const GLenum axis : {GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T, GL_TEXTURE_WRAP_R})
        glTexParameteri(target, axis, wrap);
}

} // namespace velorin::gl
