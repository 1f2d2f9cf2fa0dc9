#include "core/document/AssetContext.h"

namespace velorin {

std::uint32_t AssetContext::TakePreviewId() {
    const std::lock_guard lock(mutex_);
    if (freePreviewIds_.empty()) return ++lastPreviewId_;
    const std::uint32_t id = freePreviewIds_.back();
    freePreviewIds_.pop_back();
    return id;
}

void AssetContext::FreePreviewId(std::uint32_t id) {
    const std::lock_guard lock(mutex_);
    freePreviewIds_.push_back(id);
}

} // namespace velorin
