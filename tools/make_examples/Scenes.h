#pragma once

#include <filesystem>

// Each writes the assets of one example project into a folder; false when a file could not be written.
namespace art {}

namespace examples {

using namespace art; // pictures and noise

[[nodiscard]] bool MakeStudio(const std::filesystem::path& folder); // environment maps and ground textures
[[nodiscard]] bool MakeVase(const std::filesystem::path& folder);
[[nodiscard]] bool MakeWatch(const std::filesystem::path& folder);
[[nodiscard]] bool MakeGlass(const std::filesystem::path& folder);
[[nodiscard]] bool MakeLogo(const std::filesystem::path& folder);    // a vector file
[[nodiscard]] bool MakeDesigns(const std::filesystem::path& folder); // of several: see Designs.cpp

} // namespace examples
