#pragma once

#include <memory>
#include <string>

// Other readers of OBJ files, each as its manual shows; what they have read, null when they fail.
namespace velorin::bench {

[[nodiscard]] std::shared_ptr<void>
ReadWithTinyObjLoader(const std::string& path);                              // triangulates, no vertices
[[nodiscard]] std::shared_ptr<void> ReadWithAssimp(const std::string& path); // no post-processing

} // namespace velorin::bench
