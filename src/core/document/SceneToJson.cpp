#include "core/document/JsonFields.h"
#include "core/document/Scene.h"
#include "services/StringConversion.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <nlohmann/json.hpp>

namespace velorin {

namespace {

using Json = nlohmann::ordered_json;

// The shortest decimal number that reads back as the same float; JSON has no number for the others.
Json FloatToJson(float value) {
    if (std::isnan(value)) return "NaN";
    if (std::isinf(value)) return value > 0 ? "Infinity" : "-Infinity";
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text - 1, value).ptr;
    *end = 0;
    const double number = std::strtod(text, nullptr);
    // Whole numbers without a point.
    if (std::fabs(number) < 1e9 && number == std::floor(number) && !std::signbit(number))
        return static_cast<std::int64_t>(number);
    return number;
}

Json FloatsToJson(const void* at, std::size_t count) {
    Json list = Json::array();
    for (std::size_t i = 0; i < count; ++i) {
        float value;
        std::memcpy(&value, static_cast<const std::byte*>(at) + i * sizeof value, sizeof value);
        list.push_back(FloatToJson(value));
    }
    return list;
}

// A document's text need not be well-formed UTF-8; JSON must be.
Json TextToJson(const std::string& text) {
    return Utf16ToUtf8(Utf8ToUtf16(text));
}

Json NumberToJson(const Field& field, std::uint32_t value) {
    if (!field.printNumber)
        for (const FieldLabel& label : field.labels)
            if (label.value == value) return label.text;
    return value;
}

Json ValueToJson(const Field& field, const void* record) {
    const void* const at = FieldAt(field, record);
    switch (field.kind) {
    case FieldKind::Text:
        return TextToJson(*static_cast<const std::string*>(at));
    case FieldKind::Bool:
    case FieldKind::Bool32:
        return *static_cast<const bool*>(at);
    case FieldKind::Bools3: {
        const auto* const flags = static_cast<const bool*>(at);
        return {flags[0], flags[1], flags[2]};
    }
    case FieldKind::Byte:
        return *static_cast<const std::uint8_t*>(at);
    case FieldKind::U32: {
        std::uint32_t value;
        std::memcpy(&value, at, sizeof value);
        return NumberToJson(field, value);
    }
    case FieldKind::I32:
        return *static_cast<const std::int32_t*>(at);
    case FieldKind::F32:
        return FloatToJson(*static_cast<const float*>(at));
    case FieldKind::F32x2:
        return FloatsToJson(at, 2);
    case FieldKind::F32x3:
        return FloatsToJson(at, 3);
    case FieldKind::Colour: {
        const Colour& c = *static_cast<const Colour*>(at);
        return {c.r, c.g, c.b, c.a};
    }
    default:
        return nullptr;
    }
}

// Puts the plain fields of a record into `object`; `defaults` is a record as it is made, or null for all
// fields.
void PutFields(Json& object, const FieldTable& table, const void* record, const void* defaults) {
    for (const Field& field : table.rows) {
        if (!field.at || IsList(field.kind) || field.block != PrimitiveKind::None) continue;
        Json value = ValueToJson(field, record);
        if (!defaults || value != ValueToJson(field, defaults)) object[field.name] = std::move(value);
    }
}

Json RecordToJson(const FieldTable& table, const void* record, const void* defaults) {
    Json object = Json::object();
    PutFields(object, table, record, defaults);
    return object;
}

class SceneWriter {
public:
    SceneWriter(const Scene& scene, bool withDefaults) : scene_(scene), places_(scene), all_(withDefaults) {}

    Json Write() const {
        Json json = Json::object();
        const Scene fresh;
        json["environment"] = RecordToJson(kChannelFields, &scene_.environment, Unless(&fresh.environment));
        json["materials"] = Json::array();
        for (const Ref<SceneMaterial>& material : scene_.materials)
            json["materials"].push_back(Material(*material));
        json["models"] = Json::array();
        for (const Ref<SceneModel>& model : scene_.models) json["models"].push_back(Model(*model));
        return json;
    }

private:
    template <class T>
    const T* Unless(const T* defaults) const {
        return all_ ? nullptr : defaults;
    }

    Json Material(const SceneMaterial& material) const {
        const SceneMaterial fresh;
        Json object = RecordToJson(kMaterialFields, &material, Unless(&fresh));
        if (!all_) {
            object.erase("index"); // its place in the list says it
            // A person looks for these first.
            if (!object.contains("name")) object["name"] = material.name;
        }
        Json channels = Json::object();
        for (const ChannelKey& key : kChannelKeys) {
            const TextureChannel defaults(key.channel);
            Json channel = RecordToJson(kChannelFields, &material.channel(key.channel), Unless(&defaults));
            if (!channel.empty()) channels[key.name] = std::move(channel);
        }
        if (!channels.empty()) object["channels"] = std::move(channels);
        return object;
    }

    Json Model(const SceneModel& model) const {
        SceneModel fresh(model.type);
        fresh.path = DefaultModelPath(model.type, model.primitive);
        fresh.primitive = PrimitiveKind::None; // always said
        fresh.depth = model.depth;
        Json object = Json::object();
        object["name"] = TextToJson(model.name);
        object["type"] = static_cast<std::uint32_t>(model.type);
        for (const Field& field : kModelFields.rows) {
            if (!Applies(field, model)) continue;
            if (IsList(field.kind)) {
                Json list = List(field.kind, model);
                if (all_ || list != List(field.kind, fresh)) object[field.name] = std::move(list);
            } else if (field.block != PrimitiveKind::None) {
                PutBlockField(object, field, model, fresh);
            } else {
                Json value = ValueToJson(field, &model);
                if (all_ || value != ValueToJson(field, &fresh)) object[field.name] = std::move(value);
            }
        }
        if (all_ || !model.children.empty()) {
            Json& children = object["children"] = Json::array();
            for (const Ref<SceneModel>& child : model.children) children.push_back(Model(*child));
        }
        return object;
    }

    // With every field asked for, also those that the model's type does not store.
    bool Applies(const Field& field, const SceneModel& model) const {
        if (!field.at) return false;
        switch (field.use) {
        case FieldUse::Extrusion:
            return all_ || IsExtrusion(model.type);
        case FieldUse::PathExtrusion:
            return all_ || model.type == ModelType::PathExtrusion;
        case FieldUse::PrimitiveType:
            return model.type == ModelType::Primitive;
        case FieldUse::PrimitiveBlock:
            return model.type == ModelType::Primitive && model.primitive == field.block;
        default:
            return true;
        }
    }

    void PutBlockField(Json& object, const Field& field, const SceneModel& model,
                       const SceneModel& fresh) const {
        Json value = ValueToJson(field, &model);
        if (all_ || value != ValueToJson(field, &fresh))
            object[SmallLetters(PrimitiveLabel(field.block))][field.name] = std::move(value);
    }

    Json List(FieldKind kind, const SceneModel& model) const {
        Json list = Json::array();
        switch (kind) {
        case FieldKind::Groups:
            for (std::size_t i = 0; i < kGroups; ++i)
                if (model.groups[i]) list.push_back(i + 1);
            break;
        case FieldKind::MeshVisible:
            for (const bool visible : model.meshVisible) list.push_back(visible);
            break;
        case FieldKind::Bindings:
            for (const MaterialBinding& binding : model.bindings) list.push_back(Binding(binding));
            break;
        case FieldKind::Meshes:
            for (const Ref<SceneMesh>& mesh : model.meshes) list.push_back(Mesh(*mesh));
            break;
        case FieldKind::Bevels:
            list = Bevels(model);
            break;
        case FieldKind::StoredPaths:
            list = StoredPaths(model);
            break;
        default:
            break;
        }
        return list;
    }

    Json Binding(const MaterialBinding& binding) const {
        const std::int32_t position = places_.Of(binding.material);
        const Json index = position < 0 ? Json(nullptr) : Json(position);
        if (binding.enabled && !all_) return index;
        return {{"material", index}, {"enabled", binding.enabled}};
    }

    Json Mesh(const SceneMesh& mesh) const {
        const SceneMesh fresh;
        Json object = RecordToJson(kMeshFields, &mesh, Unless(&fresh));
        if (all_ || !mesh.parts.empty()) object["parts"] = mesh.parts;
        return object;
    }

    // Up to the last bevel that differs from a new one.
    Json Bevels(const SceneModel& model) const {
        const BevelSettings fresh;
        std::size_t count = kBevels;
        while (!all_ && count > 0 && model.bevels[count - 1] == fresh) --count;
        Json list = Json::array();
        for (std::size_t i = 0; i < count; ++i)
            list.push_back(RecordToJson(kBevelFields, &model.bevels[i], Unless(&fresh)));
        return list;
    }

    Json StoredPaths(const SceneModel& model) const {
        const PathPoint fresh;
        Json contours = Json::array();
        for (const std::vector<PathPoint>& contour : model.storedPaths) {
            Json points = Json::array();
            for (const PathPoint& point : contour)
                points.push_back(RecordToJson(kPathPointFields, &point, Unless(&fresh)));
            contours.push_back(std::move(points));
        }
        return contours;
    }

    const Scene& scene_;
    const MaterialPlaces places_;
    bool all_;
};

} // namespace

nlohmann::ordered_json SceneToJson(const Scene& scene, bool withDefaults) {
    return SceneWriter(scene, withDefaults).Write();
}

std::string SceneToJsonText(const Scene& scene, bool withDefaults, int indent) {
    return SceneToJson(scene, withDefaults).dump(indent);
}

} // namespace velorin
