#include "services/NxMath.h"

#include <gtest/gtest.h>

#include <random>

namespace velorin {
namespace {

void ExpectNear(Point3 a, Point3 b, float tolerance = 1e-5f) {
    EXPECT_NEAR(a.x, b.x, tolerance);
    EXPECT_NEAR(a.y, b.y, tolerance);
    EXPECT_NEAR(a.z, b.z, tolerance);
}

void ExpectNear(const Matrix& a, const Matrix& b, float tolerance = 1e-5f) {
    for (std::size_t i = 0; i < 16; ++i) EXPECT_NEAR(a.m[i], b.m[i], tolerance) << "element " << i;
}

// Rotation of a row vector by the elementary matrices, written out from the definition v' = v * R.
Matrix AxisRotation(int axis, float angle) {
    const float c = std::cos(angle), s = std::sin(angle);
    Matrix r;
    const int a = (axis + 1) % 3, b = (axis + 2) % 3;
    r(a, a) = c, r(a, b) = -s, r(b, a) = s, r(b, b) = c;
    return r;
}

TEST(NxMath, TransformAppliesRowsAndLeftFactorFirst) {
    const Matrix move = Matrix::Translation({10, 20, 30}), grow = Matrix::Scale({2, 3, 4});
    ExpectNear(TransformPoint({1, 1, 1}, move * grow), {22, 63, 124});
    ExpectNear(TransformPoint({1, 1, 1}, grow * move), {12, 23, 34});
    ExpectNear(TransformDirection({1, 1, 1}, grow * move), {2, 3, 4});
    // A projective column: x' = 1, w = z.
    Matrix projection;
    projection(2, 3) = 1, projection(3, 3) = 0;
    ExpectNear(TransformPoint({6, 8, 2}, projection), {3, 4, 1});
    // w = 0 divides nothing.
    ExpectNear(TransformPoint({6, 8, 0}, projection), {6, 8, 0});
    EXPECT_FLOAT_EQ(move.data()[12], 10.f);
}

TEST(NxMath, QuaternionFromEulerTurnsAboutZThenYThenX) {
    const float x = 0.3f, y = -1.1f, z = 2.2f;
    ExpectNear(ToMatrix(QuaternionFromEuler(x, 0, 0)), AxisRotation(0, x));
    ExpectNear(ToMatrix(QuaternionFromEuler(0, y, 0)), AxisRotation(1, y));
    ExpectNear(ToMatrix(QuaternionFromEuler(0, 0, z)), AxisRotation(2, z));
    // qz * qy * qx, the left factor first.
    ExpectNear(ToMatrix(QuaternionFromEuler(x, y, z)),
               AxisRotation(2, z) * AxisRotation(1, y) * AxisRotation(0, x));
    // A quarter turn about z: the row vector x goes to -y with this sign convention.
    ExpectNear(TransformDirection({1, 0, 0}, ToMatrix(QuaternionFromEuler(0, 0, kPi / 2))), {0, -1, 0});
}

TEST(NxMath, QuaternionProductIsTheMatrixProduct) {
    const Quaternion a = QuaternionFromEuler(0.2f, 0.4f, -0.9f), b = QuaternionFromEuler(-1.3f, 0.1f, 0.5f);
    ExpectNear(ToMatrix(a * b), ToMatrix(a) * ToMatrix(b));
    const Quaternion i{1, 0, 0, 0}, j{0, 1, 0, 0}, k{0, 0, 1, 0};
    EXPECT_EQ(i * j, k);
    EXPECT_EQ(j * i, (Quaternion{0, 0, -1, 0}));
}

TEST(NxMath, InverseUndoes) {
    Matrix a;
    a.m = {2, 0, 1, 0, 0, 3, 0, 0, 1, 0, 1, 0, 5, 6, 7, 1};
    // By hand: upper left ((2 0 1)(0 3 0)(1 0 1)) has determinant 3 and inverse ((1 0 -1)(0 1/3 0)(-1 0 2)).
    Matrix expected;
    expected.m = {1, 0, -1, 0, 0, 1 / 3.f, 0, 0, -1, 0, 2, 0, 2, -2, -9, 1};
    ExpectNear(Inverse(a), expected);
    EXPECT_NEAR(Determinant3(a), 3, 1e-6);
    EXPECT_LT(Determinant3(a * Matrix::Scale({-1, 1, 1})), 0);

    std::mt19937 random(7);
    std::uniform_real_distribution<float> value(-2, 2);
    for (int n = 0; n < 100; ++n) {
        Matrix m;
        for (float& e : m.m) e = value(random);
        for (int i = 0; i < 4; ++i) m(i, i) += 6; // diagonally dominant enough to be well conditioned
        ExpectNear(m * Inverse(m), Matrix{}, 1e-4f);
    }
    EXPECT_EQ(Inverse(Matrix::Scale({1, 0, 1})), Matrix{});
    Matrix withNaN;
    withNaN(1, 1) = std::nanf("");
    EXPECT_EQ(Inverse(withNaN), Matrix{});
    // The mixture of magnitudes of a camera matrix far from the origin.
    const Matrix camera = Matrix::Scale({1e-4f, 1e-4f, 1e-4f}) * Matrix::Translation({1e5f, -2e5f, 3e5f});
    ExpectNear(TransformPoint({1e5f + 0.25f, -2e5f, 3e5f}, Inverse(camera)), {2500, 0, 0}, 100);
}

TEST(NxMath, SlerpMovesAtConstantSpeedOnTheShorterArc) {
    const Quaternion from = QuaternionFromEuler(0, 0, 0), to = QuaternionFromEuler(0, 0, 2);
    for (const float t : {0.f, 0.25f, 0.5f, 1.f}) {
        const Quaternion expected = QuaternionFromEuler(0, 0, 2 * t), q = Slerp(from, to, t);
        EXPECT_NEAR(q.z, expected.z, 1e-6) << t;
        EXPECT_NEAR(q.w, expected.w, 1e-6) << t;
    }
    const Quaternion opposite{-to.x, -to.y, -to.z, -to.w}; // the same rotation
    EXPECT_NEAR(Slerp(from, opposite, 0.5f).z, Slerp(from, to, 0.5f).z, 1e-6);
    const Quaternion near = QuaternionFromEuler(0, 0, 1e-3f);
    EXPECT_NEAR(Slerp(from, near, 0.5f).z, 0.25e-3f, 1e-7);
}

} // namespace
} // namespace velorin
