#pragma once

#include "render/gl/Handles.h"

namespace velorin {

// What stands in where a slot has no image or a pass has not run.
struct DefaultTextures {
    // Makes all of them; the context is current.
    void Create();

    gl::Texture white, black;      // 1 by 1 GL_RGBA8, opaque
    gl::Texture flatNormal;        // 1 by 1 GL_RGBA16F: (0.5, 0.5, 1)
    gl::Texture blackCube;         // 1 by 1
    gl::Texture litShadowArray;    // one layer of depth 1: nothing is in shadow
    gl::Texture litRayShadowArray; // one layer, shadow 1 at no distance
    gl::Texture litShadowCube;     // depth 1
};

} // namespace velorin
