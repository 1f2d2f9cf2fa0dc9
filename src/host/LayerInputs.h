#pragma once

#include "host/ParamReader.h"
#include "host/SequenceRecord.h"

namespace velorin {

// How a custom texture's time follows the comp's: values of the popups "Sampling Layer".
enum class SamplingMode : int { CurrentTime = 1, FirstFrame = 2, RandomTime = 3 };

// Layer time of custom texture `layer` (0 to 9) with "Random Time": the current time moved by a whole number
// of the host's time units that the seed draws, inside 0 to `total`. The generator is the minimal standard
// one (S. Park, K. Miller, 1988, with the multiplier 48271), ten rounds on from the seed.
[[nodiscard]] A_long RandomLayerTime(float seed, int layer, A_long current, A_long total);

// A world of the host as an image; empty when it has no pixels.
[[nodiscard]] ImageHeader ToImageHeader(const PF_EffectWorld* world, int bytesPerChannel);

// A layer that a frame depends on, as pre-render declares it and render takes it out.
struct LayerInput {
    std::uint32_t diskId = 0; // also its checkout id
    A_long time = 0;          // layer time, the host's units
};
// "Override Layer", the ten custom textures, then the custom layers of groups whose shape reads one.
struct LayerInputs {
    LayerInput overrideLayer;
    std::array<LayerInput, kLayerCount> customTextures;
    std::array<LayerInput, kGroupCount> groupLayers; // disk id 0: the group reads none
};
[[nodiscard]] LayerInputs FindLayerInputs(const PluginCall& call, const ParamReader& rows);

// Declares all of them to the host. Returns its code only when the user stopped.
[[nodiscard]] PF_Err DeclareLayers(PluginCall& call, const ParamReader& rows);

// Whether the pixels of a layer are others than those that `source` knows; then `source` knows them. The
// host's receipt for the row at the layer's time is compared, and the size.
[[nodiscard]] bool LayerChanged(PluginCall& call, const ParamReader& rows, const LayerInput& layer,
                                const ImageHeader& image, LayerSource& source);

} // namespace velorin
