#include "app/host/Objects.h"

#include <algorithm>
#include <map>

namespace velorin::app {

const char* ObjectKindName(ObjectKind kind) {
    switch (kind) {
    case ObjectKind::Effect:
        return "effect reference";
    case ObjectKind::Stream:
        return "stream";
    case ObjectKind::Mask:
        return "mask";
    case ObjectKind::TextOutlines:
        return "set of text outlines";
    case ObjectKind::RenderOptions:
        return "set of render options";
    case ObjectKind::FrameReceipt:
        return "frame receipt";
    case ObjectKind::World:
        return "world";
    case ObjectKind::Memory:
        return "memory handle";
    case ObjectKind::Drawing:
        return "drawing object";
    case ObjectKind::Image:
        return "drawing image";
    }
    return "";
}

std::vector<std::pair<ObjectKind, int>> ObjectStore::Sweep(std::size_t owner, ObjectKind kept) {
    std::map<ObjectKind, int> counts;
    for (auto at = objects_.begin(); at != objects_.end();) {
        if (at->second->owner == owner && at->second->kind != kept) {
            ++counts[at->second->kind];
            at = objects_.erase(at);
        } else {
            ++at;
        }
    }
    return {counts.begin(), counts.end()};
}

int ObjectStore::Count(ObjectKind kind) const {
    return static_cast<int>(std::count_if(objects_.begin(), objects_.end(),
                                          [&](const auto& entry) { return entry.second->kind == kind; }));
}

} // namespace velorin::app
