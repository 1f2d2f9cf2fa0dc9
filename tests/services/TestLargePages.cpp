#include "services/LargePages.h"

#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <thread>
#include <vector>

namespace velorin {
namespace {

constexpr std::size_t kMegabyte = 1u << 20;

TEST(LargePages, GivesOutWhatCameBackButKeepsLittle) {
    std::vector<void*> blocks;
    std::set<void*> known;
    const std::size_t size = 11 * kMegabyte;
    for (std::size_t i = 0; i < 10; ++i) {
        blocks.push_back(AcquireLargePages(size));
        std::memset(blocks.back(), 1, size);
        known.insert(blocks.back());
    }
    EXPECT_EQ(known.size(), blocks.size());
    for (void* const block : blocks) ReleaseLargePages(block, size);
    // Five of twelve megabytes fit below the limit: the last five. A little more or less is the same size.
    for (std::size_t i = 0; i < 5; ++i) {
        void* const again = AcquireLargePages(size + i * 1000);
        EXPECT_EQ(again, blocks[9 - i]);
        std::memset(again, 2, size + i * 1000);
        blocks[9 - i] = again;
    }
    for (std::size_t i = 5; i < 10; ++i) ReleaseLargePages(blocks[i], size);
}

TEST(LargePages, ServesThreads) {
    const auto work = [](unsigned char mark) {
        for (std::size_t i = 0; i < 200; ++i) {
            const std::size_t size = (3 + i % 3 * 4) * kMegabyte;
            auto* const bytes = static_cast<unsigned char*>(AcquireLargePages(size));
            for (std::size_t at = 0; at < size; at += 0x10000) bytes[at] = mark;
            for (std::size_t at = 0; at < size; at += 0x10000) ASSERT_EQ(bytes[at], mark);
            ReleaseLargePages(bytes, size);
        }
    };
    std::vector<std::jthread> threads;
    for (unsigned char mark = 1; mark <= 4; ++mark) threads.emplace_back(work, mark);
}

} // namespace
} // namespace velorin
