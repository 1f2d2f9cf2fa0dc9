#include "model/extrusion/BuildExtrusion.h"

#include "model/extrusion/BevelProfile.h"
#include "model/extrusion/CapTriangulation.h"
#include "model/extrusion/Contours.h"
#include "model/extrusion/FlattenPath.h"
#include "model/extrusion/ShellWriter.h"
#include "services/Warnings.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <tuple>

namespace velorin {

namespace {

constexpr float kSharpCosine =
    0.8660254f;                       // neighbouring edges 30 degrees apart and more keep their own normals
constexpr float kLeastExtent = 1e-3f; // units; points that lie closer are one
constexpr float kRealWorldDepth = 0.4f;
constexpr float kFirstShellLift = 0.005f;        // keeps the first shell out of the plane of the origin
constexpr std::uint64_t kMostSteps = 1u << 31;   // of one model: some seconds
constexpr std::uint64_t kMostCorners = 1u << 26; // of one model: 3 GB of vertices

CornerNormals SmoothedNormals(const std::vector<Point2>& edges) {
    const std::size_t n = edges.size();
    CornerNormals normals{edges, edges};
    for (std::size_t i = 0; i < n; ++i) {
        const std::size_t before = (i + n - 1) % n;
        const Point2 a = edges[before], b = edges[i];
        if (a.x * b.x + a.y * b.y <= kSharpCosine) continue;
        const Point2 sum = a + b;
        const float length = std::hypot(sum.x, sum.y);
        if (length > 0) normals.end[before] = normals.start[i] = sum * (1 / length);
    }
    return normals;
}

// A contour with what all shells share of it.
struct Source {
    const Contour* contour;
    CornerNormals normals;
    std::vector<Point2> directions; // that offsets move its points in
};

// One contour of a shell with its copies at the wall and at the cap.
struct ShellContour {
    const CornerNormals* normals;
    std::vector<Point2> wall, cap;
};

// The depths that a shell's parts lie at.
struct ShellLevels {
    bool frontStrip, backStrip; // whether a bevel stands between the wall and the cap
    float wallFront, wallBack, front, back;
    explicit ShellLevels(const ShellMeasures& s)
        : frontStrip(s.depth != 0), backStrip(s.backside && s.depth != 0) {
        const float raised = std::max(s.depth, 0.0f), end = s.z + s.thickness;
        wallFront = s.z + raised;
        wallBack = s.backside ? end - raised : end;
        front = frontStrip ? wallFront - s.depth : wallFront;
        back = backStrip ? wallBack + s.depth : wallBack;
    }
};

// One shell of one object, and what it is built with.
struct Shell {
    const ShellMeasures& measures;
    ShellLevels levels;
    std::vector<ShellContour> contours;

    Shell(const ShellMeasures& s, const std::vector<Source>& sources) : measures(s), levels(s) {
        for (const Source& source : sources) {
            const bool inner = source.contour->isInnerCopy;
            contours.push_back(
                {&source.normals,
                 Moved(source.contour->points, source.directions, inner ? s.innerWall : s.wall),
                 Moved(source.contour->points, source.directions, inner ? s.innerCap : s.cap)});
        }
    }
};

void BuildWall(ShellWriter& writer, const Shell& shell, const ShellContour& contour, int depthSegments) {
    const int rows = std::max(1, depthSegments + 1);
    const float front = shell.levels.wallFront, back = shell.levels.wallBack;
    Ring rings[2];
    writer.place(rings[0], contour.wall, front, *contour.normals, {});
    for (int r = 1; r <= rows; ++r) {
        const float level = front + (back - front) * static_cast<float>(r) / static_cast<float>(rows);
        writer.place(rings[1], contour.wall, r == rows ? back : level, *contour.normals, {});
        writer.band(rings[0], rings[1]);
        std::swap(rings[0], rings[1]);
    }
}

// The strip between the wall and a cap.
void BuildBevelStrip(ShellWriter& writer, const Shell& shell, const ShellContour& contour, bool front) {
    const ShellMeasures& s = shell.measures;
    const std::vector<ProfileRow> profile =
        BevelProfile(std::fabs(s.wall - s.cap), s.depth, s.curve, s.segments);
    const float length = profile.front().out, towardCap = front ? -1.0f : 1.0f;
    const float wall = front ? shell.levels.wallFront : shell.levels.wallBack;
    std::vector<Point2> points = contour.wall;
    Ring rings[2];
    for (std::size_t r = 0; r < profile.size(); ++r) {
        const ProfileRow& row = profile[r];
        const bool last = r + 1 == profile.size();
        // Rows lie on the lines between the two contours, the first and the last exactly on them and on the
        // levels of wall and cap: neighbours must have the same bits.
        const float t = row.out / length;
        for (std::size_t i = 0; i < points.size() && r > 0; ++i)
            points[i] = last ? contour.cap[i] : contour.cap[i] * (1 - t) + contour.wall[i] * t;
        const float level = r == 0  ? wall
                            : !last ? wall + towardCap * row.depth
                            : front ? shell.levels.front
                                    : shell.levels.back;
        writer.place(rings[1], points, level, *contour.normals,
                     {row.normalOut, -towardCap * row.normalDepth});
        if (r > 0) front ? writer.band(rings[1], rings[0]) : writer.band(rings[0], rings[1]);
        std::swap(rings[0], rings[1]);
    }
}

// How often contours run round a place forwards.
int WindingNumber(CapContours contours, Point2 p) {
    int winding = 0;
    for (const auto* contour : contours)
        for (std::size_t i = 0, n = contour->size(); i < n; ++i) {
            const Point2 a = (*contour)[i], b = (*contour)[i + 1 == n ? 0 : i + 1];
            if ((a.y <= p.y) == (b.y <= p.y)) continue;
            if (a.x + (b.x - a.x) * (p.y - a.y) / (b.y - a.y) < p.x) winding += a.y > p.y ? 1 : -1;
        }
    return winding;
}

void BuildCap(ShellWriter& writer, const Shell& shell, CapTriangulator& triangulator, WorkBudget& budget,
              bool front) {
    const bool strip = front ? shell.levels.frontStrip : shell.levels.backStrip;
    std::vector<const std::vector<Point2>*> outlines, walls;
    std::vector<Point2> points;
    for (const ShellContour& contour : shell.contours) {
        walls.push_back(&contour.wall);
        outlines.push_back(strip ? &contour.cap : &contour.wall);
        points.insert(points.end(), outlines.back()->begin(), outlines.back()->end());
    }
    const CapMesh& mesh = triangulator.Triangulate(outlines);
    points.insert(points.end(), mesh.crossings.begin(), mesh.crossings.end());
    writer.placeCap(points, front ? shell.levels.front : shell.levels.back, front);
    const auto add = [&](std::uint32_t a, std::uint32_t b, std::uint32_t c) {
        front ? writer.capTriangle(a, c, b) : writer.capTriangle(a, b, c);
    };
    for (const auto& t : mesh.triangles) add(t[0], t[1], t[2]);
    for (const auto& t : mesh.turned) {
        // Where a bevel is wider than a stroke has room for, its two sides pass each other on the way to the
        // cap, which then lies turned over on them: it shows its face all the same. Where the wall is turned
        // over as well nothing is left of the stroke.
        const Point2 middle = (points[t[0]] + points[t[1]] + points[t[2]]) * (1.0f / 3);
        const bool shown = strip && budget.spend(points.size()) && WindingNumber(walls, middle) > 0;
        shown ? add(t[0], t[2], t[1]) : add(t[0], t[1], t[2]);
    }
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

struct Box {
    Point3 low{1e6f, 1e6f, 1e6f}, high{-1e6f, -1e6f, -1e6f};
    void widen(Point2 p, float z) {
        low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, z)};
        high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, z)};
    }
    [[nodiscard]] Point3 extent() const { return high - low; }
};

// An object: its contours, for shells with an outline bevel and for those without, and its shells.
struct Object {
    std::vector<Source> plain, outlined;
    std::vector<Shell> shells;
};

std::vector<Object> Arrange(const std::vector<Contour>& contours, const std::vector<Contour>& withCopies,
                            const std::vector<ShellMeasures>& shells, std::uint32_t objectCount) {
    std::vector<Object> objects(objectCount);
    const auto sort = [&](const std::vector<Contour>& list, std::vector<Source> Object::*sources) {
        for (const Contour& contour : list) {
            const std::vector<Point2> normals = EdgeNormals(contour.points);
            (objects[contour.object].*sources)
                .push_back({&contour, SmoothedNormals(normals), OffsetDirections(normals)});
        }
    };
    sort(contours, &Object::plain);
    sort(withCopies, &Object::outlined);
    for (Object& object : objects)
        for (const ShellMeasures& shell : shells)
            object.shells.emplace_back(shell, shell.outline ? object.outlined : object.plain);
    return objects;
}

// What the shells reach.
Box BoxOf(const std::vector<Object>& objects) {
    Box box;
    for (const Object& object : objects)
        for (const Shell& shell : object.shells) {
            const ShellLevels& at = shell.levels;
            for (const ShellContour& contour : shell.contours) {
                for (const Point2 p : contour.wall) box.widen(p, at.wallFront), box.widen(p, at.wallBack);
                for (const Point2 p : contour.cap) {
                    if (at.frontStrip) box.widen(p, at.front);
                    if (at.backStrip) box.widen(p, at.back);
                }
            }
        }
    return box;
}

// Centres and normalises: the larger half extent becomes 1.
SolidFrame FrameOf(ModelData& model, const Box& box, const std::vector<Contour>& contours, Point3 scale) {
    const Point3 extent = box.extent(), center = (box.low + box.high) * 0.5f;
    const Point3 half = Point3{extent.x * scale.x, extent.y * scale.y, extent.z * scale.z} * 0.5f;
    model.size = std::max({half.x, half.y, half.z});
    model.boundsMax = half * (1 / model.size);
    model.boundsMin = model.boundsMax * -1.0f;
    SolidFrame frame;
    frame.scale = scale * (1 / model.size);
    frame.offset = {-center.x * frame.scale.x, -center.y * frame.scale.y, -center.z * frame.scale.z};
    Box flat;
    for (const Contour& contour : contours)
        for (const Point2 p : contour.points) flat.widen(p, 0);
    const auto inverse = [](float length) { return length > 0 ? 1 / length : 1.0f; };
    frame.textureOrigin = {flat.low.x, flat.low.y};
    frame.textureScale = {inverse(flat.extent().x), inverse(flat.extent().y)};
    return frame;
}

ModelMesh BuildObject(ShellWriter& writer, const Object& object, const ExtrusionOptions& options,
                      WorkBudget& budget) {
    ModelMesh mesh;
    CapTriangulator plain(budget), outlined(budget);
    for (std::uint32_t b = 0; b < object.shells.size(); ++b) {
        const Shell& shell = object.shells[b];
        for (const ShellContour& contour : shell.contours) {
            if (shell.levels.frontStrip) BuildBevelStrip(writer, shell, contour, true);
            BuildWall(writer, shell, contour, static_cast<int>(options.depthSegments));
            if (shell.levels.backStrip) BuildBevelStrip(writer, shell, contour, false);
        }
        CapTriangulator& triangulator = shell.measures.outline ? outlined : plain;
        BuildCap(writer, shell, triangulator, budget, true);
        BuildCap(writer, shell, triangulator, budget, false);
        ModelGroup group;
        group.materialIndex = b;
        group.useLayerAsUV = options.bevels[b].useLayerAsUV;
        group.triangles = writer.takeTriangles();
        if (!group.triangles.empty()) mesh.groups.push_back(std::move(group));
    }
    std::tie(mesh.boundsMin, mesh.boundsMax) = writer.takeBounds();
    mesh.center = (mesh.boundsMin + mesh.boundsMax) * 0.5f;
    return mesh;
}

// Nothing when what was built has no extent to speak of: crumbs of outlines that lie on themselves.
void BuildObjects(ModelData& model, const std::vector<Contour>& contours, std::uint32_t objectCount,
                  const ExtrusionOptions& options, Point3 scale, WorkBudget& budget) {
    const std::vector<ShellMeasures> shells = MeasureShells(options);
    const bool anyOutline =
        std::any_of(shells.begin(), shells.end(), [](const auto& s) { return s.outline; });
    const std::vector<Contour> copies = anyOutline ? WithInnerCopies(contours) : std::vector<Contour>{};
    const std::vector<Object> objects = Arrange(contours, copies, shells, objectCount);
    const Box box = BoxOf(objects);
    if (!(std::max(box.extent().x * scale.x, box.extent().y * scale.y) > kLeastExtent)) return;
    ShellWriter writer(model, FrameOf(model, box, contours, scale));
    for (std::uint32_t object = 0; object < objectCount && !budget.spent(); ++object) {
        ModelMesh mesh = BuildObject(writer, objects[object], options, budget);
        mesh.name = "Object " + std::to_string(object + 1);
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
        shell.cap = half + expand;
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
    BuildObjects(model, contours, objectCount, options,
                 {scale.x, scale.y, options.realWorldScale ? kRealWorldDepth : 1}, budget);
    if (!budget.spent()) return;
    ReportWarning("The outlines of an extrusion are too intricate to be filled.");
    model.vertices.clear();
    model.meshes.clear();
}

} // namespace velorin
