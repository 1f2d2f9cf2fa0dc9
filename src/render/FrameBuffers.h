#pragma once

#include "render/gl/Handles.h"

#include <cstdint>

namespace velorin {

struct DriverInfo;
struct RenderSettings;
struct RenderStatistics;

// What the frame buffer table is built for. A change of any field rebuilds all of it.
struct FrameBufferKey {
    int width = 0, height = 0; // pixels
    // Of the image buffer: the frame, or as much more as a tile of a supersampled frame may need.
    int imageWidth = 0, imageHeight = 0;
    int sampleCount = 0; // of the image; 0 is not multisampled
    bool rayTracedShadows = false;
    int rayShadowLayers = 0;
    int shadowMapSize = 0, shadowMapLayers = 0, pointLights = 0;
    int aoSampleCount = 0; // the larger of occlusion and mask samples
    bool reflections = false;
    int reflectionMapSize = 0; // counts only with reflections
    bool picking = false;
    friend bool operator==(const FrameBufferKey&, const FrameBufferKey&) = default;
};

// The key of a frame, within the driver's limits; `rayTracer`: whether there is one, without which ray-traced
// shadows are dropped.
[[nodiscard]] FrameBufferKey KeyOf(const RenderSettings& settings, int width, int height,
                                   const DriverInfo& driver, bool rayTracer);

// Wished samples within what the driver offers: 0, or a power of two up to its limit.
[[nodiscard]] int ClampSamples(int wished, int limit);

// The targets of all passes; names say what each is for. Colour textures have 16-bit float channels, linear
// filtering and clamped edges; row 0 is the top row of the picture. Absent ones are empty handles.
class FrameBuffers {
public:
    // Builds what the key asks for when it differs from what exists. False when the size is over the driver's
    // limit (then nothing is touched) or when a target is not complete (then nothing is usable).
    [[nodiscard]] bool Create(const FrameBufferKey& key, const DriverInfo& driver,
                              RenderStatistics& statistics);
    void Destroy();
    // Clears every target of the frame. False when one is not complete.
    [[nodiscard]] bool Clear() const;
    [[nodiscard]] const FrameBufferKey& key() const { return key_; }
    [[nodiscard]] bool exists() const { return static_cast<bool>(imageFramebuffer); }

    // Copies colour from the image buffer (resolving its samples) to colour 0 of `target`, frame size.
    void ResolveImage(const gl::Framebuffer& target) const;
    // The same to a texture of the image buffer's size, which the next step may overwrite.
    [[nodiscard]] const gl::Texture& ResolveTile() const;
    // Copies colour 0 of one frame-sized target to colour `attachment` of another.
    void Copy(const gl::Framebuffer& source, const gl::Framebuffer& target, unsigned attachment = 0) const;

    gl::Framebuffer imageFramebuffer;
    gl::Renderbuffer imageDepth, imageColour; // multisampled
    gl::Framebuffer propertyFramebuffer;
    gl::Renderbuffer propertyDepth;
    gl::Texture normalDepthTexture;  // normal, -1 / view z
    gl::Texture idPositionTexture;   // object id, view position
    gl::Texture glowPropertyTexture; // glow amount, emissive strength
    gl::Framebuffer propertyMultisampleFramebuffer;
    gl::Texture propertyMultisampleTexture;
    gl::Renderbuffer propertyMultisampleDepth; // only where the image has another number of samples
    gl::Framebuffer resultFramebuffer;
    gl::Texture resultColourTexture, resultSecondTexture;
    gl::Framebuffer aoFramebuffer;
    gl::Texture aoTexture;
    gl::Framebuffer finalFramebuffer;
    gl::Texture finalColourTexture, finalPropertyTexture, finalAoTexture;
    gl::Framebuffer scratchFramebuffer;
    gl::Texture scratchTexture0, scratchTexture1;
    gl::Framebuffer tileFramebuffer; // a resolved tile, where the image buffer is larger than the frame
    gl::Texture tileTexture;
    gl::Framebuffer shadowFramebuffer;
    gl::Texture shadowMapArray;
    gl::Framebuffer cubeShadowFramebuffer;
    gl::Texture shadowCubeTexture; // a name without storage: point lights have their shadow from rays
    gl::Texture rayShadowArray;
    gl::Framebuffer reflectionFramebuffer;
    gl::Renderbuffer reflectionColour, reflectionDepth;
    gl::Buffer readbackBuffer; // width * height * 16 bytes

private:
    [[nodiscard]] bool Build(RenderStatistics& statistics);
    [[nodiscard]] bool BuildImage();
    [[nodiscard]] bool BuildProperties();
    [[nodiscard]] bool BuildPictures();
    [[nodiscard]] bool BuildShadows();
    [[nodiscard]] bool BuildReflections();
    FrameBufferKey key_;
};

} // namespace velorin
