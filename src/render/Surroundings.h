#pragma once

#include "model/ModelTools.h"
#include "services/NxMath.h"

namespace velorin {

// A unit sphere around the origin, outward faces, texture coordinates by longitude and latitude.
[[nodiscard]] PreparedMesh MakeSphere();

// How a face of a GL cube map is seen from its centre. `view` leads from world to view space (towards the
// viewer is positive z) of a picture whose row 0 is row 0 of the face; `mirrored` tells that the view turns
// right into left.
//
// The cube that is filled this way is read by the unwrap to longitude and latitude: its direction (x, y, z)
// holds what lies at (z, -y, x) in the world, so that the picture's centre looks along +z and its top row is
// up.
struct CubeFaceView {
    Matrix view;
    bool mirrored = false;
};
[[nodiscard]] CubeFaceView ViewOfCubeFace(int face, Point3 eyeWorld);

// 90 degrees both ways.
[[nodiscard]] Matrix CubeFaceProjection(float nearPlane, float farPlane);

} // namespace velorin
