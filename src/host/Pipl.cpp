#include "host/Pipl.h"

#include <cstdio>

namespace velorin {

std::string PiplResourceScript() {
    const PiplBytes bytes = MakePipl();
    std::string text = "16000 PIPL DISCARDABLE\nBEGIN\n";
    // Raw data of a resource: a plain number is 16 bits wide.
    static_assert(kPiplSize % 2 == 0);
    for (std::size_t i = 0; i < bytes.size(); i += 2) {
        char word[16];
        std::snprintf(word, sizeof word, "0x%02x%02x", unsigned{bytes[i + 1]}, unsigned{bytes[i]});
        text += (i % 16 == 0 ? "    " : " ");
        text += word;
        const bool last = i + 2 >= bytes.size();
        if (!last) text += ',';
        if (last || i % 16 == 14) text += '\n';
    }
    return text + "END\n";
}

} // namespace velorin
