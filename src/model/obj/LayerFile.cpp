#include "model/obj/LayerFile.h"

#include <algorithm>
#include <cstring>
#include <optional>

namespace velorin::obj {

namespace {

constexpr std::uint64_t kNameBytes = 255; // a name's room in the file, with its terminator, at most

struct StoredKey {
    float quaternion[4];
    float position[3];
};
static_assert(sizeof(StoredKey) == 28);

// Takes the text up to the first zero byte and that byte; a name without one in its room is cut there.
std::optional<std::string> ReadName(ByteReader& reader) {
    ByteReader ahead = reader;
    const auto room = ahead.Take(std::min(kNameBytes, reader.remaining()));
    if (!room || room->empty()) return std::nullopt;
    const char* const text = reinterpret_cast<const char*>(room->data());
    const void* const zero = std::memchr(text, 0, room->size());
    if (!zero && room->size() < kNameBytes) return std::nullopt;
    const auto length =
        zero ? static_cast<std::size_t>(static_cast<const char*>(zero) - text) : room->size() - 1;
    if (!reader.Skip(length + 1)) return std::nullopt;
    return std::string(text, length);
}

// The file's axes: y and z change places, all point the other way.
LayerKey ToKey(const StoredKey& stored) {
    const auto& q = stored.quaternion;
    const auto& p = stored.position;
    return {{q[0], q[2], q[1], q[3]}, {-p[0], -p[2], -p[1]}};
}

// False at the end of the file.
bool ReadTrack(ByteReader& reader, AnimationLayer& layer) {
    const auto name = ReadName(reader);
    const auto keyCount = reader.Read<std::uint32_t>();
    if (!name || !keyCount) return false;
    LayerKeys& keys = layer.tracks[*name];
    const std::uint64_t present = std::min<std::uint64_t>(*keyCount, reader.remaining() / sizeof(StoredKey));
    keys.reserve(keys.size() + present);
    for (std::uint64_t i = 0; i < present; ++i)
        if (const auto stored = reader.Read<StoredKey>()) keys.push_back(ToKey(*stored));
    return present == *keyCount;
}

bool ReadLayer(ByteReader& reader, std::vector<AnimationLayer>& layers) {
    const auto name = ReadName(reader);
    const auto head = reader.Read<std::array<std::uint32_t, 4>>();
    if (!name || !head) return false;
    AnimationLayer& layer = layers.emplace_back();
    layer.name = *name;
    layer.frameRate = (*head)[0];
    layer.startFrame = (*head)[1];
    layer.endFrame = (*head)[2];
    for (std::uint32_t i = 0; i < (*head)[3]; ++i)
        if (!ReadTrack(reader, layer)) return false;
    return true;
}

} // namespace

LayerFile ReadLayerFile(Bytes file) {
    LayerFile result;
    ByteReader reader(file);
    const auto layerCount = reader.Read<std::uint32_t>();
    for (std::uint32_t i = 0; i < layerCount.value_or(0); ++i)
        if (!ReadLayer(reader, result.layers)) return result;
    if (!reader.Read<std::uint32_t>()) return result; // the number of joints; the file's end is what counts
    while (!reader.atEnd()) {
        const auto name = ReadName(reader);
        const auto parentName = name ? ReadName(reader) : std::nullopt;
        const auto stored = parentName ? reader.Read<StoredKey>() : std::nullopt;
        if (!stored) break;
        const auto& p = stored->position;
        result.joints.push_back({*name, *parentName, Matrix::Translation({-p[0], -p[1], -p[2]})});
    }
    return result;
}

} // namespace velorin::obj
