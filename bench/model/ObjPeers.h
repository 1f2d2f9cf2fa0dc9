#pragma once

#include <string>

// Other readers of OBJ files, each as its manual shows; false when they fail.
namespace velorin::bench {

[[nodiscard]] bool ReadWithTinyObjLoader(const std::string& path); // triangulates, no vertices
[[nodiscard]] bool ReadWithAssimp(const std::string& path);        // no post-processing

} // namespace velorin::bench
