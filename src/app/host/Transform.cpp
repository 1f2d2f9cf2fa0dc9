#include "app/host/Transform.h"

#include <cmath>
#include <numbers>

namespace velorin::app {

A_Matrix4 IdentityMatrix() {
    return {{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}};
}

A_Matrix4 Product(const A_Matrix4& first, const A_Matrix4& second) {
    A_Matrix4 r{};
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            for (int k = 0; k < 4; ++k) r.mat[i][j] += first.mat[i][k] * second.mat[k][j];
    return r;
}

A_Matrix4 TranslationMatrix(double x, double y, double z) {
    return {{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {x, y, z, 1}}};
}

A_Matrix4 ScaleMatrix(double x, double y, double z) {
    return {{{x, 0, 0, 0}, {0, y, 0, 0}, {0, 0, z, 0}, {0, 0, 0, 1}}};
}

A_Matrix4 RotationMatrix(const Components& degrees) {
    const auto radians = [&](std::size_t i) { return degrees[i] * std::numbers::pi / 180; };
    const double cx = std::cos(radians(0)), sx = std::sin(radians(0));
    const double cy = std::cos(radians(1)), sy = std::sin(radians(1));
    const double cz = std::cos(radians(2)), sz = std::sin(radians(2));
    const A_Matrix4 x{{{1, 0, 0, 0}, {0, cx, sx, 0}, {0, -sx, cx, 0}, {0, 0, 0, 1}}};
    const A_Matrix4 y{{{cy, 0, -sy, 0}, {0, 1, 0, 0}, {sy, 0, cy, 0}, {0, 0, 0, 1}}};
    const A_Matrix4 z{{{cz, sz, 0, 0}, {-sz, cz, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}};
    return Product(Product(z, y), x);
}

A_Matrix4 LookMatrix(const Components& eye, const Components& target) {
    Components z{target[0] - eye[0], target[1] - eye[1], target[2] - eye[2]};
    const double length = std::sqrt(z[0] * z[0] + z[1] * z[1] + z[2] * z[2]);
    if (length == 0) return IdentityMatrix();
    for (double& c : z) c /= length;
    // The side axis is Y x z; straight up or down it stays where it is at the start.
    double x = z[2], xz = -z[0];
    const double level = std::hypot(x, xz);
    if (level < 1e-12)
        x = 1, xz = 0;
    else
        x /= level, xz /= level;
    const Components y{z[1] * xz, z[2] * x - z[0] * xz, -z[1] * x};
    return {{{x, 0, xz, 0}, {y[0], y[1], y[2], 0}, {z[0], z[1], z[2], 0}, {0, 0, 0, 1}}};
}

} // namespace velorin::app
