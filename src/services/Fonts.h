#pragma once

#include <string>

// The one place where installed fonts are looked for. Safe from any thread.
namespace velorin {

struct FontFile {
    std::string path;    // empty when the system has no font
    int index = 0;       // of the face in a collection, as FreeType takes it
    std::string standIn; // family of the file, when it is none of those that were asked for by name
};

// A file of the installed font that resembles a fontconfig pattern ("DejaVu Sans:bold") most. With a
// character other than 0, one that has it goes before one that is called so.
[[nodiscard]] FontFile FindFont(const std::string& pattern, char32_t character = 0);

// A file of an installed font that resembles the one that a document names ("ABCDEF+TimesNewRoman,Bold"): its
// family where it is installed, else one of the same kind.
[[nodiscard]] FontFile FindSystemFont(std::string name, bool fixedPitch, bool serif);

} // namespace velorin
