#include "app/host/World.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace velorin::app {

namespace {

constexpr int kGuardBytes = 64;
constexpr std::byte kGuard{0xA7};

using Rgba = std::array<float, 4>; // 0 to 1

Rgba PicturePixel(const Picture& picture, int x, int y) {
    const std::byte* at = picture.row(y) + static_cast<std::ptrdiff_t>(x) * picture.depth / 2;
    Rgba rgba{};
    if (picture.depth == 32) {
        std::memcpy(rgba.data(), at, sizeof rgba);
        return rgba;
    }
    for (std::size_t c = 0; c < 4; ++c) {
        if (picture.depth == 8) {
            rgba[c] = static_cast<float>(std::to_integer<int>(at[c])) / 255.0F;
        } else {
            std::uint16_t value;
            std::memcpy(&value, at + 2 * c, 2);
            rgba[c] = static_cast<float>(value) / 65535.0F;
        }
    }
    return rgba;
}

void StorePixel(std::byte* out, int depth, const Rgba& rgba) {
    const Rgba argb{rgba[3], rgba[0], rgba[1], rgba[2]};
    if (depth == 32) {
        std::memcpy(out, argb.data(), sizeof argb);
        return;
    }
    for (std::size_t c = 0; c < 4; ++c) {
        const float value = argb[c] > 0 ? std::min(argb[c], 1.0F) : 0.0F;
        if (depth == 8) {
            out[c] = static_cast<std::byte>(std::lround(value * 255.0F));
        } else {
            const auto stored =
                static_cast<std::uint16_t>(std::lround(value * static_cast<float>(PF_MAX_CHAN16)));
            std::memcpy(out + 2 * c, &stored, 2);
        }
    }
}

// Mean of the block of pixels that starts at (x, y), cut at the picture's edges.
Rgba BlockMean(const Picture& picture, int x, int y, int factorX, int factorY) {
    std::array<double, 4> sum{};
    int count = 0;
    for (int j = y; j < std::min(y + factorY, picture.height); ++j)
        for (int i = x; i < std::min(x + factorX, picture.width); ++i, ++count) {
            const Rgba p = PicturePixel(picture, i, j);
            for (std::size_t c = 0; c < 3; ++c) sum[c] += static_cast<double>(p[c] * p[3]);
            sum[3] += static_cast<double>(p[3]);
        }
    if (sum[3] == 0) return {};
    return {static_cast<float>(sum[0] / sum[3]), static_cast<float>(sum[1] / sum[3]),
            static_cast<float>(sum[2] / sum[3]), static_cast<float>(sum[3] / count)};
}

} // namespace

Rect Intersect(Rect a, Rect b) {
    const Rect r{std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
                 std::min(a.bottom, b.bottom)};
    return r.empty() ? Rect{} : r;
}

bool Contains(Rect outer, Rect inner) {
    return inner.empty() || (inner.left >= outer.left && inner.top >= outer.top &&
                             inner.right <= outer.right && inner.bottom <= outer.bottom);
}

WorldBuffer::WorldBuffer(Rect area, int depth, int padding)
    : area_(area.empty() ? Rect{area.left, area.top, area.left, area.top} : area),
      depth_(depth),
      rowBytes_(2 * kGuardBytes + (area_.width() + padding) * PixelBytes(depth)) {
    const auto stride = static_cast<std::size_t>(rowBytes_);
    const auto width = static_cast<std::size_t>(area_.width() * PixelBytes(depth));
    // A whole row of guard bytes above and below.
    memory_.assign(stride * static_cast<std::size_t>(area_.height() + 2), kGuard);
    for (int y = 0; y < area_.height(); ++y) std::fill_n(row(y), width, std::byte{0});
}

std::byte* WorldBuffer::row(int y) {
    return memory_.data() + static_cast<std::ptrdiff_t>(rowBytes_) * (y + 1) + kGuardBytes;
}

const std::byte* WorldBuffer::row(int y) const {
    return memory_.data() + static_cast<std::ptrdiff_t>(rowBytes_) * (y + 1) + kGuardBytes;
}

PF_EffectWorld WorldBuffer::World(Rect part, bool writeable) const {
    PF_EffectWorld world{};
    const Rect inside = Intersect(part, area_);
    world.world_flags = (depth_ == 16 ? PF_WorldFlag_DEEP : 0) | (writeable ? PF_WorldFlag_WRITEABLE : 0);
    world.rowbytes = rowBytes_;
    world.reserved_long1 = depth_; // the host's own note
    world.pix_aspect_ratio = {1, 1};
    if (inside.empty()) return world;
    // The interface has one record for what is read and what is written.
    auto* first = const_cast<std::byte*>(row(inside.top - area_.top)) +
                  static_cast<std::ptrdiff_t>(inside.left - area_.left) * PixelBytes(depth_);
    world.data = reinterpret_cast<PF_PixelPtr>(first);
    world.width = inside.width();
    world.height = inside.height();
    world.extent_hint = {0, 0, inside.width(), inside.height()};
    world.origin_x = -inside.left;
    world.origin_y = -inside.top;
    return world;
}

bool WorldBuffer::guardsIntact() const {
    const auto untouched = [](const std::byte* begin, const std::byte* end) {
        return std::all_of(begin, end, [](std::byte b) { return b == kGuard; });
    };
    const std::byte* at = memory_.data();
    for (int y = 0; y < area_.height(); ++y) {
        if (!untouched(at, row(y))) return false;
        at = row(y) + static_cast<std::ptrdiff_t>(area_.width()) * PixelBytes(depth_);
    }
    return untouched(at, memory_.data() + memory_.size());
}

std::uint64_t WorldBuffer::Checksum() const {
    // FNV-1a over words. G. Fowler, L. C. Noll, K.-P. Vo, 1991.
    std::uint64_t hash = 0xcbf29ce484222325;
    for (int y = 0; y < area_.height(); ++y) {
        const std::byte* at = row(y);
        for (int i = 0; i + 4 <= area_.width() * PixelBytes(depth_); i += 4) {
            std::uint32_t word;
            std::memcpy(&word, at + i, 4);
            hash = (hash ^ word) * 0x100000001b3;
        }
    }
    return hash;
}

WorldBuffer WorldFromPicture(const Picture& picture, int depth, int factorX, int factorY, int padding) {
    const Rect area{0, 0, (picture.width + factorX - 1) / factorX, (picture.height + factorY - 1) / factorY};
    WorldBuffer world(area, depth, padding);
    for (int y = 0; y < area.height(); ++y) {
        std::byte* out = world.row(y);
        for (int x = 0; x < area.width(); ++x, out += PixelBytes(depth))
            StorePixel(out, depth,
                       factorX == 1 && factorY == 1
                           ? PicturePixel(picture, x, y)
                           : BlockMean(picture, x * factorX, y * factorY, factorX, factorY));
    }
    return world;
}

Picture PictureFromWorld(const WorldBuffer& world, Rect frame) {
    Picture picture(frame.width(), frame.height(), world.depth());
    const Rect shared = Intersect(world.area(), frame);
    const int bytes = world.depth() / 8;
    for (int y = shared.top; y < shared.bottom; ++y) {
        const std::byte* in = world.row(y - world.area().top) +
                              static_cast<std::ptrdiff_t>(shared.left - world.area().left) * 4 * bytes;
        std::byte* out =
            picture.row(y - frame.top) + static_cast<std::ptrdiff_t>(shared.left - frame.left) * 4 * bytes;
        for (int x = 0; x < shared.width(); ++x, in += 4 * bytes, out += 4 * bytes) {
            std::memcpy(out, in + bytes, static_cast<std::size_t>(3 * bytes));
            std::memcpy(out + 3 * bytes, in, static_cast<std::size_t>(bytes));
        }
    }
    if (world.depth() == 16) {
        auto* value = reinterpret_cast<std::uint16_t*>(picture.pixels.data());
        for (std::size_t i = 0; i < picture.pixels.size() / 2; ++i) {
            const unsigned v = std::min<unsigned>(value[i], PF_MAX_CHAN16);
            value[i] = static_cast<std::uint16_t>((v * 65535U + PF_MAX_CHAN16 / 2U) / PF_MAX_CHAN16);
        }
    }
    return picture;
}

} // namespace velorin::app
