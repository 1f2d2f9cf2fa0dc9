#include "core/document/SceneModel.h"

#include "core/document/ChunkFile.h"
#include "core/document/FieldTable.h"
#include "core/document/Scene.h"

#include <algorithm>
#include <atomic>

namespace velorin {

namespace {

std::atomic<std::uint32_t> lastModelId{0};
std::atomic<std::uint64_t> lastMeshId{0};

enum Tag : std::uint32_t {
    kFirstGroup = 110,
    kLastGroup = 114,
    kSelectBevel = 160,
    kMeshVisible = 190,
    kBinding = 200,
    kBindingEnabled = 201,
    kContour = 352,
    kPathPoint = 353,
    kMesh = 400,
    kMeshPart = 401,
};

// Takes a tag of a list; false when it is none.
bool ReadListTag(SceneModel& model, std::uint32_t tag, Bytes payload) {
    PayloadReader reader(payload);
    if (tag >= kFirstGroup && tag <= kLastGroup) {
        model.groups[tag - kFirstGroup] = reader.Take<std::uint8_t>() != 0;
        return true;
    }
    switch (tag) {
    case kSelectBevel:
        model.currentBevel = reader.Take<std::uint32_t>();
        return true;
    case kMeshVisible:
        model.meshVisible.push_back(reader.Take<std::uint8_t>() != 0);
        return true;
    case kBinding:
        model.bindings.push_back({nullptr, reader.Take<std::uint32_t>(), true});
        return true;
    case kBindingEnabled:
        if (!model.bindings.empty()) model.bindings.back().enabled = reader.Take<std::uint8_t>() != 0;
        return true;
    case kContour:
        model.storedPaths.emplace_back();
        return true;
    case kPathPoint:
        if (!model.storedPaths.empty()) model.storedPaths.back().emplace_back();
        return true;
    case kMeshPart:
        if (!model.meshes.empty()) model.meshes.back()->parts.push_back(reader.Take<std::uint32_t>());
        return true;
    default:
        return false;
    }
}

// Takes a tag of the element that was started last; false when it is none.
bool ReadElementTag(SceneModel& model, std::uint32_t tag, Bytes payload, std::uint32_t version) {
    if (const Field* const field = kBevelFields.Find(tag)) {
        if (model.currentBevel < kBevels)
            ReadFields(kBevelFields, *field, &model.bevels[model.currentBevel], payload, version);
        return true;
    }
    if (const Field* const field = kPathPointFields.Find(tag)) {
        if (!model.storedPaths.empty() && !model.storedPaths.back().empty())
            ReadFields(kPathPointFields, *field, &model.storedPaths.back().back(), payload, version);
        return true;
    }
    if (const Field* const field = kMeshFields.Find(tag)) {
        if (tag == kMesh) {
            model.meshes.push_back(Ref<SceneMesh>::Make());
            model.meshes.back()->owner = &model;
        }
        if (!model.meshes.empty())
            ReadFields(kMeshFields, *field, model.meshes.back().get(), payload, version);
        return true;
    }
    return false;
}

void WriteByte(ChunkFile& file, std::uint32_t tag, bool value) {
    const std::uint8_t byte = value;
    file.WriteChunk(tag, &byte, 1);
}

template <class Number>
void WriteNumber(ChunkFile& file, std::uint32_t tag, Number value) {
    file.WriteChunk(tag, &value, sizeof value);
}

void WriteStoredPaths(ChunkFile& file, const SceneModel& model) {
    for (std::uint64_t contour = 0; contour < model.storedPaths.size(); ++contour) {
        WriteNumber(file, kContour, contour);
        std::uint64_t index = 0;
        for (const PathPoint& point : model.storedPaths[contour]) {
            WriteNumber(file, kPathPoint, index++);
            WriteRecord(file, kPathPointFields, &point);
        }
    }
}

void WriteMesh(ChunkFile& file, const SceneMesh& mesh) {
    const Field* const end = kMeshFields.rows.data() + kMeshFields.rows.size();
    for (const Field* field = kMeshFields.rows.data(); field != end;) {
        if (field->kind == FieldKind::Parts) {
            for (const std::uint32_t part : mesh.parts) WriteNumber(file, kMeshPart, part);
            ++field;
        } else if (field->use == FieldUse::Always) {
            field = WriteFields(file, kMeshFields, field, &mesh);
        } else {
            ++field;
        }
    }
}

void WriteBindings(ChunkFile& file, const SceneModel& model, const MaterialPlaces* places) {
    for (const MaterialBinding& binding : model.bindings) {
        const std::int32_t position = places ? places->Of(binding.material) : -1;
        WriteNumber(file, kBinding, static_cast<std::uint32_t>(std::max(position, 0)));
        WriteByte(file, kBindingEnabled, binding.enabled);
    }
}

void WriteList(ChunkFile& file, const SceneModel& model, FieldKind kind, const MaterialPlaces* places) {
    switch (kind) {
    case FieldKind::Groups:
        for (std::uint32_t i = 0; i < kGroups; ++i) WriteByte(file, kFirstGroup + i, model.groups[i]);
        break;
    case FieldKind::MeshVisible:
        for (const bool visible : model.meshVisible) WriteByte(file, kMeshVisible, visible);
        break;
    case FieldKind::Bindings:
        WriteBindings(file, model, places);
        break;
    case FieldKind::Meshes:
        for (const Ref<SceneMesh>& mesh : model.meshes) WriteMesh(file, *mesh);
        break;
    case FieldKind::Bevels:
        for (std::uint32_t i = 0; i < kBevels; ++i) {
            WriteNumber(file, kSelectBevel, i);
            WriteRecord(file, kBevelFields, &model.bevels[i]);
        }
        break;
    case FieldKind::StoredPaths:
        WriteStoredPaths(file, model);
        break;
    default:
        break;
    }
}

bool IsWritten(const Field& field, const SceneModel& model) {
    switch (field.use) {
    case FieldUse::Always:
        return true;
    case FieldUse::Extrusion:
        return IsExtrusion(model.type);
    case FieldUse::PathExtrusion:
        return model.type == ModelType::PathExtrusion;
    case FieldUse::PrimitiveType:
        return model.type == ModelType::Primitive;
    case FieldUse::PrimitiveBlock:
        return model.type == ModelType::Primitive && model.primitive == field.block;
    default:
        return false;
    }
}

} // namespace

SceneMesh::SceneMesh() : uniqueId(++lastMeshId) {
}

SceneMesh::SceneMesh(const SceneMesh& other)
    : Retained(other), MeshSettings(other), uniqueId(++lastMeshId), owner(other.owner) {
}

SceneModel::SceneModel(ModelType modelType, AssetContext* assets)
    : type(modelType), uniqueId(++lastModelId), context(assets) {
    if (IsExtrusion(type)) textureMapping = TextureMapping::BoxPreserveAspect;
    if (type == ModelType::Primitive) alignment = Alignment::FromModel;
}

SceneModel::SceneModel(const SceneModel& other)
    : Retained(other),
      ModelSettings(other),
      type(other.type),
      uniqueId(++lastModelId),
      context(other.context) {
    meshes.reserve(other.meshes.size());
    for (const Ref<SceneMesh>& mesh : other.meshes) {
        meshes.push_back(Ref<SceneMesh>::Make(*mesh));
        meshes.back()->owner = this;
    }
    children.reserve(other.children.size());
    for (const Ref<SceneModel>& child : other.children) {
        children.push_back(Ref<SceneModel>::Make(*child));
        children.back()->parent = this;
    }
}

SceneModel::~SceneModel() {
    for (const Ref<SceneModel>& child : children) child->parent = nullptr;
    for (const Ref<SceneMesh>& mesh : meshes) mesh->owner = nullptr;
}

bool SceneModel::IsVisible() const {
    const SceneModel* model = this;
    while (model && model->enabled) model = model->parent;
    return model == nullptr;
}

bool SceneModel::Contains(const SceneModel& other) const {
    const SceneModel* model = &other;
    while (model && model != this) model = model->parent;
    return model == this;
}

bool SceneModel::ReadChunk(std::uint32_t tag, Bytes payload, std::uint32_t version) {
    if (ReadListTag(*this, tag, payload) || ReadElementTag(*this, tag, payload, version)) {
        needsLoad = true;
        return true;
    }
    const Field* const field = kModelFields.Find(tag);
    if (!field) return false;
    ReadFields(kModelFields, *field, this, payload, version);
    needsLoad = true;
    return true;
}

void SceneModel::WriteChunks(ChunkFile& file, const MaterialPlaces* places) const {
    const Field* const end = kModelFields.rows.data() + kModelFields.rows.size();
    for (const Field* field = kModelFields.rows.data(); field != end;) {
        if (!IsWritten(*field, *this)) {
            ++field;
        } else if (IsList(field->kind)) {
            WriteList(file, *this, field->kind, places);
            ++field;
        } else {
            field = WriteFields(file, kModelFields, field, this);
        }
    }
}

} // namespace velorin
