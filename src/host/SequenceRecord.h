#pragma once

#include "core/FrameParams.h"
#include "core/document/Scene.h"
#include "host/SequenceState.h"
#include "host/api/HostApi.h"
#include "render/LayerTexture.h"
#include "render/RenderSettings.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

namespace velorin {

// What was last taken from a host layer, so that an unchanged one is not sent again.
struct LayerSource {
    PF_State state{};
    bool known = false; // `state` is of the pixels that are kept
    std::uint32_t width = 0, height = 0, bytesPerChannel = 0;
};

// A layer whose pixels shape a group's particles. They are copied: other instances' frames read them when the
// host's own picture is gone.
struct GroupLayer {
    LayerSource source;
    std::vector<std::byte> pixels; // rows without padding
    ImageHeader image;             // of `pixels`

    void Keep(const ImageHeader& from);
};

struct CustomTexture {
    LayerSource source;
    LayerTexture texture;
};

// Frame counts of "Playback Speed" summed up to each whole frame, valid while the row's receipt stays.
struct PlaybackSums {
    PF_State state{};
    bool known = false;
    std::vector<double> sums; // sums[n]: of the values at the frames 0 to n - 1
};

// Global rows of one frame as plain values.
struct FrameRecord {
    int motionBlurSamples = 1;          // N, at least 1
    float shutter = 0;                  // share of a frame that the shutter is open
    int dofPopup = 1, dofModePopup = 3; // "Depth of Field", "DOF Mode"
    int dofSampleSet = 1;               // "DOF Quality", 1 to 4
    float dofRadiusMultiplier = 1;
    float nearPlane = 10, farPlane = 50000; // comp pixels
    RenderSettings settings;
};

// The run-time record of one instance of the effect; its handle holds it in place between set-up and flatten.
struct SequenceRecord {
    static constexpr A_HandleSize kHandleSize = 11096;
    static constexpr std::uint64_t kTag = 0x44'52'4F'43'45'52'53'56;

    explicit SequenceRecord(AssetContext* assets)
        : scene(std::make_unique<Scene>(assets)), params(std::make_unique<FrameParams>()) {}

    std::uint64_t tag = kTag;
    std::uint64_t serial = 0; // of LiveRecords
    SequenceState state;
    std::array<std::int32_t, kGroupCount> slotValues{};
    std::int32_t slotCount = 1;
    std::uint32_t nullCounter = 0; // number in the name of the next picked null
    bool staleModels = false;      // the flat data came from another process

    CustomTexture overrideLayer;
    std::array<CustomTexture, kLayerCount> customTextures;
    std::array<GroupLayer, kGroupCount> groupLayers;
    std::array<PlaybackSums, kGroupCount> playback;

    std::unique_ptr<Scene> scene;        // working copy of the parameter's document
    std::uint64_t sceneRevision = 0;     // of the value that `scene` was copied from; 0 for none
    std::vector<std::byte> sceneFlat;    // its flat form
    std::unique_ptr<FrameParams> params; // also holds the instance's models (`loadedModels`)
    FrameRecord frame;
};
static_assert(sizeof(SequenceRecord) <= SequenceRecord::kHandleSize);

// The handles that hold a live record. The host may hand a live one to re-set-up without a flatten in
// between; a handle is live when it is listed here and the memory carries the number given to it, which no
// stored bytes can know.
class LiveRecords {
public:
    LiveRecords();

    // Marks `record`, which was made in the memory of `handle`.
    void Add(PF_Handle handle, SequenceRecord& record);
    void Remove(PF_Handle handle);
    // The record in the locked memory of a handle of `size` bytes; null when it holds anything else.
    [[nodiscard]] SequenceRecord* Find(PF_Handle handle, void* memory, A_HandleSize size) const;
    [[nodiscard]] std::size_t size() const;

private:
    mutable std::mutex mutex_;
    std::uint64_t nextSerial_;
    std::unordered_map<PF_Handle, std::uint64_t> serials_;
};

} // namespace velorin
