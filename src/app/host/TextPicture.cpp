#include "app/host/TextPicture.h"

#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_OUTLINE_H

#include <algorithm>
#include <cmath>

namespace velorin::app {

namespace {

constexpr double kLargestText = 16000; // pixels of a side that the scan converter's 26.6 numbers hold

struct TextBounds {
    double left = 1e30, top = 1e30, right = -1e30, bottom = -1e30;
    void Add(double x, double y) {
        left = std::min(left, x), right = std::max(right, x);
        top = std::min(top, y), bottom = std::max(bottom, y);
    }
};

} // namespace

Rect DrawOutlines(const std::vector<Outline>& outlines, Picture& picture) {
    TextBounds box;
    for (const Outline& outline : outlines)
        for (const PF_PathVertex& v : outline.vertices) {
            box.Add(v.x, v.y);
            box.Add(v.tan_in_x, v.tan_in_y);
            box.Add(v.tan_out_x, v.tan_out_y);
        }
    if (box.right <= box.left || box.bottom <= box.top) return {};
    const Rect area{static_cast<int>(std::floor(std::max(box.left, -kLargestText))),
                    static_cast<int>(std::floor(std::max(box.top, -kLargestText))),
                    static_cast<int>(std::ceil(std::min(box.right, kLargestText))),
                    static_cast<int>(std::ceil(std::min(box.bottom, kLargestText)))};
    if (area.empty()) return {};
    std::vector<FT_Vector> points;
    std::vector<char> tags;
    std::vector<short> ends;
    // Rows run downward in a bitmap of positive pitch when y grows upward.
    const auto add = [&](double x, double y, int tag) {
        points.push_back({std::lround((x - area.left) * 64), std::lround((area.bottom - y) * 64)});
        tags.push_back(static_cast<char>(tag));
    };
    for (const Outline& outline : outlines) {
        if (points.size() + 3 * outline.vertices.size() > 32000) break; // the outline's counts are 16 bits
        for (std::size_t i = 0; i + 1 < outline.vertices.size(); ++i) {
            const PF_PathVertex &from = outline.vertices[i], &to = outline.vertices[i + 1];
            add(from.x, from.y, FT_CURVE_TAG_ON);
            add(from.tan_out_x, from.tan_out_y, FT_CURVE_TAG_CUBIC);
            add(to.tan_in_x, to.tan_in_y, FT_CURVE_TAG_CUBIC);
        }
        if (!points.empty()) ends.push_back(static_cast<short>(points.size() - 1));
    }
    FT_Library library = nullptr;
    if (FT_Init_FreeType(&library) != 0) return {};
    std::vector<unsigned char> coverage(static_cast<std::size_t>(area.width()) *
                                        static_cast<std::size_t>(area.height()));
    FT_Outline outline{static_cast<short>(ends.size()),
                       static_cast<short>(points.size()),
                       points.data(),
                       tags.data(),
                       ends.data(),
                       0};
    FT_Bitmap bitmap{};
    bitmap.rows = static_cast<unsigned>(area.height());
    bitmap.width = static_cast<unsigned>(area.width());
    bitmap.pitch = area.width();
    bitmap.buffer = coverage.data();
    bitmap.num_grays = 256;
    bitmap.pixel_mode = FT_PIXEL_MODE_GRAY;
    const bool drawn = FT_Outline_Get_Bitmap(library, &outline, &bitmap) == 0;
    FT_Done_FreeType(library);
    if (!drawn) return {};
    picture = Picture(area.width(), area.height(), 8);
    for (std::size_t i = 0; i < coverage.size(); ++i) {
        picture.pixels[4 * i] = picture.pixels[4 * i + 1] = picture.pixels[4 * i + 2] = std::byte{255};
        picture.pixels[4 * i + 3] = static_cast<std::byte>(coverage[i]);
    }
    return area;
}

} // namespace velorin::app
