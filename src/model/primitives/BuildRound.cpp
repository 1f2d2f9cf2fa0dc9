// Cylinder, cone, tube and capsule: surfaces of revolution around y.

#include "model/primitives/PrimitiveMesh.h"

#include <algorithm>
#include <cmath>

namespace velorin {

namespace {

using Profile = std::vector<ProfilePoint>;

float Length(const ProfilePoint& a, const ProfilePoint& b) {
    return std::hypot(b.radius - a.radius, b.y - a.y);
}

// v from the length along the wall, which is built upward: 1 at its foot, 0 at its top.
void MapWall(std::vector<Profile*> parts) {
    float total = 0, length = 0;
    for (const Profile* part : parts)
        for (std::size_t i = 1; i < part->size(); ++i) total += Length((*part)[i - 1], (*part)[i]);
    for (Profile* part : parts) {
        for (std::size_t i = 0; i < part->size(); ++i) {
            if (i > 0) length += Length((*part)[i - 1], (*part)[i]);
            (*part)[i].v = total > 0 ? std::clamp(1 - length / total, 0.0f, 1.0f) : 0;
        }
    }
}

// A straight run from one radius and level to another, with the normal on its left.
Profile Straight(float radius1, float y1, float radius2, float y2, int segments) {
    const float length = std::hypot(radius2 - radius1, y2 - y1);
    Profile profile;
    for (int i = 0; i <= segments; ++i) {
        const float t = static_cast<float>(i) / static_cast<float>(segments);
        profile.push_back({i == segments ? radius2 : radius1 + (radius2 - radius1) * t,
                           i == segments ? y2 : y1 + (y2 - y1) * t, (y1 - y2) / length,
                           (radius2 - radius1) / length, 0});
    }
    return profile;
}

// A rounded rim of radius `c`: a quarter circle from where it leaves the surface before it to where it meets
// the one behind, with the exact points of both. `from` and `to` are the directions of the normals there.
Profile Rim(const ProfilePoint& start, const ProfilePoint& end, float c, const Quarter& quarter) {
    const float centerRadius = start.radius - c * start.normalRadius, centerY = start.y - c * start.normalY;
    Profile profile;
    for (std::size_t i = 0; i < quarter.cosine.size(); ++i) {
        ProfilePoint p;
        p.normalRadius = start.normalRadius * quarter.cosine[i] + end.normalRadius * quarter.sine[i];
        p.normalY = start.normalY * quarter.cosine[i] + end.normalY * quarter.sine[i];
        p.radius = i == 0                           ? start.radius
                   : i + 1 == quarter.cosine.size() ? end.radius
                                                    : centerRadius + c * p.normalRadius;
        p.y = i == 0 ? start.y : i + 1 == quarter.cosine.size() ? end.y : centerY + c * p.normalY;
        profile.push_back(p);
    }
    return profile;
}

struct Cylinder {
    int sides, capSegments, heightSegments;
    float diameter, height; // in the generator's unit, a hundredth of the control's
    float taper;            // share of the height that runs to a point
    float chamfer;
    int chamferSegments;
    bool flat;
};

void Build(ModelData& model, const Cylinder& q) {
    const float r = q.diameter / 2, straight = (1 - q.taper) * q.height;
    const bool pointed = q.taper > 0;
    // Two rims share the straight part, unless its top runs on to the point.
    const float c = std::min({q.chamfer, 0.99f * (pointed ? straight : straight / 2), 0.99f * r});
    const float bottom = q.height / 2, top = -q.height / 2, shoulder = bottom - straight;
    const Turn turn(q.sides);
    const Quarter quarter(q.chamferSegments);
    PrimitiveMesh mesh(model);
    const Profile foot = Straight(0, bottom, r - c, bottom, q.capSegments);
    Revolve(mesh, turn, foot, ProfileMapping::Cap, q.diameter);
    Profile footRim, wall, headRim, point, head;
    const float wallTop = pointed ? shoulder : shoulder + c;
    if (straight > 0) wall = Straight(r, bottom - c, r, wallTop, q.heightSegments);
    if (pointed) point = Straight(r, straight > 0 ? wallTop : bottom - c, 0, top, q.heightSegments);
    if (!pointed) head = Straight(r - c, top, 0, top, q.capSegments);
    if (c > 0) {
        footRim = Rim(foot.back(), wall.front(), c, quarter);
        if (!pointed) headRim = Rim(wall.back(), head.front(), c, quarter);
    }
    MapWall({&footRim, &wall, &headRim, &point});
    for (const Profile* part : {&footRim, &wall, &headRim, &point})
        if (!part->empty()) Revolve(mesh, turn, *part, ProfileMapping::Wall, q.diameter);
    if (!pointed) Revolve(mesh, turn, head, ProfileMapping::Cap, q.diameter);
    mesh.Finish(q.flat);
}

} // namespace

void BuildCylinder(ModelData& model, const CylinderParameters& p) {
    Build(model, {Count(p.sides, 3, 200), Count(p.capSegments, 1, 200), Count(p.heightSegments, 1, 200),
                  Limit(p.radius, 0.01f, 100) * 100, Limit(p.height, 0, 100) * 100, Limit(p.taper, 0, 1),
                  Limit(p.chamfer, 0, 50) * 100, Count(p.chamferSegments, 1, 200), p.noSmoothing});
}

void BuildCone(ModelData& model, const ConeParameters& p) {
    Build(model,
          {Count(p.sides, 3, 500), Count(p.capSegments, 1, 200), Count(p.heightSegments, 1, 200),
           Limit(p.radius, 0.01f, 100) * 100, Limit(p.height, 0.01f, 100) * 100, 1, 0, 1, p.noSmoothing});
}

void BuildTube(ModelData& model, const TubeParameters& p) {
    const int sides = Count(p.sides, 3, 500), capSegments = Count(p.capSegments, 1, 200),
              heightSegments = Count(p.heightSegments, 1, 200),
              chamferSegments = Count(p.chamferSegments, 1, 200);
    const float outer = Limit(p.radius, 0.01f, 100) * 100, height = Limit(p.height, 0.01f, 100) * 100;
    const float inner = outer * Limit(p.internalRadius, 0, 1), chamfer = Limit(p.chamfer, 0, 50) * 100;
    if (inner == 0 || inner == outer) { // no hole, or no wall around it
        return Build(model, {sides, capSegments, heightSegments, 2 * outer, height, 0, chamfer,
                             chamferSegments, p.noSmoothing});
    }
    const float c = std::min({chamfer, 0.99f * height / 2, 0.99f * (outer - inner) / 2});
    const float bottom = height / 2, top = -height / 2;
    const Turn turn(sides);
    const Quarter quarter(chamferSegments);
    const Profile foot = Straight(inner + c, bottom, outer - c, bottom, capSegments);
    const Profile head = Straight(outer - c, top, inner + c, top, capSegments);
    Profile outerWall = Straight(outer, bottom - c, outer, top + c, heightSegments);
    Profile innerWall = Straight(inner, top + c, inner, bottom - c, heightSegments);
    Profile rims[4];
    if (c > 0) {
        rims[0] = Rim(foot.back(), outerWall.front(), c, quarter);
        rims[1] = Rim(outerWall.back(), head.front(), c, quarter);
        rims[2] = Rim(head.back(), innerWall.front(), c, quarter);
        rims[3] = Rim(innerWall.back(), foot.front(), c, quarter);
    }
    MapWall({&rims[0], &outerWall, &rims[1]});
    MapWall({&rims[2], &innerWall, &rims[3]});
    PrimitiveMesh mesh(model);
    Revolve(mesh, turn, foot, ProfileMapping::Cap, 2 * outer);
    Revolve(mesh, turn, head, ProfileMapping::Cap, 2 * outer);
    for (const Profile* part : {&outerWall, &innerWall, &rims[0], &rims[1], &rims[2], &rims[3]})
        if (!part->empty()) Revolve(mesh, turn, *part, ProfileMapping::Wall, 2 * outer);
    mesh.Finish(p.noSmoothing);
}

void BuildCapsule(ModelData& model, const CapsuleParameters& p) {
    const float height = Limit(p.height, 0.01f, 100), r = Limit(p.radius, 0.01f, 100) * 100;
    const float h = height * 100;
    // A cap's share of the height.
    const float q = std::min(Limit(p.capRoundness, 0.01f, 100), height / 2) / 2 / height;
    const float cap = q * h, half = (1 - 2 * q) / 2 * h;
    const int capSegments = Count(p.capSegments, 1, 200);
    const Turn turn(Count(p.sides, 3, 200));
    const Quarter quarter(capSegments);
    // An ellipse's normal: the gradient, that is each coordinate over its half-axis.
    const auto point = [&](float cosine, float sine, float side) {
        const float nr = cosine / r, ny = sine / cap, length = std::hypot(nr, ny);
        return ProfilePoint{r * cosine, side * (half + cap * sine), nr / length, side * ny / length, 0};
    };
    Profile profile;
    for (std::size_t i = quarter.cosine.size(); i-- > 0;)
        profile.push_back(point(quarter.cosine[i], quarter.sine[i], 1));
    const Profile wall = Straight(r, half, r, -half, Count(p.heightSegments, 1, 200));
    profile.insert(profile.end(), wall.begin() + 1, wall.end() - 1);
    for (std::size_t i = 0; i < quarter.cosine.size(); ++i)
        profile.push_back(point(quarter.cosine[i], quarter.sine[i], -1));
    MapWall({&profile});
    PrimitiveMesh mesh(model);
    Revolve(mesh, turn, profile, ProfileMapping::Wall, 2 * r);
    mesh.Finish(p.noSmoothing);
}

} // namespace velorin
