#pragma once

#include "core/FrameParams.h"
#include "services/NxMath.h"

#include <cstdint>

// The matrices between a geometry (cube of half-edge 1) and a particle, row vectors. A drawn vertex goes
//
//   vertex * flip * mesh * fit * model * particle
//
// where the shaders apply the flip, `mesh` is the transform of the SceneMesh, `fit` puts the normalised
// geometry at its shown size and alignment, `model` is the SceneModel's transform with its folders, and
// `particle` the particle's size, rotation and position with the world transform.
namespace velorin {

class SceneMesh;
class SceneModel;

// Minus one on the axes that the model flips.
[[nodiscard]] Point3 FlipSigns(const SceneModel& model);

// How large and where a geometry is shown in its model's space, whose unit is half the width of a model of
// standard size: 250 comp pixels at a "Particle Size" of 10. With "Normalize Size" the geometry has the
// standard size, so it spans plus and minus 1; without it a hundred units of its file make one unit here,
// which is why a primitive of size 1 (100 units) and text at "Real World Scale" (0.4 units a comp pixel) come
// out at their size. Alignment Model Center puts the middle of the bounds at the origin, From Model the
// origin of the file; the others the middle of the named side: top and bottom are the least and the greatest
// y, front and back the least and greatest z, left and right the least and greatest x.
[[nodiscard]] Matrix FitMatrix(const SceneModel& model, const GeometryFacts& facts);

// SceneModel::LocalMatrix with its folders; with `aux` (a group's channels) each record that names a channel
// is moved, scaled and turned by its ratio of it.
[[nodiscard]] Matrix ModelMatrix(const SceneModel& model, const GroupParams* aux);

// Settings of a geometry's mesh: the SceneMesh that lists it as a part, else the one in its place; null for
// none.
[[nodiscard]] const SceneMesh* FindSceneMesh(const SceneModel& model, std::uint32_t mesh);
// SceneMesh::LocalMatrix of a geometry's mesh, with `aux` as above; the identity without settings.
[[nodiscard]] Matrix MeshMatrix(const SceneModel& model, std::uint32_t mesh, const GroupParams* aux);

// Size, rotation and position; no world transform.
[[nodiscard]] inline Matrix ParticleMatrix(const Particle& particle) {
    Matrix m = ToMatrix(particle.rotation);
    const float size[3] = {particle.size.x, particle.size.y, particle.size.z};
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 3; ++column) m(row, column) *= size[row];
    m.m[12] = particle.position.x, m.m[13] = particle.position.y, m.m[14] = particle.position.z;
    return m;
}

// As a * b where the last columns of both are 0, 0, 0, 1.
[[nodiscard]] inline Matrix AffineProduct(const Matrix& a, const Matrix& b) {
    Matrix r;
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 3; ++j) r(i, j) = a(i, 0) * b(0, j) + a(i, 1) * b(1, j) + a(i, 2) * b(2, j);
        r(i, 3) = 0;
    }
    for (int j = 0; j < 3; ++j) r(3, j) += b(3, j);
    r(3, 3) = 1;
    return r;
}

} // namespace velorin
