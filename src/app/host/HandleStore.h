#pragma once

#include "host/api/Types.h"

#include <cstddef>
#include <deque>
#include <memory>
#include <string>
#include <unordered_map>

namespace velorin::app {

// The host's memory handles: zero-filled blocks with nested locks, each use checked. Faults go to `report`, a
// sentence without the command.
class HandleStore {
public:
    using Report = void (*)(void* context, const std::string& sentence);
    HandleStore(Report report, void* context) : report_(report), context_(context) {}

    [[nodiscard]] PF_Handle New(A_HandleSize size);
    // A lock of the plug-in's own. Null for a handle that is none.
    void* Lock(PF_Handle handle);
    void Unlock(PF_Handle handle);
    // The plug-in's disposal: with a lock of its own on the handle it is a fault, and done all the same. The
    // host's locks do not count.
    void Dispose(PF_Handle handle);
    [[nodiscard]] A_HandleSize Size(PF_Handle handle);
    // False when memory is short or the handle is none. The block may move; not with locks on it.
    [[nodiscard]] bool Resize(A_HandleSize size, PF_Handle handle);

    // The host's own side: locks around a call, reading, freeing; a handle that the plug-in disposed of
    // meanwhile is left alone.
    void HostLock(PF_Handle handle);
    void HostUnlock(PF_Handle handle);
    void HostDispose(PF_Handle handle);
    [[nodiscard]] bool alive(PF_Handle handle) const { return handle && records_.contains(handle); }

    [[nodiscard]] std::size_t count() const { return records_.size(); }

private:
    struct Record {
        void* memory = nullptr; // first: a handle points here
        std::unique_ptr<std::byte[]> block;
        A_HandleSize size = 0;
        int locks = 0;
        int hostLocks = 0;
    };
    [[nodiscard]] Record* Find(PF_Handle handle, const char* use);
    void Remove(PF_Handle handle);

    Report report_;
    void* context_;
    std::unordered_map<PF_Handle, std::unique_ptr<Record>> records_;
    // Their addresses stay taken for a while, so that a use after disposal is known as one.
    std::deque<std::unique_ptr<Record>> disposed_;
};

} // namespace velorin::app
