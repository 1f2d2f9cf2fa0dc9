#include "model/primitives/PrimitiveMesh.h"

#include <algorithm>
#include <cmath>

namespace velorin {

namespace {

// `segments` equal steps from -half to half, both exact.
std::vector<float> Steps(float half, int segments) {
    std::vector<float> steps;
    for (int i = 0; i <= segments; ++i)
        steps.push_back(i == 0 ? -half
                        : i == segments
                            ? half
                            : half * (2 * static_cast<float>(i) / static_cast<float>(segments) - 1));
    return steps;
}

// A place on the ring that goes around z: the flat place, to which a rim adds its radius along `direction`.
struct RingPoint {
    Point2 flat, direction;
    float share = 0; // along its side, which is a straight part and the corner behind it
};

class Box {
public:
    Box(ModelData& model, const BoxParameters& p) : mesh_(model) {
        const Point3 size{Limit(p.size.x, 0.001f, 100), Limit(p.size.y, 0.001f, 100),
                          Limit(p.size.z, 0.001f, 100)};
        const float largest = std::max({size.x, size.y, size.z});
        const float c =
            std::min({Limit(p.chamfer, 0, 50), 0.99f * size.x / 2, 0.99f * size.y / 2, 0.99f * size.z / 2}) /
            largest;
        unit_ = largest * 100;
        c_ = c;
        half_ = size * (0.5f / largest);
        n_ = c > 0 ? Count(p.chamferSegments, 1, 200) : 0;
        xs_ = Steps(half_.x - c, Count(p.sizeSegments.x, 1, 200));
        ys_ = Steps(half_.y - c, Count(p.sizeSegments.y, 1, 200));
        zs_ = Steps(half_.z - c, Count(p.sizeSegments.z, 1, 200));
    }

    void Build(bool flat) {
        Cap(-1);
        for (int side = 0; side < 4; ++side) Side(side);
        Cap(1);
        mesh_.Finish(flat);
    }

private:
    // The flat face at -z or z.
    void Cap(float z) {
        mesh_.Grid(static_cast<int>(ys_.size()), static_cast<int>(xs_.size()), [&](int row, int column) {
            // Up the front, down the back: outward both ways.
            const std::size_t last = ys_.size() - 1, r = static_cast<std::size_t>(row);
            const float x = xs_[static_cast<std::size_t>(column)], y = ys_[z < 0 ? last - r : r];
            const float u = x / (2 * half_.x) + 0.5f;
            return ModelVertex{Point3{x, y, z * half_.z} * unit_,
                               {Inset(z < 0 ? u : 1 - u), Inset(y / (2 * half_.y) + 0.5f)},
                               {0, 0, z},
                               {}};
        });
    }

    // A straight part of the ring and the corner behind it. Sides in the order +x, +y, -x, -y.
    std::vector<RingPoint> Ring(int side) const {
        const bool alongY = side % 2 == 0;
        const std::vector<float>& steps = alongY ? ys_ : xs_;
        const float sign = side < 2 ? 1.0f : -1.0f; // of the face's axis
        const float away = (alongY ? half_.x : half_.y) - c_;
        const float straight = 2 * steps.back(), corner = c_ * kQuarterTurn, total = straight + corner;
        const Point2 direction = alongY ? Point2{sign, 0} : Point2{0, sign};
        const Point2 next{-direction.y, direction.x}; // of the next side, a quarter turn from x to y
        std::vector<RingPoint> ring;
        for (std::size_t i = 0; i < steps.size(); ++i) {
            // +x goes with y, +y against x, and so on.
            const bool forward = side == 0 || side == 3;
            const float along = steps[forward ? i : steps.size() - 1 - i];
            const Point2 flat = alongY ? Point2{sign * away, along} : Point2{along, sign * away};
            ring.push_back({flat, direction,
                            straight / total * static_cast<float>(i) / static_cast<float>(steps.size() - 1)});
        }
        const Quarter quarter(std::max(n_, 1));
        for (std::size_t i = 1; i <= static_cast<std::size_t>(n_); ++i)
            ring.push_back({ring[steps.size() - 1].flat,
                            direction * quarter.cosine[i] + next * quarter.sine[i],
                            (straight + corner * static_cast<float>(i) / static_cast<float>(n_)) / total});
        return ring;
    }

    // Rows from the front to the back: a rim, the wall and a rim.
    struct Row {
        float z, radius; // radius: of the rim, along the ring's direction
        float normalRing, normalZ;
        float share;
    };
    std::vector<Row> Rows() const {
        std::vector<Row> rows;
        const Quarter quarter(std::max(n_, 1));
        const float corner = c_ * kQuarterTurn, straight = 2 * zs_.back(), total = straight + 2 * corner;
        for (int i = n_; i >= 1; --i) {
            const auto k = static_cast<std::size_t>(i);
            rows.push_back({i == n_ ? -half_.z : -zs_.back() - c_ * quarter.sine[k], c_ * quarter.cosine[k],
                            quarter.cosine[k], -quarter.sine[k],
                            corner * static_cast<float>(n_ - i) / static_cast<float>(n_) / total});
        }
        for (std::size_t i = 0; i < zs_.size(); ++i) {
            const float share = static_cast<float>(i) / static_cast<float>(zs_.size() - 1);
            const bool edge = n_ == 0 && (i == 0 || i + 1 == zs_.size());
            rows.push_back({edge ? std::copysign(half_.z, zs_[i]) : zs_[i], c_, 1, 0,
                            (corner + straight * share) / total});
        }
        for (int i = 1; i <= n_; ++i) {
            const auto k = static_cast<std::size_t>(i);
            rows.push_back(
                {i == n_ ? half_.z : zs_.back() + c_ * quarter.sine[k], c_ * quarter.cosine[k],
                 quarter.cosine[k], quarter.sine[k],
                 (corner + straight + corner * static_cast<float>(i) / static_cast<float>(n_)) / total});
        }
        return rows;
    }

    void Side(int side) {
        const std::vector<RingPoint> ring = Ring(side);
        const std::vector<Row> rows = Rows();
        mesh_.Grid(static_cast<int>(rows.size()), static_cast<int>(ring.size()), [&](int r, int k) {
            const Row& row = rows[static_cast<std::size_t>(r)];
            const RingPoint& p = ring[static_cast<std::size_t>(k)];
            const Point2 place = p.flat + p.direction * row.radius;
            const Point2 n = p.direction * row.normalRing;
            return ModelVertex{Point3{place.x, place.y, row.z} * unit_,
                               TexCoord(side, p.share, row.share),
                               {n.x, n.y, row.normalZ},
                               {}};
        });
    }
    // Each face shows the picture upright, or with its top at the back, as seen from outside.
    static Point2 TexCoord(int side, float ring, float z) {
        switch (side) {
        case 0:
            return {Inset(z), Inset(ring)};
        case 1:
            return {Inset(1 - ring), Inset(z)};
        case 2:
            return {Inset(1 - z), Inset(1 - ring)};
        default:
            return {Inset(ring), Inset(1 - z)};
        }
    }

    PrimitiveMesh mesh_;
    // Half the sizes over the largest size, the rim's radius in the same unit, and what brings it back.
    Point3 half_;
    float c_ = 0, unit_ = 1;
    int n_ = 0;
    std::vector<float> xs_, ys_, zs_; // steps of the flat parts
};

} // namespace

void BuildBox(ModelData& model, const BoxParameters& p) {
    Box(model, p).Build(p.noSmoothing);
}

} // namespace velorin
