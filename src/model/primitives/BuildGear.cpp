#include "model/primitives/PrimitiveMesh.h"

#include <algorithm>
#include <cmath>

namespace velorin {

namespace {

constexpr float kRootRadius = 50; // of the ring that the teeth stand on; all else is measured against it

// A stretch of the outline with one smooth normal: an arc around the axis or a straight flank.
struct Stretch {
    bool arc = false;
    std::vector<float> angle, radius; // of its points; those of its ends are its neighbours' too
};

// A point of the profile that goes round with the outline: from the hole over the front, the rim, the wall
// and back.
struct Level {
    float inset; // taken from the outline's radius
    float z;
};

class Gear {
public:
    Gear(ModelData& model, const GearParameters& p) : mesh_(model) {
        teeth_ = Count(p.teeth, 4, 100);
        depth_ = Limit(p.gearDepth, 0, 100) * 100;
        depthRows_ = Count(p.teethDepthSegments, 2, 200);
        taperRows_ = Count(p.teethTaperSegments, 1, 200);
        const float height = Limit(p.teethHeight, 0.01f, 100) * 100;
        tip_ = kRootRadius + height;
        // The rim's slope is 45 degrees (0.7853982): it takes as much depth as radius.
        taper_ = std::min({Limit(p.edgeTaper, 0, 50) * 100, 0.45f * depth_, 0.25f * kRootRadius});
        hole_ = std::min(Limit(p.gearHoleRadius, 0, 1) * kRootRadius, 0.99f * (kRootRadius - taper_));
        MakeOutline(p, height);
    }

    void Build(bool flat) {
        const float front = -depth_ / 2, back = depth_ / 2;
        for (const Stretch& stretch : outline_) {
            Face(stretch, front, false);
            if (taper_ > 0) Rim(stretch, {taper_, front}, {0, front + taper_}, taperRows_);
            if (depth_ > 0) Rim(stretch, {0, front + taper_}, {0, back - taper_}, depthRows_);
            if (taper_ > 0) Rim(stretch, {0, back - taper_}, {taper_, back}, taperRows_);
            Face(stretch, back, true);
            if (hole_ > 0 && depth_ > 0) Hole(stretch);
        }
        mesh_.Finish(flat);
    }

private:
    // Teeth stay within their part of the turn, whatever their measures, and lean by no more than their foot
    // is wider than their top, so that every line from the axis meets the outline once.
    void MakeOutline(const GearParameters& p, float height) {
        const float part = kPi / static_cast<float>(teeth_); // half a tooth and half a gap
        const float halfWidth = Limit(p.teethWidth, 0.01f, 100) * 100 / 2;
        const float flank = Limit(p.teethAngle, 0, 90) * kPi * 0.0055555557f;
        const float top = std::min(halfWidth / tip_, 0.85f * part);
        const float widened = halfWidth + height * std::max(0.0f, std::tan(std::min(flank, 1.57f)));
        const float foot = std::clamp(widened / kRootRadius, top + 0.02f * part, 0.9f * part);
        const float lean = Limit(p.teethPitch, 0, 1) * (foot - top) * 0.98f;
        const int socket = Count(p.teethSocketSegments, 2, 200),
                  horizontal = Count(p.teethHorizontalSegments, 2, 200);
        std::vector<float> starts;
        for (int i = 0; i < teeth_; ++i) starts.push_back(2 * part * static_cast<float>(i));
        starts.push_back(2 * part * static_cast<float>(teeth_));
        for (int i = 0; i < teeth_; ++i) {
            const float middle = starts[static_cast<std::size_t>(i)],
                        next = starts[static_cast<std::size_t>(i) + 1];
            const float footLeft = middle - foot, footRight = middle + foot;
            const float topLeft = middle + lean - top, topRight = middle + lean + top;
            Flank(footLeft, kRootRadius, topLeft, tip_);
            Arc(topLeft, topRight, tip_, horizontal);
            Flank(topRight, tip_, footRight, kRootRadius);
            Arc(footRight, i + 1 == teeth_ ? starts[0] - foot + kFullTurn : next - foot, kRootRadius, socket);
        }
        // The turn closes on the bits it began with.
        closing_ = outline_.front().angle.front();
    }
    void Flank(float angle1, float radius1, float angle2, float radius2) {
        outline_.push_back({false, {angle1, angle2}, {radius1, radius2}});
    }
    void Arc(float from, float to, float radius, int segments) {
        Stretch arc{true, {}, {}};
        for (int i = 0; i <= segments; ++i) {
            arc.angle.push_back(i == segments ? to
                                              : from + (to - from) * static_cast<float>(i) /
                                                           static_cast<float>(segments));
            arc.radius.push_back(radius);
        }
        outline_.push_back(std::move(arc));
    }

    [[nodiscard]] Point2 Direction(const Stretch& stretch, std::size_t k) const {
        const bool last = &stretch == &outline_.back() && k + 1 == stretch.angle.size();
        const float angle = last ? closing_ : stretch.angle[k];
        return {std::cos(angle), std::sin(angle)};
    }
    [[nodiscard]] Point3 Place(const Stretch& stretch, std::size_t k, float radius, float z) const {
        const Point2 d = Direction(stretch, k);
        return {d.x * radius, d.y * radius, z};
    }
    [[nodiscard]] float Share(const Stretch& stretch, std::size_t k) const {
        return std::clamp((stretch.angle[k] - closing_) / kFullTurn, 0.0f, 1.0f);
    }

    // From the hole, or the axis, to the rim, or back.
    void Face(const Stretch& stretch, float z, bool inward) {
        mesh_.Grid(2, static_cast<int>(stretch.angle.size()), [&](int row, int column) {
            const auto k = static_cast<std::size_t>(column);
            const bool atHole = (row == 0) != inward;
            const Point3 p = Place(stretch, k, atHole ? hole_ : stretch.radius[k] - taper_, z);
            return ModelVertex{p,
                               {Inset(p.x / (2 * tip_) + 0.5f), Inset(p.y / (2 * tip_) + 0.5f)},
                               {0, 0, inward ? 1.0f : -1.0f},
                               {}};
        });
    }
    void Rim(const Stretch& stretch, const Level& from, const Level& to, int rows) {
        const std::size_t last = stretch.angle.size() - 1;
        // A flank is straight: one normal for all of it, from its sides and its ends.
        const Point3 across = Place(stretch, 0, stretch.radius[0] - to.inset, to.z) +
                              Place(stretch, last, stretch.radius[last] - to.inset, to.z) -
                              Place(stretch, 0, stretch.radius[0] - from.inset, from.z) -
                              Place(stretch, last, stretch.radius[last] - from.inset, from.z);
        const Point3 along = Place(stretch, last, stretch.radius[last] - from.inset, from.z) -
                             Place(stretch, 0, stretch.radius[0] - from.inset, from.z);
        const Point3 flankNormal = Normalized(Cross(along, across));
        const Point2 slope = {to.z - from.z, to.inset - from.inset}; // of an arc's normal: radial and along z
        const float length = std::hypot(slope.x, slope.y);
        mesh_.Grid(rows + 1, static_cast<int>(stretch.angle.size()), [&](int row, int column) {
            const auto k = static_cast<std::size_t>(column);
            const float t = static_cast<float>(row) / static_cast<float>(rows);
            const float inset = row == rows ? to.inset : from.inset + (to.inset - from.inset) * t;
            const float z = row == rows ? to.z : from.z + (to.z - from.z) * t;
            const Point2 d = Direction(stretch, k);
            const Point3 arcNormal{d.x * slope.x / length, d.y * slope.x / length, slope.y / length};
            return ModelVertex{Place(stretch, k, stretch.radius[k] - inset, z),
                               {Inset(Share(stretch, k)), Inset(z / depth_ + 0.5f)},
                               stretch.arc ? arcNormal : flankNormal,
                               {}};
        });
    }
    void Hole(const Stretch& stretch) {
        mesh_.Grid(depthRows_ + 1, static_cast<int>(stretch.angle.size()), [&](int row, int column) {
            const auto k = static_cast<std::size_t>(column);
            const float t = static_cast<float>(row) / static_cast<float>(depthRows_);
            const float z = row == 0 ? depth_ / 2 : row == depthRows_ ? -depth_ / 2 : depth_ * (0.5f - t);
            const Point2 d = Direction(stretch, k);
            return ModelVertex{
                Place(stretch, k, hole_, z), {Inset(1 - Share(stretch, k)), Inset(t)}, {-d.x, -d.y, 0}, {}};
        });
    }

    PrimitiveMesh mesh_;
    int teeth_ = 0, depthRows_ = 0, taperRows_ = 0;
    float depth_ = 0, tip_ = 0, taper_ = 0, hole_ = 0;
    float closing_ = 0; // angle at which the outline begins and ends
    std::vector<Stretch> outline_;
};

} // namespace

void BuildGear(ModelData& model, const GearParameters& p) {
    Gear(model, p).Build(p.noSmoothing);
}

} // namespace velorin
