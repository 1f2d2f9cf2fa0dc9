#pragma once

#include "core/FrameParams.h"
#include "services/NxMath.h"

#include <cstdint>

// "Multi-Object": a mesh of a model as an object with a transform of its own.
namespace velorin {

// What happens to one mesh in its model's space (the space that the particle's matrix takes in): turned and
// scaled around `pivot`, then moved.
struct MultiObjectTransform {
    Point3 pivot;
    Quaternion rotation;
    float size = 1;
    Point3 offset;

    [[nodiscard]] Matrix matrix() const;
};

// Seed of a slot's generator; the meshes of the slot draw from it in their order. Counts wrap around.
[[nodiscard]] constexpr std::uint32_t MultiObjectSeed(std::uint32_t slot, std::uint32_t randomSeed,
                                                      std::uint32_t particle) {
    return (slot * 12320u + randomSeed + particle * 896u) * 214013u + 2531011u;
}

class Random;

// `center` is the middle of the mesh's bounds in the model's space, `modelRotation` the rotation of the
// model, in whose unturned axes the displacement is scaled. Draws ten numbers, whatever the amounts are.
[[nodiscard]] MultiObjectTransform MakeMultiObject(const MultiObjectParams& params, Point3 center,
                                                   const Matrix& modelRotation, Random& random);

// Each property at its own place between two transforms, 0 to 1; the pivot goes with the offset.
[[nodiscard]] MultiObjectTransform BlendMultiObject(const MultiObjectTransform& a,
                                                    const MultiObjectTransform& b, float position,
                                                    float rotation, float scale);

// The rows of the upper left 3 by 3 made orthonormal (E. Schmidt's process), for `modelRotation`; the
// identity where they span no space.
[[nodiscard]] Matrix RotationPart(const Matrix& matrix);

} // namespace velorin
