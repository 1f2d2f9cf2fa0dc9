#pragma once

#include <string>
#include <zlib.h>

namespace velorin::test {

inline std::string Deflate(const std::string& text) {
    uLongf size = compressBound(static_cast<uLong>(text.size()));
    std::string out(size, '\0');
    compress(reinterpret_cast<Bytef*>(out.data()), &size, reinterpret_cast<const Bytef*>(text.data()),
             static_cast<uLong>(text.size()));
    out.resize(size);
    return out;
}

} // namespace velorin::test
