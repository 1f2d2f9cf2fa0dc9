#include "model/primitives/PrimitiveMesh.h"

#include <cmath>

namespace velorin {

namespace {

// One of the surfaces between two neighbouring points of the outline and the centre: a triangle on the front
// and on the back, and the wall between.
class Star {
public:
    Star(ModelData& model, const StarParameters& p)
        : mesh_(model),
          arms_(Count(p.arms, 3, 100)),
          columns_(Count(p.facesSegments, 1, 200)),
          rows_(Count(p.sideSegments, 1, 200)),
          depthRows_(Count(p.extrudeSegments, 1, 200)),
          outer_(Limit(p.armLength, 0.01f, 100) * 100),
          bevel_(Limit(p.bevelDepth, 0, 100) * 100),
          extrude_(Limit(p.extrude, 0, 100) * 100) {
        const float inner = outer_ * (Limit(p.armProportion, 0, 1) * 0.78f + 0.02f);
        const float step = kFullTurn / static_cast<float>(arms_);
        for (int i = 0; i < 2 * arms_; ++i) {
            // The first arm half a step before straight down: an odd number of arms has one that points up.
            const float angle = -kQuarterTurn - step / 2 + step / 2 * static_cast<float>(i);
            const float radius = i % 2 == 0 ? outer_ : inner;
            outline_.push_back({radius * std::cos(angle), -radius * std::sin(angle)});
        }
    }

    void Build(bool flat) {
        for (int i = 0; i < 2 * arms_; ++i) {
            // Against the angle, which runs from x to -y: the ring goes from x to y.
            const Point2 from = outline_[static_cast<std::size_t>((i + 1) % (2 * arms_))];
            const Point2 to = outline_[static_cast<std::size_t>(i)];
            std::vector<Point2> edge;
            for (int k = 0; k <= columns_; ++k) {
                const float t = static_cast<float>(k) / static_cast<float>(columns_);
                edge.push_back(k == 0 ? from : k == columns_ ? to : from * (1 - t) + to * t);
            }
            Face(edge, -1);
            if (extrude_ > 0) Wall(edge, i);
            Face(edge, 1);
        }
        mesh_.Finish(flat);
    }

private:
    // side -1: the front, from the centre to the rim; 1: the back, from the rim to the centre.
    void Face(const std::vector<Point2>& edge, float side) {
        const Point2 a = edge.front(), b = edge.back();
        const Point3 rim1{a.x, a.y, side * extrude_ / 2}, rim2{b.x, b.y, side * extrude_ / 2};
        const Point3 center{0, 0, side * (extrude_ / 2 + bevel_)};
        const Point3 across = Cross(Normalized(rim2 - rim1), Normalized(center - rim1));
        const Point3 normal = Normalized(across * (across.z * side < 0 ? -1.0f : 1.0f));
        mesh_.Grid(rows_ + 1, columns_ + 1, [&](int row, int column) {
            const Point2 rim = edge[static_cast<std::size_t>(column)];
            const int fromCenter = side < 0 ? row : rows_ - row;
            const float t = static_cast<float>(fromCenter) / static_cast<float>(rows_);
            const float z =
                fromCenter == rows_ ? side * extrude_ / 2 : center.z + (side * extrude_ / 2 - center.z) * t;
            const Point3 position{rim.x * t, rim.y * t, z};
            return ModelVertex{
                position,
                {Inset(position.x / (2 * outer_) + 0.5f), Inset(position.y / (2 * outer_) + 0.5f)},
                normal,
                {}};
        });
    }
    void Wall(const std::vector<Point2>& edge, int number) {
        const Point2 along = edge.back() - edge.front();
        const Point3 normal = Normalized(Point3{along.y, -along.x, 0}); // away from the centre
        mesh_.Grid(depthRows_ + 1, columns_ + 1, [&](int row, int column) {
            const Point2 p = edge[static_cast<std::size_t>(column)];
            const float t = static_cast<float>(row) / static_cast<float>(depthRows_);
            const float z = row == 0            ? -extrude_ / 2
                            : row == depthRows_ ? extrude_ / 2
                                                : extrude_ * (t - 0.5f);
            const float u = (static_cast<float>(2 * arms_ - 1 - number) +
                             static_cast<float>(column) / static_cast<float>(columns_)) /
                            static_cast<float>(2 * arms_);
            return ModelVertex{{p.x, p.y, z}, {Inset(u), Inset(t)}, normal, {}};
        });
    }

    PrimitiveMesh mesh_;
    int arms_, columns_, rows_, depthRows_;
    float outer_, bevel_, extrude_;
    std::vector<Point2> outline_; // outer and inner points in turn
};

} // namespace

void BuildStar(ModelData& model, const StarParameters& p) {
    Star(model, p).Build(p.noSmoothing);
}

} // namespace velorin
