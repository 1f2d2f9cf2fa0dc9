#include "host/introspection/PresetKinds.h"

#include "core/PresetPicture.h"
#include "core/document/AssetContext.h"
#include "core/document/BevelPreset.h"
#include "core/document/Scene.h"
#include "model/PackFile.h"
#include "platform/FileSystem.h"
#include "services/Library.h"
#include "services/StringConversion.h"

#include <algorithm>
#include <iterator>
#include <span>
#include <utility>

namespace velorin {
namespace {

// The picture of material and bevel presets has one size, which the file does not tell.
PresetPicture SmallPicture(const std::vector<std::uint8_t>& pixels) {
    if (pixels.size() != std::size_t{4} * kThumbnailWidth * kThumbnailHeight) return {};
    return {kThumbnailWidth, kThumbnailHeight, pixels};
}

// The bytes of an entry of a bundle, held while they are read.
template <class Read>
bool ReadFileOrEntry(const std::string& path, Read read) {
    const auto place = SplitBundlePath(path);
    if (!place) return read(nullptr);
    PackFile pack;
    pack.Open(place->bundle, true, false);
    const PackEntry entry = pack.Get(place->entry);
    if (!entry) return false;
    const Bytes bytes = entry.bytes();
    return read(&bytes);
}

// What the scene of a project has under a name.
template <class List, class NameOf>
auto FindNamed(const List& list, const std::string& name, NameOf nameOf) {
    return std::find_if(list.begin(), list.end(), [&](const auto& item) { return nameOf(item) == name; });
}

template <class List, class NameOf>
std::string NotThere(const char* kind, const std::string& name, const List& list, NameOf nameOf) {
    Json names = Json::array();
    for (const auto& item : list) names.push_back(nameOf(item));
    return RequestUnknown("the scene has no " + std::string(kind) + " \"" + name + "\"", "/name",
                          std::move(names));
}

Bytes AsBytes(const std::vector<std::uint8_t>& pixels) {
    return std::as_bytes(std::span(pixels));
}

std::string PickModelNamed(const Request& request, const Scene& scene, Ref<SceneModel>& model) {
    const std::string name = request.json.value("name", std::string());
    const auto models = scene.Flatten();
    const auto nameOf = [](const SceneModel* each) { return each->name; };
    const auto found = FindNamed(models, name, nameOf);
    if (found == models.end()) return NotThere("model", name, models, nameOf);
    model = Ref<SceneModel>(*found);
    return {};
}

bool IsBound(const Scene& scene, const SceneMaterial* material) {
    for (const SceneModel* model : scene.Flatten())
        for (const MaterialBinding& binding : model->bindings)
            if (binding.material == material) return true;
    return false;
}

// Models: a tree, with the materials that it is bound to.

bool ReadModel(const std::string& path, AssetContext& assets, Preset& preset) {
    preset.model = Ref<SceneModel>::Make(ModelType::File, &assets);
    return LoadModelPreset(path, *preset.model, preset.materials, &preset.picture);
}

void StageModel(Preset& preset, Scene& scene) {
    scene.models.push_back(std::move(preset.model));
    // A material that two models share stands twice in the file; only one of the two is bound.
    for (Ref<SceneMaterial>& material : preset.materials)
        if (IsBound(scene, material.get())) scene.materials.push_back(std::move(material));
}

std::string PickModel(const Request& request, const Scene& scene, Preset& preset) {
    preset.materials = scene.materials;
    return PickModelNamed(request, scene, preset.model);
}

bool WriteModel(const std::string& path, const Preset& preset, const Scene& scene,
                const PresetPicture& picture, std::string* error) {
    return SaveModelPreset(path, *preset.model, scene, picture, error);
}

// Materials.

bool ReadMaterial(const std::string& path, AssetContext& assets, Preset& preset) {
    auto material = Ref<SceneMaterial>::Make();
    material->context = &assets;
    const bool read = ReadFileOrEntry(path, [&](const Bytes* bytes) {
        return bytes ? material->ReadPresetBytes(*bytes) : material->ReadPreset(path);
    });
    preset.picture = SmallPicture(material->thumbnail);
    preset.materials.push_back(std::move(material));
    return read;
}

void StageMaterialOf(Preset& preset, Scene& scene) {
    StageMaterial(scene, preset.materials.front());
}

std::string PickMaterial(const Request& request, const Scene& scene, Preset& preset) {
    const std::string name = request.json.value("name", std::string());
    const auto nameOf = [](const Ref<SceneMaterial>& material) { return material->name; };
    const auto found = FindNamed(scene.materials, name, nameOf);
    if (found == scene.materials.end()) return NotThere("material", name, scene.materials, nameOf);
    preset.materials.push_back(*found);
    return {};
}

bool WriteMaterial(const std::string& path, const Preset& preset, const Scene&, const PresetPicture& picture,
                   std::string* error) {
    return preset.materials.front()->WritePreset(path, AsBytes(picture.pixels), error);
}

// Bevels: one of an extrusion.

bool ReadBevel(const std::string& path, AssetContext&, Preset& preset) {
    BevelPreset bevel;
    const bool read = ReadFileOrEntry(path, [&](const Bytes* bytes) {
        return bytes ? ReadBevelPresetBytes(*bytes, bevel) : ReadBevelPreset(path, bevel);
    });
    preset.bevel = bevel.bevel;
    preset.picture = SmallPicture(bevel.thumbnail);
    return read;
}

void StageBevelOf(Preset& preset, Scene& scene) {
    StageBevel(scene, preset.bevel);
}

std::string PickBevel(const Request& request, const Scene& scene, Preset& preset) {
    Ref<SceneModel> model;
    if (std::string refusal = PickModelNamed(request, scene, model); !refusal.empty()) return refusal;
    if (!IsExtrusion(model->type))
        return RequestError("the model \"" + model->name + "\" is no extrusion and has no bevels", "/name");
    const int number = request.json.value("bevel", 1);
    if (number < 1 || number > static_cast<int>(model->bevelCopies) + 1)
        return RequestError("the model \"" + model->name + "\" has the bevels 1 to " +
                                std::to_string(model->bevelCopies + 1),
                            "/bevel");
    preset.bevel = model->bevels[static_cast<std::size_t>(number - 1)];
    return {};
}

bool WriteBevel(const std::string& path, const Preset& preset, const Scene&, const PresetPicture& picture,
                std::string* error) {
    return WriteBevelPreset(path, {preset.bevel, picture.pixels}, error);
}

constexpr PresetKind kKinds[] = {
    {"model", ".qmx", ReadModel, StageModel, PickModel, WriteModel},
    {"material", ".qmt", ReadMaterial, StageMaterialOf, PickMaterial, WriteMaterial},
    {"bevel", ".qbv", ReadBevel, StageBevelOf, PickBevel, WriteBevel}};

} // namespace

const PresetKind* FindPresetKind(const std::string& name) {
    for (const PresetKind& kind : kKinds)
        if (name == kind.name) return &kind;
    return nullptr;
}

const PresetKind* PresetKindOfFile(const std::string& path) {
    const std::string extension = SmallExtension(path);
    for (const PresetKind& kind : kKinds)
        if (extension == kind.extension) return &kind;
    return nullptr;
}

std::string ReadPreset(const std::string& path, AssetContext& assets, Preset& preset) {
    preset.kind = PresetKindOfFile(path);
    if (!preset.kind) return path + ": this is no preset (.qmx, .qmt or .qbv)";
    const std::string file = FileOnDisk(path);
    if (!IsRegularFile(file)) return file + ": the file does not exist";
    if (preset.kind->read(path, assets, preset)) return {};
    if (const auto place = SplitBundlePath(path)) {
        PackFile pack;
        pack.Open(place->bundle, true, false);
        if (!pack.Get(place->entry))
            return pack.state() == PackFile::State::Open
                       ? file + ": the bundle has no entry \"" + place->entry + "\""
                       : file + ": this is no bundle, or it is damaged";
    }
    return path + ": this is no " + preset.kind->name + " preset, or it is damaged";
}

} // namespace velorin
