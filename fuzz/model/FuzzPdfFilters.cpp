// The stream filters: the first bytes choose a chain of them and the predictor, the rest is the stream.

#include "model/vector/PdfFilters.h"
#include "model/vector/PdfObject.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace velorin;
    constexpr std::size_t kLimit = 1 << 20;
    constexpr const char* kNames[] = {"ASCII85Decode", "ASCIIHexDecode", "RunLengthDecode",
                                      "FlateDecode",   "LZWDecode",      "Unknown"};
    if (size < 6) return 0;
    const PdfPredictor predictor{data[1] % 16, data[2], data[3] % 20, data[4] * (1 << (data[5] % 20)),
                                 data[5] & 1};
    std::string bytes(reinterpret_cast<const char*>(data) + 6, size - 6);
    try {
        for (int chain = data[0]; chain > 0; chain /= 6) {
            const std::size_t before = bytes.size();
            bytes = DecodeFilter(kNames[chain % 6], std::move(bytes), predictor, kLimit);
            if (bytes.size() > std::max(kLimit, before)) std::abort();
        }
    } catch (const PdfError& error) {
        if (*error.what() == '\0') std::abort();
    }
    return 0;
}
