#pragma once

#include "core/FrameParams.h"

#include <cstddef>
#include <string>

// What the core knows, as JSON (UTF-8, one line) for tools. Numbers are the shortest that read back to the
// same float; those that are not finite are null.
namespace velorin {

struct DrawList;
struct ModelData;
struct PreparedMesh;

// Array of the particles of a group (0 to 4): "index", "position", "normal", "size", "rotation" (x, y, z, w),
// "animationKey", "target".
[[nodiscard]] std::string ParticlesJson(const FrameParams& params, std::size_t groupIndex);

// Array of the drawn meshes in their order: "model" (its name), "group" (1 to 5), "particle", "mesh",
// "modelMatrix" (16 numbers, row after row), "opacity", "tint" (4), "uvOffset", "visible", "frame",
// "distance". `group` limits it to one (0 to 4) when not negative.
[[nodiscard]] std::string DrawsJson(const DrawList& list, int group = -1);

// "size", "center", "boundsMin", "boundsMax", "materials" (names), "meshes" ("name", "center", "boundsMin",
// "boundsMax", "groups" of "materialIndex" and "triangles"), "vertices" (12 numbers each).
[[nodiscard]] std::string MeshJson(const ModelData& model);
[[nodiscard]] std::string MeshJson(const PreparedMesh& mesh);

} // namespace velorin
