#pragma once

#include "app/images/Picture.h"

#include "host/api/Effect.h"

#include <cstddef>
#include <vector>

namespace velorin::app {

struct Rect { // right and bottom lie outside
    int left = 0, top = 0, right = 0, bottom = 0;
    [[nodiscard]] int width() const { return right - left; }
    [[nodiscard]] int height() const { return bottom - top; }
    [[nodiscard]] bool empty() const { return right <= left || bottom <= top; }
    friend bool operator==(const Rect&, const Rect&) = default;
};
[[nodiscard]] Rect Intersect(Rect a, Rect b); // {} when they share nothing
[[nodiscard]] bool Contains(Rect outer, Rect inner);
[[nodiscard]] inline PF_LRect ToHost(Rect r) {
    return {r.left, r.top, r.right, r.bottom};
}
[[nodiscard]] inline Rect FromHost(const PF_LRect& r) {
    return {r.left, r.top, r.right, r.bottom};
}

// Bytes of one pixel (alpha, red, green, blue) at 8, 16 or 32 bits.
[[nodiscard]] constexpr int PixelBytes(int depth) {
    return depth / 2;
}

// Pixels of an image as effects see them, with guard bytes around each row that nobody may write.
class WorldBuffer {
public:
    WorldBuffer() = default;
    // Cleared to zero. `area` is the rectangle that it covers in (downsampled) layer pixels; `padding` pixels
    // stand behind each row.
    WorldBuffer(Rect area, int depth, int padding);

    // The record that the plug-in gets, of the part `part` of the area.
    [[nodiscard]] PF_EffectWorld World(Rect part, bool writeable) const;
    [[nodiscard]] PF_EffectWorld World(bool writeable) const { return World(area_, writeable); }

    [[nodiscard]] Rect area() const { return area_; }
    // The same pixels, their first one at (left, top).
    void MoveTo(int left, int top) { area_ = {left, top, left + area_.width(), top + area_.height()}; }
    [[nodiscard]] int depth() const { return depth_; }
    [[nodiscard]] int rowBytes() const { return rowBytes_; }
    [[nodiscard]] std::byte* row(int y); // from 0 on
    [[nodiscard]] const std::byte* row(int y) const;
    [[nodiscard]] bool guardsIntact() const;
    // A number for the pixels' contents; changes when one byte does.
    [[nodiscard]] std::uint64_t Checksum() const;

private:
    Rect area_;
    int depth_ = 8;
    int rowBytes_ = 0;
    std::vector<std::byte> memory_;
};

// The picture in the world's channel order and depth, every `factorX`-th and `factorY`-th pixel being the
// mean of its block (colour weighted by alpha).
[[nodiscard]] WorldBuffer WorldFromPicture(const Picture& picture, int depth, int factorX, int factorY,
                                           int padding);

// The world placed into a transparent picture of `frame`'s size. 16 bits become 0 to 65535.
[[nodiscard]] Picture PictureFromWorld(const WorldBuffer& world, Rect frame);

} // namespace velorin::app
