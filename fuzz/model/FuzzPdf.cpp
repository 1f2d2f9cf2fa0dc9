// The reader of vector files on whole documents: what it gives is finite, and a refusal has a sentence.

#include "model/vector/VectorFile.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace velorin;
    PathSet set;
    std::string reason;
    const bool read = LoadVectorBytes(set, std::as_bytes(std::span(data, size)), reason);
    if (read != reason.empty() || (!read && !set.paths.empty())) std::abort();
    for (const auto& path : set.paths)
        if (path.size() < 2) std::abort();
    return 0;
}
