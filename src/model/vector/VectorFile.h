#pragma once

#include "model/extrusion/PathSet.h"
#include "services/ByteReader.h"

#include <string>

namespace velorin {

// The outlines of the first page of a PDF, or of a file that holds one, y down. True when the file was read,
// also when it has no path; false leaves the set empty, with one log line and one warning that name the file
// and the reason.
[[nodiscard]] bool LoadVectorFile(PathSet& pathSet, const std::string& path);

// The same from bytes, without reports; `reason` receives why it failed. What was gathered before an error is
// kept.
[[nodiscard]] bool LoadVectorBytes(PathSet& pathSet, Bytes bytes, std::string& reason);

} // namespace velorin
