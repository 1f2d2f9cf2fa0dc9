#pragma once

#include <cstdint>

namespace velorin {

// What the renderer keeps between sessions, in two files: "/Quenmarworks/velorin2_init" under the user path
// holds `initFlag`, "/Quenmarworks/velorin2_render_prefs" under the data path the others. The flags are the
// interface's own; the renderer keeps them for it.
struct RendererPrefs {
    bool initFlag = false;
    std::uint32_t renderPrefValue = 0; // the detail of textures: their largest side is 1024 << value
    bool renderPrefFlag = false;
    friend bool operator==(const RendererPrefs&, const RendererPrefs&) = default;
};

// Reads both files. What a file does not tell, because it is missing, of a newer version, or has a chunk that
// is too short, keeps its default.
[[nodiscard]] RendererPrefs LoadRendererPrefs();

// Writes "velorin2_render_prefs". Its folder must exist. False when the file was not written.
bool SaveRendererPrefs(const RendererPrefs& prefs);

} // namespace velorin
