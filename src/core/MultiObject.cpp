#include "core/MultiObject.h"

#include "core/Noise.h"
#include "core/Random.h"

#include <cmath>

namespace velorin {
namespace {

constexpr float kOffsetScale = -25;

// Evenly over all rotations. K. Shoemake, "Uniform Random Rotations", 1992.
Quaternion RandomRotation(float r0, float r1, float r2) {
    const float s1 = std::sqrt(std::fmax(0.0f, 1 - r0)), s2 = std::sqrt(r0);
    const float t1 = 2 * kPi * r1, t2 = 2 * kPi * r2;
    return {std::sin(t1) * s1, std::cos(t1) * s1, std::sin(t2) * s2, std::cos(t2) * s2};
}

// Three noise values at places that the scatter draws pick.
Point3 NoiseAt(const MultiObjectParams& params, Point3 place) {
    const float z = params.noiseEvolution + 75;
    const Point3 p = place * (100 * params.noiseScale);
    return {Noise3(p.x, p.y, p.z), Noise3(p.x + 125.3f, p.y - 317.4f, p.z + z),
            Noise3(p.x + 250.6f, p.y - 634.8f, p.z + 2 * z)};
}

} // namespace

Matrix MultiObjectTransform::matrix() const {
    return Matrix::Translation(-pivot) * Matrix::Scale({size, size, size}) * ToMatrix(rotation) *
           Matrix::Translation(pivot + offset);
}

MultiObjectTransform MakeMultiObject(const MultiObjectParams& params, Point3 center,
                                     const Matrix& modelRotation, Random& random) {
    const float r0 = random.Draw01(), r1 = random.Draw01(), r2 = random.Draw01();
    random.Step(); // a fourth number is drawn and not used
    const float fraction = random.Draw01() * params.displaceRandom + 1 - params.displaceRandom;
    const float size = (1 - random.Draw01() * params.sizeRandom) * params.size;
    const float a = random.Draw01() - 0.5f, b = random.Draw01() - 0.5f, c = random.Draw01() - 0.5f;
    const float noiseShare = random.Draw01();

    MultiObjectTransform result;
    result.pivot = center;
    result.size = size;
    Quaternion turned;
    if (params.rotationRandom != 0)
        turned = Slerp({}, RandomRotation(r0, r1, r2), params.rotationRandom * 0.15915494f);
    result.rotation = turned * params.rotation;

    const Point3 direction = TransformDirection(center, Transposed(modelRotation));
    const Point3 displaced = TransformDirection(direction * params.displace * fraction, modelRotation);
    Point3 shift = Point3{a, b, c} * params.scatter;
    const Point3 amount = params.noiseAmount;
    if (amount.x != 0 || amount.y != 0 || amount.z != 0)
        shift += NoiseAt(params, {a, b, c}) * amount * noiseShare;
    result.offset = displaced + shift * kOffsetScale;
    return result;
}

MultiObjectTransform BlendMultiObject(const MultiObjectTransform& a, const MultiObjectTransform& b,
                                      float position, float rotation, float scale) {
    return {Mix(a.pivot, b.pivot, position), Slerp(a.rotation, b.rotation, rotation),
            a.size * (1 - scale) + b.size * scale, Mix(a.offset, b.offset, position)};
}

Matrix RotationPart(const Matrix& matrix) {
    const Point3 x = Normalized({matrix(0, 0), matrix(0, 1), matrix(0, 2)});
    const Point3 row{matrix(1, 0), matrix(1, 1), matrix(1, 2)};
    const Point3 y = Normalized(row - x * Dot(x, row));
    const Point3 z = Cross(x, y);
    if (!(LengthSquared(z) > 0.5f)) return {};
    Matrix r;
    const Point3 rows[3] = {x, y, z};
    for (int i = 0; i < 3; ++i) r(i, 0) = rows[i].x, r(i, 1) = rows[i].y, r(i, 2) = rows[i].z;
    return r;
}

} // namespace velorin
