#pragma once

#include "app/host/Comp.h"
#include "app/host/World.h"

#include <memory>
#include <string>
#include <unordered_map>

namespace velorin::app {

// What layers look like by themselves: decoded, drawn, at the depth and size that a render asks for. Keeps
// the last result of each layer.
class LayerPixels {
public:
    using Warn = void (*)(void* context, const std::string& sentence);
    LayerPixels(Warn warn, void* context) : warn_(warn), context_(context) {}

    // The whole layer's rectangle in pixels of its own frame, downsampled; {} for a layer without pixels
    // (null, camera, light, a missing file) and outside its time.
    [[nodiscard]] Rect Bounds(const HostLayer& layer, double layerSeconds, int factorX, int factorY);
    // Before effects, at full size.
    void ReferenceSize(const HostLayer& layer, double layerSeconds, int& width, int& height);
    // Null where Bounds is empty.
    [[nodiscard]] std::shared_ptr<const WorldBuffer> At(const HostLayer& layer, double layerSeconds,
                                                        int depth, int factorX, int factorY);
    // Equal numbers mean equal pixels.
    [[nodiscard]] std::uint64_t State(const HostLayer& layer, double layerSeconds);

private:
    struct Entry {
        bool loaded = false;
        TextStyle style; // of texts: what they were set with
        Picture picture; // of images and texts
        Rect bounds;     // at full size
        std::uint64_t state = 0, worldState = 0;
        int depth = 0, factorX = 0, factorY = 0;
        std::shared_ptr<const WorldBuffer> world;
    };
    Entry& Load(const HostLayer& layer, double layerSeconds);
    void LoadImage(const HostLayer& layer, Entry& entry);
    void SetText(const HostLayer& layer, Entry& entry);

    Warn warn_;
    void* context_;
    std::unordered_map<int, Entry> entries_; // by layer id
};

} // namespace velorin::app
