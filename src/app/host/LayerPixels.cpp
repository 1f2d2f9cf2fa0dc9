#include "app/host/LayerPixels.h"

#include "app/host/Outlines.h"
#include "app/host/TextPicture.h"

#include "platform/FileSystem.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace velorin::app {

namespace {

constexpr int kInputPadding = 3;

std::uint64_t Mix(std::uint64_t hash, std::uint64_t value) {
    // A step of the generator of G. L. Steele, D. Lea, C. H. Flood, "Fast splittable pseudorandom number
    // generators", 2014.
    hash += value + 0x9e3779b97f4a7c15;
    hash = (hash ^ (hash >> 30)) * 0xbf58476d1ce4e5b9;
    hash = (hash ^ (hash >> 27)) * 0x94d049bb133111eb;
    return hash ^ (hash >> 31);
}

std::uint64_t Mix(std::uint64_t hash, double value) {
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return Mix(hash, bits);
}

void Tint(Picture& picture, const Components& color) {
    for (std::size_t i = 0; i < picture.pixels.size(); i += 4)
        for (std::size_t c = 0; c < 3; ++c)
            picture.pixels[i + c] = static_cast<std::byte>(std::lround(color[c]));
}

Picture SolidPicture(const Components& color) {
    Picture picture(1, 1, 8);
    Tint(picture, color);
    picture.pixels[3] = std::byte{255};
    return picture;
}

WorldBuffer SolidWorld(Rect area, const Components& color, int depth) {
    WorldBuffer world(area, depth, kInputPadding);
    const WorldBuffer pixel = WorldFromPicture(SolidPicture(color), depth, 1, 1, 0);
    const auto bytes = static_cast<std::size_t>(PixelBytes(depth));
    for (int y = 0; y < area.height(); ++y)
        for (int x = 0; x < area.width(); ++x)
            std::memcpy(world.row(y) + static_cast<std::size_t>(x) * bytes, pixel.row(0), bytes);
    return world;
}

Rect Reduced(Rect r, int factorX, int factorY) {
    const auto down = [](int v, int f) { return v >= 0 ? v / f : -((-v + f - 1) / f); };
    const auto up = [](int v, int f) { return v >= 0 ? (v + f - 1) / f : -(-v / f); };
    return {down(r.left, factorX), down(r.top, factorY), up(r.right, factorX), up(r.bottom, factorY)};
}

} // namespace

LayerPixels::Entry& LayerPixels::Load(const HostLayer& layer, double layerSeconds) {
    Entry& entry = entries_[layer.id];
    const TextStyle style =
        layer.role == LayerRole::Text ? TextStyleAt(layer.source, layerSeconds) : TextStyle();
    if (entry.loaded && entry.style == style) return entry;
    entry = {};
    entry.loaded = true;
    entry.style = style;
    entry.state = Mix(0, static_cast<std::uint64_t>(layer.id));
    const Composition& settings = layer.comp->settings;
    if (layer.role == LayerRole::Image)
        LoadImage(layer, entry);
    else if (layer.role == LayerRole::Text)
        SetText(layer, entry);
    else if (layer.role == LayerRole::Solid)
        entry.bounds = {0, 0, layer.source.width, layer.source.height};
    else if (layer.role == LayerRole::Effect)
        entry.bounds = {0, 0, settings.width, settings.height};
    return entry;
}

void LayerPixels::LoadImage(const HostLayer& layer, Entry& entry) {
    std::string reason;
    const bool read = ReadPicture(layer.source.file, entry.picture, reason);
    if (!read) entry.picture = {};
    if (!reason.empty())
        warn_(context_, layer.source.file + ": the image of the layer \"" + layer.name + "\"" +
                            (read ? ": " : " cannot be used: ") + reason);
    entry.bounds = {0, 0, entry.picture.width, entry.picture.height};
    if (const auto facts = GetFileFacts(layer.source.file))
        entry.state = Mix(entry.state, facts->modifiedTime);
}

void LayerPixels::SetText(const HostLayer& layer, Entry& entry) {
    std::vector<Outline> outlines;
    std::string reason;
    const bool set = MakeTextOutlines(layer.source, entry.style, outlines, reason);
    if (set) entry.bounds = DrawOutlines(outlines, entry.picture);
    if (!set)
        warn_(context_, "the text of the layer \"" + layer.name + "\" cannot be set: " + reason);
    else if (!reason.empty())
        warn_(context_, "the layer \"" + layer.name + "\": " + reason);
    for (const double part : {entry.style.size, entry.style.tracking, entry.style.leading})
        entry.state = Mix(entry.state, part);
}

Rect LayerPixels::Bounds(const HostLayer& layer, double layerSeconds, int factorX, int factorY) {
    if (layerSeconds < 0 || layerSeconds >= layer.duration) return {};
    const Rect bounds = Load(layer, layerSeconds).bounds;
    return bounds.empty() ? Rect{} : Reduced(bounds, factorX, factorY);
}

void LayerPixels::ReferenceSize(const HostLayer& layer, double layerSeconds, int& width, int& height) {
    const Rect bounds = Load(layer, layerSeconds).bounds;
    width = bounds.width(), height = bounds.height();
}

std::uint64_t LayerPixels::State(const HostLayer& layer, double layerSeconds) {
    std::uint64_t state = Load(layer, layerSeconds).state;
    if (layerSeconds < 0 || layerSeconds >= layer.duration) return Mix(state, std::uint64_t{1});
    if (layer.role == LayerRole::Solid || layer.role == LayerRole::Text)
        for (const double c : layer.source.color.At(layerSeconds)) state = Mix(state, c);
    return state;
}

std::shared_ptr<const WorldBuffer> LayerPixels::At(const HostLayer& layer, double layerSeconds, int depth,
                                                   int factorX, int factorY) {
    const Rect bounds = Bounds(layer, layerSeconds, factorX, factorY);
    if (bounds.empty()) return nullptr;
    Entry& entry = Load(layer, layerSeconds);
    const std::uint64_t state = State(layer, layerSeconds);
    if (entry.world && entry.worldState == state && entry.depth == depth && entry.factorX == factorX &&
        entry.factorY == factorY)
        return entry.world;
    const Components color = layer.source.color.At(layerSeconds);
    WorldBuffer world;
    if (layer.role == LayerRole::Solid) {
        world = SolidWorld(bounds, color, depth);
    } else if (layer.role == LayerRole::Effect) {
        world = WorldBuffer(bounds, depth, kInputPadding); // transparent: the effect draws all there is
    } else {
        if (layer.role == LayerRole::Text) Tint(entry.picture, color);
        world = WorldFromPicture(entry.picture, depth, factorX, factorY, kInputPadding);
        world.MoveTo(bounds.left, bounds.top);
    }
    entry.world = std::make_shared<const WorldBuffer>(std::move(world));
    entry.worldState = state, entry.depth = depth, entry.factorX = factorX, entry.factorY = factorY;
    return entry.world;
}

} // namespace velorin::app
