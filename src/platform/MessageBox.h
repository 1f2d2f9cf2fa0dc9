#pragma once

#include <string>

namespace velorin {

// Shows a message to the user and, where there is a window system of ours, waits until it is dismissed. On
// Linux: the title and the text on stderr.
void ShowMessage(const std::string& title, const std::string& text);

} // namespace velorin
