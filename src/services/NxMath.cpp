#include "services/NxMath.h"

namespace velorin {

Matrix Inverse(const Matrix& a) {
    // Cofactors in double: camera matrices mix values of 1e-4 and 1e6.
    double s[6], c[6];
    const auto e = [&](int r, int k) { return static_cast<double>(a(r, k)); };
    s[0] = e(0, 0) * e(1, 1) - e(1, 0) * e(0, 1);
    s[1] = e(0, 0) * e(1, 2) - e(1, 0) * e(0, 2);
    s[2] = e(0, 0) * e(1, 3) - e(1, 0) * e(0, 3);
    s[3] = e(0, 1) * e(1, 2) - e(1, 1) * e(0, 2);
    s[4] = e(0, 1) * e(1, 3) - e(1, 1) * e(0, 3);
    s[5] = e(0, 2) * e(1, 3) - e(1, 2) * e(0, 3);
    c[5] = e(2, 2) * e(3, 3) - e(3, 2) * e(2, 3);
    c[4] = e(2, 1) * e(3, 3) - e(3, 1) * e(2, 3);
    c[3] = e(2, 1) * e(3, 2) - e(3, 1) * e(2, 2);
    c[2] = e(2, 0) * e(3, 3) - e(3, 0) * e(2, 3);
    c[1] = e(2, 0) * e(3, 2) - e(3, 0) * e(2, 2);
    c[0] = e(2, 0) * e(3, 1) - e(3, 0) * e(2, 1);
    const double det = s[0] * c[5] - s[1] * c[4] + s[2] * c[3] + s[3] * c[2] - s[4] * c[1] + s[5] * c[0];
    if (det == 0 || !std::isfinite(det)) return {};
    const double f = 1 / det;
    Matrix r;
    const auto set = [&](int i, int j, double v) { r(i, j) = static_cast<float>(v * f); };
    set(0, 0, e(1, 1) * c[5] - e(1, 2) * c[4] + e(1, 3) * c[3]);
    set(0, 1, -e(0, 1) * c[5] + e(0, 2) * c[4] - e(0, 3) * c[3]);
    set(0, 2, e(3, 1) * s[5] - e(3, 2) * s[4] + e(3, 3) * s[3]);
    set(0, 3, -e(2, 1) * s[5] + e(2, 2) * s[4] - e(2, 3) * s[3]);
    set(1, 0, -e(1, 0) * c[5] + e(1, 2) * c[2] - e(1, 3) * c[1]);
    set(1, 1, e(0, 0) * c[5] - e(0, 2) * c[2] + e(0, 3) * c[1]);
    set(1, 2, -e(3, 0) * s[5] + e(3, 2) * s[2] - e(3, 3) * s[1]);
    set(1, 3, e(2, 0) * s[5] - e(2, 2) * s[2] + e(2, 3) * s[1]);
    set(2, 0, e(1, 0) * c[4] - e(1, 1) * c[2] + e(1, 3) * c[0]);
    set(2, 1, -e(0, 0) * c[4] + e(0, 1) * c[2] - e(0, 3) * c[0]);
    set(2, 2, e(3, 0) * s[4] - e(3, 1) * s[2] + e(3, 3) * s[0]);
    set(2, 3, -e(2, 0) * s[4] + e(2, 1) * s[2] - e(2, 3) * s[0]);
    set(3, 0, -e(1, 0) * c[3] + e(1, 1) * c[1] - e(1, 2) * c[0]);
    set(3, 1, e(0, 0) * c[3] - e(0, 1) * c[1] + e(0, 2) * c[0]);
    set(3, 2, -e(3, 0) * s[3] + e(3, 1) * s[1] - e(3, 2) * s[0]);
    set(3, 3, e(2, 0) * s[3] - e(2, 1) * s[1] + e(2, 2) * s[0]);
    return r;
}

Quaternion Slerp(Quaternion a, Quaternion b, float t) {
    float cosine = a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w;
    if (cosine < 0) {
        cosine = -cosine;
        b = {-b.x, -b.y, -b.z, -b.w};
    }
    float fa = 1 - t, fb = t;
    if (1 - cosine > 0.0001f) {
        const float angle = std::acos(cosine), sine = std::sin(angle);
        fa = std::sin((1 - t) * angle) / sine;
        fb = std::sin(t * angle) / sine;
    }
    return {fa * a.x + fb * b.x, fa * a.y + fb * b.y, fa * a.z + fb * b.z, fa * a.w + fb * b.w};
}

} // namespace velorin
