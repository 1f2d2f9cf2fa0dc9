#include "app/host/Comp.h"

#include "app/host/Instance.h"
#include "app/host/Transform.h"

#include <algorithm>

namespace velorin::app {

namespace {

HostStream MakeStream(AEGP_StreamType type, const AnimatedValue& value) {
    HostStream stream;
    stream.type = type;
    stream.value = value;
    return stream;
}

AnimatedValue Component(const AnimatedValue& vector, std::size_t index) {
    AnimatedValue number(vector.constant[index]);
    for (const Keyframe& key : vector.keys) number.keys.push_back({key.time, {key.value[index]}, key.ease});
    return number;
}

void AddTransform(HostLayer& layer, const AnimatedValue& anchor, const AnimatedValue& position,
                  const AnimatedValue& orientation, const AnimatedValue& rotation) {
    auto& streams = layer.streams;
    streams[AEGP_LayerStream_ANCHORPOINT] = MakeStream(AEGP_StreamType_ThreeD_SPATIAL, anchor);
    streams[AEGP_LayerStream_POSITION] = MakeStream(AEGP_StreamType_ThreeD_SPATIAL, position);
    streams[AEGP_LayerStream_ORIENTATION] = MakeStream(AEGP_StreamType_ThreeD, orientation);
    streams[AEGP_LayerStream_ROTATE_X] = MakeStream(AEGP_StreamType_OneD, Component(rotation, 0));
    streams[AEGP_LayerStream_ROTATE_Y] = MakeStream(AEGP_StreamType_OneD, Component(rotation, 1));
    streams[AEGP_LayerStream_ROTATE_Z] = MakeStream(AEGP_StreamType_OneD, Component(rotation, 2));
}

void AddNumber(HostLayer& layer, AEGP_LayerStream which, const AnimatedValue& value) {
    layer.streams[which] = MakeStream(AEGP_StreamType_OneD, value);
}

void AddCamera(HostComp& comp, const Camera& camera) {
    HostLayer& layer = comp.AddLayer(LayerRole::Camera, "Camera", camera.id);
    layer.orthographic = camera.orthographic;
    layer.looksAtPoint = camera.pointOfInterest.has_value();
    AddTransform(layer, camera.pointOfInterest.value_or(AnimatedValue(0, 0, 0)), camera.position,
                 camera.orientation, camera.rotation);
    AddNumber(layer, AEGP_LayerStream_ZOOM, camera.zoom);
    AddNumber(layer, AEGP_LayerStream_DEPTH_OF_FIELD, AnimatedValue(camera.depthOfField ? 1 : 0));
    AddNumber(layer, AEGP_LayerStream_FOCUS_DISTANCE, camera.focusDistance);
    AddNumber(layer, AEGP_LayerStream_APERTURE, camera.aperture);
    AddNumber(layer, AEGP_LayerStream_BLUR_LEVEL, camera.blurLevel);
}

void AddLight(HostComp& comp, const Light& light) {
    HostLayer& layer = comp.AddLayer(LayerRole::Light, light.name, light.id);
    layer.light = light.kind;
    layer.looksAtPoint = light.kind == LightKind::Parallel || light.kind == LightKind::Spot;
    AddTransform(layer, light.pointOfInterest, light.position, AnimatedValue(0, 0, 0),
                 AnimatedValue(0, 0, 0));
    AddNumber(layer, AEGP_LayerStream_INTENSITY, light.intensity);
    layer.streams[AEGP_LayerStream_COLOR] = MakeStream(AEGP_StreamType_COLOR, light.color);
    if (light.kind == LightKind::Spot) {
        AddNumber(layer, AEGP_LayerStream_CONE_ANGLE, light.coneAngle);
        AddNumber(layer, AEGP_LayerStream_CONE_FEATHER, light.coneFeather);
    }
    AddNumber(layer, AEGP_LayerStream_CASTS_SHADOWS, AnimatedValue(light.castsShadows ? 1 : 0));
    AddNumber(layer, AEGP_LayerStream_SHADOW_DARKNESS, light.shadowDarkness);
    AddNumber(layer, AEGP_LayerStream_SHADOW_DIFFUSION, light.shadowDiffusion);
    AddNumber(layer, AEGP_LayerStream_LIGHT_FALLOFF_TYPE, AnimatedValue(0));
    AddNumber(layer, AEGP_LayerStream_LIGHT_FALLOFF_START, AnimatedValue(500));
    AddNumber(layer, AEGP_LayerStream_LIGHT_FALLOFF_DISTANCE, AnimatedValue(500));
}

// The name, with a number when a layer of the project has it already.
std::string FreeName(const std::string& name, const std::vector<Layer>& layers) {
    std::string free = name;
    const auto taken = [&](const Layer& layer) { return layer.name == free; };
    for (int n = 2; std::any_of(layers.begin(), layers.end(), taken); ++n)
        free = name + " (" + std::to_string(n) + ")";
    return free;
}

void AddSourceLayer(HostComp& comp, const Layer& source) {
    constexpr LayerRole kRoles[] = {LayerRole::Image, LayerRole::Text, LayerRole::Solid, LayerRole::Null};
    HostLayer& layer = comp.AddLayer(kRoles[static_cast<std::size_t>(source.kind)], source.name, source.id);
    layer.source = source;
    if (layer.role == LayerRole::Null) layer.flags |= AEGP_LayerFlag_NULL_LAYER | AEGP_LayerFlag_LAYER_IS_3D;
    AddTransform(layer, source.anchorPoint, source.position, source.orientation, source.rotation);
    layer.streams[AEGP_LayerStream_SCALE] = MakeStream(AEGP_StreamType_ThreeD, source.scale);
    AddNumber(layer, AEGP_LayerStream_OPACITY, source.opacity);
}

} // namespace

AEGP_ObjectType HostLayer::objectType() const {
    switch (role) {
    case LayerRole::Camera:
        return AEGP_ObjectType_CAMERA;
    case LayerRole::Light:
        return AEGP_ObjectType_LIGHT;
    case LayerRole::Text:
        return AEGP_ObjectType_TEXT;
    default:
        return AEGP_ObjectType_AV;
    }
}

bool HostLayer::hasSourceItem() const {
    return objectType() == AEGP_ObjectType_AV;
}

Components HostLayer::ValueAt(AEGP_LayerStream which, double layerSeconds) const {
    const auto found = streams.find(which);
    if (found != streams.end()) return found->second.value.At(layerSeconds, found->second.interpolates);
    return which == AEGP_LayerStream_SCALE ? Components{100, 100, 100} : Components{};
}

A_Matrix4 HostLayer::ToWorld(double compSeconds) const {
    const double t = compSeconds - startTime;
    const Components position = ValueAt(AEGP_LayerStream_POSITION, t),
                     anchor = ValueAt(AEGP_LayerStream_ANCHORPOINT, t);
    A_Matrix4 m =
        RotationMatrix({ValueAt(AEGP_LayerStream_ROTATE_X, t)[0], ValueAt(AEGP_LayerStream_ROTATE_Y, t)[0],
                        ValueAt(AEGP_LayerStream_ROTATE_Z, t)[0]});
    m = Product(m, RotationMatrix(ValueAt(AEGP_LayerStream_ORIENTATION, t)));
    if (looksAtPoint) m = Product(m, LookMatrix(position, anchor));
    if (role != LayerRole::Camera && role != LayerRole::Light) {
        const Components scale = ValueAt(AEGP_LayerStream_SCALE, t);
        m = Product(ScaleMatrix(scale[0] / 100, scale[1] / 100, scale[2] / 100), m);
        m = Product(TranslationMatrix(-anchor[0], -anchor[1], -anchor[2]), m);
    }
    return Product(m, TranslationMatrix(position[0], position[1], position[2]));
}

bool HostLayer::Covers(double compSeconds) const {
    return compSeconds >= startTime && compSeconds < startTime + duration;
}

HostComp::HostComp() {
    item.comp = this;
}

HostComp::~HostComp() = default;

HostLayer* HostComp::LayerById(int id) const {
    for (const auto& layer : layers)
        if (layer->id == id) return layer.get();
    return nullptr;
}

HostLayer* HostComp::LayerByName(const std::string& name) const {
    for (const auto& layer : layers)
        if (layer->name == name) return layer.get();
    return nullptr;
}

HostLayer* HostComp::CameraAt(double compSeconds) const {
    for (const auto& layer : layers)
        if (layer->role == LayerRole::Camera && layer->Covers(compSeconds)) return layer.get();
    return nullptr;
}

HostLayer& HostComp::AddLayer(LayerRole role, const std::string& name, int id) {
    auto layer = std::make_unique<HostLayer>();
    layer->comp = this;
    layer->id = id != 0 ? id : nextLayerId++;
    layer->name = name;
    layer->role = role;
    layer->duration = settings.duration;
    layer->item = {nullptr, this, layer.get(), layer->id};
    layer->item.self = &layer->item;
    if (settings.motionBlur) layer->flags |= AEGP_LayerFlag_MOTION_BLUR;
    if (role == LayerRole::Camera || role == LayerRole::Light)
        layer->flags |= AEGP_LayerFlag_LAYER_IS_3D | AEGP_LayerFlag_LOOK_AT_POI;
    layers.push_back(std::move(layer));
    return *layers.back();
}

HostComp::CameraView HostComp::ViewAt(double compSeconds) const {
    const HostLayer* camera = CameraAt(compSeconds);
    const double defaultZoom = settings.defaultZoom();
    if (!camera)
        return {TranslationMatrix(settings.width / 2.0, settings.height / 2.0, -defaultZoom), defaultZoom};
    CameraView view;
    view.matrix = camera->ToWorld(compSeconds);
    view.distance = camera->ValueAt(AEGP_LayerStream_ZOOM, compSeconds - camera->startTime)[0];
    // Without perspective the zoom is the scale: at the default one a pixel of the comp is a pixel.
    if (camera->orthographic) {
        const double s = defaultZoom / view.distance;
        view.matrix = Product(ScaleMatrix(s, s, s), view.matrix);
    }
    return view;
}

std::unique_ptr<HostComp> MakeComp(const Project& project) {
    auto comp = std::make_unique<HostComp>();
    comp->settings = project.composition;
    int last = project.camera ? project.camera->id : 0;
    for (const Light& light : project.lights) last = std::max(last, light.id);
    for (const Layer& layer : project.layers) last = std::max(last, layer.id);
    comp->nextLayerId = last + 1;
    for (const Light& light : project.lights) AddLight(*comp, light);
    if (project.camera) AddCamera(*comp, *project.camera);
    HostLayer& effectLayer = comp->AddLayer(LayerRole::Effect, FreeName("Velorin", project.layers));
    const double x = comp->settings.width / 2.0, y = comp->settings.height / 2.0;
    AddTransform(effectLayer, AnimatedValue(x, y, 0), AnimatedValue(x, y, 0), AnimatedValue(0, 0, 0),
                 AnimatedValue(0, 0, 0));
    effectLayer.streams[AEGP_LayerStream_SCALE] =
        MakeStream(AEGP_StreamType_ThreeD, AnimatedValue(100, 100, 100));
    AddNumber(effectLayer, AEGP_LayerStream_OPACITY, AnimatedValue(100));
    comp->effectLayer = &effectLayer;
    for (const Layer& layer : project.layers) AddSourceLayer(*comp, layer);
    return comp;
}

} // namespace velorin::app
