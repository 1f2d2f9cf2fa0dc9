#pragma once

#include <string>

namespace velorin::bench {

// Writes an OBJ file: a bumpy sheet of 2 * side * side triangles with all three kinds of indices, as
// exporters do.
bool WriteSheet(const std::string& path, int side);

} // namespace velorin::bench
