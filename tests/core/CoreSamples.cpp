#include "core/CoreSamples.h"

#include "services/Warnings.h"

#include <cstring>

namespace velorin::test {

void FakeSurfaces::Put(const std::string& path, const std::vector<Point3>& positions) {
    Vertices& vertices = byPath[path];
    for (const Point3 p : positions) {
        ModelVertex vertex{};
        vertex.position = p;
        vertex.normal = {0, -1, 0};
        vertices.vertices.push_back(vertex);
        vertices.meshes.push_back(0);
    }
    vertices.facts = {1, {}, {-1, -1, -1}, {1, 1, 1}};
}

GroupParams PlainGroup(ReplicatorShape shape, std::uint32_t count) {
    GroupParams group;
    group.enabled = true;
    group.shape = shape;
    group.particleCount = count;
    group.shapeScale = 1;
    group.particleSize = 1;
    return group;
}

std::vector<Particle> Particles(const GroupParams& group, Point3 camera) {
    FrameParams params;
    params.groups[0] = group;
    params.engine.startGroup = params.engine.finishGroup = 4;
    FakeSurfaces none;
    std::string refused;
    BuildParticles(params, none, camera, -1, 1u << 30, refused);
    EXPECT_EQ(refused, "");
    return params.particles[0];
}

std::string Build(FrameParams& params, SurfaceSource& surfaces, std::uint64_t memory, int group) {
    std::string refused;
    BuildParticles(params, surfaces, {}, group, memory, refused);
    return refused;
}

CoreFrames::CoreFrames() : scene(&assets) {
    ResetWarnings();
    params.scene = &scene;
    params.groups[0] = PlainGroup(ReplicatorShape::Point, 1);
    params.engine.startGroup = params.engine.finishGroup = 4;
}

const DrawList& CoreFrames::Frame(Point3 camera) {
    core.DropFrame();
    core.BuildFrame(params, camera);
    core.SetRender(0, params, camera);
    return core.drawList();
}

MaskLayer::MaskLayer(const std::vector<std::string>& rows, std::uint32_t bytesPerChannel) {
    const std::size_t pixel = std::size_t{4} * bytesPerChannel;
    header_.width = static_cast<std::uint32_t>(rows[0].size());
    header_.height = static_cast<std::uint32_t>(rows.size());
    header_.bytesPerChannel = bytesPerChannel;
    header_.rowBytes = static_cast<std::int32_t>(rows[0].size() * pixel + 16);
    // What is not alpha is set everywhere: only alpha may decide.
    bytes_.assign(rows.size() * static_cast<std::size_t>(header_.rowBytes), std::byte{0x3f});
    for (std::size_t y = 0; y < rows.size(); ++y)
        for (std::size_t x = 0; x < rows[y].size(); ++x) {
            std::byte* const alpha =
                bytes_.data() + y * static_cast<std::size_t>(header_.rowBytes) + x * pixel;
            std::memset(alpha, 0, bytesPerChannel);
            if (rows[y][x] != '#') continue;
            const std::uint16_t half = 0x0100; // its first byte is 0
            const float small = 1e-20f;
            if (bytesPerChannel == 1) *alpha = std::byte{1};
            if (bytesPerChannel == 2) std::memcpy(alpha, &half, sizeof half);
            if (bytesPerChannel == 4) std::memcpy(alpha, &small, sizeof small);
        }
}

ImageHeader MaskLayer::header() {
    header_.data = bytes_.data();
    return header_;
}

Point3 Turned(Point3 v, Quaternion q) {
    const Quaternion r = Quaternion{-q.x, -q.y, -q.z, q.w} * Quaternion{v.x, v.y, v.z, 0} * q;
    return {r.x, r.y, r.z};
}

void ExpectNear(Point3 actual, Point3 expected, float tolerance, const std::string& what) {
    EXPECT_NEAR(actual.x, expected.x, tolerance) << what;
    EXPECT_NEAR(actual.y, expected.y, tolerance) << what;
    EXPECT_NEAR(actual.z, expected.z, tolerance) << what;
}

} // namespace velorin::test
