#pragma once

#include "services/ByteReader.h"

namespace velorin {

// The record of the model that stands where nothing else is chosen: a knotted tube of 6,600 vertices with one
// material, of version 3. Made at the first use; the bytes live as long as the process. Any thread.
[[nodiscard]] Bytes DefaultModelRecord();

} // namespace velorin
