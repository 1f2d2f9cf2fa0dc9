#include "host/SequenceState.h"

#include <cstdint>
#include <cstdlib>
#include <vector>

// Flat sequence data as a project may hold it. What was read must write and read back to the same.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace velorin;
    const FlatSequence flat = ReadSequence(std::as_bytes(std::span(data, size)));
    std::vector<std::byte> bytes(WriteSequence(flat.state, flat.stamp, flat.heldModels, nullptr, 0));
    WriteSequence(flat.state, flat.stamp, flat.heldModels, bytes.data(), bytes.size());
    std::vector<std::byte> again(bytes.size());
    const FlatSequence back = ReadSequence(bytes);
    WriteSequence(back.state, back.stamp, back.heldModels, again.data(), again.size());
    if (again != bytes) std::abort(); // bytes, since not-a-number is not equal to itself
    return 0;
}
