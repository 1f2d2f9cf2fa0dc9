#include "render/LayerDerivatives.h"

#include "render/LayerTexture.h"
#include "render/TextureManager.h"

#include <algorithm>

namespace velorin {

gl::Name LayerDerivatives::Get(const LayerTexture& layer, Kind kind) {
    for (Entry& entry : entries_) {
        if (entry.revision != layer.revision || entry.kind != kind) continue;
        entry.used = true;
        return entry.texture.name();
    }
    const gl::Name source = layer.texture.name();
    Entry entry{layer.revision, kind, true, {}};
    entry.texture = kind == Kind::Cube ? manager_.EnvToCubeMap(source) : manager_.BumpToNormal(source);
    entries_.push_back(std::move(entry));
    return entries_.back().texture.name();
}

void LayerDerivatives::EndFrame() {
    std::erase_if(entries_, [](const Entry& entry) { return !entry.used; });
    for (Entry& entry : entries_) entry.used = false;
}

} // namespace velorin
