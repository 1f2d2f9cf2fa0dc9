#include "app/host/ProjectWriter.h"

#include "app/host/ParameterInput.h"
#include "app/project/Base64.h"
#include "app/project/ProjectReader.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>
#include <set>

namespace velorin::app {

namespace {

using Json = nlohmann::ordered_json;

constexpr const char* kEaseNames[] = {"linear", "hold", "bezier"};
constexpr const char* kLightNames[] = {"parallel", "spot", "point", "ambient"};
constexpr const char* kAlignmentNames[] = {"left", "center", "right"};

// The shortest decimal that reads back as the number; without a fraction where there is none.
Json Number(double value) {
    constexpr double kExactWhole = 9007199254740992; // 2^53
    if (std::abs(value) < kExactWhole && value == std::floor(value)) return static_cast<std::int64_t>(value);
    return value;
}

Json Vector(const Components& value, int size) {
    if (size == 1) return Number(value[0]);
    Json list = Json::array();
    for (int i = 0; i < size; ++i) list.push_back(Number(value[static_cast<std::size_t>(i)]));
    return list;
}

using WriteComponents = std::function<Json(const Components&)>;

// A value, or its keyframes.
Json Animated(const AnimatedValue& value, double framesPerSecond, const WriteComponents& write) {
    if (value.keys.empty()) return write(value.constant);
    Json keys = Json::array();
    for (const Keyframe& key : value.keys) {
        Json entry;
        const double frame = std::round(key.time * framesPerSecond);
        if (frame / framesPerSecond == key.time)
            entry["frame"] = Number(frame);
        else
            entry["time"] = Number(key.time);
        entry["value"] = write(key.value);
        if (key.ease != KeyframeEase::Linear) entry["ease"] = kEaseNames[static_cast<std::size_t>(key.ease)];
        keys.push_back(std::move(entry));
    }
    return {{"keys", std::move(keys)}};
}

bool IsFinite(const AnimatedValue& value) {
    const auto finite = [](const Components& c) {
        return std::all_of(c.begin(), c.end(), [](double x) { return std::isfinite(x); });
    };
    return finite(value.constant) && std::all_of(value.keys.begin(), value.keys.end(),
                                                 [&](const Keyframe& k) { return finite(k.value); });
}

bool SameValue(const AnimatedValue& a, const AnimatedValue& b) {
    return a.keys.empty() && b.keys.empty() && a.constant == b.constant;
}

class Writer {
public:
    Writer(Host& host, const std::string& folder)
        : host_(host), comp_(host.comp()), folder_(folder), rate_(comp_.settings.frameRate.perSecond()) {
        NameLayers();
    }

    std::string Text(const std::vector<SavedEffect>& effects) {
        Json project;
        project["velorin"] = 1;
        project["composition"] = WriteComposition();
        Json lights = Json::array(), layers = Json::array(), list = Json::array();
        for (const auto& layer : comp_.layers) {
            if (layer->role == LayerRole::Camera && !project.contains("camera"))
                project["camera"] = WriteCamera(*layer);
            else if (layer->role == LayerRole::Light)
                lights.push_back(WriteLight(*layer));
            else if (layer->role != LayerRole::Camera && layer->role != LayerRole::Effect)
                layers.push_back(WriteLayer(*layer));
        }
        if (!lights.empty()) project["lights"] = std::move(lights);
        if (!layers.empty()) project["layers"] = std::move(layers);
        for (std::size_t i = 0; i < comp_.effects.size(); ++i)
            list.push_back(WriteEffect(*comp_.effects[i], i < effects.size() ? effects[i] : SavedEffect{}));
        project["effects"] = std::move(list);
        return project.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
    }

private:
    // The file's names of layers differ; the host's need not.
    void NameLayers() {
        std::set<std::string> taken;
        for (const auto& layer : comp_.layers) {
            const bool named = layer->role != LayerRole::Camera && layer->role != LayerRole::Light;
            std::string name = layer->name;
            for (int n = 2; named && taken.contains(name); ++n)
                name = layer->name + " (" + std::to_string(n) + ")";
            if (named) taken.insert(name);
            names_[layer->id] = name;
        }
    }

    [[nodiscard]] Json Value(const AnimatedValue& value, int size) const {
        return Animated(value, rate_, [size](const Components& c) { return Vector(c, size); });
    }
    [[nodiscard]] Json Stream(const HostLayer& layer, AEGP_LayerStream which, int size) const {
        const auto found = layer.streams.find(which);
        return found == layer.streams.end() ? Vector({}, size) : Value(found->second.value, size);
    }
    // The three turns as one vector, with the keyframes of the first that has any.
    [[nodiscard]] Json Rotation(const HostLayer& layer) const {
        constexpr AEGP_LayerStream kAxes[] = {AEGP_LayerStream_ROTATE_X, AEGP_LayerStream_ROTATE_Y,
                                              AEGP_LayerStream_ROTATE_Z};
        AnimatedValue rotation(0, 0, 0);
        const auto at = [&](double seconds) {
            Components value{};
            for (std::size_t i = 0; i < 3; ++i) value[i] = layer.ValueAt(kAxes[i], seconds)[0];
            return value;
        };
        rotation.constant = at(0);
        for (const AEGP_LayerStream axis : kAxes) {
            const auto found = layer.streams.find(axis);
            if (found == layer.streams.end() || found->second.value.keys.empty()) continue;
            for (const Keyframe& key : found->second.value.keys)
                rotation.keys.push_back({key.time, at(key.time), key.ease});
            break;
        }
        return Value(rotation, 3);
    }

    [[nodiscard]] Json WriteComposition() const {
        const Composition& c = comp_.settings;
        Json json{{"width", c.width},
                  {"height", c.height},
                  {"pixelAspect", Number(c.pixelAspect)},
                  {"frameRate", Number(rate_)},
                  {"duration", Number(c.duration)}};
        json["downsample"] =
            c.downsampleX == c.downsampleY ? Json(c.downsampleX) : Json{c.downsampleX, c.downsampleY};
        json["depth"] = c.depth;
        json["motionBlur"] = c.motionBlur;
        json["shutterAngle"] = Number(c.shutterAngle);
        json["shutterPhase"] = Number(c.shutterPhase);
        return json;
    }

    [[nodiscard]] Json WriteCamera(const HostLayer& camera) const {
        Json json{{"id", camera.id}, {"type", camera.orthographic ? "orthographic" : "perspective"}};
        json["position"] = Stream(camera, AEGP_LayerStream_POSITION, 3);
        json["pointOfInterest"] =
            camera.looksAtPoint ? Stream(camera, AEGP_LayerStream_ANCHORPOINT, 3) : Json(nullptr);
        json["orientation"] = Stream(camera, AEGP_LayerStream_ORIENTATION, 3);
        json["rotation"] = Rotation(camera);
        json["zoom"] = Stream(camera, AEGP_LayerStream_ZOOM, 1);
        json["depthOfField"] = camera.ValueAt(AEGP_LayerStream_DEPTH_OF_FIELD, 0)[0] != 0;
        json["focusDistance"] = Stream(camera, AEGP_LayerStream_FOCUS_DISTANCE, 1);
        json["aperture"] = Stream(camera, AEGP_LayerStream_APERTURE, 1);
        json["blurLevel"] = Stream(camera, AEGP_LayerStream_BLUR_LEVEL, 1);
        return json;
    }

    [[nodiscard]] Json WriteLight(const HostLayer& light) const {
        Json json{{"id", light.id},
                  {"name", light.name},
                  {"type", kLightNames[static_cast<std::size_t>(light.light)]}};
        json["position"] = Stream(light, AEGP_LayerStream_POSITION, 3);
        json["pointOfInterest"] = Stream(light, AEGP_LayerStream_ANCHORPOINT, 3);
        json["intensity"] = Stream(light, AEGP_LayerStream_INTENSITY, 1);
        json["color"] = Stream(light, AEGP_LayerStream_COLOR, 3);
        if (light.light == LightKind::Spot) {
            json["coneAngle"] = Stream(light, AEGP_LayerStream_CONE_ANGLE, 1);
            json["coneFeather"] = Stream(light, AEGP_LayerStream_CONE_FEATHER, 1);
        }
        json["castsShadows"] = light.ValueAt(AEGP_LayerStream_CASTS_SHADOWS, 0)[0] != 0;
        json["shadowDarkness"] = Stream(light, AEGP_LayerStream_SHADOW_DARKNESS, 1);
        json["shadowDiffusion"] = Stream(light, AEGP_LayerStream_SHADOW_DIFFUSION, 1);
        return json;
    }

    [[nodiscard]] Json WriteLayer(const HostLayer& layer) const {
        const Layer& source = layer.source;
        Json json{{"id", layer.id}, {"name", names_.at(layer.id)}};
        switch (layer.role) {
        case LayerRole::Image:
            json["type"] = "image";
            json["file"] = PathForProject(source.file, folder_);
            break;
        case LayerRole::Text:
            json["type"] = "text";
            json["text"] = source.text;
            json["font"] = source.font;
            json["size"] = Value(source.size, 1);
            json["alignment"] = kAlignmentNames[static_cast<std::size_t>(source.alignment)];
            json["tracking"] = Value(source.tracking, 1);
            json["leading"] = Value(source.leading, 1);
            json["color"] = Value(source.color, 3);
            break;
        case LayerRole::Solid:
            json["type"] = "solid";
            json["color"] = Value(source.color, 3);
            json["width"] = source.width;
            json["height"] = source.height;
            break;
        default:
            json["type"] = "null";
        }
        json["position"] = Stream(layer, AEGP_LayerStream_POSITION, 3);
        json["anchorPoint"] = Stream(layer, AEGP_LayerStream_ANCHORPOINT, 3);
        json["scale"] = Stream(layer, AEGP_LayerStream_SCALE, 3);
        json["rotation"] = Rotation(layer);
        json["orientation"] = Stream(layer, AEGP_LayerStream_ORIENTATION, 3);
        json["opacity"] = Stream(layer, AEGP_LayerStream_OPACITY, 1);
        if (!source.masks.empty()) json["masks"] = WriteMasks(source.masks);
        return json;
    }

    [[nodiscard]] Json WriteMasks(const std::vector<Mask>& masks) const {
        Json list = Json::array();
        for (const Mask& mask : masks) {
            Json vertices = Json::array();
            for (const MaskVertex& vertex : mask.vertices)
                vertices.push_back({{"position", Value(vertex.position, 2)},
                                    {"in", Value(vertex.in, 2)},
                                    {"out", Value(vertex.out, 2)}});
            list.push_back({{"closed", mask.closed}, {"vertices", std::move(vertices)}});
        }
        return list;
    }

    // The row's name where it means the row alone, else its disk id.
    [[nodiscard]] std::string KeyOf(const ParameterRow& row) const {
        std::string ignored;
        for (const std::string& key : {row.name, row.path})
            if (host_.rows().Resolve(key, ignored) == &row) return key;
        return std::to_string(row.diskId);
    }

    [[nodiscard]] Json Choice(const ParameterRow& row, const Components& value) const {
        const auto number = static_cast<std::size_t>(std::max(std::lround(value[0]), 1L));
        if (number > row.choices.size()) return Number(value[0]);
        const std::string& text = row.choices[number - 1];
        const bool only = std::count(row.choices.begin(), row.choices.end(), text) == 1;
        return only ? Json(text) : Json(number);
    }

    [[nodiscard]] Json RowValue(const ParameterRow& row, const AnimatedValue& value) const {
        return Animated(value, rate_, [&](const Components& c) -> Json {
            switch (row.type()) {
            case PF_Param_CHECKBOX:
                return c[0] != 0;
            case PF_Param_POPUP:
                return Choice(row, c);
            case PF_Param_LAYER: {
                const auto layer = names_.find(static_cast<int>(c[0]));
                return layer == names_.end() ? Json(nullptr) : Json(layer->second);
            }
            default:
                return Vector(c, row.type() == PF_Param_COLOR ? 3 : row.type() == PF_Param_POINT ? 2 : 1);
            }
        });
    }

    [[nodiscard]] Json WriteEffect(const EffectInstance& effect, const SavedEffect& saved) const {
        Json json, parameters = Json::object();
        if (!effect.enabled) json["enabled"] = false;
        for (const ParameterRow& row : host_.rows().rows()) {
            const AnimatedValue& value = effect.rows[static_cast<std::size_t>(row.index)].value;
            if (!row.hasValue() || row.type() == PF_Param_ARBITRARY_DATA || !IsFinite(value) ||
                SameValue(value, DefaultValue(row, comp_)))
                continue;
            parameters[KeyOf(row)] = RowValue(row, value);
        }
        if (!parameters.empty()) json["parameters"] = std::move(parameters);
        if (!saved.scene.empty()) json["scene"] = Json::parse(saved.scene, nullptr, false);
        json["stored"] = {{"sequence", ToBase64(saved.stored.sequence)},
                          {"scene", ToBase64(saved.stored.scene)}};
        return json;
    }

    Host& host_;
    HostComp& comp_;
    const std::string& folder_;
    double rate_;
    std::map<int, std::string> names_; // by layer id
};

} // namespace

std::string ProjectText(Host& host, const std::vector<SavedEffect>& effects, const std::string& folder) {
    return Writer(host, folder).Text(effects);
}

} // namespace velorin::app
