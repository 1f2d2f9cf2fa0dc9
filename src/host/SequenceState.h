#pragma once

#include "services/ByteReader.h"
#include "services/NxMath.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <set>
#include <span>
#include <vector>

// What of an instance's sequence data reaches the project, and its flat form: a wide container of chunks.
namespace velorin {

inline constexpr std::size_t kPreviewViews = 7;
inline constexpr std::size_t kNullLayers = 7;           // groups 1 to 5, world transform, world position
inline constexpr std::size_t kMostChannelSets = 10'000; // read from flat data, which may be hostile

struct ChannelSet {
    std::vector<std::int32_t> values;
    bool flag = false;
    std::set<std::int32_t> members;
    friend bool operator==(const ChannelSet&, const ChannelSet&) = default;
};

// Camera of one view of the scene window's preview.
struct PreviewView {
    Point3 rotation; // radians
    Point3 target;
    float distance = 5;
    friend bool operator==(const PreviewView&, const PreviewView&) = default;
};

struct PreviewState {
    PreviewState();

    Point3 rotation; // radians
    std::uint64_t viewIndex = 0;
    std::uint8_t flag = 1;
    std::array<PreviewView, kPreviewViews> views;
    friend bool operator==(const PreviewState&, const PreviewState&) = default;
};

// Fields of the scene window that this layer only keeps. Tag and width of each, in the order of writing;
// those that stand in front of the preview's own chunks, and those behind them.
struct EditorField {
    std::uint32_t tag;
    std::uint32_t bytes;
};
inline constexpr EditorField kEditorFieldsBefore[] = {
    {50, 4}, {51, 16}, {52, 16}, {53, 12}, {54, 4}, {55, 4},  {56, 1},  {57, 4},
    {58, 1}, {59, 1},  {60, 1},  {61, 4},  {62, 4}, {63, 64}, {64, 64},
};
inline constexpr EditorField kEditorFieldsBehind[] = {
    {70, 12}, {68, 1}, {69, 1}, {77, 1}, {78, 1}, {71, 4}, {72, 1}, {80, 4}, {75, 4}, {74, 4}, {81, 4},
};
inline constexpr std::size_t kEditorBytes = [] {
    std::size_t bytes = 0;
    for (const EditorField& field : kEditorFieldsBefore) bytes += field.bytes;
    for (const EditorField& field : kEditorFieldsBehind) bytes += field.bytes;
    return bytes;
}();

struct SequenceState {
    std::int32_t stateId = -1;
    std::uint8_t stateFlagA = 0;
    std::uint8_t stateFlagB = 1;
    std::vector<ChannelSet> channelSets;
    PreviewState preview;
    std::array<std::byte, kEditorBytes> editor{}; // the fields one behind the other, in the order of writing
    std::array<std::int32_t, kNullLayers> nullLayerIds{-1, -1, -1, -1, -1, -1, -1};
    friend bool operator==(const SequenceState&, const SequenceState&) = default;
};

// Bytes of one editor field inside `state.editor`; empty for a tag that is none.
[[nodiscard]] std::span<std::byte> EditorFieldBytes(SequenceState& state, std::uint32_t tag);

// Writes the flat form into `buffer` of `size` bytes and returns its length; with a null buffer only
// measures. `stamp` names the process that writes; `heldModels` are ids in its cache.
std::size_t WriteSequence(const SequenceState& state, std::int64_t stamp,
                          std::span<const std::uint64_t> heldModels, std::byte* buffer, std::size_t size);

struct FlatSequence {
    SequenceState state;
    std::uint32_t formatVersion = 0; // as the data says
    std::int64_t stamp = 0;          // 0 when there is none
    std::vector<std::uint64_t> heldModels;
    bool damaged = false; // it was refused, or ends inside a chunk
};

// Reads as far as the bytes are good. Data that is too short or of a newer container gives the defaults;
// chunks behind tag 46 count only in format version 1.
[[nodiscard]] FlatSequence ReadSequence(Bytes flat);

} // namespace velorin
