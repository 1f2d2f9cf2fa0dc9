#pragma once

#include "core/document/Primitives.h"
#include "model/ModelData.h"

#include <string>

// Parametric primitives. Frame: x right, y down, z away, as imported models have it: cone, capsule, cylinder
// and tube stand along y and point up (to -y), the faces of plane, star and gear look at the viewer (to -z).
// Every solid is closed and wound outward; texture coordinates keep a thousandth away from the borders of the
// texture.
namespace velorin {

// Fills an empty model: one mesh named after the primitive, one group, one default material; normalised, with
// tangents. A kind without a generator leaves it empty. Values outside the range of their control count as
// its end.
void BuildPrimitive(ModelData& model, PrimitiveKind kind, const PrimitiveParameters& parameters);

// The name of the mesh; empty for a number without a primitive.
[[nodiscard]] const char* PrimitiveName(PrimitiveKind kind);

// 1 to 9 for the first of Box, Sphere, Cylinder, Tube, Torus, Cone, Plane, Capsule, Star (in this order) that
// stands somewhere in a model's path; 0 for none. Paths do not tell of gears, and Star's number is its place
// in the list.
[[nodiscard]] std::uint32_t PrimitiveFromPath(const std::string& path);

} // namespace velorin
