#include "core/document/BevelPreset.h"

#include "core/document/ChunkFile.h"
#include "core/document/FieldTable.h"
#include "core/document/SceneMaterial.h"

namespace velorin {

namespace {

bool Read(ChunkFile& file, BevelPreset& preset) {
    file.Begin();
    if (!file.opened()) return false;
    BevelPreset read;
    bool found = false;
    while (const std::uint32_t tag = file.NextChunk()) {
        if (tag == kThumbnailTag) {
            const auto* const pixels = reinterpret_cast<const std::uint8_t*>(file.Payload().data());
            read.thumbnail.assign(pixels, pixels + file.Payload().size());
        } else if (const Field* const field = kBevelFields.Find(tag)) {
            ReadFields(kBevelFields, *field, &read.bevel, file.Payload(), 0);
            found = true;
        }
    }
    if (found) preset = std::move(read);
    return found;
}

} // namespace

bool WriteBevelPreset(const std::string& path, const BevelPreset& preset, std::string* error) {
    if (preset.thumbnail.size() > 0xFFFF) {
        if (error) *error = path + ": the picture of a preset holds at most 65,535 bytes.";
        return false;
    }
    ChunkFile file(path, ChunkFile::Mode::Write, kMaterialPresetForm);
    file.Begin();
    WriteRecord(file, kBevelFields, &preset.bevel);
    if (!preset.thumbnail.empty())
        file.WriteChunk(kThumbnailTag, preset.thumbnail.data(), preset.thumbnail.size());
    const bool written = file.Close();
    if (!written && error) *error = file.error();
    return written;
}

bool ReadBevelPreset(const std::string& path, BevelPreset& preset) {
    ChunkFile file(path, ChunkFile::Mode::Read, kMaterialPresetForm);
    return Read(file, preset);
}

bool ReadBevelPresetBytes(Bytes bytes, BevelPreset& preset) {
    ChunkFile file(bytes, kMaterialPresetForm);
    return Read(file, preset);
}

} // namespace velorin
