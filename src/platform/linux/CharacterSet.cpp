#include "platform/CharacterSet.h"

#include <array>
#include <cstring>
#include <iconv.h>

namespace velorin {

namespace {

const iconv_t kNone = reinterpret_cast<iconv_t>(-1); // NOLINT: as iconv_open tells a failure

} // namespace

CharacterSet::CharacterSet(const char* name) : conversion_(iconv_open("UTF-32LE", name)) {
}

CharacterSet::~CharacterSet() {
    if (conversion_ != kNone) iconv_close(conversion_);
}

char32_t CharacterSet::character(std::string_view bytes) const {
    std::array<char, 8> in{}, out{};
    if (conversion_ == kNone || bytes.empty() || bytes.size() > in.size()) return 0;
    std::memcpy(in.data(), bytes.data(), bytes.size());
    char *from = in.data(), *to = out.data();
    std::size_t left = bytes.size(), room = out.size();
    iconv(conversion_, nullptr, nullptr, nullptr, nullptr); // back to its first state
    if (iconv(conversion_, &from, &left, &to, &room) != 0 || left != 0 || room != 4) return 0;
    char32_t character = 0;
    for (std::size_t k = 4; k-- > 0;) character = character << 8 | static_cast<unsigned char>(out[k]);
    return character;
}

} // namespace velorin
