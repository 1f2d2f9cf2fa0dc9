#include "core/document/SceneMaterial.h"

#include "core/document/AssetContext.h"
#include "core/document/ChunkFile.h"
#include "core/document/FieldTable.h"
#include "core/document/Scene.h"

namespace velorin {

namespace {

constexpr std::uint32_t kSelectChannel = 700;
constexpr std::uint32_t kLastMaterialTag = 714;

void WriteChannel(ChunkFile& file, const TextureChannel& channel, FieldUse except) {
    const auto number = static_cast<std::uint32_t>(channel.channel);
    file.WriteChunk(kSelectChannel, &number, sizeof number);
    WriteRecord(file, kChannelFields, &channel, except);
}

} // namespace

SceneMaterial::SceneMaterial(const SceneMaterial& other)
    : Retained(other),
      MaterialSettings(other),
      name(other.name),
      thumbnail(other.thumbnail),
      context(other.context) {
}

SceneMaterial::~SceneMaterial() {
    if (previewId != 0 && context) context->FreePreviewId(previewId);
}

void SceneMaterial::Reset(bool keepName) {
    static_cast<MaterialSettings&>(*this) = {};
    if (!keepName) name = "Default";
    needsTextures = true;
}

void SceneMaterial::StartReading() {
    type = MaterialType::Standard;
    reflectionBlend = ReflectionBlend::Normal;
    refractionBlend = ReflectionBlend::Normal;
    needsTextures = true;
    currentChannel = kNoChannel;
}

void SceneMaterial::ReadChunk(std::uint32_t tag, Bytes payload) {
    if (tag > kLastMaterialTag) return;
    if (tag == kSelectChannel) {
        currentChannel = PayloadReader(payload).Take<std::uint32_t>();
        return;
    }
    if (const Field* const field = kMaterialFields.Find(tag)) {
        ReadFields(kMaterialFields, *field, this, payload, 0);
        return;
    }
    const Field* const field = kChannelFields.Find(tag);
    const bool known = currentChannel < kMaterialChannels || Channel{currentChannel} == Channel::Displacement;
    if (!field || !known) return;
    ReadFields(kChannelFields, *field, &channel(Channel{currentChannel}), payload, 0);
    if (tag == kChannelTags) needsTextures = true;
}

void SceneMaterial::WriteChunks(ChunkFile& file, const MaterialPlaces* places, bool withName) const {
    const Field* const end = kMaterialFields.rows.data() + kMaterialFields.rows.size();
    for (const Field* field = kMaterialFields.rows.data(); field != end;) {
        if (field->kind == FieldKind::Channels) {
            for (const TextureChannel& channel : channels) WriteChannel(file, channel, FieldUse::ReadOnly);
            WriteChannel(file, displacement, FieldUse::ExceptDisplacement);
        } else if (field->tag == 502) {
            const std::int32_t position = places ? places->Of(this) : -1;
            file.WriteChunk(field->tag, &position, sizeof position);
        } else if (field->use == FieldUse::Always && (withName || field->tag != 501)) {
            field = WriteFields(file, kMaterialFields, field, this);
            continue;
        }
        ++field;
    }
}

bool SceneMaterial::WritePreset(const std::string& path, Bytes pixels, std::string* error) const {
    if (pixels.size() > 0xFFFF) {
        if (error) *error = path + ": the picture of a preset holds at most 65,535 bytes.";
        return false;
    }
    ChunkFile file(path, ChunkFile::Mode::Write, kMaterialPresetForm);
    WriteChunks(file, nullptr, true);
    if (!pixels.empty()) file.WriteChunk(kThumbnailTag, pixels);
    const bool written = file.Close();
    if (!written && error) *error = file.error();
    return written;
}

bool SceneMaterial::ReadPreset(const std::string& path) {
    ChunkFile file(path, ChunkFile::Mode::Read, kMaterialPresetForm);
    return ReadPreset(file);
}

bool SceneMaterial::ReadPresetBytes(Bytes bytes) {
    ChunkFile file(bytes, kMaterialPresetForm);
    return ReadPreset(file);
}

bool SceneMaterial::ReadPreset(ChunkFile& file) {
    file.Begin();
    if (!file.opened()) return false;
    StartReading();
    while (const std::uint32_t tag = file.NextChunk()) {
        if (tag == kThumbnailTag) {
            const auto* const pixels = reinterpret_cast<const std::uint8_t*>(file.Payload().data());
            thumbnail.assign(pixels, pixels + file.Payload().size());
        } else {
            ReadChunk(tag, file.Payload());
        }
    }
    return true;
}

} // namespace velorin
