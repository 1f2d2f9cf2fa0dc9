#pragma once

#include <string>

namespace velorin {

struct FontFile {
    std::string path; // empty when the system has no font
    int index = 0;    // of the face in a collection
};

// A file of the installed font that resembles a fontconfig pattern ("DejaVu Sans:bold") most. Safe from any
// thread.
[[nodiscard]] FontFile FindFont(const std::string& pattern);

// A file of an installed font that resembles the one that a document names ("ABCDEF+TimesNewRoman,Bold"): its
// family where it is installed, else one of the same kind. Safe from any thread.
[[nodiscard]] FontFile FindSystemFont(std::string name, bool fixedPitch, bool serif);

} // namespace velorin
