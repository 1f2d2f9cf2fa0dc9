#include "services/LargePages.h"

#include <algorithm>
#include <array>
#include <bit>
#include <mutex>
#include <optional>

namespace velorin {

namespace {

struct Pages {
    void* memory;
    std::size_t size;

    void Free() const noexcept { ::operator delete (memory, std::align_val_t{kLargePageSize}); }
};

// Sizes in steps of an eighth and less, so that what a slightly larger model left serves the next one. Pages
// at the end that nobody touches are never made.
std::size_t SizeOfPages(std::size_t size) {
    const std::size_t step = std::max(kLargePageSize, std::bit_floor(size) / 8);
    return (size + step - 1) / step * step;
}

// The oldest come first. Without a destructor: arrays that die at the very end of the process still come
// here.
class KeptPages {
public:
    std::optional<Pages> Take(std::size_t size) {
        const std::scoped_lock lock(mutex_);
        for (std::size_t i = count_; i-- > 0;)
            if (pages_[i].size == size) return Remove(i);
        return std::nullopt;
    }

    bool Keep(Pages pages) noexcept {
        const std::scoped_lock lock(mutex_);
        if (ended_ || pages.size > kMostKeptPages) return false;
        while (count_ == pages_.size() || bytes_ + pages.size > kMostKeptPages) Remove(0).Free();
        pages_[count_++] = pages;
        bytes_ += pages.size;
        return true;
    }

    void End() noexcept {
        const std::scoped_lock lock(mutex_);
        ended_ = true;
        while (count_ > 0) Remove(0).Free();
    }

private:
    Pages Remove(std::size_t i) noexcept {
        const Pages removed = pages_[i];
        std::copy(pages_.begin() + i + 1, pages_.begin() + count_, pages_.begin() + i);
        --count_;
        bytes_ -= removed.size;
        return removed;
    }

    std::mutex mutex_;
    std::array<Pages, 16> pages_{};
    std::size_t count_ = 0, bytes_ = 0;
    bool ended_ = false;
};

constinit KeptPages keptPages;

// The plug-in can be unloaded while its host goes on.
const struct EndOfKeptPages {
    ~EndOfKeptPages() { keptPages.End(); }
} endOfKeptPages;

} // namespace

void* AcquireLargePages(std::size_t size) {
    const std::size_t whole = SizeOfPages(size);
    if (const auto kept = keptPages.Take(whole)) {
        MarkPagesUsed(kept->memory, whole);
        return kept->memory;
    }
    void* const memory = ::operator new (whole, std::align_val_t{kLargePageSize});
    AdviseLargePages(memory, whole);
    return memory;
}

void ReleaseLargePages(void* memory, std::size_t size) noexcept {
    const Pages pages{memory, SizeOfPages(size)};
    MarkPagesUnused(memory, pages.size);
    if (!keptPages.Keep(pages)) pages.Free();
}

} // namespace velorin
