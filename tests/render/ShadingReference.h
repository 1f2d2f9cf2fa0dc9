#pragma once

#include "services/NxMath.h"

#include <algorithm>
#include <cmath>

// The shading formulas evaluated on the CPU, for one point, written apart from the shader texts.
namespace velorin::test::reference {

struct Light {
    int type = 2; // 1 parallel, 2 point, 3 spot
    Point3 position;
    Point3 travel{0, 0, 1}; // the way the light goes
    Point3 colour{1, 1, 1}; // linear
    double falloff = 0;
    double halfCone = 0.7, feather = 0;
};

inline Point3 ToLight(const Light& light, Point3 p) {
    return light.type == 1 ? -light.travel : Normalized(light.position - p);
}

// Falls with the distance, and with the angle for a spot.
inline double Reach(const Light& light, Point3 p) {
    const double d = Length(light.position - p);
    double reach = 1 / (1 + d * light.falloff + d * d * light.falloff * 0.2);
    if (light.type == 3) {
        const double angle = std::acos(std::clamp<double>(-Dot(light.travel, ToLight(light, p)), -1, 1));
        if (angle > light.halfCone) return 0;
        double f = 1;
        if (light.feather > 0)
            f = std::clamp((light.halfCone - angle) / light.halfCone / light.feather, 0.0, 1.0);
        reach *= std::pow(f * f * (3 - 2 * f), 2);
    }
    return reach;
}

inline double Lambert(const Light& light, Point3 p, Point3 n) {
    return std::max(0.0f, Dot(ToLight(light, p), n)) * Reach(light, p);
}

inline double StandardLobe(const Light& light, Point3 p, Point3 n, Point3 eye, double exponent, double size) {
    const Point3 l = ToLight(light, p);
    const double ndotl = std::max(0.0f, Dot(l, n));
    const Point3 mirrored = n * (2 * Dot(l, n)) - l;
    return std::pow(std::clamp(Dot(mirrored, eye) * size, 0.0, 1.0), exponent) * std::min(1.0, ndotl * 10) *
           Reach(light, p);
}

// Microfacet lobe times Lambert's cosine.
inline double Microfacet(const Light& light, Point3 p, Point3 n, Point3 eye, double roughness,
                         double compression) {
    const Point3 l = ToLight(light, p), h = Normalized(l + eye);
    const double nl = std::max(0.0f, Dot(n, l)), nv = std::max(0.0f, Dot(n, eye)),
                 nh = std::max(0.0f, Dot(n, h));
    const double a = std::pow(0.125 + 0.875 * roughness, 3), a2 = a * a;
    const double d = a2 / (3.14159265 * std::pow(1 + nh * nh * (a2 - 1), 2));
    const auto g = [&](double c) { return 1 / (c * (1 - a / 2) + a / 2); };
    const double value = d * g(nl) * g(nv) * nv / 4;
    const double share = compression * std::clamp((value - 1) * 100, 0.0, 1.0);
    return ((1 - share) * value + share * std::log2(1 + value)) * Lambert(light, p, n);
}

inline double Fresnel(double incident, double amount, double exponent) {
    if (exponent < 0.01) return 1;
    const double base = amount > 0 ? 1 - incident : incident;
    return 1 - std::abs(amount) * (1 - std::pow(base, exponent));
}

struct Grade {
    double gamma = 1, contrast = 0, saturation = 1, brightness = 1;
    double inLow = 0, inHigh = 1, outLow = 0, outHigh = 1;
};

inline Point3 Graded(Point3 c, const Grade& g) {
    double v[3] = {c.x, c.y, c.z};
    for (double& x : v) {
        if (g.contrast > 0)
            x = std::min(std::max(x, 1.0), std::max(0.0, x * g.contrast - (g.contrast - 1) / 2));
        else
            x = x + x * g.contrast - g.contrast / 2;
    }
    const double lum = (*std::max_element(v, v + 3) + *std::min_element(v, v + 3)) / 2;
    for (double& x : v) {
        x = std::max(0.0, lum + (x - lum) * g.saturation) * g.brightness;
        x = (x - g.inLow) / std::max(0.01, g.inHigh - g.inLow);
        x = std::pow(std::max(0.0, g.outLow + x * (g.outHigh - g.outLow)), g.gamma);
    }
    return {static_cast<float>(v[0]), static_cast<float>(v[1]), static_cast<float>(v[2])};
}

// Texture coordinates of a direction in an equirectangular picture whose middle is straight ahead and whose
// top row is up.
inline Point2 PictureOf(Point3 d) {
    return {static_cast<float>(0.5 + std::atan2(d.x, d.z) / (2 * 3.14159265)),
            static_cast<float>(0.5 + std::asin(std::clamp(d.y / Length(d), -1.0f, 1.0f)) / 3.14159265)};
}

// The direction of the point (s, t), both 0 to 1, of a cube's face, by OpenGL's table ("Cube map texture
// selection").
inline Point3 CubeDirection(int face, float s, float t) {
    const float a = 2 * s - 1, b = 2 * t - 1;
    const Point3 directions[] = {{1, -b, -a}, {-1, -b, a}, {a, 1, b}, {a, -1, -b}, {a, -b, 1}, {-a, -b, -1}};
    return Normalized(directions[face]);
}

// Of the microfacets' normals by their angle to the surface's, GGX: how many are within `angle`.
inline double ShareWithin(double angle, double roughness) {
    const double slope = std::tan(angle) * std::tan(angle);
    return slope / (roughness * roughness + slope);
}

inline Point3 Reflected(Point3 incoming, Point3 n) {
    return incoming - n * (2 * Dot(incoming, n));
}

} // namespace velorin::test::reference
