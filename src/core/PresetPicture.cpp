#include "core/PresetPicture.h"

#include "core/FrameParams.h"
#include "core/Projection.h"
#include "core/Velorin.h"
#include "core/document/AssetContext.h"
#include "core/document/Scene.h"
#include "model/ModelPreset.h"
#include "platform/FileSystem.h"
#include "render/MeshBuffers.h"
#include "render/RenderSettings.h"
#include "services/Library.h"
#include "services/NxMath.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace velorin {
namespace {

constexpr std::uint32_t kLargest = 4096;

// Where the camera stands: degrees to the right of the front and above it.
constexpr float kAzimuth = 24, kElevation = 17;
constexpr float kFieldOfView = 24; // degrees, of the shorter side
constexpr float kMargin = 1.1f;    // how much larger than the models the picture's field is

struct StageLight {
    float azimuth, elevation; // degrees; where it comes from, as the camera counts them
    Point3 colour;
    float intensity;
};
constexpr StageLight kLights[] = {
    {-38, 48, {1, 0.97f, 0.92f}, 0.95f}, // key, from the upper left
    {62, 12, {0.86f, 0.92f, 1}, 0.32f},  // fill
    {160, 38, {1, 1, 1}, 0.55f},         // rim, from behind
};

// From the middle towards a place of a given direction; host frame: x right, y down, z away from the viewer.
Point3 Towards(float azimuth, float elevation) {
    const float a = azimuth * kRadiansPerDegree, e = elevation * kRadiansPerDegree;
    return {std::sin(a) * std::cos(e), -std::sin(e), -std::cos(a) * std::cos(e)};
}

SceneModel& AddPrimitive(Scene& scene, SceneModel& folder, PrimitiveKind kind, Point3 position,
                         SceneMaterial* material) {
    auto model = Ref<SceneModel>::Make(ModelType::Primitive, scene.context);
    model->primitive = kind;
    model->name = PrimitiveLabel(kind);
    model->path = model->name + " Model.parametric";
    model->alignment = Alignment::ModelCenter;
    model->position = position;
    MaterialBinding binding;
    binding.material = material;
    binding.index = static_cast<std::uint32_t>(MaterialPlaces(scene).Of(material));
    model->bindings.push_back(binding);
    SceneModel& added = *model;
    (void)folder.Attach(added, &scene, false);
    return added;
}

struct Box {
    Point3 low{1e30f, 1e30f, 1e30f}, high{-1e30f, -1e30f, -1e30f};
    void Add(Point3 p) {
        low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
        high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
    }
};

// The corners of all drawn triangles, world space.
std::vector<Point3> Corners(const DrawList& list) {
    std::vector<Point3> corners;
    for (const DrawRecord& record : list.records) {
        const ModelVertices vertices = record.geometry->ReadVertices();
        const ModelTriangles triangles = record.geometry->ReadTriangles();
        const auto& meshes = record.geometry->meshes();
        for (std::uint32_t i = 0; i < record.instanceCount && i < meshes.size(); ++i) {
            const InstanceRecord& instance = list.instances[record.firstInstance + i];
            if (!instance.visible || instance.opacity == 0) continue;
            for (const GroupRange& group : meshes[i].groups)
                for (std::size_t t = group.firstIndex; t < std::size_t{group.firstIndex} + group.indexCount;
                     ++t)
                    if (t < triangles.size())
                        for (const std::uint32_t vertex : triangles[t])
                            if (vertex < vertices.size())
                                corners.push_back(
                                    TransformPoint(vertices[vertex].position, instance.modelMatrix));
        }
    }
    std::erase_if(corners, [](Point3 p) { return !std::isfinite(p.x + p.y + p.z); });
    return corners;
}

// Looks at `target` from `distance` away.
void PlaceCamera(CameraState& camera, Point3 target, float distance) {
    const Point3 back = Towards(kAzimuth, kElevation), forward = back * -1;
    const Point3 right = Normalized(Cross({0, 1, 0}, forward)), down = Cross(forward, right);
    Matrix place;
    const Point3 rows[] = {right, down, forward, target + back * distance};
    for (int row = 0; row < 4; ++row) {
        place(row, 0) = rows[row].x;
        place(row, 1) = rows[row].y;
        place(row, 2) = rows[row].z;
        place(row, 3) = row == 3 ? 1.0f : 0.0f;
    }
    camera.view = Inverse(place) * Matrix::Scale({1, 1, -1});
    camera.position = rows[3];
}

// The camera that sees all corners with the picture filled. Two steps: the second aims at the middle of what
// the first has seen.
CameraState Frame(const std::vector<Point3>& corners, std::uint32_t width, std::uint32_t height) {
    CameraState camera;
    camera.viewWidth = static_cast<float>(width);
    camera.viewHeight = static_cast<float>(height);
    camera.imagePlaneDistance =
        std::min(camera.viewWidth, camera.viewHeight) / 2 / std::tan(kFieldOfView / 2 * kRadiansPerDegree);
    Box box;
    for (const Point3 corner : corners) box.Add(corner);
    Point3 target = (box.low + box.high) * 0.5f;
    const float radius = std::max(Length(box.high - box.low) * 0.5f, 1e-3f);
    float distance = 0;
    for (int step = 0; step < 3; ++step) {
        PlaceCamera(camera, target, 0);
        // In view space each corner asks for a distance at which it lies inside the picture.
        float lowX = 1e30f, highX = -1e30f, lowY = 1e30f, highY = -1e30f;
        distance = 0;
        for (const Point3 corner : corners) {
            const Point3 p = TransformPoint(corner, camera.view);
            const float depth = p.z; // towards the eye
            distance = std::max(
                {distance,
                 depth + std::fabs(p.x) * kMargin * 2 * camera.imagePlaneDistance / camera.viewWidth,
                 depth + std::fabs(p.y) * kMargin * 2 * camera.imagePlaneDistance / camera.viewHeight});
            lowX = std::min(lowX, p.x), highX = std::max(highX, p.x);
            lowY = std::min(lowY, p.y), highY = std::max(highY, p.y);
        }
        if (step < 2) {
            const Matrix world = Inverse(camera.view);
            target = TransformPoint({(lowX + highX) / 2, (lowY + highY) / 2, 0}, world);
        }
    }
    distance = std::max(distance, radius * 1.1f);
    PlaceCamera(camera, target, distance);
    camera.nearPlane = std::max(distance - radius * 1.5f, radius * 0.01f);
    camera.farPlane = distance + radius * 3;
    camera.projection = PerspectiveProjection(camera);
    return camera;
}

RenderSettings StageSettings() {
    RenderSettings settings;
    settings.sampleCount = 4;
    settings.supersampling = 2;
    for (const StageLight& light : kLights) {
        SceneLight parallel;
        parallel.type = LightType::Parallel;
        parallel.direction = Towards(light.azimuth, light.elevation) * -1;
        parallel.colour = light.colour;
        parallel.intensity = light.intensity;
        settings.lights.push_back(parallel);
    }
    return settings;
}

// One particle in the middle shows everything.
FrameParams StageParams(Scene& scene) {
    FrameParams params;
    params.scene = &scene;
    params.groups[0].enabled = true;
    params.groups[0].orientation = Orientation::Fixed;
    return params;
}

void ShowAll(Scene& scene) {
    for (const Ref<SceneModel>& model : scene.models) {
        model->groups = {true, false, false, false, false};
        model->replicatorSource = false;
    }
    // Without the library that ships, the renderer's own surroundings.
    const std::string folder = scene.context ? scene.context->dataFolder : std::string();
    const bool found = IsRegularFile(FindAsset(scene.thumbnailEnvironment.path, folder));
    if (found) scene.environment = scene.thumbnailEnvironment;
}

std::uint8_t Byte(float value) {
    return static_cast<std::uint8_t>(std::clamp(value, 0.0f, 1.0f) * 255 + 0.5f);
}

} // namespace

void StageMaterial(Scene& scene, const Ref<SceneMaterial>& material) {
    auto stand = Ref<SceneMaterial>::Make();
    stand->name = "Stand";
    stand->pbrDiffuseColor = {128, 130, 134, 255};
    stand->pbrGlossiness = 0.35f;
    scene.materials = {material, stand};

    auto folder = Ref<SceneModel>::Make(ModelType::Folder, scene.context);
    folder->name = "Material";
    scene.models.push_back(folder);
    SceneModel& ball = AddPrimitive(scene, *folder, PrimitiveKind::Sphere, {0, 0, 0}, material.get());
    ball.primitiveParameters.sphere.segments =
        material->wireEnable ? 7.0f : 24.0f; // wires that can be told apart
    ball.uvRepeat = {2, 1}; // its texture runs once around, twice as far as from pole to pole
    ball.primitiveParameters.sphere.diameter = 2;
    ball.uvRepeat = {4, 2}; // twice as many around as from pole to pole: textures keep their shape
    SceneModel& ring = AddPrimitive(scene, *folder, PrimitiveKind::Torus, {0, -0.92f, 0}, stand.get());
    ring.primitiveParameters.torus.ringSegments = 72;
    ring.primitiveParameters.torus.ringRadius1 = 0.6f;
    ring.primitiveParameters.torus.ringRadius2 = 0.44f;
    SceneModel& foot = AddPrimitive(scene, *folder, PrimitiveKind::Cylinder, {0, -1.03f, 0}, stand.get());
    foot.primitiveParameters.cylinder.sides = 72;
    foot.primitiveParameters.cylinder.radius = 0.66f;
    foot.primitiveParameters.cylinder.height = 0.12f;
    foot.primitiveParameters.cylinder.chamfer = 0.04f;
}

void StageBevel(Scene& scene, const BevelSettings& bevel) {
    auto material = Ref<SceneMaterial>::Make();
    material->name = "Bevel";
    material->pbrDiffuseColor = {196, 168, 120, 255};
    material->pbrReflectivityColor = {255, 226, 170, 255};
    material->pbrReflectivity = 0.35f;
    material->pbrGlossiness = 0.72f;
    scene.materials = {material};

    auto model = Ref<SceneModel>::Make(ModelType::PathExtrusion, scene.context);
    model->name = "Bevel";
    model->path = "Extrusion Model.extrusion";
    model->normalizeSize = true;
    model->bevels.fill(bevel);
    model->bevelScale = 8; // large enough for the profile to be seen in a small picture
    // A letter D: sharp corners, a straight and a round side.
    constexpr float kHeight = 90, kArc = 0.5523f * kHeight; // of a quarter of a circle
    const std::vector<PathPoint> outline = {{{-80, -kHeight}, {}, {}},
                                            {{0, -kHeight}, {}, {kArc, 0}},
                                            {{kHeight, 0}, {0, -kArc}, {0, kArc}},
                                            {{0, kHeight}, {kArc, 0}, {}},
                                            {{-80, kHeight}, {}, {}}};
    model->storedPaths = {outline};
    for (int i = 0; i < 5; ++i) {
        MaterialBinding binding;
        binding.material = material.get();
        model->bindings.push_back(binding);
    }
    scene.models.push_back(model);
}

bool DrawPresetPicture(Velorin& core, Scene& scene, std::uint32_t width, std::uint32_t height,
                       PresetPicture& picture) {
    if (!core.glReady() || width < 1 || height < 1 || width > kLargest || height > kLargest) return false;
    Renderer& renderer = *core.renderer;
    if (!renderer.SetContext()) return false;
    ShowAll(scene);
    FrameParams params = StageParams(scene);
    RenderSettings settings = StageSettings();
    core.DropFrame();
    bool drawn = core.BuildFrame(params, {0, 0, -1000});
    core.SetRender(0, params, {0, 0, -1000});
    const std::vector<Point3> corners = Corners(core.drawList());
    core.DropFrame();
    if (drawn && !corners.empty()) {
        settings.camera = Frame(corners, width, height);
        params.settings = &settings;
        renderer.SetFrameSize(static_cast<int>(width), static_cast<int>(height));
        drawn = renderer.SetupRender(settings) == SetupResult::Done &&
                core.BuildFrame(params, settings.camera.position);
        if (drawn) {
            core.SetRender(0, params, settings.camera.position);
            core.Render(settings, 1);
            std::vector<float> rgba(std::size_t{4} * width * height);
            drawn = renderer.ReadFrame(rgba.data());
            picture.width = width;
            picture.height = height;
            picture.pixels.resize(rgba.size());
            std::transform(rgba.begin(), rgba.end(), picture.pixels.begin(), Byte);
        }
    } else {
        drawn = false;
    }
    core.ReleaseModels(params.loadedModels);
    return drawn;
}

} // namespace velorin
