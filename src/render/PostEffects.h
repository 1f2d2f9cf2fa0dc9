#pragma once

#include "services/NxMath.h"

namespace velorin {

class FixedPrograms;
class FrameBuffers;
class FullScreenQuad;
struct MatteSettings;
struct CameraState;
struct RenderSettings;

// The plane of the world position's matte as the shader takes it.
struct MattePlane {
    Point3 position;     // world
    Point3 direction;    // world, unit
    float clipValue = 1; // factor on the matte, by the angle from which the camera looks at the plane
};
[[nodiscard]] MattePlane ComputeMattePlane(const MatteSettings& matte, const CameraState& camera);

// Whether the picture holds numbers rather than colours, so that gamma stays away from it.
[[nodiscard]] bool IsDataOutput(const RenderSettings& settings);

// The steps behind the image pass, on frame-sized textures. GL state is the caller's to save.
class PostEffects {
public:
    PostEffects(const FixedPrograms& programs, const FullScreenQuad& quad, FrameBuffers& buffers)
        : programs_(programs), quad_(quad), buffers_(buffers) {}

    // From resultFramebuffer to the running mean in finalFramebuffer, with the steps that run for every time
    // sample.
    void BlendToFinal(const RenderSettings& settings, float weight) const;
    // From the mean to colour 0 of resultFramebuffer as the host takes it; `argb`: in the host's channel
    // order. False when the program is missing.
    [[nodiscard]] bool FinalOutput(const RenderSettings& settings, bool argb) const;

private:
    void SampleToScratch(const RenderSettings& settings) const;
    void WorldPosition(const RenderSettings& settings) const;
    void Fxaa(int iterations) const;
    void ScreenDof(const RenderSettings& settings) const;
    void MixIntoFinal(float weight) const;
    [[nodiscard]] Point2 TexelSize() const;

    const FixedPrograms& programs_;
    const FullScreenQuad& quad_;
    FrameBuffers& buffers_;
};

} // namespace velorin
