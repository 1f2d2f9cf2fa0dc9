#pragma once

#include "services/ByteReader.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace velorin {

// Most bytes that the streams of one file may decode to together; what inflates beyond is refused.
inline constexpr std::size_t kMostDecodedBytes = 128u << 20;

// Parameters of the predictors of FlateDecode and LZWDecode.
struct PdfPredictor {
    int predictor = 1; // 1 none, 2 differences, 10 and above one of five by row
    int colors = 1, bitsPerComponent = 8, columns = 1;
    int earlyChange = 1; // LZW only
};

// Decodes by a filter's name; throws PdfError with the filter's message when the data is broken or more than
// `limit` bytes come out. An unknown filter gives the bytes as they are.
[[nodiscard]] std::string DecodeFilter(std::string_view filter, std::string bytes,
                                       const PdfPredictor& predictor, std::size_t limit);

} // namespace velorin
