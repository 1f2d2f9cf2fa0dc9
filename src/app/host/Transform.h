#pragma once

#include "app/project/Keyframes.h"

#include "host/api/Types.h"

namespace velorin::app {

// Transforms of the host in double precision: row vectors, translation in the last row, x right, y down, z
// away.
[[nodiscard]] A_Matrix4 IdentityMatrix();
[[nodiscard]] A_Matrix4 Product(const A_Matrix4& first, const A_Matrix4& second); // `first` acts first
[[nodiscard]] A_Matrix4 TranslationMatrix(double x, double y, double z);
[[nodiscard]] A_Matrix4 ScaleMatrix(double x, double y, double z);
// Turns about the axes, degrees: about the own x axis, then the turned y axis, then the turned z axis, so
// that for a row vector the turn about z acts first.
[[nodiscard]] A_Matrix4 RotationMatrix(const Components& degrees);
// The turn that makes the z axis look from `eye` to `target` and keeps x level.
[[nodiscard]] A_Matrix4 LookMatrix(const Components& eye, const Components& target);

} // namespace velorin::app
