#include "host/AEPluginConnection.h"
#include "host/SequenceState.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <unordered_map>
#include <vector>

// Flat sequence data as a project may hold it, through the commands that a host sends: set up again,
// flattened, set up again, set down. What was read must write and read back to the same, and no handle is
// left.

namespace {

using namespace velorin;

struct Block {
    void* memory = nullptr; // first: a handle points here
    std::vector<std::byte> bytes;
};
std::unordered_map<PF_Handle, std::unique_ptr<Block>> handles;

PF_Handle NewHandle(A_HandleSize size) {
    auto block = std::make_unique<Block>();
    block->bytes.resize(static_cast<std::size_t>(size));
    block->memory = block->bytes.data();
    const PF_Handle handle = &block->memory;
    handles.emplace(handle, std::move(block));
    return handle;
}

const SPBasicSuite& NoSuites() {
    static SPBasicSuite basic{};
    basic.AcquireSuite = [](const char*, std::int32_t, const void** suite) -> SPErr {
        *suite = nullptr;
        return 1;
    };
    basic.ReleaseSuite = [](const char*, std::int32_t) -> SPErr { return 0; };
    return basic;
}

const PF_UtilCallbacks& Utilities() {
    static PF_UtilCallbacks utils{};
    utils.host_new_handle = NewHandle;
    utils.host_lock_handle = [](PF_Handle handle) -> void* { return *handle; };
    utils.host_unlock_handle = [](PF_Handle) {};
    utils.host_dispose_handle = [](PF_Handle handle) {
        if (handles.erase(handle) == 0) std::abort();
    };
    utils.host_get_handle_size = [](PF_Handle handle) -> A_HandleSize {
        return static_cast<A_HandleSize>(handles.at(handle)->bytes.size());
    };
    return utils;
}

void CheckRoundTrip(Bytes bytes) {
    const FlatSequence flat = ReadSequence(bytes);
    std::vector<std::byte> first(WriteSequence(flat.state, flat.stamp, flat.heldModels, nullptr, 0));
    WriteSequence(flat.state, flat.stamp, flat.heldModels, first.data(), first.size());
    std::vector<std::byte> again(first.size());
    const FlatSequence back = ReadSequence(first);
    WriteSequence(back.state, back.stamp, back.heldModels, again.data(), again.size());
    if (again != first) std::abort(); // bytes, since not-a-number is not equal to itself
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CheckRoundTrip(std::as_bytes(std::span(data, size)));

    static AEPluginConnection connection;
    static SPBasicSuite basic = NoSuites();
    static PF_UtilCallbacks utils = Utilities();
    PF_InData in{};
    PF_OutData out{};
    in.utils = &utils;
    in.pica_basicP = &basic;
    in.sequence_data = NewHandle(static_cast<A_HandleSize>(size));
    if (size > 0) std::memcpy(*in.sequence_data, data, size);
    for (const PF_Cmd command : {PF_Cmd_SEQUENCE_RESETUP, PF_Cmd_SEQUENCE_FLATTEN, PF_Cmd_SEQUENCE_RESETUP,
                                 PF_Cmd_SEQUENCE_SETDOWN}) {
        out.sequence_data = in.sequence_data;
        if (connection.Dispatch(command, &in, &out, nullptr, nullptr) != PF_Err_NONE) std::abort();
        in.sequence_data = out.sequence_data;
    }
    if (!handles.empty() || connection.liveRecords().size() != 0) std::abort();
    return 0;
}
