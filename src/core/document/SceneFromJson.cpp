#include "core/document/JsonFields.h"
#include "core/document/Scene.h"
#include "services/Library.h"
#include "services/Paths.h"
#include "services/StringConversion.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <filesystem>
#include <limits>
#include <nlohmann/json.hpp>
#include <numeric>

namespace velorin {

namespace {

using nlohmann::json;

// Levenshtein distance without regard to case.
std::size_t Distance(const std::string& first, const std::string& second) {
    const std::string a = SmallLetters(first), b = SmallLetters(second);
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t diagonal = row[0]++;
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::size_t replaced = diagonal + (a[i] == b[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row[b.size()];
}

std::string Nearest(const std::string& word, const std::vector<std::string>& known) {
    // The distance takes the product of both lengths; a key of many thousands of letters resembles nothing.
    const std::string start = word.substr(0, 100);
    std::string best;
    std::size_t least = std::numeric_limits<std::size_t>::max();
    for (const std::string& candidate : known) {
        const std::size_t distance = Distance(start, candidate);
        if (distance < least) least = distance, best = candidate;
    }
    return best;
}

std::string Quoted(const std::string& text) {
    return '"' + (text.size() > 100 ? text.substr(0, 100) + "..." : text) + '"';
}

// A key as part of a JSON pointer (RFC 6901).
std::string PointerPart(const std::string& key) {
    std::string part = "/";
    for (const char c : key) {
        if (c == '~')
            part += "~0";
        else if (c == '/')
            part += "~1";
        else
            part += c;
    }
    return part;
}

// A relative path is one behind `folder`, unless only the library has such a file: that one stays as it is
// written, for every machine has a library of its own. Of a path into a bundle ("content.qbndl>item") the
// part before the ">" is looked for.
std::string Resolved(const std::string& path, const std::string& folder) {
    if (path.empty() || folder.empty()) return path;
    const std::u8string text(path.begin(), path.end());
    if (std::filesystem::path(text).is_absolute()) return path;
    const std::string file = FileOnDisk(path);
    const auto isThere = [](const std::string& name) {
        std::error_code ignored;
        return std::filesystem::is_regular_file(std::u8string(name.begin(), name.end()), ignored);
    };
    const bool inLibrary = !isThere(folder + "/" + file) && isThere(FindAsset(file, GetDataPath()));
    return inLibrary ? path : folder + "/" + path;
}

class SceneParser {
public:
    SceneParser(Scene& scene, const std::string& folder, SceneJsonError& error)
        : scene_(scene), folder_(folder), error_(error) {}

    bool Parse(const json& root) {
        if (!IsObject(root, "", "a scene")) return false;
        for (const auto& [key, value] : root.items())
            if (key != "environment" && key != "materials" && key != "models")
                return UnknownKey("", key, {"environment", "materials", "models"});
        return (!root.contains("environment") || ParseEnvironment(root["environment"], "/environment")) &&
               (!root.contains("materials") || ParseMaterials(root["materials"], "/materials")) &&
               (!root.contains("models") || ParseModels(root["models"], "/models", nullptr));
    }

private:
    bool Fail(const std::string& at, const std::string& message) {
        error_ = {at, message};
        return false;
    }

    bool UnknownKey(const std::string& at, const std::string& key, const std::vector<std::string>& known) {
        return Fail(at + PointerPart(key), "unknown key " + Quoted(key) + "; the nearest known one is " +
                                               Quoted(Nearest(key, known)) + ".");
    }

    bool WrongType(const std::string& at, const std::string& wanted, const json& found) {
        return Fail(at, "must be " + wanted + ", not " + Article(found) + ".");
    }

    static std::string Article(const json& value) {
        const std::string name = value.type_name();
        if (name == "null") return name;
        return (name == "object" || name == "array" ? "an " : "a ") + name;
    }

    bool IsObject(const json& value, const std::string& at, const char* what) {
        return value.is_object() || WrongType(at, std::string("an object (") + what + ")", value);
    }
    bool IsList(const json& value, const std::string& at, const char* what) {
        return value.is_array() || WrongType(at, std::string("a list of ") + what, value);
    }

    bool ReadFloat(const json& value, const std::string& at, float& result) {
        if (value.is_string()) {
            const auto& text = value.get_ref<const std::string&>();
            const float infinity = std::numeric_limits<float>::infinity();
            if (text == "NaN") return result = std::numeric_limits<float>::quiet_NaN(), true;
            if (text == "Infinity") return result = infinity, true;
            if (text == "-Infinity") return result = -infinity, true;
        }
        if (!value.is_number()) return WrongType(at, "a number", value);
        result = static_cast<float>(value.get<double>());
        return std::isfinite(result) || Fail(at, "the number is too large.");
    }

    bool ReadFloats(const json& value, const std::string& at, void* target, std::size_t count) {
        if (!value.is_array() || value.size() != count)
            return WrongType(at, "a list of " + std::to_string(count) + " numbers", value);
        for (std::size_t i = 0; i < count; ++i) {
            float number = 0;
            if (!ReadFloat(value[i], at + "/" + std::to_string(i), number)) return false;
            std::memcpy(static_cast<std::byte*>(target) + i * sizeof number, &number, sizeof number);
        }
        return true;
    }

    // A whole number, also when it is written with a point.
    bool ReadInteger(const json& value, const std::string& at, std::int64_t lowest, std::int64_t highest,
                     std::int64_t& result) {
        const std::string wanted =
            "a whole number from " + std::to_string(lowest) + " to " + std::to_string(highest);
        if (!value.is_number()) return WrongType(at, wanted, value);
        const auto number = value.get<double>();
        if (number != std::floor(number) || number < static_cast<double>(lowest) ||
            number > static_cast<double>(highest))
            return Fail(at, "must be " + wanted + ", not " + value.dump() + ".");
        result = static_cast<std::int64_t>(number);
        return true;
    }

    bool ReadBool(const json& value, const std::string& at, bool& result) {
        if (value.is_boolean()) return result = value.get<bool>(), true;
        if (value.is_number() && (value == 0 || value == 1)) return result = value == 1, true;
        return WrongType(at, "true or false", value);
    }

    // A number, or the label of one.
    bool ReadChoice(const json& value, const std::string& at, const Field& field, std::uint32_t& result) {
        if (value.is_string() && !field.labels.empty()) {
            const auto& text = value.get_ref<const std::string&>();
            std::vector<std::string> known;
            for (const FieldLabel& label : field.labels) {
                if (SmallLetters(text) == SmallLetters(label.text)) return result = label.value, true;
                known.emplace_back(label.text);
            }
            return Fail(at, "unknown choice " + Quoted(text) + "; the nearest known one is " +
                                Quoted(Nearest(text, known)) + ".");
        }
        if (value.is_string()) return WrongType(at, "a whole number", value);
        std::int64_t number = 0;
        if (!ReadInteger(value, at, 0, std::numeric_limits<std::uint32_t>::max(), number)) return false;
        result = static_cast<std::uint32_t>(number);
        return true;
    }

    bool ReadColour(const json& value, const std::string& at, Colour& result) {
        const std::string wanted = "a colour ([r, g, b], [r, g, b, a] in 0 to 255, or \"#rrggbb\")";
        if (value.is_string()) {
            const auto& text = value.get_ref<const std::string&>();
            const bool digits = std::all_of(text.begin() + (text.empty() ? 0 : 1), text.end(),
                                            [](unsigned char c) { return std::isxdigit(c) != 0; });
            if ((text.size() != 7 && text.size() != 9) || text[0] != '#' || !digits)
                return Fail(at, "must be " + wanted + ", not " + Quoted(text) + ".");
            const auto part = [&](std::size_t i) {
                return 1 + 2 * i < text.size()
                           ? static_cast<std::uint8_t>(std::stoul(text.substr(1 + 2 * i, 2), nullptr, 16))
                           : std::uint8_t{255};
            };
            result = {part(0), part(1), part(2), part(3)};
            return true;
        }
        if (!value.is_array() || value.size() < 3 || value.size() > 4) return WrongType(at, wanted, value);
        std::uint8_t parts[4] = {255, 255, 255, 255};
        for (std::size_t i = 0; i < value.size(); ++i) {
            std::int64_t number = 0;
            if (!ReadInteger(value[i], at + "/" + std::to_string(i), 0, 255, number)) return false;
            parts[i] = static_cast<std::uint8_t>(number);
        }
        result = {parts[0], parts[1], parts[2], parts[3]};
        return true;
    }

    bool ReadBools(const json& value, const std::string& at, bool* flags, std::size_t count) {
        if (!value.is_array() || value.size() != count)
            return WrongType(at, "a list of " + std::to_string(count) + " flags", value);
        for (std::size_t i = 0; i < count; ++i)
            if (!ReadBool(value[i], at + "/" + std::to_string(i), flags[i])) return false;
        return true;
    }

    bool ReadValue(const json& value, const std::string& at, const Field& field, void* record) {
        void* const target = field.at(record);
        std::int64_t number = 0;
        switch (field.kind) {
        case FieldKind::Text: {
            if (!value.is_string()) return WrongType(at, "a text", value);
            auto& text = *static_cast<std::string*>(target);
            text = value.get<std::string>();
            text = text.substr(0, text.find('\0')); // a document ends it there
            return true;
        }
        case FieldKind::Bool:
        case FieldKind::Bool32:
            return ReadBool(value, at, *static_cast<bool*>(target));
        case FieldKind::Bools3:
            return ReadBools(value, at, static_cast<bool*>(target), 3);
        case FieldKind::Byte:
            if (!ReadInteger(value, at, 0, 255, number)) return false;
            *static_cast<std::uint8_t*>(target) = static_cast<std::uint8_t>(number);
            return true;
        case FieldKind::U32: {
            std::uint32_t choice = 0;
            if (!ReadChoice(value, at, field, choice)) return false;
            std::memcpy(target, &choice, sizeof choice);
            return true;
        }
        case FieldKind::I32:
            if (!ReadInteger(value, at, std::numeric_limits<std::int32_t>::min(),
                             std::numeric_limits<std::int32_t>::max(), number))
                return false;
            *static_cast<std::int32_t*>(target) = static_cast<std::int32_t>(number);
            return true;
        case FieldKind::F32:
            return ReadFloat(value, at, *static_cast<float*>(target));
        case FieldKind::F32x2:
            return ReadFloats(value, at, target, 2);
        case FieldKind::F32x3:
            return ReadFloats(value, at, target, 3);
        case FieldKind::Colour:
            return ReadColour(value, at, *static_cast<Colour*>(target));
        default:
            return false;
        }
    }

    static const Field* FindKey(const FieldTable& table, const std::string& key, PrimitiveKind block) {
        for (const Field& field : table.rows)
            if (field.at && field.block == block && key == field.name) return &field;
        return nullptr;
    }

    static std::vector<std::string> Keys(const FieldTable& table, PrimitiveKind block) {
        std::vector<std::string> keys;
        for (const Field& field : table.rows)
            if (field.at && field.block == block) keys.emplace_back(field.name);
        return keys;
    }

    // A record of plain fields. `list` takes the key of a list; null when the record has none.
    template <class ListReader>
    bool ParseRecord(const json& object, const std::string& at, const FieldTable& table, void* record,
                     const char* what, ListReader list, PrimitiveKind block = PrimitiveKind::None) {
        if (!IsObject(object, at, what)) return false;
        for (const auto& [key, value] : object.items()) {
            const Field* const field = FindKey(table, key, block);
            const std::string place = at + PointerPart(key);
            if (!field) return UnknownKey(at, key, Keys(table, block));
            if (velorin::IsList(field->kind) ? !list(*field, value, place)
                                             : !ReadValue(value, place, *field, record))
                return false;
        }
        return true;
    }
    bool ParsePlainRecord(const json& object, const std::string& at, const FieldTable& table, void* record,
                          const char* what, PrimitiveKind block = PrimitiveKind::None) {
        return ParseRecord(
            object, at, table, record, what,
            [](const Field&, const json&, const std::string&) { return false; }, block);
    }

    // Calls `parse(element, pointer)` for each element of a list.
    template <class Parse>
    bool ParseList(const json& list, const std::string& at, const char* what, Parse parse) {
        if (!IsList(list, at, what)) return false;
        for (std::size_t i = 0; i < list.size(); ++i)
            if (!parse(list[i], at + "/" + std::to_string(i))) return false;
        return true;
    }

    bool ParseChannel(const json& object, const std::string& at, TextureChannel& channel) {
        const bool hasPath = object.is_object() && object.contains("path");
        if (!ParsePlainRecord(object, at, kChannelFields, &channel, "a texture")) return false;
        if (hasPath) channel.path = Resolved(channel.path, folder_);
        return true;
    }

    bool ParseEnvironment(const json& object, const std::string& at) {
        return ParseChannel(object, at, scene_.environment);
    }

    bool ParseChannels(const json& object, const std::string& at, SceneMaterial& material) {
        if (!IsObject(object, at, "textures by channel")) return false;
        for (const auto& item : object.items()) {
            const std::string& key = item.key();
            const auto* const found =
                std::find_if(std::begin(kChannelKeys), std::end(kChannelKeys),
                             [&](const ChannelKey& known) { return key == known.name; });
            if (found == std::end(kChannelKeys)) {
                std::vector<std::string> known;
                for (const ChannelKey& channel : kChannelKeys) known.emplace_back(channel.name);
                return UnknownKey(at, key, known);
            }
            if (!ParseChannel(item.value(), at + PointerPart(key), material.channel(found->channel)))
                return false;
        }
        return true;
    }

    bool ParseMaterials(const json& list, const std::string& at) {
        return ParseList(list, at, "materials", [&](const json& object, const std::string& place) {
            scene_.materials.push_back(Ref<SceneMaterial>::Make(scene_.context));
            SceneMaterial& material = *scene_.materials.back();
            const bool read = ParseRecord(object, place, kMaterialFields, &material, "a material",
                                          [&](const Field&, const json& value, const std::string& key) {
                                              return ParseChannels(value, key, material);
                                          });
            material.index = static_cast<std::int32_t>(scene_.materials.size()) - 1;
            return read;
        });
    }

    bool ParseModels(const json& list, const std::string& at, SceneModel* folder) {
        if (folder && folder->depth + 1 >= kDeepestFolder) return Fail(at, "folders are nested too deep.");
        return ParseList(list, at, "models", [&](const json& object, const std::string& place) {
            return ParseModel(object, place, folder);
        });
    }

    // The type that the keys of an object without "type" speak of.
    static ModelType ImpliedType(const json& object) {
        if (object.contains("children")) return ModelType::Folder;
        if (object.contains("primitive")) return ModelType::Primitive;
        if (object.contains("storedPaths")) return ModelType::PathExtrusion;
        return ModelType::File;
    }

    bool ParseModel(const json& object, const std::string& at, SceneModel* folder) {
        if (!IsObject(object, at, "a model")) return false;
        ModelType type = ImpliedType(object);
        if (object.contains("type")) {
            std::uint32_t number = 0;
            if (!ReadChoice(object["type"], at + "/type", *kModelFields.Find(103), number)) return false;
            type = static_cast<ModelType>(number);
            if (type > ModelType::Folder) return Fail(at + "/type", "must be a model type from 0 to 8.");
        }
        Ref<SceneModel> model = Ref<SceneModel>::Make(type, scene_.context);
        model->parent = folder;
        model->depth = folder ? folder->depth + 1 : 0;
        (folder ? folder->children : scene_.models).push_back(model);

        for (const auto& [key, value] : object.items())
            if (!ParseModelKey(*model, at, key, value)) return false;
        if (!object.contains("path")) {
            model->path = DefaultModelPath(type, model->primitive);
        } else if (type == ModelType::Primitive) {
            if (!object.contains("primitive")) model->primitive = PrimitiveNamedIn(*model);
        } else if (type != ModelType::Extrusion && type != ModelType::Default) {
            model->path = Resolved(model->path, folder_);
        }
        return true;
    }

    // A primitive's path is only its name ("Torus Model.parametric"), which tells the kind when nothing else
    // does.
    static PrimitiveKind PrimitiveNamedIn(const SceneModel& model) {
        for (const FieldLabel& label : kModelFields.Find(210)->labels)
            if (model.path.find(label.text) != std::string::npos)
                return static_cast<PrimitiveKind>(label.value);
        return model.primitive;
    }

    bool ParseModelKey(SceneModel& model, const std::string& at, const std::string& key, const json& value) {
        const std::string place = at + PointerPart(key);
        if (key == "type" || key == "depth")
            return true; // the first is read, the second follows from the nesting
        if (key == "children") {
            if (model.type != ModelType::Folder && !(value.is_array() && value.empty()))
                return Fail(place, "only a group folder (type 8) holds models.");
            return ParseModels(value, place, &model);
        }
        if (const Field* const field = FindKey(kModelFields, key, PrimitiveKind::None))
            return velorin::IsList(field->kind) ? ParseModelList(model, *field, value, place)
                                                : ReadValue(value, place, *field, &model);
        for (const FieldLabel& label : kModelFields.Find(210)->labels)
            if (key == SmallLetters(label.text))
                return ParsePlainRecord(value, place, kModelFields, &model, "a primitive",
                                        static_cast<PrimitiveKind>(label.value));
        std::vector<std::string> known = Keys(kModelFields, PrimitiveKind::None);
        known.emplace_back("children");
        for (const FieldLabel& label : kModelFields.Find(210)->labels)
            known.push_back(SmallLetters(label.text));
        return UnknownKey(at, key, known);
    }

    bool ParseModelList(SceneModel& model, const Field& field, const json& value, const std::string& at) {
        switch (field.kind) {
        case FieldKind::Groups:
            return ParseGroups(model, value, at);
        case FieldKind::MeshVisible:
            model.meshVisible.clear();
            return ParseList(value, at, "flags", [&](const json& element, const std::string& place) {
                bool visible = true;
                if (!ReadBool(element, place, visible)) return false;
                model.meshVisible.push_back(visible);
                return true;
            });
        case FieldKind::Bindings:
            return ParseList(value, at, "bindings", [&](const json& element, const std::string& place) {
                return ParseBinding(model, element, place);
            });
        case FieldKind::Meshes:
            return ParseList(value, at, "meshes", [&](const json& element, const std::string& place) {
                return ParseMesh(model, element, place);
            });
        case FieldKind::Bevels:
            if (value.is_array() && value.size() > kBevels) return Fail(at, "there are at most 5 bevels.");
            return ParseList(
                value, at, "bevels",
                [&, index = std::size_t{0}](const json& element, const std::string& place) mutable {
                    return ParsePlainRecord(element, place, kBevelFields, &model.bevels[index++], "a bevel");
                });
        case FieldKind::StoredPaths:
            return ParseList(value, at, "contours", [&](const json& contour, const std::string& place) {
                model.storedPaths.emplace_back();
                return ParseList(
                    contour, place, "points", [&](const json& point, const std::string& pointPlace) {
                        return ParsePlainRecord(point, pointPlace, kPathPointFields,
                                                &model.storedPaths.back().emplace_back(), "a point");
                    });
            });
        default:
            return false;
        }
    }

    bool ParseGroups(SceneModel& model, const json& value, const std::string& at) {
        model.groups.fill(false);
        return ParseList(value, at, "group numbers", [&](const json& element, const std::string& place) {
            std::int64_t group = 0;
            if (!ReadInteger(element, place, 1, kGroups, group)) return false;
            model.groups[static_cast<std::size_t>(group - 1)] = true;
            return true;
        });
    }

    bool ParseBinding(SceneModel& model, const json& element, const std::string& at) {
        MaterialBinding binding;
        if (element.is_object()) {
            for (const auto& [key, value] : element.items()) {
                if (key == "enabled" ? !ReadBool(value, at + "/enabled", binding.enabled)
                                     : key != "material" && !UnknownKey(at, key, {"material", "enabled"}))
                    return false;
            }
            if (!element.contains("material")) return Fail(at, "a binding needs a \"material\".");
        }
        const json& index = element.is_object() ? element["material"] : element;
        const std::string place = element.is_object() ? at + "/material" : at;
        if (!index.is_null()) {
            if (scene_.materials.empty()) return Fail(place, "the scene has no materials to bind.");
            std::int64_t number = 0;
            if (!ReadInteger(index, place, 0, static_cast<std::int64_t>(scene_.materials.size()) - 1, number))
                return false;
            binding.index = static_cast<std::uint32_t>(number);
            binding.material = scene_.materials[binding.index].get();
        }
        model.bindings.push_back(binding);
        return true;
    }

    bool ParseMesh(SceneModel& model, const json& object, const std::string& at) {
        model.meshes.push_back(Ref<SceneMesh>::Make());
        SceneMesh& mesh = *model.meshes.back();
        mesh.owner = &model;
        return ParseRecord(object, at, kMeshFields, &mesh, "a mesh",
                           [&](const Field&, const json& value, const std::string& place) {
                               return ParseList(
                                   value, place, "part numbers",
                                   [&](const json& part, const std::string& partPlace) {
                                       std::int64_t number = 0;
                                       if (!ReadInteger(part, partPlace, 0,
                                                        std::numeric_limits<std::uint32_t>::max(), number))
                                           return false;
                                       mesh.parts.push_back(static_cast<std::uint32_t>(number));
                                       return true;
                                   });
                           });
    }

    Scene& scene_;
    const std::string& folder_;
    SceneJsonError& error_;
};

void Empty(Scene& scene) {
    scene.Clear();
    scene.environment = Scene(scene.context).environment;
}

} // namespace

bool SceneFromJson(const nlohmann::json& json, const std::string& folder, Scene& scene,
                   SceneJsonError& error) {
    Empty(scene);
    if (SceneParser(scene, folder, error).Parse(json)) return true;
    Empty(scene);
    return false;
}

bool SceneFromJsonText(const std::string& text, const std::string& folder, Scene& scene,
                       SceneJsonError& error) {
    Empty(scene);
    json root;
    try {
        root = json::parse(text);
    } catch (const json::parse_error& failure) {
        const std::size_t end = std::min(failure.byte > 0 ? failure.byte - 1 : 0, text.size());
        const auto line = 1 + std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(end), '\n');
        const std::size_t lineStart = end == 0 ? std::string::npos : text.rfind('\n', end - 1);
        const std::size_t column = end - (lineStart == std::string::npos ? 0 : lineStart + 1) + 1;
        error = {"",
                 "line " + std::to_string(line) + ", column " + std::to_string(column) + ": not valid JSON."};
        return false;
    } catch (const json::exception&) {
        error = {"", "not valid JSON: a number is out of range."};
        return false;
    }
    return SceneFromJson(root, folder, scene, error);
}

} // namespace velorin
