#pragma once

#include <array>
#include <cmath>
#include <cstddef>

// Vectors, quaternions and matrices of the whole system, single precision.
//
// World space is the host's: x right, y down, z away from the viewer, in pixels of the composition.
// Vectors are rows: `v * M`, and in `A * B` the left factor acts first. A matrix is 16 floats, element
// (row r, column c) at 4 * r + c, translation in 12 to 14. The same 16 floats read by OpenGL as a
// column-major matrix for column vectors mean the same transform, so they are uploaded without transposing.

namespace velorin {

inline constexpr float kPi = 3.14159265358979f;
inline constexpr float kRadiansPerDegree = 0.017453292f;

struct Point2 {
    float x = 0, y = 0;
    friend bool operator==(const Point2&, const Point2&) = default;
};

struct Point3 {
    float x = 0, y = 0, z = 0;
    friend bool operator==(const Point3&, const Point3&) = default;
};

struct Point4 {
    float x = 0, y = 0, z = 0, w = 0;
    friend bool operator==(const Point4&, const Point4&) = default;
};

constexpr Point2 operator+(Point2 a, Point2 b) {
    return {a.x + b.x, a.y + b.y};
}
constexpr Point2 operator-(Point2 a, Point2 b) {
    return {a.x - b.x, a.y - b.y};
}
constexpr Point2 operator*(Point2 a, float s) {
    return {a.x * s, a.y * s};
}

constexpr Point3 operator+(Point3 a, Point3 b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
constexpr Point3 operator-(Point3 a, Point3 b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
constexpr Point3 operator-(Point3 a) {
    return {-a.x, -a.y, -a.z};
}
constexpr Point3 operator*(Point3 a, float s) {
    return {a.x * s, a.y * s, a.z * s};
}
constexpr Point3 operator*(float s, Point3 a) {
    return a * s;
}
constexpr Point3 operator*(Point3 a, Point3 b) {
    return {a.x * b.x, a.y * b.y, a.z * b.z};
} // by component
constexpr Point3& operator+=(Point3& a, Point3 b) {
    return a = a + b;
}
constexpr Point3& operator-=(Point3& a, Point3 b) {
    return a = a - b;
}
constexpr Point3& operator*=(Point3& a, float s) {
    return a = a * s;
}

[[nodiscard]] constexpr float Dot(Point3 a, Point3 b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
[[nodiscard]] constexpr Point3 Cross(Point3 a, Point3 b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
[[nodiscard]] constexpr float LengthSquared(Point3 a) {
    return Dot(a, a);
}
[[nodiscard]] inline float Length(Point3 a) {
    return std::sqrt(Dot(a, a));
}
// The zero vector stays zero.
[[nodiscard]] inline Point3 Normalized(Point3 a) {
    const float length = Length(a);
    return length > 0 ? a * (1 / length) : a;
}
[[nodiscard]] constexpr Point3 Mix(Point3 a, Point3 b, float t) {
    return a * (1 - t) + b * t;
}

// Hamilton's product in `a * b`. As a rotation it turns row vectors (ToMatrix), so the left factor acts
// first.
struct Quaternion {
    float x = 0, y = 0, z = 0, w = 1;
    friend bool operator==(const Quaternion&, const Quaternion&) = default;
};

[[nodiscard]] constexpr Quaternion operator*(Quaternion a, Quaternion b) {
    return {a.w * b.x + a.x * b.w + a.y * b.z - a.z * b.y, a.w * b.y - a.x * b.z + a.y * b.w + a.z * b.x,
            a.w * b.z + a.x * b.y - a.y * b.x + a.z * b.w, a.w * b.w - a.x * b.x - a.y * b.y - a.z * b.z};
}

// From Euler angles in radians: the product qz * qy * qx of the three axis rotations.
[[nodiscard]] inline Quaternion QuaternionFromEuler(float x, float y, float z) {
    const float cx = std::cos(x / 2), cy = std::cos(y / 2), cz = std::cos(z / 2);
    const float sx = std::sin(x / 2), sy = std::sin(y / 2), sz = std::sin(z / 2);
    return {sx * cy * cz - cx * sy * sz, cx * sy * cz + sx * cy * sz, cx * cy * sz - sx * sy * cz,
            cx * cy * cz + sx * sy * sz};
}

struct Matrix {
    std::array<float, 16> m{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

    [[nodiscard]] constexpr float& operator()(int row, int column) {
        return m[static_cast<std::size_t>(4 * row + column)];
    }
    [[nodiscard]] constexpr float operator()(int row, int column) const {
        return m[static_cast<std::size_t>(4 * row + column)];
    }
    [[nodiscard]] const float* data() const { return m.data(); }
    [[nodiscard]] constexpr Point3 translation() const { return {m[12], m[13], m[14]}; }
    friend bool operator==(const Matrix&, const Matrix&) = default;

    [[nodiscard]] static constexpr Matrix Translation(Point3 t) {
        Matrix r;
        r.m[12] = t.x, r.m[13] = t.y, r.m[14] = t.z;
        return r;
    }
    [[nodiscard]] static constexpr Matrix Scale(Point3 s) {
        Matrix r;
        r.m[0] = s.x, r.m[5] = s.y, r.m[10] = s.z;
        return r;
    }
};

// `a` acts first.
[[nodiscard]] constexpr Matrix operator*(const Matrix& a, const Matrix& b) {
    Matrix r;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            r(i, j) = a(i, 0) * b(0, j) + a(i, 1) * b(1, j) + a(i, 2) * b(2, j) + a(i, 3) * b(3, j);
    return r;
}

[[nodiscard]] constexpr Point4 Transform(Point4 v, const Matrix& a) {
    return {v.x * a(0, 0) + v.y * a(1, 0) + v.z * a(2, 0) + v.w * a(3, 0),
            v.x * a(0, 1) + v.y * a(1, 1) + v.z * a(2, 1) + v.w * a(3, 1),
            v.x * a(0, 2) + v.y * a(1, 2) + v.z * a(2, 2) + v.w * a(3, 2),
            v.x * a(0, 3) + v.y * a(1, 3) + v.z * a(2, 3) + v.w * a(3, 3)};
}

// A point (w = 1), divided by the resulting w when that is neither 0 nor 1.
[[nodiscard]] constexpr Point3 TransformPoint(Point3 p, const Matrix& a) {
    const Point4 r = Transform(Point4{p.x, p.y, p.z, 1}, a);
    if (r.w == 0 || r.w == 1) return {r.x, r.y, r.z};
    return {r.x / r.w, r.y / r.w, r.z / r.w};
}

// A direction (w = 0): no translation, no normalisation.
[[nodiscard]] constexpr Point3 TransformDirection(Point3 d, const Matrix& a) {
    return {d.x * a(0, 0) + d.y * a(1, 0) + d.z * a(2, 0), d.x * a(0, 1) + d.y * a(1, 1) + d.z * a(2, 1),
            d.x * a(0, 2) + d.y * a(1, 2) + d.z * a(2, 2)};
}

[[nodiscard]] constexpr Matrix Transposed(const Matrix& a) {
    Matrix r;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) r(i, j) = a(j, i);
    return r;
}

// The 3 by 3 of a quaternion, for row vectors: Matrix(a * b) equals Matrix(a) * Matrix(b).
[[nodiscard]] constexpr Matrix ToMatrix(Quaternion q) {
    Matrix r;
    r(0, 0) = 1 - 2 * (q.y * q.y + q.z * q.z);
    r(0, 1) = 2 * (q.x * q.y - q.z * q.w);
    r(0, 2) = 2 * (q.x * q.z + q.y * q.w);
    r(1, 0) = 2 * (q.x * q.y + q.z * q.w);
    r(1, 1) = 1 - 2 * (q.x * q.x + q.z * q.z);
    r(1, 2) = 2 * (q.y * q.z - q.x * q.w);
    r(2, 0) = 2 * (q.x * q.z - q.y * q.w);
    r(2, 1) = 2 * (q.y * q.z + q.x * q.w);
    r(2, 2) = 1 - 2 * (q.x * q.x + q.y * q.y);
    return r;
}

// Inverse by cofactors; a singular matrix gives the identity.
[[nodiscard]] Matrix Inverse(const Matrix& a);

// Of the upper left 3 by 3; negative for a mirroring transform.
[[nodiscard]] constexpr float Determinant3(const Matrix& a) {
    return a(0, 0) * (a(1, 1) * a(2, 2) - a(1, 2) * a(2, 1)) -
           a(0, 1) * (a(1, 0) * a(2, 2) - a(1, 2) * a(2, 0)) +
           a(0, 2) * (a(1, 0) * a(2, 1) - a(1, 1) * a(2, 0));
}

// Spherical interpolation along the shorter arc; nearly equal rotations fall back to a linear blend.
// K. Shoemake, "Animating rotation with quaternion curves", 1985.
[[nodiscard]] Quaternion Slerp(Quaternion a, Quaternion b, float t);

} // namespace velorin
