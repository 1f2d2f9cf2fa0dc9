#include "render/SceneFixture.h"

#include "render/gl/Handles.h"

#include <cmath>

namespace velorin::test {

void ExpectColour(Point4 got, Point4 want, float tolerance) {
    const auto far = [&](float a, float b) { return !(std::abs(a - b) <= tolerance); };
    if (far(got.x, want.x) || far(got.y, want.y) || far(got.z, want.z) || far(got.w, want.w))
        ADD_FAILURE() << got.x << ' ' << got.y << ' ' << got.z << ' ' << got.w << " for " << want.x << ' '
                      << want.y << ' ' << want.z << ' ' << want.w;
}

CameraState CompCamera(int width, int height) {
    CameraState camera;
    const auto w = static_cast<float>(width), h = static_cast<float>(height);
    const float zoom = w * 50 / 36;
    camera.position = {w / 2, h / 2, -zoom};
    camera.view = Matrix::Translation(-camera.position) * Matrix::Scale({1, 1, -1});
    camera.viewWidth = w;
    camera.viewHeight = h;
    camera.imagePlaneDistance = zoom;
    camera.nearPlane = 1;
    camera.farPlane = 10000;
    Matrix& p = camera.projection;
    p(0, 0) = 2 * zoom / w;
    p(1, 1) = 2 * zoom / h;
    p(2, 2) = -(camera.farPlane + camera.nearPlane) / (camera.farPlane - camera.nearPlane);
    p(2, 3) = -1;
    p(3, 2) = -2 * camera.farPlane * camera.nearPlane / (camera.farPlane - camera.nearPlane);
    p(3, 3) = 0;
    return camera;
}

Point3 PointUnder(const CameraState& camera, int x, int y, Point3 point, Point3 normal) {
    const Point3 eye = camera.position;
    const Point3 ray{static_cast<float>(x) + 0.5f - eye.x, static_cast<float>(y) + 0.5f - eye.y, -eye.z};
    return eye + ray * (Dot(point - eye, normal) / Dot(ray, normal));
}

PreparedMesh QuadMesh(Point3 a, Point3 b, Point3 c, Point3 d) {
    PreparedMesh mesh;
    // Outward is (b - a) x (c - a) turned round: clockwise in a picture whose x is right and y is down is
    // clockwise around a normal that points away from the viewer.
    const Point3 normal = -Normalized(Cross(b - a, c - a));
    const Point3 tangent = Normalized(b - a);
    const Point4 t{tangent.x, tangent.y, tangent.z, 1};
    mesh.vertices = {
        {a, {0, 0}, normal, t}, {b, {1, 0}, normal, t}, {c, {1, 1}, normal, t}, {d, {0, 1}, normal, t}};
    mesh.triangles = {{0, 2, 1}, {0, 3, 2}};
    MeshRange range;
    range.name = "Quad";
    range.groups.push_back({0, 0, 2});
    mesh.meshes.push_back(range);
    mesh.size = 1;
    return mesh;
}

PreparedMesh RectMesh(float left, float top, float right, float bottom, float z) {
    return QuadMesh({left, top, z}, {right, top, z}, {right, bottom, z}, {left, bottom, z});
}

PreparedMesh BoxMesh(Point3 low, Point3 high) {
    const auto corner = [&](int i) {
        return Point3{i & 1 ? high.x : low.x, i & 2 ? high.y : low.y, i & 4 ? high.z : low.z};
    };
    constexpr int kFaces[6][4] = {{0, 1, 3, 2}, {5, 4, 6, 7}, {4, 0, 2, 6},
                                  {1, 5, 7, 3}, {4, 5, 1, 0}, {2, 3, 7, 6}};
    PreparedMesh box;
    MeshRange range;
    range.name = "Box";
    for (const auto& face : kFaces) {
        const PreparedMesh quad =
            QuadMesh(corner(face[0]), corner(face[1]), corner(face[2]), corner(face[3]));
        const auto base = static_cast<std::uint32_t>(box.vertices.size());
        box.vertices.insert(box.vertices.end(), quad.vertices.begin(), quad.vertices.end());
        for (const Triangle& t : quad.triangles)
            box.triangles.push_back({t[0] + base, t[1] + base, t[2] + base});
    }
    range.groups.push_back({0, 0, 12});
    box.meshes.push_back(range);
    box.size = 1;
    return box;
}

void MakeMatte(SceneMaterial& material, Colour colour) {
    material.type = MaterialType::Standard;
    material.diffuseColor = colour;
    material.specular = 0;
    material.aoMode = AoMode::Ignore;
}

void SceneTest::SetUp() {
    RendererTest::SetUp();
    settings.sampleCount = 0;
    settings.gamma = 1;
    settings.textureGamma = 1;
    SceneLight ambient;
    ambient.type = LightType::Ambient;
    settings.lights.push_back(ambient);
    // One for all tests: its programs take long to compile in software.
    static VelorinRenderer shared(renderer());
    if (!shared.IsReady()) {
        ASSERT_TRUE(shared.Initialize());
    }
    scene = &shared;
}

void SceneTest::TearDown() {
    meshes.clear();
    gl::FlushDeletedObjects();
    RendererTest::TearDown();
}

SceneMaterial& SceneTest::Add(PreparedMesh mesh, const Matrix& place) {
    SceneMaterial& material = materials.emplace_back();
    MakeMatte(material, kWhite);
    SceneModel& added = models.emplace_back();
    added.bindings.push_back({&material, 0, true});
    const MeshBuffers& buffers = meshes.emplace_back(std::move(mesh));
    DrawRecord record;
    record.model = &added;
    record.geometry = &buffers;
    record.firstInstance = static_cast<std::uint32_t>(list.instances.size());
    record.instanceCount = static_cast<std::uint32_t>(buffers.meshes().size());
    for (std::uint32_t i = 0; i < record.instanceCount; ++i) {
        InstanceRecord& one = list.instances.emplace_back();
        one.modelMatrix = one.baseModelMatrix = place;
        one.objectIndex = static_cast<std::uint32_t>(list.records.size());
    }
    list.records.push_back(record);
    return material;
}

Picture SceneTest::Draw(int width, int height) {
    if (!ownCamera) settings.camera = CompCamera(width, height);
    Picture picture{
        width, height,
        std::vector<float>(4 * static_cast<std::size_t>(width) * static_cast<std::size_t>(height))};
    renderer().SetFrameSize(width, height);
    EXPECT_EQ(renderer().SetupRender(settings), SetupResult::Done);
    scene->Render(settings, list, true);
    renderer().BlendToFinal(1);
    EXPECT_TRUE(renderer().ReadFrame(picture.rgba.data()));
    return picture;
}

} // namespace velorin::test
