#include "render/EnvironmentMap.h"

#include "core/document/Scene.h"
#include "core/document/TextureChannel.h"
#include "model/ModelLoader.h"
#include "platform/FileSystem.h"
#include "render/LayerDerivatives.h"
#include "render/LayerTexture.h"
#include "render/RenderSettings.h"
#include "render/TextureManager.h"

#include <algorithm>
#include <cmath>

namespace velorin {

namespace {

constexpr std::uint32_t kStudioWidth = 512, kStudioHeight = 256;

// A rectangle of light in degrees of longitude (0 along +z, 90 along +x) and of height above the horizon.
struct SoftBox {
    float longitude, height, halfWidth, halfHeight, softness, brightness;
};
constexpr SoftBox kBoxes[] = {{-140, 38, 32, 20, 10, 1.35f}, // key: behind the viewer, left
                              {125, 20, 16, 26, 9, 0.65f},   // fill: behind the viewer, right
                              {15, 55, 50, 7, 8, 0.8f},      // strip: above and behind the scene
                              {180, -8, 60, 5, 12, 0.25f}};  // low bounce behind the viewer

float Smooth(float edge0, float edge1, float x) {
    const float t = std::clamp((x - edge0) / (edge1 - edge0), 0.0f, 1.0f);
    return t * t * (3 - 2 * t);
}

float BoxLight(const SoftBox& box, float longitude, float height) {
    float across = std::abs(longitude - box.longitude);
    across = std::min(across, 360 - across) * std::cos(height * kRadiansPerDegree);
    const float along = std::abs(height - box.height);
    const float inside = (1 - Smooth(box.halfWidth - box.softness, box.halfWidth + box.softness, across)) *
                         (1 - Smooth(box.halfHeight - box.softness, box.halfHeight + box.softness, along));
    return inside * box.brightness;
}

} // namespace

std::vector<float> StudioPicture(std::uint32_t width, std::uint32_t height) {
    std::vector<float> pixels;
    pixels.reserve(std::size_t{4} * width * height);
    for (std::uint32_t y = 0; y < height; ++y) {
        const float elevation = 90 - 180 * (static_cast<float>(y) + 0.5f) / static_cast<float>(height);
        // Floor, horizon, ceiling.
        const float room = 0.16f + 0.22f * Smooth(-25, 10, elevation) + 0.27f * Smooth(15, 85, elevation);
        for (std::uint32_t x = 0; x < width; ++x) {
            const float longitude = 360 * (static_cast<float>(x) + 0.5f) / static_cast<float>(width) - 180;
            float light = room;
            for (const SoftBox& box : kBoxes) light += BoxLight(box, longitude, elevation);
            // A trace of warmth above and of cold below.
            const float tint = 0.012f * std::sin(elevation * kRadiansPerDegree);
            pixels.insert(pixels.end(), {light * (1 + tint), light, light * (1 - tint), 1});
        }
    }
    return pixels;
}

EnvironmentMap::EnvironmentMap(TextureManager& manager, TextureList& list, LayerDerivatives& derivatives)
    : manager_(manager), list_(list), derivatives_(derivatives) {
}

void EnvironmentMap::SetFrame(const EnvironmentSettings& settings, const std::string& dataFolder) {
    layer_ = settings.overrideLayer && !settings.overrideLayer->empty() ? settings.overrideLayer : nullptr;
    path_.clear();
    if (layer_ || !settings.channel || !settings.channel->enabled) return;
    path_ = ResolveModelPath(settings.channel->path, dataFolder);
    // The default picture comes with an optional library: its absence is no fault to report.
    if (settings.channel->path == kDefaultEnvironmentPath && !IsRegularFile(path_)) path_.clear();
}

gl::Name EnvironmentMap::Studio() {
    if (!studio_)
        studio_ = manager_.LoadFloatTexture(StudioPicture(kStudioWidth, kStudioHeight).data(), kStudioWidth,
                                            kStudioHeight);
    return studio_.name();
}

gl::Name EnvironmentMap::flat() {
    if (layer_) return layer_->texture.name();
    if (const TextureEntry* entry = list_.Find(path_, kTexturePlain, 1, true)) return entry->texture.name();
    return Studio();
}

gl::Name EnvironmentMap::cube() {
    if (layer_) return derivatives_.Cube(*layer_);
    if (const TextureEntry* entry = list_.Find(path_, kTexturePlain | kTextureCube, 1, true))
        return entry->texture.name();
    if (!studioCube_) studioCube_ = manager_.EnvToCubeMap(Studio());
    return studioCube_.name();
}

} // namespace velorin
