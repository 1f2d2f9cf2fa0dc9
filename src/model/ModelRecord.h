#pragma once

#include "model/ModelData.h"
#include "services/ByteStream.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

// The compiled model record: a whole ModelData as one flat blob, so that a model comes back without its
// source file. Entries of content bundles and of the geometry cache.
namespace velorin {

inline constexpr std::uint32_t kModelRecordVersion = 12;

// Of version 12. `sourceSize`: the low 32 bits of the size of the file that the model came from, 0 for none.
// Which groups take a layer as their texture coordinates is not stored.
[[nodiscard]] std::vector<std::byte> WriteModelRecord(const ModelData& model, std::uint32_t sourceSize);

// Replaces `model` by a record of any version from 3 on; one of 13 and above is read as version 3. A triangle
// with a vertex that is not there is dropped. False, with an empty model, when the record ends too early.
[[nodiscard]] bool ReadModelRecord(Bytes record, ModelData& model);
[[nodiscard]] bool ReadModelRecord(ByteStream record, ModelData& model);

// The two fields that tell whether a record still stands for its source.
struct ModelRecordHead {
    std::uint32_t version = 0;
    std::uint32_t sourceSize = 0;
};
[[nodiscard]] std::optional<ModelRecordHead> ReadModelRecordHead(ByteStream record);

} // namespace velorin
