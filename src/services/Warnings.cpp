#include "services/Warnings.h"

#include "services/Log.h"

#include <mutex>
#include <set>
#include <utility>

namespace velorin {
namespace {

// Bounds the memory that a stream of ever new faults can take.
constexpr std::size_t kMaxSentences = 1000;

struct WarningList {
    std::mutex mutex;
    std::vector<std::string> fresh;
    std::set<std::string> known;
};

WarningList& TheList() {
    static WarningList list;
    return list;
}

} // namespace

void ReportWarning(const std::string& sentence) {
    {
        WarningList& list = TheList();
        const std::lock_guard lock(list.mutex);
        if (list.known.size() >= kMaxSentences || !list.known.insert(sentence).second) return;
        list.fresh.push_back(sentence);
    }
    Log("warning: %s", sentence.c_str());
}

std::vector<std::string> TakeWarnings() {
    WarningList& list = TheList();
    const std::lock_guard lock(list.mutex);
    return std::exchange(list.fresh, {});
}

void ResetWarnings() {
    WarningList& list = TheList();
    const std::lock_guard lock(list.mutex);
    list.fresh.clear();
    list.known.clear();
}

} // namespace velorin
