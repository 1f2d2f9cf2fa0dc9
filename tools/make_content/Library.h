#pragma once

#include <filesystem>

// The library that ships: each writes its part below a folder; false, with a line on stderr, when something
// cannot be written or the table is at fault.
namespace content {

[[nodiscard]] bool MakeFolder(const std::filesystem::path& folder);

// Pictures of their full size divided by `shrink`.
[[nodiscard]] bool MakeEnvironments(const std::filesystem::path& root, int shrink = 1);
[[nodiscard]] bool MakeTextures(const std::filesystem::path& root, int shrink = 1);
// After the textures, which the materials name. `table` lists the presets by kind and folder, each with the
// fields that a scene in JSON has.
[[nodiscard]] bool MakePresets(const std::filesystem::path& table, const std::filesystem::path& root);

} // namespace content
