#include "platform/MessageBox.h"

#include <cstdio>

namespace velorin {

void ShowMessage(const std::string& title, const std::string& text) {
    std::fprintf(stderr, "%s: %s\n", title.c_str(), text.c_str());
}

} // namespace velorin
