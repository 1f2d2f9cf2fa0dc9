#include "app/command/Ask.h"
#include "app/command/Commands.h"
#include "app/host/TextPicture.h"
#include "app/images/Picture.h"

#include "platform/FileSystem.h"
#include "services/StringConversion.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <filesystem>

namespace velorin::app {

namespace {

namespace fs = std::filesystem;

constexpr int kGap = 10, kLabelHeight = 26, kMostTiles = 2000;
constexpr double kLabelSize = 13;

// The ground of the sheet, and of a tile from its top to its bottom.
constexpr int kGround[3] = {24, 25, 28};
constexpr int kTileTop[3] = {92, 95, 101}, kTileBottom[3] = {46, 47, 51};

// A preset of the folder; the folder below it as a heading.
struct Item {
    std::string path, folder, name;
};

std::vector<Item> PresetsBelow(const std::string& root) {
    std::vector<Item> items;
    std::error_code error;
    fs::recursive_directory_iterator entry(root, fs::directory_options::skip_permission_denied, error), end;
    for (; !error && entry != end; entry.increment(error)) {
        if (!entry->is_regular_file(error) || KindOfInput(entry->path().string()) != InputKind::Preset)
            continue;
        const std::string folder = entry->path().parent_path().lexically_relative(root).generic_string();
        items.push_back(
            {entry->path().string(), folder == "." ? std::string() : folder, entry->path().stem().string()});
    }
    std::sort(items.begin(), items.end(), [](const Item& a, const Item& b) {
        return std::tie(a.folder, a.name, a.path) < std::tie(b.folder, b.name, b.path);
    });
    return items;
}

std::uint8_t* PixelAt(Picture& sheet, int x, int y) {
    return reinterpret_cast<std::uint8_t*>(sheet.row(y)) + std::size_t{4} * static_cast<std::size_t>(x);
}

void Fill(Picture& sheet, Rect area, const int* top, const int* bottom) {
    for (int y = area.top; y < area.bottom; ++y)
        for (int x = area.left; x < area.right; ++x) {
            std::uint8_t* const pixel = PixelAt(sheet, x, y);
            for (int c = 0; c < 3; ++c)
                pixel[c] = static_cast<std::uint8_t>(top[c] + (bottom[c] - top[c]) * (y - area.top) /
                                                                  std::max(area.height() - 1, 1));
            pixel[3] = 255;
        }
}

// A straight-alpha picture over what is there, in `colour` times its own.
void Lay(Picture& sheet, const std::uint8_t* pixels, int width, int height, int left, int top, double light) {
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x, pixels += 4) {
            if (left + x < 0 || left + x >= sheet.width || top + y < 0 || top + y >= sheet.height) continue;
            std::uint8_t* const pixel = PixelAt(sheet, left + x, top + y);
            for (int c = 0; c < 3; ++c)
                pixel[c] = static_cast<std::uint8_t>(
                    std::lround((pixels[c] * light * pixels[3] + pixel[c] * (255.0 - pixels[3])) / 255));
        }
}

// One line of text, its baseline at `baseline`; cut with dots to `room` pixels. `align`: 0 left, 0.5 middle.
void Write(Picture& sheet, std::string text, double size, int left, int room, int baseline, double align,
           double light) {
    Layer layer;
    layer.size = AnimatedValue(size);
    std::string reason;
    for (bool cut = false; !text.empty();) {
        layer.text = cut ? text + "..." : text;
        std::vector<Outline> outlines;
        Picture letters;
        if (!MakeTextOutlines(layer, TextStyleAt(layer, 0), outlines, reason)) return;
        const Rect box = DrawOutlines(outlines, letters);
        if (box.right <= room) {
            const int start = left + static_cast<int>((room - box.right) * align);
            return Lay(sheet, reinterpret_cast<const std::uint8_t*>(letters.pixels.data()), letters.width,
                       letters.height, start + box.left, baseline + box.top, light);
        }
        cut = true;
        do text.pop_back();
        while (!text.empty() && (static_cast<unsigned char>(text.back()) & 0xC0) == 0x80); // whole letters
        if (!text.empty() && (static_cast<unsigned char>(text.back()) & 0xC0) == 0xC0) text.pop_back();
    }
}

class Sheet {
public:
    Sheet(const Arguments& options, SizeOverride tile, Console& console)
        : options_(options), tile_(tile), console_(console) {}

    int Run() {
        items_ = PresetsBelow(options_.input);
        if (!IsFolder(options_.input) || items_.empty()) {
            console_.Error(options_.input + (IsFolder(options_.input) ? ": there is no preset in this folder"
                                                                      : ": this is no folder"));
            return kFailed;
        }
        if (items_.size() > kMostTiles) {
            console_.Error(options_.input + ": a sheet shows up to " + std::to_string(kMostTiles) +
                           " presets");
            return kFailed;
        }
        session_.host = StartHost(options_.session, console_);
        if (!session_.host) return kFailed;
        const int drawn = Draw();
        std::string error;
        bool good = drawn > 0;
        if (good && !WritePng(options_.output, picture_, error)) {
            console_.Error(error);
            good = false;
        }
        return session_.Close(console_) && good && renewed_ ? kDone : kFailed;
    }

private:
    // Places all tiles, a heading before each folder; the height of the sheet.
    int Place() {
        int y = kGap, column = 0;
        std::string folder;
        for (std::size_t i = 0; i < items_.size(); ++i) {
            if (HasHeadings() && (i == 0 || items_[i].folder != folder)) {
                if (column > 0) y += TileHeight();
                column = 0;
                folder = items_[i].folder;
                headings_.push_back(
                    {folder.empty() ? fs::path(options_.input).filename().string() : folder, y});
                y += kLabelHeight + 4;
            }
            if (column == options_.columns) column = 0, y += TileHeight();
            places_.push_back({kGap + column * (tile_.width + kGap), y});
            ++column;
        }
        return y + TileHeight();
    }

    [[nodiscard]] bool HasHeadings() const { return items_.front().folder != items_.back().folder; }

    // Of all items, or of the folder with the most when each starts anew.
    [[nodiscard]] int LongestRow() const {
        int longest = 0, row = 0;
        for (std::size_t i = 0; i < items_.size(); ++i) {
            if (HasHeadings() && i > 0 && items_[i].folder != items_[i - 1].folder) row = 0;
            longest = std::max(longest, ++row);
        }
        return longest;
    }

    [[nodiscard]] int TileHeight() const { return tile_.height + kLabelHeight + kGap; }

    int Draw() {
        options_.columns = std::min(options_.columns, LongestRow());
        const int height = Place();
        picture_ = Picture(kGap + options_.columns * (tile_.width + kGap), height, 8);
        Fill(picture_, {0, 0, picture_.width, picture_.height}, kGround, kGround);
        for (const auto& [text, y] : headings_)
            Write(picture_, text, kLabelSize + 3, kGap, picture_.width - 2 * kGap, y + kLabelHeight - 8, 0,
                  0.95);
        int drawn = 0;
        for (std::size_t i = 0; i < items_.size(); ++i) {
            console_.Progress(static_cast<int>(i), static_cast<int>(items_.size()), 0);
            drawn += DrawTile(items_[i], places_[i].first, places_[i].second);
            if (options_.renew)
                renewed_ &= Ask(*session_.host, {{"do", "renewPicture"}, {"file", items_[i].path}}, {},
                                items_[i].path, console_)
                                .has_value();
        }
        console_.EndProgress();
        return drawn;
    }

    bool DrawTile(const Item& item, int x, int y) {
        Fill(picture_, {x, y, x + tile_.width, y + tile_.height}, kTileTop, kTileBottom);
        const auto pixels = AskRaw(
            *session_.host,
            {{"do", "presetPicture"}, {"file", item.path}, {"width", tile_.width}, {"height", tile_.height}},
            item.path, console_);
        const std::size_t size =
            std::size_t{4} * static_cast<std::size_t>(tile_.width) * static_cast<std::size_t>(tile_.height);
        const bool drawn = pixels && pixels->size() == size;
        if (drawn)
            Lay(picture_, reinterpret_cast<const std::uint8_t*>(pixels->data()), tile_.width, tile_.height, x,
                y, 1);
        else
            Write(picture_, "cannot be shown", kLabelSize, x, tile_.width, y + tile_.height / 2, 0.5, 0.75);
        Write(picture_, item.name, kLabelSize, x, tile_.width, y + tile_.height + 18, 0.5, 0.85);
        return drawn;
    }

    Arguments options_;
    SizeOverride tile_;
    Console& console_;
    Session session_;
    std::vector<Item> items_;
    std::vector<std::pair<int, int>> places_;           // left and top of each tile
    std::vector<std::pair<std::string, int>> headings_; // text and top
    Picture picture_;
    bool renewed_ = true;
};

} // namespace

int RunSheet(const Arguments& options) {
    Console console(false);
    if (SmallExtension(options.output) != ".png") {
        console.Error("-o " + options.output + ": a sheet is a .png file");
        return kWrongUsage;
    }
    const auto tile = ParseSize(options.tile);
    if (!tile || tile->width < 32 || tile->height < 32 || tile->width > 1024 || tile->height > 1024) {
        console.Error("--tile " + options.tile + ": expected WxH, each from 32 to 1024");
        return kWrongUsage;
    }
    return Sheet(options, *tile, console).Run();
}

} // namespace velorin::app
