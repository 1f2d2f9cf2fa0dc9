#include "Solid.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace examples {

using velorin::kPi;

Outline Circle(float radius, int points, Point2 center) {
    Outline outline;
    for (int i = 0; i < points; ++i) {
        const float a = 2 * kPi * static_cast<float>(i) / static_cast<float>(points);
        outline.push_back({center.x + radius * std::cos(a), center.y + radius * std::sin(a)});
    }
    return outline;
}

Outline Stadium(Point2 a, Point2 b, float radius, int points) {
    Outline outline;
    const float along = std::atan2(b.y - a.y, b.x - a.x);
    const int half = points / 2;
    for (int end = 0; end < 2; ++end)
        for (int i = 0; i < half; ++i) {
            const Point2 center = end == 0 ? b : a;
            const float start = along + (end == 0 ? -kPi / 2 : kPi / 2);
            const float angle = start + kPi * static_cast<float>(i) / static_cast<float>(half - 1);
            outline.push_back({center.x + radius * std::cos(angle), center.y + radius * std::sin(angle)});
        }
    return outline;
}

Outline GearOutline(int teeth, float rootRadius, float tipRadius, float toothShare) {
    // Fractions of the pitch and of the tooth's height: flank, rounded tip, flank, root.
    const float t = toothShare;
    const float fractions[8] = {0, t * 0.12f, t * 0.3f, t * 0.42f, t * 0.58f, t * 0.7f, t * 0.88f, t};
    const float heights[8] = {0, 0.45f, 0.9f, 1, 1, 0.9f, 0.45f, 0};
    Outline outline;
    for (int i = 0; i < teeth; ++i)
        for (int k = 0; k < 8; ++k) {
            const float a = 2 * kPi * (static_cast<float>(i) + fractions[k]) / static_cast<float>(teeth);
            const float r = rootRadius + (tipRadius - rootRadius) * heights[k];
            outline.push_back({r * std::cos(a), r * std::sin(a)});
        }
    return outline;
}

Outline Inset(const Outline& outline, float distance) {
    const std::size_t n = outline.size();
    Outline moved(n);
    for (std::size_t i = 0; i < n; ++i) {
        const Point2 before = outline[i] - outline[(i + n - 1) % n],
                     after = outline[(i + 1) % n] - outline[i];
        const auto left = [](Point2 d) {
            const float length = std::hypot(d.x, d.y);
            return length > 0 ? Point2{-d.y / length, d.x / length} : Point2{};
        };
        Point2 normal = left(before) + left(after);
        const float length = std::hypot(normal.x, normal.y);
        if (length > 1e-6f) normal = normal * (1 / length);
        const float cosine = std::max(0.5f, normal.x * left(after).x + normal.y * left(after).y);
        moved[i] = outline[i] + normal * (distance / cosine);
    }
    return moved;
}

Solid::Run& Solid::run() {
    if (runs_.empty() || runs_.back().group != group_ || runs_.back().material != material_)
        runs_.push_back({group_, material_, {}});
    return runs_.back();
}

void Solid::group(const std::string& name) {
    group_ = name;
}
void Solid::material(const std::string& name) {
    material_ = name;
}

std::int32_t Solid::vertex(Point3 position, Point2 uv, Point3 normal) {
    corners_.push_back(
        {TransformPoint(position, matrix_), uv, Normalized(TransformDirection(normal, matrix_))});
    return static_cast<std::int32_t>(corners_.size() - 1);
}

void Solid::face(std::int32_t a, std::int32_t b, std::int32_t c, std::int32_t d) {
    auto& faces = run().faces;
    faces.insert(faces.end(), {a, b, c, d});
}

void Solid::surface(int nu, int nv, const std::function<Point3(float, float)>& at, bool outward,
                    Point2 uvScale) {
    const auto first = static_cast<std::int32_t>(corners_.size());
    const float e = 1e-3f;
    for (int j = 0; j <= nv; ++j)
        for (int i = 0; i <= nu; ++i) {
            const float u = static_cast<float>(i) / static_cast<float>(nu);
            const float v = static_cast<float>(j) / static_cast<float>(nv);
            // One-sided differences at the rim in v; u wraps or runs on.
            const float v0 = std::max(0.0f, v - e), v1 = std::min(1.0f, v + e);
            Point3 normal = Cross(at(u + e, v) - at(u - e, v), at(u, v1) - at(u, v0));
            if (Length(normal) < 1e-9f) { // a pole: look a little inside
                const float w = v < 0.5f ? v + 4 * e : v - 4 * e;
                normal = Cross(at(u + e, w) - at(u - e, w), at(u, w + e) - at(u, w - e));
            }
            vertex(at(u, v), {u * uvScale.x, v * uvScale.y},
                   outward ? Normalized(normal) : -Normalized(normal));
        }
    const auto index = [&](int i, int j) { return first + j * (nu + 1) + i; };
    for (int j = 0; j < nv; ++j)
        for (int i = 0; i < nu; ++i) {
            const std::int32_t a = index(i, j), b = index(i + 1, j), c = index(i + 1, j + 1),
                               d = index(i, j + 1);
            const auto same = [&](std::int32_t p, std::int32_t q) {
                return Length(corners_[static_cast<std::size_t>(p)].position -
                              corners_[static_cast<std::size_t>(q)].position) < 1e-6f;
            };
            if (same(a, b)) // the poles of a sphere or of a lathe end in triangles
                outward ? face(a, c, d) : face(a, d, c);
            else if (same(c, d))
                outward ? face(a, b, c) : face(a, c, b);
            else
                outward ? face(a, b, c, d) : face(a, d, c, b);
        }
}

namespace {
// A point of the smooth curve through the profile: centripetal enough for profiles with even spacing.
// E. Catmull and R. Rom, "A class of local interpolating splines", 1974.
Point2 CatmullRom(const std::vector<Point2>& p, float t) {
    const auto last = static_cast<int>(p.size()) - 1;
    const float s = std::clamp(t, 0.0f, 1.0f) * static_cast<float>(last);
    const int i = std::min(static_cast<int>(s), last - 1);
    const float f = s - static_cast<float>(i);
    const auto at = [&](int k) { return p[static_cast<std::size_t>(std::clamp(k, 0, last))]; };
    const Point2 a = at(i - 1), b = at(i), c = at(i + 1), d = at(i + 2);
    const auto blend = [f](float w, float x, float y, float z) {
        return 0.5f * (2 * x + (y - w) * f + (2 * w - 5 * x + 4 * y - z) * f * f +
                       (3 * x - w - 3 * y + z) * f * f * f);
    };
    return {blend(a.x, b.x, c.x, d.x), blend(a.y, b.y, c.y, d.y)};
}
} // namespace

void Solid::lathe(const std::vector<Point2>& profile, int around, int along,
                  const std::function<float(float, float)>& relief, Point2 uvScale) {
    surface(
        around, along,
        [&](float u, float v) {
            const Point2 p = CatmullRom(profile, v);
            const float angle = -2 * kPi * u; // so that u runs to the right seen from outside
            float r = std::max(0.0f, p.x);
            if (relief && r > 0) r = std::max(0.0f, r + relief(angle, p.y));
            return Point3{r * std::cos(angle), p.y, r * std::sin(angle)};
        },
        true, uvScale);
}

void Solid::cap(const Outline& outer, const Outline& hole, float z, bool up) {
    const auto n = static_cast<int>(outer.size());
    const Point3 normal{0, 0, up ? 1.0f : -1.0f};
    const auto at = [&](Point2 p) {
        return vertex({p.x, p.y, z}, {p.x * 0.1f + 0.5f, p.y * 0.1f + 0.5f}, normal);
    };
    const auto first = static_cast<std::int32_t>(corners_.size());
    for (const Point2 p : outer) at(p);
    if (hole.empty()) {
        Point2 center;
        for (const Point2 p : outer) center = center + p * (1.0f / static_cast<float>(n));
        const std::int32_t middle = at(center);
        for (int i = 0; i < n; ++i) {
            const std::int32_t a = first + i, b = first + (i + 1) % n;
            up ? face(middle, a, b) : face(middle, b, a);
        }
        return;
    }
    for (const Point2 p : hole) at(p);
    for (int i = 0; i < n; ++i) {
        const int k = (i + 1) % n;
        up ? face(first + i, first + k, first + n + k, first + n + i)
           : face(first + i, first + n + i, first + n + k, first + k);
    }
}

void Solid::band(const Outline& lower, float z0, const Outline& upper, float z1, bool outward, bool smooth) {
    const std::size_t n = lower.size();
    const auto point = [](Point2 p, float z) { return Point3{p.x, p.y, z}; };
    const auto segmentNormal = [&](std::size_t i) {
        const std::size_t k = (i + 1) % n;
        const Point3 normal = Normalized(
            Cross(point(lower[k], z0) - point(lower[i], z0), point(upper[i], z1) - point(lower[i], z0)));
        return outward ? normal : -normal;
    };
    for (std::size_t i = 0; i < n; ++i) {
        const std::size_t k = (i + 1) % n;
        Point3 ni = segmentNormal(i), nk = ni;
        if (smooth) {
            ni = Normalized(segmentNormal((i + n - 1) % n) + ni);
            nk = Normalized(segmentNormal(k) + nk);
        }
        const float ui = static_cast<float>(i) / static_cast<float>(n),
                    uk = static_cast<float>(i + 1) / static_cast<float>(n);
        const std::int32_t a = vertex(point(lower[i], z0), {ui, 0}, ni),
                           b = vertex(point(lower[k], z0), {uk, 0}, nk);
        const std::int32_t c = vertex(point(upper[k], z1), {uk, 1}, nk),
                           d = vertex(point(upper[i], z1), {ui, 1}, ni);
        outward ? face(a, b, c, d) : face(a, d, c, b);
    }
}

void Solid::plate(const Outline& outer, const Outline& hole, float back, float front, float chamfer,
                  bool smooth) {
    const Outline rim = Inset(outer, chamfer);
    band(outer, back + chamfer, outer, front - chamfer, true, smooth);
    band(outer, front - chamfer, rim, front, true, smooth);
    band(rim, back, outer, back + chamfer, true, smooth);
    Outline holeRim;
    if (!hole.empty()) {
        holeRim = Inset(hole, -chamfer);
        band(hole, back + chamfer, hole, front - chamfer, false, true);
        band(hole, front - chamfer, holeRim, front, false, true);
        band(holeRim, back, hole, back + chamfer, false, true);
    }
    cap(rim, holeRim, front, true);
    cap(rim, holeRim, back, false);
}

void Solid::sphere(Point3 center, float radius, int around) {
    surface(around, around / 2, [=](float u, float v) {
        const float a = -2 * kPi * u, b = kPi * (v - 0.5f);
        return center + Point3{std::cos(b) * std::cos(a), std::sin(b), std::cos(b) * std::sin(a)} * radius;
    });
}

void Solid::torus(Point3 center, float ring, float section, int around, int sides) {
    surface(around, sides, [=](float u, float v) {
        const float a = 2 * kPi * u, b = 2 * kPi * v;
        const float r = ring + section * std::cos(b);
        return center + Point3{r * std::cos(a), r * std::sin(a), section * std::sin(b)};
    });
}

void Solid::tube(const std::vector<Point3>& path, float radius, int sides) {
    const auto last = static_cast<int>(path.size()) - 1;
    const auto at = [&](int i) { return path[static_cast<std::size_t>(std::clamp(i, 0, last))]; };
    surface(
        sides, last,
        [&](float u, float v) {
            const float s = std::clamp(v, 0.0f, 1.0f) * static_cast<float>(last);
            const int i = std::min(static_cast<int>(s), last - 1);
            const Point3 position = Mix(at(i), at(i + 1), s - static_cast<float>(i));
            const Point3 ahead = Normalized(at(i + 1) - at(i));
            const Point3 side =
                Normalized(Cross(ahead, std::abs(ahead.z) < 0.9f ? Point3{0, 0, 1} : Point3{1, 0, 0}));
            const Point3 up = Cross(ahead, side);
            const float a = 2 * kPi * u;
            return position + side * (radius * std::cos(a)) + up * (radius * std::sin(a));
        },
        true);
}

std::size_t Solid::triangles() const {
    std::size_t count = 0;
    for (const Run& part : runs_)
        for (std::size_t i = 3; i < part.faces.size(); i += 4) count += part.faces[i] < 0 ? 1 : 2;
    return count;
}

bool Solid::write(const std::filesystem::path& path, const std::string& comment) const {
    std::FILE* file = std::fopen(path.c_str(), "w");
    if (!file) {
        std::fprintf(stderr, "%s cannot be written\n", path.c_str());
        return false;
    }
    std::fprintf(file, "# %s\n", comment.c_str());
    for (const Corner& c : corners_)
        std::fprintf(file, "v %.5f %.5f %.5f\n", c.position.x, c.position.y, c.position.z);
    for (const Corner& c : corners_) std::fprintf(file, "vt %.5f %.5f\n", c.uv.x, c.uv.y);
    for (const Corner& c : corners_)
        std::fprintf(file, "vn %.4f %.4f %.4f\n", c.normal.x, c.normal.y, c.normal.z);
    std::string group;
    for (const Run& part : runs_) {
        if (part.group != group) std::fprintf(file, "g %s\n", part.group.c_str());
        group = part.group;
        std::fprintf(file, "usemtl %s\n", part.material.c_str());
        for (std::size_t i = 0; i < part.faces.size(); i += 4) {
            std::fputs("f", file);
            for (std::size_t k = 0; k < 4 && part.faces[i + k] >= 0; ++k) {
                const int n = part.faces[i + k] + 1;
                std::fprintf(file, " %d/%d/%d", n, n, n);
            }
            std::fputc('\n', file);
        }
    }
    const bool good = std::fflush(file) == 0 && std::ferror(file) == 0;
    std::fclose(file);
    if (!good) std::fprintf(stderr, "%s could not be written whole\n", path.c_str());
    return good;
}

} // namespace examples
