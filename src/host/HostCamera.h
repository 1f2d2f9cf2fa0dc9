#pragma once

#include "host/AEPlugin.h"
#include "render/RenderSettings.h"

namespace velorin {

// What the host says of its camera at one time.
struct HostCamera {
    A_Matrix4 matrix{};                  // places the camera in the world; row vectors
    double imagePlaneDistance = 0;       // pixels
    int planeWidth = 0, planeHeight = 0; // image plane, pixels
    bool present = false;                // there is a camera layer
    bool orthographic = false;
    double filmSize = 102.0472; // pixels at 72 to the inch: 36 mm
    AEGP_FilmSizeUnits filmUnits = AEGP_FilmSizeUnits_HORIZONTAL;
    double zoom = 0; // pixels
    bool depthOfField = false;
    double focusDistance = 0, aperture = 0; // pixels
    double blurLevel = 0;                   // percent
};

// Camera of the effect's comp at a layer time (times before 0 count as 0). Without an answer of the host: the
// camera that it looks through when there is no camera layer.
[[nodiscard]] HostCamera ReadHostCamera(PluginCall& call, A_long layerTime);

// Width over height of a pixel of the comp that holds the effect's layer.
[[nodiscard]] double CompPixelAspect(PluginCall& call);

// The camera as the renderer takes it. The world has square pixels; the host's matrix and image plane count
// in pixels of the comp, `compAspect` wide, so that x is divided by it before the camera's matrix acts.
[[nodiscard]] CameraState MakeCameraState(const HostCamera& camera, double compAspect, float nearPlane,
                                          float farPlane);

// The camera moved sideways by (x, y) comp pixels in its own plane, its projection sheared so that what lies
// at the focus distance stays where it is in the picture.
[[nodiscard]] CameraState MoveOnLens(const CameraState& camera, float x, float y);

// Depth of field on the host side: lens radius, passes of the multi-pass mode, and what the renderer's
// own blur needs.
struct LensInput {
    int dofPopup = 1;     // "Depth of Field": 1 is "Comp Settings"
    int modePopup = 3;    // "DOF Mode"
    int qualityPopup = 1; // "DOF Quality"
    float radiusMultiplier = 1;
    RenderMode renderMode = RenderMode::Full;
    Output output = Output::Composite;
    float imageWidth = 0; // pixels of the frame
};
struct Lens {
    float radius = 0; // diameter of the aperture's disc in comp pixels
    int passes = 1;
};
// Fills `dof` (mode, matrices, spacing) and returns the lens for the passes.
[[nodiscard]] Lens SetUpLens(const CameraState& camera, const LensInput& input, DofSettings& dof);

} // namespace velorin
