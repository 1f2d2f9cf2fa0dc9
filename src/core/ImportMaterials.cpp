#include "core/ImportMaterials.h"

#include "core/document/Scene.h"
#include "core/document/SceneMaterial.h"
#include "core/document/SceneModel.h"
#include "services/StringConversion.h"

#include <algorithm>

namespace velorin {

namespace {

// The Standard shader raises the highlight's cosine to 64 times this value.
constexpr float kExponentOfShininess = 64;

Colour Bytes4(Point3 linear) {
    const auto byte = [](float v) {
        return static_cast<std::uint8_t>(std::clamp(v, 0.0f, 1.0f) * 255 + 0.5f);
    };
    return {byte(linear.x), byte(linear.y), byte(linear.z), 255};
}

bool IsPlain(const ModelMaterial& material) {
    const ModelMaterial plain;
    return material.colour1 == plain.colour1 && material.colour2 == plain.colour2 &&
           material.value7 == plain.value7 && material.value12 == plain.value12 &&
           std::all_of(material.maps.begin(), material.maps.end(),
                       [](const ModelMap& map) { return map.path.empty(); });
}

// A "bump" statement names a height map or, in newer files, a normal map; only the file's name tells.
bool LooksLikeNormalMap(const std::string& path) {
    const std::string name = SmallLetters(path.substr(path.find_last_of("/\\") + 1));
    return name.find("norm") != std::string::npos || name.find("nrm") != std::string::npos ||
           name.find("_n.") != std::string::npos;
}

} // namespace

Ref<SceneMaterial> MaterialFromFile(const ModelMaterial& file) {
    auto material = Ref<SceneMaterial>::Make();
    material->name = file.name;
    if (IsPlain(file)) return material;

    material->type = MaterialType::Standard;
    material->diffuseColor = Bytes4(file.colour1);
    material->specularColor = Bytes4(file.colour2);
    material->diffuse = file.value6;
    if (file.value7 > 0) {
        material->specularShininess = std::clamp(file.value7 / kExponentOfShininess, 0.05f, 100.0f);
    } else {
        material->specular = 0; // without an exponent the lobe would cover the whole surface
    }
    material->forceOpacity = std::clamp(file.value12, 0.0f, 1.0f);
    for (std::size_t slot = 0; slot < file.maps.size(); ++slot) {
        const ModelMap& map = file.maps[slot];
        if (map.path.empty() || slot == static_cast<std::size_t>(MapSlot::Refraction)) continue;
        TextureChannel& channel = material->channels[slot];
        channel.path = map.path;
        // Files written on other systems part folders by backslashes.
        std::replace(channel.path.begin(), channel.path.end(), '\\', '/');
        channel.enabled = true;
        channel.uvOffset = map.offset;
        channel.uvRepeat = map.scale;
    }
    const TextureChannel& normal = material->channel(Channel::Normal);
    material->convertBump = normal.enabled && !LooksLikeNormalMap(normal.path);
    if (material->channel(Channel::Reflection).enabled) material->reflectionIntensity = 0.5f;
    return material;
}

void BindImportedMaterials(Scene& scene, SceneModel& model, std::span<const ModelMaterial> materials) {
    if (!model.bindings.empty()) return;
    for (const ModelMaterial& file : materials) {
        MaterialBinding binding;
        binding.index = static_cast<std::uint32_t>(scene.materials.size());
        scene.materials.push_back(MaterialFromFile(file));
        binding.material = scene.materials.back().get();
        model.bindings.push_back(binding);
    }
}

} // namespace velorin
