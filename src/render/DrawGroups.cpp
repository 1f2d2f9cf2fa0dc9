#include "render/DrawGroups.h"

#include "render/DrawRecord.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <unordered_map>

namespace velorin {

namespace {

bool SameKeys(const DrawGroup& group, const DrawRecord& record) {
    return group.model == record.model && group.geometry == record.geometry &&
           group.finishModel == record.finishModel && group.layerSet == record.layerSet;
}

std::size_t HashKeys(const DrawRecord& record) {
    std::size_t hash = std::hash<const void*>{}(record.model);
    const auto mix = [&hash](std::size_t value) {
        hash ^= value + 0x9e3779b97f4a7c15u + (hash << 6) + (hash >> 2);
    };
    mix(std::hash<const void*>{}(record.geometry));
    mix(std::hash<const void*>{}(record.finishModel));
    mix(record.layerSet);
    return hash;
}

DrawGroup GroupOf(const DrawRecord& record) {
    return {record.model, record.geometry, record.finishModel, record.layerSet, 0, 0};
}

// Stable, greatest distance first, in memory that the caller keeps.
void MergeSort(std::vector<std::uint32_t>& order, std::vector<std::uint32_t>& work,
               const std::vector<DrawRecord>& records) {
    work.resize(order.size());
    const auto farther = [&](std::uint32_t a, std::uint32_t b) {
        return records[a].distance > records[b].distance;
    };
    for (std::size_t width = 1; width < order.size(); width *= 2) {
        for (std::size_t start = 0; start < order.size(); start += 2 * width) {
            const auto at = [&](std::size_t i) {
                return order.begin() + static_cast<std::ptrdiff_t>(std::min(i, order.size()));
            };
            std::merge(at(start), at(start + width), at(start + width), at(start + 2 * width),
                       work.begin() + static_cast<std::ptrdiff_t>(start), farther);
        }
        order.swap(work);
    }
}

} // namespace

void DrawGroups::Clear() {
    groups_.clear();
    records_.clear();
}

void DrawGroups::Build(const DrawList& list, bool depthSorted) {
    Clear();
    order_.clear();
    for (std::uint32_t i = 0; i < list.records.size(); ++i)
        if (list.records[i].model && list.records[i].geometry) order_.push_back(i);
    if (depthSorted) MergeSort(order_, merge_, list.records);

    // Group numbers, then the records of each group side by side.
    groupOf_.resize(order_.size());
    std::unordered_multimap<std::size_t, std::uint32_t> known;
    for (std::size_t i = 0; i < order_.size(); ++i) {
        const DrawRecord& record = list.records[order_[i]];
        auto found = static_cast<std::uint32_t>(groups_.size());
        if (!groups_.empty() && SameKeys(groups_.back(), record)) {
            found = static_cast<std::uint32_t>(groups_.size() - 1);
        } else if (!depthSorted) {
            const auto [first, last] = known.equal_range(HashKeys(record));
            for (auto entry = first; entry != last; ++entry)
                if (SameKeys(groups_[entry->second], record)) found = entry->second;
        }
        if (found == groups_.size()) {
            groups_.push_back(GroupOf(record));
            if (!depthSorted) known.emplace(HashKeys(record), found);
        }
        groupOf_[i] = found;
        ++groups_[found].recordCount;
    }
    std::uint32_t first = 0;
    for (DrawGroup& group : groups_) {
        group.firstRecord = first;
        first += group.recordCount;
        group.recordCount = 0;
    }
    records_.resize(order_.size());
    for (std::size_t i = 0; i < order_.size(); ++i) {
        DrawGroup& group = groups_[groupOf_[i]];
        records_[group.firstRecord + group.recordCount++] = order_[i];
    }
}

} // namespace velorin
