#include "app/project/ProjectReader.h"

#include "app/project/Base64.h"
#include "app/project/Json.h"
#include "app/project/MaskReader.h"
#include "app/project/ObjectReader.h"

#include "services/Library.h"
#include "services/MappedFile.h"

#include <cmath>
#include <filesystem>
#include <set>

namespace velorin::app {

namespace {

constexpr double kLargestSide = 30000;
constexpr double kLargestId = 1e9;

std::string Absolute(const std::string& folder, const std::string& path) {
    namespace fs = std::filesystem;
    const fs::path given(path);
    return given.is_absolute() ? path : (fs::path(folder) / given).lexically_normal().string();
}

class ProjectReader {
public:
    ProjectReader(const TextSource& source, Project& project, SizeOverride size)
        : source_(source), project_(project), size_(size) {}

    void ReadAll() {
        ObjectReader root(source_, project_.document->root, "project");
        if (const JsonNode* version = root.Member("velorin", JsonKind::Number);
            version && version->number != 1)
            root.Error(*version, "this is version " + std::to_string(std::llround(version->number)) +
                                     " of the format; version 1 is understood");
        if (const JsonNode* composition = root.Member("composition")) ReadComposition(*composition);
        if (size_.width > 0)
            project_.composition.width = size_.width, project_.composition.height = size_.height;
        clock_.framesPerSecond = project_.composition.frameRate.perSecond();
        if (const JsonNode* camera = root.Member("camera")) ReadCamera(*camera);
        if (const JsonNode* lights = root.Member("lights", JsonKind::Array))
            for (const JsonNode& light : lights->items) ReadLight(light);
        if (const JsonNode* layers = root.Member("layers", JsonKind::Array))
            for (const JsonNode& layer : layers->items) ReadLayer(layer);
        if (const JsonNode* effects = root.Member("effects", JsonKind::Array))
            for (const JsonNode& effect : effects->items) ReadEffect(effect);
        root.Finish();
    }

private:
    void ReadComposition(const JsonNode& node) {
        Composition& comp = project_.composition;
        ObjectReader reader(source_, node, "composition");
        reader.Read("width", comp.width, {1, kLargestSide});
        reader.Read("height", comp.height, {1, kLargestSide});
        reader.Read("pixelAspect", comp.pixelAspect, {0.01, 100});
        double rate = comp.frameRate.perSecond();
        reader.Read("frameRate", rate, {1, 999});
        comp.frameRate = FrameRateFromNumber(rate);
        reader.Read("duration", comp.duration, {1 / rate, 10800});
        ReadDownsample(reader);
        double depth = comp.depth;
        if (const JsonNode* member = reader.Member("depth", JsonKind::Number)) {
            depth = member->number;
            if (depth != 8 && depth != 16 && depth != 32)
                reader.Error(*member, "depth is 8, 16 or 32");
            else
                comp.depth = static_cast<int>(depth);
        }
        reader.Read("motionBlur", comp.motionBlur);
        reader.Read("shutterAngle", comp.shutterAngle, {0, 720});
        reader.Read("shutterPhase", comp.shutterPhase, {-360, 360});
        reader.Finish();
    }

    // By which an effect's stored state knows a layer, camera or light. Each is one layer's.
    void ReadId(ObjectReader& reader, const JsonNode& node, int& id) {
        reader.Read("id", id, {1, kLargestId});
        if (id != 0 && !ids_.insert(id).second)
            reader.Error(node, "another layer has the id " + std::to_string(id) + " too");
    }

    // One number, or one an axis.
    void ReadDownsample(ObjectReader& reader) {
        const JsonNode* member = reader.Member("downsample");
        if (!member) return;
        Components factors{1, 1};
        const ValueForm form{member->kind == JsonKind::Array ? 2 : 1, false, {1, 64}};
        if (!ReadComponents(source_, *member, "composition.downsample", form, factors)) return;
        if (form.size == 1) factors[1] = factors[0];
        if (factors[0] != std::floor(factors[0]) || factors[1] != std::floor(factors[1])) {
            reader.Error(*member, "downsample is a whole number: 2 keeps every second pixel");
            return;
        }
        project_.composition.downsampleX = static_cast<int>(factors[0]);
        project_.composition.downsampleY = static_cast<int>(factors[1]);
    }

    void ReadCamera(const JsonNode& node) {
        const Composition& comp = project_.composition;
        const double middleX = comp.width / 2.0, middleY = comp.height / 2.0, zoom = comp.defaultZoom();
        Camera camera;
        camera.position = AnimatedValue(middleX, middleY, -zoom);
        camera.pointOfInterest = AnimatedValue(middleX, middleY, 0);
        camera.zoom = AnimatedValue(zoom);
        camera.focusDistance = AnimatedValue(zoom);
        ObjectReader reader(source_, node, "camera", clock_);
        ReadId(reader, node, camera.id);
        static const std::vector<std::string> kTypes{"perspective", "orthographic"};
        int type = 0;
        reader.ReadChoice("type", type, kTypes);
        camera.orthographic = type == 1;
        reader.Read("position", camera.position, 3);
        if (const JsonNode* target = reader.Member("pointOfInterest");
            target && target->kind == JsonKind::Null)
            camera.pointOfInterest.reset();
        else
            reader.Read("pointOfInterest", *camera.pointOfInterest, 3);
        reader.Read("orientation", camera.orientation, 3);
        reader.Read("rotation", camera.rotation, 3);
        reader.Read("zoom", camera.zoom, 1, {1, 1e7});
        reader.Read("depthOfField", camera.depthOfField);
        reader.Read("focusDistance", camera.focusDistance, 1, {0.01, 1e7});
        reader.Read("aperture", camera.aperture, 1, {0, 1e5});
        reader.Read("blurLevel", camera.blurLevel, 1, {0, 1e4});
        reader.Finish();
        project_.camera = std::move(camera);
    }

    void ReadLight(const JsonNode& node) {
        const Composition& comp = project_.composition;
        const std::size_t index = project_.lights.size();
        Light light;
        light.name = "Light " + std::to_string(index + 1);
        light.position = AnimatedValue(comp.width * 0.75, comp.height * 0.1, -comp.width / 2.0);
        light.pointOfInterest = AnimatedValue(comp.width / 2.0, comp.height / 2.0, 0);
        ObjectReader reader(source_, node, "lights[" + std::to_string(index) + "]", clock_);
        ReadId(reader, node, light.id);
        static const std::vector<std::string> kTypes{"parallel", "spot", "point", "ambient"};
        int type = 0;
        reader.Read("name", light.name);
        reader.ReadChoice("type", type, kTypes);
        light.kind = static_cast<LightKind>(type);
        reader.Read("position", light.position, 3);
        reader.Read("pointOfInterest", light.pointOfInterest, 3);
        reader.Read("intensity", light.intensity, 1);
        reader.ReadColor("color", light.color);
        reader.Read("coneAngle", light.coneAngle, 1, {0, 180});
        reader.Read("coneFeather", light.coneFeather, 1, {0, 100});
        reader.Read("castsShadows", light.castsShadows);
        reader.Read("shadowDarkness", light.shadowDarkness, 1, {0, 100});
        reader.Read("shadowDiffusion", light.shadowDiffusion, 1, {0, 1e5});
        reader.Finish();
        project_.lights.push_back(std::move(light));
    }

    void ReadText(ObjectReader& reader, Layer& layer) {
        reader.Read("text", layer.text);
        reader.Read("font", layer.font);
        reader.Read("size", layer.size, 1, {0.1, 10000});
        static const std::vector<std::string> kAlignments{"left", "center", "right"};
        int alignment = 0;
        reader.ReadChoice("alignment", alignment, kAlignments);
        layer.alignment = static_cast<TextAlignment>(alignment);
        reader.Read("tracking", layer.tracking, 1, {-1000, 10000});
        reader.Read("leading", layer.leading, 1, {0, 30000});
        reader.ReadColor("color", layer.color);
    }

    void ReadLayer(const JsonNode& node) {
        const Composition& comp = project_.composition;
        const std::size_t index = project_.layers.size();
        const std::string place = "layers[" + std::to_string(index) + "]";
        ObjectReader reader(source_, node, place, clock_);
        Layer layer;
        layer.name = "Layer " + std::to_string(index + 1);
        layer.position = AnimatedValue(comp.width / 2.0, comp.height / 2.0, 0);
        ReadId(reader, node, layer.id);
        static const std::vector<std::string> kTypes{"image", "text", "solid", "null"};
        int type = static_cast<int>(LayerKind::Solid);
        reader.Read("name", layer.name);
        reader.ReadChoice("type", type, kTypes);
        layer.kind = static_cast<LayerKind>(type);
        if (layer.kind == LayerKind::Image) {
            reader.Read("file", layer.file);
            if (layer.file.empty())
                reader.Error(node, "an image layer needs a \"file\"");
            else
                layer.file = Absolute(project_.folder, layer.file);
        } else if (layer.kind == LayerKind::Text) {
            ReadText(reader, layer);
        } else if (layer.kind == LayerKind::Solid) {
            reader.ReadColor("color", layer.color);
            layer.width = comp.width, layer.height = comp.height;
            reader.Read("width", layer.width, {1, kLargestSide});
            reader.Read("height", layer.height, {1, kLargestSide});
        }
        reader.Read("position", layer.position, 3);
        reader.Read("anchorPoint", layer.anchorPoint, 3);
        reader.Read("scale", layer.scale, 3);
        reader.Read("rotation", layer.rotation, 3);
        reader.Read("orientation", layer.orientation, 3);
        reader.Read("opacity", layer.opacity, 1, {0, 100});
        ReadMasks(source_, reader, clock_, layer.masks);
        reader.Finish();
        for (const Layer& other : project_.layers)
            if (other.name == layer.name)
                reader.Error(node, "another layer is called \"" + layer.name + "\" too");
        project_.layers.push_back(std::move(layer));
    }

    void ReadEffect(const JsonNode& node) {
        const std::string place = "effects[" + std::to_string(project_.effects.size()) + "]";
        ObjectReader reader(source_, node, place, clock_);
        Effect effect;
        reader.Read("enabled", effect.enabled);
        if (const JsonNode* parameters = reader.Member("parameters", JsonKind::Object))
            for (const JsonMember& member : parameters->members)
                effect.parameters.push_back(
                    {member.key, source_.name(), project_.document, member.keyBegin, &member.value});
        effect.scene = reader.Member("scene", JsonKind::Object);
        const JsonNode* file = reader.Member("sceneFile", JsonKind::String);
        if (file) effect.sceneFile = Absolute(project_.folder, file->text);
        if (file && effect.scene) reader.Error(*file, "\"scene\" and \"sceneFile\" exclude each other");
        if (const JsonNode* stored = reader.Member("stored", JsonKind::Object))
            ReadStored(*stored, place + ".stored", effect);
        reader.Finish();
        project_.effects.push_back(std::move(effect));
    }

    void ReadStored(const JsonNode& node, const std::string& place, Effect& effect) {
        ObjectReader reader(source_, node, place);
        const auto read = [&](const char* key, bool needed, std::optional<std::string>& bytes) {
            const JsonNode* member = reader.Member(key, JsonKind::String);
            if (!member) return;
            bytes = FromBase64(member->text);
            if (bytes) return;
            const std::string reason = std::string(key) + " is no base64";
            if (needed)
                reader.Error(*member, reason);
            else
                source_.Warn(member->begin, place + ": " + reason + " and is not used");
        };
        read("sequence", false, effect.storedSequence); // without it the effect is set up anew
        read("scene", !effect.scene && effect.sceneFile.empty(), effect.storedScene);
        reader.Finish();
    }

    const TextSource& source_;
    Project& project_;
    SizeOverride size_;
    KeyframeClock clock_;
    std::set<int> ids_;
};

} // namespace

std::string FolderOfInput(const std::string& path) {
    std::error_code ignored;
    return std::filesystem::absolute(FileOnDisk(path), ignored).parent_path().lexically_normal().string();
}

std::optional<Project> ReadProjectText(const std::string& path, std::string text, Diagnostics& diagnostics,
                                       SizeOverride size) {
    JsonError fault;
    std::optional<JsonDocument> document = ParseJson(std::move(text), fault);
    if (!document) {
        diagnostics.errors.push_back(path + ":" + std::to_string(fault.place.line) + ":" +
                                     std::to_string(fault.place.column) + ": " + fault.reason);
        return std::nullopt;
    }
    Project project;
    project.path = path;
    project.folder = FolderOfInput(path);
    project.document = std::make_shared<const JsonDocument>(std::move(*document));
    const TextSource source(path, project.document->source, diagnostics);
    const std::size_t errorsBefore = diagnostics.errors.size();
    ProjectReader(source, project, size).ReadAll();
    if (diagnostics.errors.size() != errorsBefore) return std::nullopt;
    return project;
}

std::optional<Project> ReadProjectFile(const std::string& path, Diagnostics& diagnostics, SizeOverride size) {
    const MappedFile file = MappedFile::Open(path, FileAccess::Read);
    if (!file.valid()) {
        diagnostics.errors.push_back(path + ": the project cannot be read: " + file.reason());
        return std::nullopt;
    }
    const Bytes bytes = file.bytes();
    return ReadProjectText(path, std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size()),
                           diagnostics, size);
}

} // namespace velorin::app
