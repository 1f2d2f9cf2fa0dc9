#include "model/extrusion/BuildExtrusion.h"

#include "model/ModelTools.h"
#include "model/extrusion/BevelProfile.h"
#include "model/extrusion/CapTriangulation.h"
#include "model/extrusion/Contours.h"
#include "model/extrusion/FlattenPath.h"
#include "services/Warnings.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace velorin {

namespace {

constexpr float kSharpCosine =
    0.8660254f;                       // neighbouring edges 30 degrees apart and more keep their own normals
constexpr float kLeastExtent = 1e-3f; // units; points that lie closer are one
constexpr float kRealWorldDepth = 0.4f;
constexpr float kFirstShellLift = 0.005f;        // keeps the first shell out of the plane of the origin
constexpr std::uint64_t kMostSteps = 1u << 31;   // of one model: some seconds
constexpr std::uint64_t kMostCorners = 1u << 26; // of one model: 3 GB of vertices

// Appends the triangles of one shell of one object, three vertices each, and keeps the texture frame.
class ShellWriter {
public:
    ShellWriter(ModelData& model, ModelGroup& group, Point2 origin, Point2 inverseExtent)
        : model_(model), group_(group), origin_(origin), inverseExtent_(inverseExtent) {}

    struct Corner {
        Point3 position, normal;
    };
    void triangle(const Corner& a, const Corner& b, const Corner& c) {
        const auto first = static_cast<std::uint32_t>(model_.vertices.size());
        for (const Corner* corner : {&a, &b, &c}) {
            ModelVertex vertex;
            vertex.position = corner->position;
            vertex.normal = corner->normal;
            vertex.texCoord = {(corner->position.x - origin_.x) * inverseExtent_.x,
                               (corner->position.y - origin_.y) * inverseExtent_.y};
            model_.vertices.push_back(vertex);
        }
        group_.triangles.push_back({first, first + 1, first + 2});
    }
    // Corners in order round the quad; a side without length leaves a triangle.
    void quad(const Corner& a, const Corner& b, const Corner& c, const Corner& d) {
        if (!(a.position == b.position) && !(b.position == c.position)) triangle(a, b, c);
        if (!(a.position == d.position) && !(c.position == d.position)) triangle(a, c, d);
    }

private:
    ModelData& model_;
    ModelGroup& group_;
    Point2 origin_, inverseExtent_;
};

// Normals of both ends of each edge of a contour: those of a smooth corner are shared.
struct CornerNormals {
    std::vector<Point2> start, end; // one an edge
};

CornerNormals SmoothedNormals(const std::vector<Point2>& points) {
    const std::vector<Point2> edges = EdgeNormals(points);
    const std::size_t n = edges.size();
    CornerNormals normals{edges, edges};
    for (std::size_t i = 0; i < n; ++i) {
        const std::size_t before = (i + n - 1) % n;
        const Point2 a = edges[before], b = edges[i];
        if (a.x * b.x + a.y * b.y < kSharpCosine) continue;
        const Point2 sum = a + b;
        const float length = std::hypot(sum.x, sum.y);
        if (length > 0) normals.end[before] = normals.start[i] = sum * (1 / length);
    }
    return normals;
}

// One contour of a shell with its copies at the wall and at the cap.
struct ShellContour {
    std::vector<Point2> wall, cap;
    CornerNormals normals; // of the wall
};

struct ShellBuild {
    const ShellMeasures& shell;
    int depthSegments;
    ShellWriter& writer;
    WorkBudget& budget;
};

// Quads between two rows of a contour, the first row nearer to the viewer.
struct Row {
    const std::vector<Point2>* points;
    float z;
    float normalOut, normalDepth; // normalDepth along -z
};

void BuildBand(const ShellBuild& build, const CornerNormals& normals, const Row& front, const Row& back) {
    const std::size_t n = front.points->size();
    const auto corner = [](const Row& row, std::size_t i, Point2 normal) {
        const Point2 p = (*row.points)[i];
        return ShellWriter::Corner{
            {p.x, p.y, row.z},
            Normalized({normal.x * row.normalOut, normal.y * row.normalOut, -row.normalDepth})};
    };
    for (std::size_t i = 0; i < n; ++i) {
        const std::size_t k = (i + 1) % n;
        build.writer.quad(corner(front, i, normals.start[i]), corner(front, k, normals.end[i]),
                          corner(back, k, normals.end[i]), corner(back, i, normals.start[i]));
    }
}

void BuildWall(const ShellBuild& build, const ShellContour& contour, float front, float back) {
    const int rows = std::max(1, build.depthSegments + 1);
    for (int r = 0; r < rows; ++r) {
        const auto level = [&](int k) {
            return k == rows ? back
                             : front + (back - front) * static_cast<float>(k) / static_cast<float>(rows);
        };
        BuildBand(build, contour.normals, {&contour.wall, level(r), 1, 0},
                  {&contour.wall, level(r + 1), 1, 0});
    }
}

// The strip between the wall and a cap. `towardCap` is -1 at the front and +1 at the back, along z.
void BuildBevelStrip(const ShellBuild& build, const ShellContour& contour, float wallLevel, float towardCap) {
    const std::vector<ProfileRow> profile =
        BevelProfile(std::fabs(build.shell.wall - build.shell.cap), build.shell.depth, build.shell.curve,
                     build.shell.segments);
    const float length = profile.front().out;
    const std::size_t n = contour.wall.size();
    std::vector<Point2> outer = contour.wall, inner(n);
    for (std::size_t r = 1; r < profile.size(); ++r) {
        // Rows lie on the lines between the two contours, the last exactly on the cap's.
        const float t = profile[r].out / length;
        for (std::size_t i = 0; i < n; ++i)
            inner[i] =
                r + 1 == profile.size() ? contour.cap[i] : contour.cap[i] * (1 - t) + contour.wall[i] * t;
        // The last level is the cap's own number: both must be the same bits.
        const auto level = [&](std::size_t k) {
            if (k == 0) return wallLevel;
            return wallLevel + towardCap * (k + 1 == profile.size() ? build.shell.depth : profile[k].depth);
        };
        const Row a{&outer, level(r - 1), profile[r - 1].normalOut, -towardCap * profile[r - 1].normalDepth};
        const Row b{&inner, level(r), profile[r].normalOut, -towardCap * profile[r].normalDepth};
        towardCap < 0 ? BuildBand(build, contour.normals, b, a) : BuildBand(build, contour.normals, a, b);
        outer.swap(inner);
    }
}

void BuildCap(const ShellBuild& build, const std::vector<ShellContour>& contours, bool wall, float level,
              bool front) {
    std::vector<const std::vector<Point2>*> outlines;
    for (const ShellContour& contour : contours) outlines.push_back(wall ? &contour.wall : &contour.cap);
    const Point3 normal{0, 0, front ? -1.0f : 1.0f};
    for (const CapTriangle& t : TriangulateCap(outlines, build.budget)) {
        const auto corner = [&](Point2 p) { return ShellWriter::Corner{{p.x, p.y, level}, normal}; };
        front ? build.writer.triangle(corner(t[0]), corner(t[2]), corner(t[1]))
              : build.writer.triangle(corner(t[0]), corner(t[1]), corner(t[2]));
    }
}

void BuildShell(const ShellBuild& build, const std::vector<const Contour*>& sources) {
    const ShellMeasures& s = build.shell;
    std::vector<ShellContour> contours;
    for (const Contour* source : sources) {
        ShellContour contour;
        const bool inner = source->isInnerCopy;
        contour.wall = OffsetContour(source->points, inner ? s.innerWall : s.wall);
        contour.cap = OffsetContour(source->points, inner ? s.innerCap : s.cap);
        contour.normals = SmoothedNormals(source->points);
        contours.push_back(std::move(contour));
    }
    const float back = s.z + s.thickness, raised = std::max(s.depth, 0.0f);
    const float wallFront = s.z + raised, wallBack = s.backside ? back - raised : back;
    const bool sunkFront = s.depth != 0, sunkBack = s.backside && s.depth != 0;
    for (const ShellContour& contour : contours) {
        if (sunkFront) BuildBevelStrip(build, contour, wallFront, -1);
        BuildWall(build, contour, wallFront, wallBack);
        if (sunkBack) BuildBevelStrip(build, contour, wallBack, 1);
    }
    BuildCap(build, contours, !sunkFront, sunkFront ? wallFront - s.depth : wallFront, true);
    BuildCap(build, contours, !sunkBack, sunkBack ? wallBack + s.depth : wallBack, false);
}

std::vector<Contour> WithInnerCopies(const std::vector<Contour>& contours) {
    std::vector<Contour> all = contours;
    for (const Contour& contour : contours) {
        Contour copy = contour;
        std::reverse(copy.points.begin(), copy.points.end());
        copy.isHole = !copy.isHole;
        copy.isInnerCopy = true;
        all.push_back(std::move(copy));
    }
    return all;
}

// Triangle corners that the contours will give, to refuse what cannot be held before asking for memory.
std::uint64_t EstimateCorners(const std::vector<Contour>& contours, const std::vector<ShellMeasures>& shells,
                              std::uint32_t depthSegments) {
    std::uint64_t points = 0, corners = 0;
    for (const Contour& contour : contours) points += contour.points.size();
    for (const ShellMeasures& shell : shells) {
        const std::uint64_t strips = shell.depth == 0 ? 0 : shell.backside ? 2 : 1;
        const std::uint64_t rows =
            depthSegments + 1 + strips * (static_cast<std::uint64_t>(shell.segments) + 1);
        corners += points * (shell.outline ? 2 : 1) * 6 * (rows + 1); // the caps count as a row
    }
    return corners;
}

struct Frame {
    Point2 low{1e30f, 1e30f}, high{-1e30f, -1e30f};
};
Frame FrameOf(const std::vector<Contour>& contours) {
    Frame frame;
    for (const Contour& contour : contours)
        for (const Point2 p : contour.points) {
            frame.low = {std::min(frame.low.x, p.x), std::min(frame.low.y, p.y)};
            frame.high = {std::max(frame.high.x, p.x), std::max(frame.high.y, p.y)};
        }
    return frame;
}

// False when what was built has no extent to speak of: crumbs of outlines that lie on themselves.
bool CenterVertices(ModelData& model, Point3 scale, float depthScale) {
    Point3 low{1e6f, 1e6f, 1e6f}, high{-1e6f, -1e6f, -1e6f};
    for (ModelVertex& v : model.vertices) {
        v.position = {v.position.x * scale.x, v.position.y * scale.y, v.position.z * depthScale};
        low = {std::min(low.x, v.position.x), std::min(low.y, v.position.y), std::min(low.z, v.position.z)};
        high = {std::max(high.x, v.position.x), std::max(high.y, v.position.y),
                std::max(high.z, v.position.z)};
    }
    const Point3 center = (low + high) * 0.5f;
    for (ModelVertex& v : model.vertices) v.position -= center;
    return std::max(high.x - low.x, high.y - low.y) > kLeastExtent;
}

void MeshBounds(const ModelData& model, ModelMesh& mesh) {
    mesh.boundsMax = {-1e6f, -1e6f, -1e6f};
    mesh.boundsMin = {1e6f, 1e6f, 1e6f};
    for (const ModelGroup& group : mesh.groups)
        for (const Triangle& triangle : group.triangles)
            for (const std::uint32_t index : triangle) {
                const Point3 p = model.vertices[index].position;
                mesh.boundsMin = {std::min(mesh.boundsMin.x, p.x), std::min(mesh.boundsMin.y, p.y),
                                  std::min(mesh.boundsMin.z, p.z)};
                mesh.boundsMax = {std::max(mesh.boundsMax.x, p.x), std::max(mesh.boundsMax.y, p.y),
                                  std::max(mesh.boundsMax.z, p.z)};
            }
    mesh.center = (mesh.boundsMin + mesh.boundsMax) * 0.5f;
}

void BuildObjects(ModelData& model, const std::vector<Contour>& contours, std::uint32_t objectCount,
                  const ExtrusionOptions& options, WorkBudget& budget) {
    const std::vector<ShellMeasures> shells = MeasureShells(options);
    const Frame frame = FrameOf(contours);
    const auto inverse = [](float extent) { return extent > 0 ? 1 / extent : 1.0f; };
    const Point2 extent{inverse(frame.high.x - frame.low.x), inverse(frame.high.y - frame.low.y)};
    const bool anyOutline =
        std::any_of(shells.begin(), shells.end(), [](const auto& s) { return s.outline; });
    const std::vector<Contour> both = anyOutline ? WithInnerCopies(contours) : std::vector<Contour>{};

    const auto byObject = [&](const std::vector<Contour>& list) {
        std::vector<std::vector<const Contour*>> sorted(objectCount);
        for (const Contour& contour : list) sorted[contour.object].push_back(&contour);
        return sorted;
    };
    const auto plain = byObject(contours), outlined = byObject(both);
    for (std::uint32_t object = 0; object < objectCount; ++object) {
        ModelMesh mesh;
        mesh.name = "Object " + std::to_string(object + 1);
        for (std::uint32_t b = 0; b < shells.size(); ++b) {
            ModelGroup group;
            group.materialIndex = b;
            group.useLayerAsUV = options.bevels[b].useLayerAsUV;
            ShellWriter writer(model, group, frame.low, extent);
            BuildShell({shells[b], static_cast<int>(options.depthSegments), writer, budget},
                       shells[b].outline ? outlined[object] : plain[object]);
            if (!group.triangles.empty()) mesh.groups.push_back(std::move(group));
        }
        if (!mesh.groups.empty()) model.meshes.push_back(std::move(mesh));
    }
}

} // namespace

std::vector<ShellMeasures> MeasureShells(const ExtrusionOptions& options) {
    std::vector<ShellMeasures> shells;
    const float s = options.bevelScale;
    float consumed = 0;
    const std::size_t count = std::min<std::size_t>(options.bevelCopies, kBevels - 1) + 1;
    for (std::size_t b = 0; b < count; ++b) {
        const BevelSettings& bevel = options.bevels[b];
        ShellMeasures shell;
        shell.backside = bevel.bevelBackside;
        shell.outline = bevel.outlineEnable;
        const float size = std::max(bevel.bevelSize, 0.001f);
        float extrude = bevel.extrude * 10;
        shell.depth = bevel.bevelDepth * bevel.bevelSize;
        shell.z = bevel.zOffset * -10;
        // A sunk cap stays inside the solid, and two of them apart.
        if (shell.depth < 0 && !shell.backside && -shell.depth > extrude) shell.depth = -extrude;
        if (shell.depth < 0 && shell.backside && -2 * shell.depth > extrude) shell.depth = extrude * -0.5f;
        shell.thickness = (shell.backside ? 2.0f : 1.0f) * std::max(shell.depth, 0.0f) + extrude;
        if (options.offsetMode == OffsetMode::Relative) shell.z -= consumed;
        consumed += shell.thickness;
        shell.z -= shell.thickness;
        if (b == 0) shell.z -= kFirstShellLift;

        shell.z *= s, shell.thickness *= s, shell.depth *= s;
        const float expand = bevel.expandEdges * s + options.pathExpand;
        const float half = bevel.outlineWidth * s * 0.5f;
        const float inside = shell.outline ? bevel.insideBevel : 1;
        shell.cap = (shell.outline ? half : 0) + expand;
        shell.wall = shell.cap + bevel.outsideBevel * size * s;
        shell.innerCap = half - expand;
        shell.innerWall = shell.innerCap + inside * size * s;
        shell.curve = bevel.bevelCurve;
        shell.segments = static_cast<int>(std::clamp(bevel.bevelSegments, 0.0f, 32.0f));
        shells.push_back(shell);
    }
    return shells;
}

void BuildExtrusion(ModelData& model, const PathSet& pathSet, const ExtrusionOptions& options, Point3 scale) {
    const std::size_t shellCount = std::min<std::size_t>(options.bevelCopies, kBevels - 1) + 1;
    model.materials.resize(shellCount);
    for (std::size_t b = 0; b < shellCount; ++b) model.materials[b].name = "Bevel " + std::to_string(b + 1);
    if (!(scale.z > 0.001f)) return;

    const float pathScale =
        options.autoPresetScale && std::isfinite(pathSet.scale) && pathSet.scale > 0 ? pathSet.scale : 1;
    std::vector<std::vector<Point2>> polygons;
    for (const auto& path : pathSet.paths) {
        auto polygon = FlattenPath(path, pathSet.isPlain, options.pathResolution, options.spikeFilter);
        // Points are thinned in the units of the source, where small letters of a long title keep their round
        // corners, but a source of a few units is first brought to size.
        for (Point2& p : polygon) p = p * pathScale;
        std::erase_if(polygon, [](Point2 p) {
            return !(std::fabs(p.x) <= kLargestCoordinate && std::fabs(p.y) <= kLargestCoordinate);
        });
        if (polygon.size() > 2)
            polygons.push_back(ThinPoints(polygon, kThinDistance * std::min(1.0f, pathScale)));
    }
    WorkBudget budget(kMostSteps);
    std::uint32_t objectCount = 0;
    const std::vector<Contour> contours = OrderContours(std::move(polygons), options, objectCount, budget);
    if (!budget.spent() && contours.empty()) return;
    const std::uint64_t corners = EstimateCorners(contours, MeasureShells(options), options.depthSegments);
    if (corners > kMostCorners) {
        ReportWarning("An extrusion of " + std::to_string(corners / 3) +
                      " triangles is too large to be built; lower its depth segments or path resolution.");
        return;
    }
    model.vertices.reserve(corners);
    BuildObjects(model, contours, objectCount, options, budget);
    if (budget.spent()) {
        ReportWarning("The outlines of an extrusion are too intricate to be filled.");
        model.vertices.clear();
    }
    if (!CenterVertices(model, scale, options.realWorldScale ? kRealWorldDepth : 1)) {
        model.vertices.clear();
        model.meshes.clear();
        return;
    }
    NormaliseModel(model);
    for (ModelMesh& mesh : model.meshes) MeshBounds(model, mesh);
    ComputeTangents(model);
}

} // namespace velorin
