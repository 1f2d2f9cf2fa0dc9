#include "app/host/HandleStore.h"
#include "app/host/World.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

namespace velorin::app {
namespace {

TEST(World, RowsArePaddedAndGuarded) {
    for (const int depth : {8, 16, 32}) {
        WorldBuffer buffer({2, 3, 12, 9}, depth, 5);
        const PF_EffectWorld world = buffer.World(true);
        EXPECT_EQ(world.width, 10);
        EXPECT_EQ(world.height, 6);
        EXPECT_GT(world.rowbytes, 10 * PixelBytes(depth));
        EXPECT_EQ(world.origin_x, -2);
        EXPECT_EQ(world.origin_y, -3);
        EXPECT_EQ((world.world_flags & PF_WorldFlag_DEEP) != 0, depth == 16);
        auto* bytes = reinterpret_cast<std::byte*>(world.data);
        for (int y = 0; y < 6; ++y)
            std::memset(bytes + y * world.rowbytes, 255, static_cast<std::size_t>(10 * PixelBytes(depth)));
        EXPECT_TRUE(buffer.guardsIntact());
        const std::ptrdiff_t outside[] = {-1, 10 * PixelBytes(depth), 5 * world.rowbytes - 1, -world.rowbytes,
                                          6 * static_cast<std::ptrdiff_t>(world.rowbytes) - 64};
        for (const std::ptrdiff_t at : outside) {
            const std::byte before = bytes[at];
            bytes[at] = std::byte{1};
            EXPECT_FALSE(buffer.guardsIntact()) << depth << ' ' << at;
            bytes[at] = before;
        }
        EXPECT_TRUE(buffer.guardsIntact());
    }
}

TEST(World, APartIsSeenInsideTheWhole) {
    WorldBuffer buffer({-4, -4, 4, 4}, 8, 0);
    buffer.row(5)[4 * 6] = std::byte{9}; // pixel (2, 1) of the frame
    const PF_EffectWorld part = buffer.World({2, 1, 100, 100}, false);
    EXPECT_EQ(part.width, 2);
    EXPECT_EQ(part.height, 3);
    EXPECT_EQ(*reinterpret_cast<const std::byte*>(part.data), std::byte{9});
    EXPECT_EQ(part.origin_x, -2);
    EXPECT_EQ(buffer.World({50, 50, 60, 60}, false).data, nullptr);
}

TEST(World, PicturesBecomeWorldsOfEveryDepthAndBack) {
    Picture picture(3, 2, 8);
    for (std::size_t i = 0; i < picture.pixels.size(); ++i)
        picture.pixels[i] = static_cast<std::byte>(i * 11);
    for (const int depth : {8, 16, 32}) {
        const Picture back = PictureFromWorld(WorldFromPicture(picture, depth, 1, 1, 2), {0, 0, 3, 2});
        for (std::size_t i = 0; i < picture.pixels.size(); ++i) {
            const double found =
                depth == 8 ? std::to_integer<int>(back.pixels[i])
                : depth == 16
                    ? reinterpret_cast<const std::uint16_t*>(back.pixels.data())[i] / 257.0
                    : static_cast<double>(reinterpret_cast<const float*>(back.pixels.data())[i]) * 255;
            EXPECT_NEAR(found, std::to_integer<int>(picture.pixels[i]), depth == 8 ? 0 : 0.01)
                << depth << ' ' << i;
        }
    }
    // Alpha stands first, and full is full.
    Picture yellow(1, 1, 8);
    std::fill(yellow.pixels.begin(), yellow.pixels.end(), std::byte{255});
    yellow.pixels[2] = std::byte{0};
    const WorldBuffer world = WorldFromPicture(yellow, 16, 1, 1, 0);
    std::uint16_t argb[4];
    std::memcpy(argb, world.row(0), sizeof argb);
    EXPECT_THAT(argb, testing::ElementsAre(32768, 32768, 32768, 0));
}

// Colour counts by its coverage: transparent red leaves no trace in the mean.
TEST(World, DownsamplingWeighsColourByAlpha) {
    Picture picture(2, 2, 8);
    const std::uint8_t pixels[] = {20, 90, 160, 255, 255, 0, 0, 0, 20, 90, 160, 255, 255, 0, 0, 0};
    std::memcpy(picture.pixels.data(), pixels, sizeof pixels);
    const WorldBuffer world = WorldFromPicture(picture, 8, 2, 2, 0);
    ASSERT_EQ(world.area().width(), 1);
    std::uint8_t argb[4];
    std::memcpy(argb, world.row(0), sizeof argb);
    EXPECT_THAT(argb, testing::ElementsAre(128, 20, 90, 160));
    EXPECT_EQ(WorldFromPicture(Picture(5, 3, 8), 8, 2, 2, 0).area(), (Rect{0, 0, 3, 2}));
}

TEST(World, OutsideTheWorldTheFrameIsTransparent) {
    WorldBuffer world({1, 1, 3, 3}, 8, 0);
    for (int y = 0; y < 2; ++y) std::memset(world.row(y), 255, 8);
    const Picture picture = PictureFromWorld(world, {0, 0, 3, 2});
    const auto at = [&](int x, int y) { return std::to_integer<int>(picture.row(y)[4 * x + 3]); };
    EXPECT_EQ(at(0, 0), 0);
    EXPECT_EQ(at(0, 1), 0);
    EXPECT_EQ(at(1, 1), 255);
    EXPECT_EQ(at(2, 1), 255);
}

TEST(HandleStore, LocksNestAndSizesAreKept) {
    std::vector<std::string> faults;
    HandleStore store(
        [](void* list, const std::string& text) {
            static_cast<std::vector<std::string>*>(list)->push_back(text);
        },
        &faults);
    PF_Handle handle = store.New(10);
    EXPECT_EQ(store.Size(handle), 10U);
    EXPECT_EQ(static_cast<char*>(*handle)[9], 0);
    store.HostLock(handle);
    EXPECT_EQ(store.Lock(handle), *handle);
    EXPECT_EQ(store.Lock(handle), *handle);
    store.Unlock(handle);
    store.Unlock(handle);
    static_cast<char*>(*handle)[3] = 'x';
    EXPECT_TRUE(store.Resize(1000, handle));
    EXPECT_EQ(static_cast<char*>(*handle)[3], 'x');
    EXPECT_EQ(static_cast<char*>(*handle)[999], 0);
    store.Dispose(handle); // the host's own lock does not count
    EXPECT_THAT(faults, testing::IsEmpty());
    EXPECT_EQ(store.count(), 0U);
    store.HostUnlock(handle);
    EXPECT_THAT(faults, testing::IsEmpty());
    PF_Handle empty = store.New(0);
    EXPECT_NE(store.Lock(empty), nullptr);
}

} // namespace
} // namespace velorin::app
