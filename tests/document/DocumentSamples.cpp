#include "document/DocumentSamples.h"

namespace velorin::test {

namespace {

void Put(void* at, const void* value, std::size_t size) {
    std::memcpy(at, value, size);
}

void PutFloats(void* at, std::size_t count, std::uint32_t number) {
    for (std::size_t i = 0; i < count; ++i) {
        // Multiples of 1/128 below 1, which a float holds exactly; forceOpacity goes no higher.
        const float value = static_cast<float>((number + i) % 101 + 7) / 128.0f;
        Put(static_cast<std::byte*>(at) + i * sizeof value, &value, sizeof value);
    }
}

void ScrambleField(const Field& field, void* record, std::uint32_t number) {
    void* const at = field.at(record);
    switch (field.kind) {
    case FieldKind::Text:
        *static_cast<std::string*>(at) = std::string(field.name) + " \xC3\xA4 " + std::to_string(number);
        break;
    case FieldKind::Bool:
    case FieldKind::Bool32:
        *static_cast<bool*>(at) = !*static_cast<bool*>(at);
        break;
    case FieldKind::Bools3:
        static_cast<bool*>(at)[number % 3] = true;
        static_cast<bool*>(at)[2] = true;
        break;
    case FieldKind::Byte:
        *static_cast<std::uint8_t*>(at) = static_cast<std::uint8_t>(100 + number % 100);
        break;
    case FieldKind::U32: {
        std::uint32_t value = 0;
        Put(&value, at, sizeof value);
        const std::uint32_t before = value;
        value = field.labels.empty() ? 1000 + number : field.labels[number % field.labels.size()].value;
        if (value == before) value = field.labels[(number + 1) % field.labels.size()].value;
        Put(at, &value, sizeof value);
        break;
    }
    case FieldKind::I32:
        *static_cast<std::int32_t*>(at) = static_cast<std::int32_t>(number % 10);
        break;
    case FieldKind::F32:
        PutFloats(at, 1, number);
        break;
    case FieldKind::F32x2:
        PutFloats(at, 2, number);
        break;
    case FieldKind::F32x3:
        PutFloats(at, 3, number);
        break;
    case FieldKind::Colour:
        *static_cast<Colour*>(at) = {static_cast<std::uint8_t>(number), static_cast<std::uint8_t>(number + 1),
                                     static_cast<std::uint8_t>(number + 2),
                                     static_cast<std::uint8_t>(number + 3)};
        break;
    default:
        break;
    }
}

// Whether a document keeps the field for a model of this type.
bool IsKept(const Field& field, ModelType type, PrimitiveKind primitive) {
    switch (field.use) {
    case FieldUse::Extrusion:
        return IsExtrusion(type);
    case FieldUse::PathExtrusion:
        return type == ModelType::PathExtrusion;
    case FieldUse::PrimitiveBlock:
        return type == ModelType::Primitive && primitive == field.block;
    default:
        return field.use != FieldUse::NotStored;
    }
}

Ref<SceneModel> MakeModel(const Scene& scene, ModelType type, PrimitiveKind primitive, std::uint32_t seed) {
    Ref<SceneModel> model = Ref<SceneModel>::Make(type);
    std::uint32_t number = seed;
    for (const Field& field : kModelFields.rows)
        if (field.at && IsKept(field, type, primitive)) ScrambleField(field, model.get(), ++number);
    model->type = type;
    model->primitive = primitive;
    model->depth = 0;
    model->groups = {seed % 2 == 0, true, seed % 3 == 0, false, true};
    model->meshVisible = {true, false, seed % 2 == 0};
    const auto materials = static_cast<std::uint32_t>(scene.materials.size());
    for (std::uint32_t i = 0; i < 3; ++i) {
        const std::uint32_t index = (seed + i) % materials;
        model->bindings.push_back({scene.materials[index].get(), index, i != 1});
    }
    for (std::uint32_t i = 0; i < 2; ++i) {
        model->meshes.push_back(Ref<SceneMesh>::Make());
        Scramble(kMeshFields, model->meshes.back().get(), seed + i);
        model->meshes.back()->parts = {i, seed, 70'000};
        model->meshes.back()->materialName.clear();
    }
    for (std::uint32_t i = 0; i < kBevels && IsExtrusion(type); ++i)
        Scramble(kBevelFields, &model->bevels[i], seed + 20 * i);
    if (type == ModelType::PathExtrusion) model->storedPaths.resize(2);
    for (std::uint32_t i = 0; i < 3 && !model->storedPaths.empty(); ++i)
        Scramble(kPathPointFields, &model->storedPaths[1].emplace_back(), seed + 10 * i);
    return model;
}

} // namespace

void Scramble(const FieldTable& table, void* record, std::uint32_t seed) {
    std::uint32_t number = seed;
    for (const Field& field : table.rows)
        if (field.at) ScrambleField(field, record, ++number);
}

void FillScene(Scene& scene) {
    scene.Clear();
    Scramble(kChannelFields, &scene.environment, 40);
    for (std::uint32_t i = 0; i < 3; ++i) {
        scene.materials.push_back(Ref<SceneMaterial>::Make());
        SceneMaterial& material = *scene.materials.back();
        Scramble(kMaterialFields, &material, 31 * i);
        for (TextureChannel& channel : material.channels)
            Scramble(kChannelFields, &channel, 7 * i + static_cast<std::uint32_t>(channel.channel));
        Scramble(kChannelFields, &material.displacement, 90 + i);
        // Not stored: at their defaults, as they come back.
        material.displacement.brightness = 0;
        material.displacement.invert = false;
        material.sortOrder = 1;
        material.affectReflection = material.affectRefraction = true;
        material.index = static_cast<std::int32_t>(i);
    }
    std::uint32_t seed = 3;
    for (const ModelType type : {ModelType::File, ModelType::ImportedFile, ModelType::Extrusion,
                                 ModelType::LayerPlane, ModelType::Sequence, ModelType::PathExtrusion})
        scene.models.push_back(MakeModel(scene, type, PrimitiveKind::Box, ++seed));
    for (std::uint32_t kind = 1; kind <= 11; ++kind)
        if (kind != 9)
            scene.models.push_back(
                MakeModel(scene, ModelType::Primitive, static_cast<PrimitiveKind>(kind), ++seed));
    const Ref<SceneModel> outer = MakeModel(scene, ModelType::Folder, PrimitiveKind::Box, ++seed);
    const Ref<SceneModel> inner = MakeModel(scene, ModelType::Folder, PrimitiveKind::Box, ++seed);
    const Ref<SceneModel> leaf = MakeModel(scene, ModelType::File, PrimitiveKind::Box, ++seed);
    scene.models.push_back(outer);
    EXPECT_TRUE(outer->Attach(*inner, &scene, false) && inner->Attach(*leaf, &scene, false));
}

std::string LayoutOf(Bytes document, const ContainerForm& form, std::uint32_t first) {
    std::string layout;
    ChunkFile file(document, form);
    while (const std::uint32_t tag = file.NextChunk())
        if (tag >= first) layout += std::to_string(tag) + ':' + std::to_string(file.Payload().size()) + ' ';
    return layout;
}

} // namespace velorin::test
