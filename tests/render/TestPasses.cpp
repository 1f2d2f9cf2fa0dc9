#include "render/SceneFixture.h"

#include <GL/glew.h>

#include <cmath>

namespace velorin {
namespace {

using test::BoxMesh;
using test::ExpectColour;
using test::Picture;
using test::QuadMesh;
using test::RectMesh;
using test::SceneTest;

using PassTest = SceneTest;

constexpr int kWidth = 64, kHeight = 48;

TEST_F(PassTest, APlaneOfTheCompLandsOnItsPixels) {
    test::MakeMatte(Add(RectMesh(10, 5, 30, 20)), {255, 0, 0, 255});
    test::MakeMatte(Add(RectMesh(0, 0, 64, 48, -5)), {0, 0, 255, 255});
    materials[1].visibleToCamera = false;
    for (const RenderMode mode : {RenderMode::Full, RenderMode::Draft}) {
        settings.renderMode = mode;
        const Picture picture = Draw(kWidth, kHeight);
        for (int y = 0; y < kHeight; ++y)
            for (int x = 0; x < kWidth; ++x) {
                const float inside = x >= 10 && x < 30 && y >= 5 && y < 20;
                ExpectColour(picture.at(x, y), {inside, 0, 0, inside});
            }
    }
}

TEST_F(PassTest, NearerSurfacesHideFartherOnesAndBackFacesAreCulled) {
    test::MakeMatte(Add(RectMesh(0, 0, 64, 48, 50)), {0, 255, 0, 255});
    test::MakeMatte(Add(RectMesh(8, 8, 24, 24, 0)), {255, 0, 0, 255});
    // The same rectangle turned round shows its back.
    SceneMaterial& back = Add(QuadMesh({40, 8, 0}, {40, 24, 0}, {56, 24, 0}, {56, 8, 0}));
    test::MakeMatte(back, {0, 0, 255, 255});
    Picture picture = Draw(kWidth, kHeight);
    ExpectColour(picture.at(16, 16), {1, 0, 0, 1});
    ExpectColour(picture.at(48, 16), {0, 1, 0, 1});
    back.drawBackfaces = true;
    picture = Draw(kWidth, kHeight);
    ExpectColour(picture.at(48, 16), {0, 0, 1, 1});
}

// A box of which one sees the outside, lit by a light along the view: the inside is dark. The second mesh of
// the geometry is a wall that lies askew and has a matrix of its own.
TEST_F(PassTest, MirroredInstancesShowTheirFronts) {
    settings.lights[0].type = LightType::Parallel;
    const Point3 light = settings.lights[0].direction = {std::sin(0.3f), 0, std::cos(0.3f)};
    PreparedMesh mesh = BoxMesh({-8, -8, -8}, {8, 8, 8});
    const PreparedMesh wall = RectMesh(-8, -8, 8, 8);
    for (const Triangle& t : wall.triangles) mesh.triangles.push_back({t[0] + 24, t[1] + 24, t[2] + 24});
    mesh.vertices.insert(mesh.vertices.end(), wall.vertices.begin(), wall.vertices.end());
    mesh.meshes.push_back(wall.meshes[0]);
    mesh.meshes[1].groups[0].firstIndex = 12;
    Add(std::move(mesh));
    struct Row {
        Point3 scale;
        bool mirrored;
        std::array<bool, 3> flip;
    };
    for (const Row& row : {Row{{1, 1, 1}, false, {}},
                           {{-1, 1, 1}, true, {}},
                           {{1, 1, 1}, false, {false, true, false}},
                           {{1, 1, 1}, false, {true, true, false}},
                           {{1, 1, 1}, false, {false, true, true}},
                           {{1, -1, 1}, true, {true, false, false}}}) {
        model(0).flip = row.flip;
        instance(0).modelMatrix = Matrix::Scale(row.scale) * Matrix::Translation({16, 24, 0});
        // Flipped through its plane the wall shows its back until it is turned round.
        const Matrix turn = ToMatrix(QuaternionFromEuler(0, row.flip[2] ? kPi + 0.6f : 0.6f, 0));
        instance(1).modelMatrix = Matrix::Scale(row.scale) * turn * Matrix::Translation({48, 24, 0});
        const float askew = -Dot(TransformDirection({0, 0, row.flip[2] ? 1.0f : -1.0f}, turn), light);
        instance(0).flip = instance(1).flip = row.mirrored;
        for (const bool twoSided : {false, true}) {
            materials[0].twoSidedLighting = twoSided;
            const Picture picture = Draw(kWidth, kHeight);
            ExpectColour(picture.at(16, 24), {light.z, light.z, light.z, 1});
            ExpectColour(picture.at(48, 24), {askew, askew, askew, 1});
        }
    }
}

TEST_F(PassTest, MeshesWithoutNormalsAreShadedByTheirFaces) {
    settings.lights[0].type = LightType::Parallel;
    settings.lights[0].direction = Normalized(Point3{0.3f, 0.4f, 0.8f});
    const float c = std::cos(kPi / 6), s = std::sin(kPi / 6);
    PreparedMesh quad = QuadMesh({32 - 20 * c, 4, -20 * s}, {32 + 20 * c, 4, 20 * s},
                                 {32 + 20 * c, 44, 20 * s}, {32 - 20 * c, 44, -20 * s});
    PreparedMesh mirrored = quad;
    for (PreparedMesh* mesh : {&quad, &mirrored})
        for (ModelVertex& vertex : mesh->vertices) vertex.normal = {};
    Add(std::move(quad));
    const float cosine = Dot(Point3{s, 0, -c}, -settings.lights[0].direction);
    const Point4 expected{cosine, cosine, cosine, 1};
    ExpectColour(Draw(kWidth, kHeight).at(32, 24), expected, 0.004f);
    // The other way round, seen from its back.
    materials[0].drawBackfaces = true;
    for (ModelVertex& vertex : mirrored.vertices) vertex.position.z = -vertex.position.z;
    std::swap(mirrored.vertices[0], mirrored.vertices[1]);
    std::swap(mirrored.vertices[2], mirrored.vertices[3]);
    list.records[0].instanceCount = 0;
    Add(std::move(mirrored)).drawBackfaces = true;
    const float other = Dot(Point3{-s, 0, -c}, -settings.lights[0].direction);
    ExpectColour(Draw(kWidth, kHeight).at(32, 24), {other, other, other, 1}, 0.004f);
}

TEST_F(PassTest, TranslucentSurfacesLieOverSolidOnes) {
    SceneMaterial& front = Add(RectMesh(8, 8, 40, 40, 0));
    test::MakeMatte(front, {255, 0, 0, 255});
    front.forceOpacity = 0.25f;
    test::MakeMatte(Add(RectMesh(24, 8, 56, 40, 10)), {0, 0, 255, 255}); // listed later, lies behind
    Picture picture = Draw(kWidth, kHeight);
    ExpectColour(picture.at(30, 20), {0.25f, 0, 0.75f, 1});
    ExpectColour(picture.at(12, 20), {1, 0, 0, 0.25f}); // straight colour
    ExpectColour(picture.at(50, 20), {0, 0, 1, 1});

    // The instance's own opacity multiplies, 0 draws nothing.
    instance(0).opacity = 0.5f;
    ExpectColour(Draw(kWidth, kHeight).at(30, 20), {0.125f, 0, 0.875f, 1});
    instance(0).opacity = 0;
    ExpectColour(Draw(kWidth, kHeight).at(30, 20), {0, 0, 1, 1});
    instance(0).opacity = 1;
    instance(0).visible = false;
    ExpectColour(Draw(kWidth, kHeight).at(12, 20), {0, 0, 0, 0});

    // Depth takes it as solid.
    instance(0).visible = true;
    settings.output = Output::Normals;
    ExpectColour(Draw(kWidth, kHeight).at(12, 20), {0.5f, 0.5f, 0, 0.25f}, 0.004f);
}

TEST_F(PassTest, AdditiveAndScreenMaterialsWaitForTheirSteps) {
    test::MakeMatte(Add(RectMesh(0, 0, 64, 48, 10)), {51, 51, 51, 255}); // 0.2
    SceneMaterial& add = Add(RectMesh(8, 8, 24, 40, 0));
    test::MakeMatte(add, {255, 0, 0, 255});
    add.blendMode = MaterialBlend::Add;
    SceneMaterial& screen = Add(RectMesh(40, 8, 56, 40, 0));
    test::MakeMatte(screen, {0, 255, 0, 255});
    screen.blendMode = MaterialBlend::Screen;
    const Picture picture = Draw(kWidth, kHeight);
    ExpectColour(picture.at(16, 24), {1.2f, 0.2f, 0.2f, 1});
    ExpectColour(picture.at(48, 24), {0.2f, 1, 0.2f, 1}); // 1 + 0.2 * (1 - 1)
    ExpectColour(picture.at(32, 24), {0.2f, 0.2f, 0.2f, 1});

    // Each step only draws its own, whether there is the other or not.
    add.blendMode = MaterialBlend::Screen;
    ExpectColour(Draw(kWidth, kHeight).at(16, 24), {1, 0.2f, 0.2f, 1});
    add.blendMode = MaterialBlend::Add;

    // Behind something solid they stay hidden.
    list.instances[1].modelMatrix = Matrix::Translation({0, 0, 20});
    ExpectColour(Draw(kWidth, kHeight).at(16, 24), {0.2f, 0.2f, 0.2f, 1});
}

// The preview of a model whose material is added or screened: what is black shows nothing, surfaces do not
// hide each other, and the coverage is that of the light.
TEST_F(PassTest, PreviewsShowBlendedModelsAsLight) {
    test::MakeMatte(Add(RectMesh(0, 0, 40, 48, 0)), {51, 0, 0, 255}); // 0.2, in front
    SceneMaterial& behind = Add(RectMesh(24, 0, 56, 48, 10));
    test::MakeMatte(behind, {102, 102, 0, 255}); // 0.4 of 0.5
    behind.forceOpacity = 0.5f;
    test::MakeMatte(Add(RectMesh(8, 8, 16, 16, 5)), {0, 0, 0, 255});
    struct Row {
        BlendOpacity mode;
        Point4 overlap; // premultiplied
    };
    // Added: 0.2 + 0.2, 0.2. Screened: of what is there, the share of the new surface's full colour, here
    // all, is taken away before its light is added.
    for (const Row& row : {Row{BlendOpacity::Additive, {0.4f, 0.2f, 0, 0.36f}},
                           Row{BlendOpacity::Screen, {0.2f, 0.2f, 0, 0.36f}}}) {
        settings.blendOpacity = row.mode;
        const Picture picture = Draw(kWidth, kHeight);
        const auto light = [&](int x, int y) {
            const Point4 p = picture.at(x, y);
            return Point4{p.x * p.w, p.y * p.w, p.z * p.w, p.w};
        };
        ExpectColour(light(12, 12), {0.2f, 0, 0, 0.2f});
        ExpectColour(light(32, 24), row.overlap);
        ExpectColour(light(50, 24), {0.2f, 0.2f, 0, 0.2f});
        ExpectColour(light(60, 24), {0, 0, 0, 0});
    }
}

TEST_F(PassTest, TwoLayersMixByTheRecordsShare) {
    test::MakeMatte(Add(RectMesh(8, 8, 56, 40)), {255, 0, 0, 255});
    SceneMaterial second;
    test::MakeMatte(second, {0, 255, 0, 255});
    SceneModel finish;
    finish.bindings.push_back({&second, 0, true});
    list.records[0].finishModel = &finish;
    list.records[0].finishGeometry = list.records[0].geometry;
    test::MakeMatte(Add(RectMesh(0, 0, 64, 48, 10)), {0, 0, 0, 255});
    for (const float mix : {0.75f, 1.0f}) { // red at the rest over black, green at the share over that
        instance(0).layerMix = mix;
        ExpectColour(Draw(kWidth, kHeight).at(30, 20), {(1 - mix) * (1 - mix), mix, 0, 1});
    }
}

// Neither a scene nor, behind what is data, the environment.
TEST_F(PassTest, EmptyListsGiveTheOutputsClearColour) {
    const std::pair<Output, Point4> rows[] = {{Output::Composite, {0, 0, 0, 0}},
                                              {Output::AmbientOcclusion, {1, 1, 1, 1}},
                                              {Output::Shadows, {1, 1, 1, 1}},
                                              {Output::Wireframe, {0, 0, 0, 1}},
                                              {Output::ZDepth, {0, 0, 0, 0}}};
    for (const auto& [output, clear] : rows) {
        settings.output = output;
        settings.environment.showBackground = output != Output::Composite;
        const Picture picture = Draw(4, 4);
        ExpectColour(picture.at(0, 0), clear);
        ExpectColour(picture.at(3, 3), clear);
    }
}

} // namespace
} // namespace velorin
