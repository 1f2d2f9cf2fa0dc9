#include "host/SequenceRecord.h"

#include <cstring>
#include <random>

namespace velorin {

void GroupLayer::Keep(const ImageHeader& from) {
    image = {};
    pixels.clear();
    if (from.empty()) return;
    const std::size_t row = std::size_t{4} * from.bytesPerChannel * from.width;
    pixels.resize(row * from.height);
    const auto* first = static_cast<const std::byte*>(from.data);
    for (std::size_t y = 0; y < from.height; ++y)
        std::memcpy(pixels.data() + y * row, first + static_cast<std::ptrdiff_t>(y) * from.rowBytes, row);
    image = from;
    image.rowBytes = static_cast<std::int32_t>(row);
    image.data = pixels.data();
}

LiveRecords::LiveRecords() {
    std::random_device random;
    nextSerial_ = (std::uint64_t{random()} << 32 | random()) | 1;
}

void LiveRecords::Add(PF_Handle handle, SequenceRecord& record) {
    const std::scoped_lock lock(mutex_);
    record.serial = nextSerial_;
    nextSerial_ += 2;
    serials_[handle] = record.serial;
}

void LiveRecords::Remove(PF_Handle handle) {
    const std::scoped_lock lock(mutex_);
    serials_.erase(handle);
}

SequenceRecord* LiveRecords::Find(PF_Handle handle, void* memory, A_HandleSize size) const {
    if (!memory || size < SequenceRecord::kHandleSize) return nullptr;
    const std::scoped_lock lock(mutex_);
    const auto found = serials_.find(handle);
    if (found == serials_.end()) return nullptr;
    auto* const record = static_cast<SequenceRecord*>(memory);
    return record->tag == SequenceRecord::kTag && record->serial == found->second ? record : nullptr;
}

std::size_t LiveRecords::size() const {
    const std::scoped_lock lock(mutex_);
    return serials_.size();
}

} // namespace velorin
