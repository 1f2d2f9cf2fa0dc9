#include "host/SequenceState.h"

#include "core/document/ChunkFile.h"

#include <algorithm>
#include <cstring>

namespace velorin {
namespace {

constexpr std::uint32_t kFormatVersion = 1;

enum Tag : std::uint32_t {
    kTagStateId = 7,
    kTagFlagA = 9,
    kTagChannelSet = 14,
    kTagChannelValue = 15,
    kTagChannelFlag = 16,
    kTagChannelMember = 17,
    kTagFlagB = 20,
    kTagNullLayer = 40, // to 46
    kTagPreviewRotation = 65,
    kTagPreviewView = 66,
    kTagPreviewFlag = 67,
    kTagViewRotation = 90,
    kTagViewTarget = 91,
    kTagViewDistance = 92,
    kTagView = 100,
    kTagStamp = 200,
    kTagHeldModel = 201,
    kTagFormat = 1000,
};

template <class T>
void Write(ChunkFile& file, std::uint32_t tag, const T& value) {
    static_assert(std::is_trivially_copyable_v<T>);
    file.WriteChunk(tag, &value, sizeof value);
}

// The leading bytes of a payload as a value; what is missing counts as zero.
template <class T>
T Value(Bytes payload) {
    T value{};
    std::memcpy(&value, payload.data(), std::min(payload.size(), sizeof value));
    return value;
}

void WriteEditor(ChunkFile& file, std::span<const EditorField> fields, const std::byte*& at) {
    for (const EditorField& field : fields) {
        file.WriteChunk(field.tag, at, field.bytes);
        at += field.bytes;
    }
}

void WriteChannelSets(ChunkFile& file, const std::vector<ChannelSet>& sets) {
    for (const ChannelSet& set : sets) {
        Write(file, kTagChannelSet, std::uint32_t{0});
        for (const std::int32_t value : set.values) Write(file, kTagChannelValue, value);
        Write(file, kTagChannelFlag, static_cast<std::uint8_t>(set.flag));
        for (const std::int32_t member : set.members) Write(file, kTagChannelMember, member);
    }
}

void WriteViews(ChunkFile& file, const PreviewState& preview) {
    for (std::uint32_t i = 0; i < kPreviewViews; ++i) {
        Write(file, kTagView, i);
        Write(file, kTagViewRotation, preview.views[i].rotation);
        Write(file, kTagViewTarget, preview.views[i].target);
        Write(file, kTagViewDistance, preview.views[i].distance);
    }
}

class Reader {
public:
    void Read(std::uint32_t tag, Bytes payload) {
        if (tag == kTagFormat) {
            flat.formatVersion = Value<std::uint32_t>(payload);
        } else if (tag < kTagNullLayer + kNullLayers) {
            ReadState(tag, payload);
        } else if (flat.formatVersion == kFormatVersion) {
            ReadVersioned(tag, payload);
        }
    }

    FlatSequence flat;

private:
    void ReadState(std::uint32_t tag, Bytes payload) {
        SequenceState& state = flat.state;
        ChannelSet* const set = state.channelSets.empty() ? nullptr : &state.channelSets.back();
        switch (tag) {
        case kTagStateId:
            state.stateId = Value<std::int32_t>(payload);
            break;
        case kTagFlagA:
            state.stateFlagA = Value<std::uint8_t>(payload);
            break;
        case kTagFlagB:
            state.stateFlagB = Value<std::uint8_t>(payload);
            break;
        case kTagChannelSet:
            if (state.channelSets.size() < kMostChannelSets) state.channelSets.emplace_back();
            break;
        case kTagChannelValue:
            if (set) set->values.push_back(Value<std::int32_t>(payload));
            break;
        case kTagChannelFlag:
            if (set) set->flag = Value<std::uint8_t>(payload) != 0;
            break;
        case kTagChannelMember:
            if (set) set->members.insert(Value<std::int32_t>(payload));
            break;
        default:
            if (tag >= kTagNullLayer) state.nullLayerIds[tag - kTagNullLayer] = Value<std::int32_t>(payload);
        }
    }

    void ReadVersioned(std::uint32_t tag, Bytes payload) {
        PreviewState& preview = flat.state.preview;
        switch (tag) {
        case kTagPreviewRotation:
            preview.rotation = Value<Point3>(payload);
            break;
        case kTagPreviewView:
            preview.viewIndex = Value<std::uint64_t>(payload);
            break;
        case kTagPreviewFlag:
            preview.flag = Value<std::uint8_t>(payload);
            break;
        case kTagView:
            view_ = Value<std::uint32_t>(payload);
            break;
        case kTagViewRotation:
            if (view_ < kPreviewViews) preview.views[view_].rotation = Value<Point3>(payload);
            break;
        case kTagViewTarget:
            if (view_ < kPreviewViews) preview.views[view_].target = Value<Point3>(payload);
            break;
        case kTagViewDistance:
            if (view_ < kPreviewViews) preview.views[view_].distance = Value<float>(payload);
            break;
        case kTagStamp:
            flat.stamp = Value<std::int64_t>(payload);
            break;
        case kTagHeldModel:
            flat.heldModels.push_back(Value<std::uint64_t>(payload));
            break;
        default: {
            const std::span<std::byte> field = EditorFieldBytes(flat.state, tag);
            std::fill(field.begin(), field.end(), std::byte{0});
            std::copy_n(payload.begin(), std::min(payload.size(), field.size()), field.begin());
        }
        }
    }

    std::uint32_t view_ = 0;
};

} // namespace

PreviewState::PreviewState() {
    constexpr float kQuarter = kPi / 2;
    constexpr std::array<Point3, kPreviewViews> rotations{
        Point3{0, -0.025f, 0},   {0, kQuarter, 0}, {0, -kQuarter, 0}, {kQuarter, 0, 0},
        Point3{-kQuarter, 0, 0}, {0, 0, 0},        {kPi, 0, 0},
    };
    for (std::size_t i = 0; i < kPreviewViews; ++i) views[i].rotation = rotations[i];
    views[0].target = {0, -0.3f, 0};
    rotation = views[0].rotation;
}

std::span<std::byte> EditorFieldBytes(SequenceState& state, std::uint32_t tag) {
    std::size_t at = 0;
    for (const auto& fields : {std::span<const EditorField>(kEditorFieldsBefore),
                               std::span<const EditorField>(kEditorFieldsBehind)}) {
        for (const EditorField& field : fields) {
            if (field.tag == tag) return std::span(state.editor).subspan(at, field.bytes);
            at += field.bytes;
        }
    }
    return {};
}

std::size_t WriteSequence(const SequenceState& state, std::int64_t stamp,
                          std::span<const std::uint64_t> heldModels, std::byte* buffer, std::size_t size) {
    ChunkFile file(buffer, size);
    Write(file, kTagFormat, kFormatVersion);
    Write(file, kTagStateId, state.stateId);
    Write(file, kTagFlagA, state.stateFlagA);
    Write(file, kTagFlagB, state.stateFlagB);
    WriteChannelSets(file, state.channelSets);
    const std::byte* editor = state.editor.data();
    WriteEditor(file, kEditorFieldsBefore, editor);
    Write(file, kTagPreviewRotation, state.preview.rotation);
    Write(file, kTagPreviewView, state.preview.viewIndex);
    Write(file, kTagPreviewFlag, state.preview.flag);
    WriteEditor(file, kEditorFieldsBehind, editor);
    WriteViews(file, state.preview);
    for (std::uint32_t i = 0; i < kNullLayers; ++i) Write(file, kTagNullLayer + i, state.nullLayerIds[i]);
    Write(file, kTagStamp, stamp);
    for (const std::uint64_t id : heldModels) Write(file, kTagHeldModel, id);
    return static_cast<std::size_t>(file.size());
}

FlatSequence ReadSequence(Bytes flat) {
    ChunkFile file(flat);
    Reader reader;
    while (const std::uint32_t tag = file.NextChunk()) reader.Read(tag, file.Payload());
    reader.flat.damaged = file.damaged();
    return std::move(reader.flat);
}

} // namespace velorin
