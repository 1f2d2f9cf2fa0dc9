#pragma once

#include "Picture.h"
#include "services/NxMath.h"

#include <cmath>
#include <functional>

// Surroundings as functions of a direction: x to the right, y up, z away from the viewer; linear radiance, 1
// being a sheet of white paper in good light. Everything is drawn through space, so nothing shows a seam or a
// pole.
namespace content {

using art::Picture;
using velorin::kPi;
using velorin::kRadiansPerDegree;
using velorin::Point2;
using velorin::Point3;

using Radiance = std::function<Point3(Point3 direction)>;

// Longitude 0 along +z, 90 along +x; degrees.
[[nodiscard]] inline Point3 Direction(float longitude, float latitude) {
    const float a = longitude * kRadiansPerDegree, b = latitude * kRadiansPerDegree;
    return {std::cos(b) * std::sin(a), std::sin(b), std::cos(b) * std::cos(a)};
}
[[nodiscard]] inline float Longitude(Point3 d) {
    return std::atan2(d.x, d.z) / kRadiansPerDegree;
}
[[nodiscard]] inline float Latitude(Point3 d) {
    return std::atan2(d.y, std::hypot(d.x, d.z)) / kRadiansPerDegree;
}

// All directions as an equirectangular picture, twice as wide as high; longitude 0 stands in the middle.
[[nodiscard]] Picture Panorama(int height, const Radiance& radiance);

[[nodiscard]] Point3 ProductStudio(Point3 direction);   // light and even, one bank above, one on each side
[[nodiscard]] Point3 ThumbnailStudio(Point3 direction); // clear shapes of light on dark, for small pictures
[[nodiscard]] Point3 SoftBoxStudio(Point3 direction);
[[nodiscard]] Point3 StripLights(Point3 direction);
[[nodiscard]] Point3 WindowRoom(Point3 direction);
[[nodiscard]] Point3 Overcast(Point3 direction);
[[nodiscard]] Point3 Sunset(Point3 direction);
[[nodiscard]] Picture NightCity(int height); // its wet street mirrors the picture above it

} // namespace content
