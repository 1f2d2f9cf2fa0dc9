#include "app/host/HandleStore.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace velorin::app {

namespace {
constexpr std::size_t kRememberedDisposals = 1024;
}

PF_Handle HandleStore::New(A_HandleSize size) {
    auto record = std::make_unique<Record>();
    // One byte at least, so that a handle of size 0 still has an address.
    record->block.reset(new (std::nothrow) std::byte[std::max<A_HandleSize>(size, 1)]());
    if (!record->block) return nullptr;
    record->memory = record->block.get();
    record->size = size;
    PF_Handle handle = &record->memory;
    records_.emplace(handle, std::move(record));
    return handle;
}

HandleStore::Record* HandleStore::Find(PF_Handle handle, const char* use) {
    const auto found = records_.find(handle);
    if (found != records_.end()) return found->second.get();
    const bool known = std::any_of(disposed_.begin(), disposed_.end(),
                                   [&](const auto& record) { return &record->memory == handle; });
    report_(context_, std::string("a handle was ") + use +
                          (known    ? " after its disposal"
                           : handle ? " that is none of the host's"
                                    : " that is null"));
    return nullptr;
}

void* HandleStore::Lock(PF_Handle handle) {
    Record* record = Find(handle, "locked");
    if (!record) return nullptr;
    ++record->locks;
    return record->memory;
}

void HandleStore::Unlock(PF_Handle handle) {
    Record* record = Find(handle, "unlocked");
    if (!record) return;
    if (record->locks == 0)
        report_(context_, "a handle was unlocked more often than locked");
    else
        --record->locks;
}

void HandleStore::Dispose(PF_Handle handle) {
    Record* record = Find(handle, "disposed of");
    if (!record) return;
    if (record->locks > 0) report_(context_, "a handle was disposed of while it was locked");
    Remove(handle);
}

A_HandleSize HandleStore::Size(PF_Handle handle) {
    const Record* record = Find(handle, "measured");
    return record ? record->size : 0;
}

bool HandleStore::Resize(A_HandleSize size, PF_Handle handle) {
    Record* record = Find(handle, "resized");
    if (!record) return false;
    if (record->locks > 0) report_(context_, "a handle was resized while it was locked");
    std::unique_ptr<std::byte[]> block(new (std::nothrow) std::byte[std::max<A_HandleSize>(size, 1)]());
    if (!block) return false;
    std::memcpy(block.get(), record->memory, std::min(size, record->size));
    record->block = std::move(block);
    record->memory = record->block.get();
    record->size = size;
    return true;
}

void HandleStore::HostLock(PF_Handle handle) {
    if (const auto found = records_.find(handle); found != records_.end()) ++found->second->hostLocks;
}

void HandleStore::HostUnlock(PF_Handle handle) {
    if (const auto found = records_.find(handle); found != records_.end() && found->second->hostLocks > 0)
        --found->second->hostLocks;
}

void HandleStore::HostDispose(PF_Handle handle) {
    if (alive(handle)) Remove(handle);
}

void HandleStore::Remove(PF_Handle handle) {
    auto node = records_.extract(handle);
    std::unique_ptr<Record> record = std::move(node.mapped());
    record->block.reset();
    record->memory = nullptr;
    disposed_.push_back(std::move(record));
    if (disposed_.size() > kRememberedDisposals) disposed_.pop_front();
}

} // namespace velorin::app
