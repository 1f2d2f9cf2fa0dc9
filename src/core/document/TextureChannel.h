#pragma once

#include "services/NxMath.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace velorin {

// Channel numbers. The words are those of the Standard shader; the Physical shader reads Specular as
// glossiness and Reflection as reflectivity.
enum class Channel : std::uint32_t {
    Diffuse = 0,
    Specular = 1,
    Occlusion = 2,
    Illumination = 3,
    Normal = 4,
    Environment = 5,
    Reflection = 6,
    Displacement = 101,
};

inline constexpr std::size_t kMaterialChannels = 7; // Diffuse to Reflection

// Colour channels hold pictures with a display gamma; the others hold data.
[[nodiscard]] constexpr float DefaultGamma(Channel channel) {
    return channel == Channel::Specular || channel == Channel::Normal || channel == Channel::Displacement
               ? 1.0f
               : 2.2f;
}

// One image slot of a material, or the scene's environment map.
struct TextureChannel {
    TextureChannel() = default;
    explicit TextureChannel(Channel number) : channel(number), gamma(DefaultGamma(number)) {}

    Channel channel = Channel::Diffuse;
    std::string path; // image file; empty: no texture
    float amount = 1; // opacity; the strength for Normal and Displacement, -5 to 5
    float gamma = 2.2f;
    float contrast = 0, saturation = 0, brightness = 0; // -1 to 1
    Point2 uvOffset{0, 0};
    Point2 uvRepeat{1, 1};
    std::int32_t customLayer = -1; // 0 to 9: the effect's Custom Layer that takes the file's place
    bool enabled = false;
    bool invert = false;
    std::array<float, 3> inputLevels{0, 0.5f, 1}; // low, mid, high
    std::array<float, 2> outputLevels{0, 1};      // low, high

    friend bool operator==(const TextureChannel&, const TextureChannel&) = default;
};

} // namespace velorin
