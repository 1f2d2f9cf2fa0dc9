#pragma once

#include "core/document/SceneModel.h" // PathPoint

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

// Areas and pictures of outlines by scan lines in double precision: what the tests hold the geometry against.
namespace velorin::coverage {

struct Vec {
    double x = 0, y = 0;
};
using Outline = std::vector<Vec>;

inline double Wide(float v) {
    return static_cast<double>(v);
}

// A path cut at even parameters by repeated division of its control polygon.
inline Outline Flatten(const std::vector<PathPoint>& path, int steps) {
    Outline outline;
    for (std::size_t i = 0; i < path.size(); ++i) {
        const PathPoint &a = path[i], &b = path[(i + 1) % path.size()];
        const Vec p[4] = {
            {Wide(a.position.x), Wide(a.position.y)},
            {Wide(a.position.x) + Wide(a.tangentOut.x), Wide(a.position.y) + Wide(a.tangentOut.y)},
            {Wide(b.position.x) + Wide(b.tangentIn.x), Wide(b.position.y) + Wide(b.tangentIn.y)},
            {Wide(b.position.x), Wide(b.position.y)}};
        for (int k = 0; k < steps; ++k) {
            const double t = static_cast<double>(k) / steps;
            Vec q[4] = {p[0], p[1], p[2], p[3]};
            for (int level = 3; level > 0; --level)
                for (int m = 0; m < level; ++m)
                    q[m] = {q[m].x + (q[m + 1].x - q[m].x) * t, q[m].y + (q[m + 1].y - q[m].y) * t};
            outline.push_back(q[0]);
        }
    }
    return outline;
}

inline double ShoelaceArea(const Outline& outline) {
    double sum = 0;
    for (std::size_t i = 0; i < outline.size(); ++i) {
        const Vec a = outline[i], b = outline[(i + 1) % outline.size()];
        sum += a.x * b.y - a.y * b.x;
    }
    return sum / 2;
}

enum class Fill { NonZero, EvenOdd, Positive };

inline bool Filled(Fill rule, int winding) {
    return rule == Fill::NonZero ? winding != 0 : rule == Fill::EvenOdd ? winding % 2 != 0 : winding > 0;
}

// The edges of outlines by the horizontal bands that they run through.
class Scan {
public:
    Scan(const std::vector<Outline>& outlines, Fill rule, double bandHeight) : rule_(rule) {
        for (const Outline& outline : outlines)
            for (const Vec p : outline) low_ = std::min(low_, p.y), high_ = std::max(high_, p.y);
        if (!(high_ > low_)) return;
        height_ = std::max(bandHeight, (high_ - low_) / 100'000);
        bands_.resize(band(high_) + 1);
        for (const Outline& outline : outlines)
            for (std::size_t i = 0; i < outline.size(); ++i) {
                const Vec a = outline[i], b = outline[(i + 1) % outline.size()];
                for (std::size_t k = band(std::min(a.y, b.y)); k <= band(std::max(a.y, b.y)); ++k)
                    bands_[k].push_back({a, b});
            }
    }
    [[nodiscard]] double low() const { return low_; }
    [[nodiscard]] double high() const { return high_; }

    // Calls visit(left, right) for each filled stretch of the line at height y.
    template <class F>
    void spans(double y, F&& visit) const {
        if (bands_.empty() || !(y >= low_ && y <= high_)) return;
        std::vector<std::pair<double, int>> crossings;
        for (const auto& [a, b] : bands_[band(y)]) {
            if ((a.y <= y) == (b.y <= y)) continue;
            // Positive area (x towards y) has its left side, where y falls, wind up.
            crossings.emplace_back(a.x + (b.x - a.x) * (y - a.y) / (b.y - a.y), a.y > b.y ? 1 : -1);
        }
        std::sort(crossings.begin(), crossings.end());
        int winding = 0;
        for (std::size_t k = 0; k + 1 < crossings.size(); ++k) {
            winding += crossings[k].second;
            if (Filled(rule_, winding)) visit(crossings[k].first, crossings[k + 1].first);
        }
    }

    [[nodiscard]] bool inside(Vec p) const {
        bool found = false;
        spans(p.y, [&](double left, double right) { found = found || (p.x >= left && p.x <= right); });
        return found;
    }

private:
    [[nodiscard]] std::size_t band(double y) const { return static_cast<std::size_t>((y - low_) / height_); }

    Fill rule_;
    double low_ = 1e30, high_ = -1e30, height_ = 1;
    std::vector<std::vector<std::pair<Vec, Vec>>> bands_;
};

// Area by `lines` scan lines over the outlines' height; exact in x.
inline double Area(const std::vector<Outline>& outlines, Fill rule, int lines) {
    const Scan scan(outlines, rule, 1);
    if (!(scan.high() > scan.low())) return 0;
    const double step = (scan.high() - scan.low()) / lines;
    double sum = 0;
    for (int k = 0; k < lines; ++k)
        scan.spans(scan.low() + (k + 0.5) * step,
                   [&](double left, double right) { sum += (right - left) * step; });
    return sum;
}

// How much of each cell of a picture is filled, 0 to 1, rows from y 0 down.
struct Picture {
    int width = 0, height = 0;
    std::vector<double> cells;
    Picture(int w, int h)
        : width(w), height(h), cells(static_cast<std::size_t>(w) * static_cast<std::size_t>(h)) {}
    double& at(int x, int y) {
        return cells[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                     static_cast<std::size_t>(x)];
    }
};

// The filled part of each cell; what is drawn twice counts once, as far as a cell can tell.
inline void Paint(Picture& picture, const std::vector<Outline>& outlines, Fill rule) {
    constexpr int kLinesPerCell = 16;
    const Scan scan(outlines, rule, 1);
    const int first = std::max(0, static_cast<int>(std::floor(scan.low()))),
              last = std::min(picture.height, static_cast<int>(std::ceil(scan.high())));
    std::vector<double> row(static_cast<std::size_t>(picture.width));
    for (int y = first; y < last; ++y) {
        std::fill(row.begin(), row.end(), 0);
        for (int line = 0; line < kLinesPerCell; ++line)
            scan.spans(y + (line + 0.5) / kLinesPerCell, [&](double left, double right) {
                left = std::clamp(left, 0.0, static_cast<double>(picture.width));
                right = std::clamp(right, 0.0, static_cast<double>(picture.width));
                for (int x = static_cast<int>(left); x < right; ++x)
                    row[static_cast<std::size_t>(x)] += std::min(right, x + 1.0) - std::max(left, x * 1.0);
            });
        for (int x = 0; x < picture.width; ++x) {
            const double part = row[static_cast<std::size_t>(x)] / kLinesPerCell;
            picture.at(x, y) = std::min(1.0, picture.at(x, y) + part - picture.at(x, y) * part);
        }
    }
}

} // namespace velorin::coverage
