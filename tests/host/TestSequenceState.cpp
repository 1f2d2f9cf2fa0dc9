#include "host/SequenceState.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

namespace velorin {
namespace {

using Buffer = std::vector<std::byte>;

Buffer Flatten(const SequenceState& state, std::int64_t stamp = 0, std::vector<std::uint64_t> held = {}) {
    Buffer bytes(WriteSequence(state, stamp, held, nullptr, 0));
    EXPECT_EQ(WriteSequence(state, stamp, held, bytes.data(), bytes.size()), bytes.size());
    return bytes;
}

// Every field away from its default.
SequenceState Filled() {
    SequenceState state;
    state.stateId = 77;
    state.stateFlagA = 3;
    state.stateFlagB = 0;
    state.channelSets = {{{1, -2, 3}, true, {9, 4}}, {{}, false, {}}, {{7}, true, {}}};
    for (std::size_t i = 0; i < state.editor.size(); ++i) state.editor[i] = static_cast<std::byte>(i + 1);
    state.preview.rotation = {0.1f, 0.2f, 0.3f};
    state.preview.viewIndex = 5;
    state.preview.flag = 0xa5;
    for (std::size_t i = 0; i < kPreviewViews; ++i) {
        const float f = static_cast<float>(i);
        state.preview.views[i] = {{f, 1, 2}, {3, f, 4}, 6 + f};
    }
    state.nullLayerIds = {11, 12, 13, 14, 15, 16, 17};
    return state;
}

struct Chunk {
    std::uint32_t tag;
    Buffer payload;
};
void Append(Buffer& to, const void* data, std::size_t size) {
    const auto* bytes = static_cast<const std::byte*>(data);
    to.insert(to.end(), bytes, bytes + size);
}
Buffer Stream(const std::vector<Chunk>& chunks, const char* magic = "NXCFH\0\0\1") {
    Buffer bytes;
    Append(bytes, magic, 8);
    for (const Chunk& chunk : chunks) {
        const auto length = static_cast<std::uint32_t>(chunk.payload.size());
        Append(bytes, &chunk.tag, 4);
        Append(bytes, &length, 4);
        Append(bytes, chunk.payload.data(), length);
    }
    return bytes;
}
template <class T>
Buffer Payload(T value) {
    Buffer bytes;
    Append(bytes, &value, sizeof value);
    return bytes;
}

// The order and width of every chunk of a default record, told by the layout and not by the writer.
TEST(SequenceState, WritesTheChunksOfTheFormat) {
    const std::pair<std::uint32_t, std::uint32_t> layout[] = {
        {1000, 4}, {7, 4},   {9, 1},   {20, 1},  {50, 4},  {51, 16}, {52, 16}, {53, 12}, {54, 4},
        {55, 4},   {56, 1},  {57, 4},  {58, 1},  {59, 1},  {60, 1},  {61, 4},  {62, 4},  {63, 64},
        {64, 64},  {65, 12}, {66, 8},  {67, 1},  {70, 12}, {68, 1},  {69, 1},  {77, 1},  {78, 1},
        {71, 4},   {72, 1},  {80, 4},  {75, 4},  {74, 4},  {81, 4},  {100, 4}, {90, 12}, {91, 12},
        {92, 4},   {100, 4}, {90, 12}, {91, 12}, {92, 4},  {100, 4}, {90, 12}, {91, 12}, {92, 4},
        {100, 4},  {90, 12}, {91, 12}, {92, 4},  {100, 4}, {90, 12}, {91, 12}, {92, 4},  {100, 4},
        {90, 12},  {91, 12}, {92, 4},  {100, 4}, {90, 12}, {91, 12}, {92, 4},  {40, 4},  {41, 4},
        {42, 4},   {43, 4},  {44, 4},  {45, 4},  {46, 4},  {200, 8}, {201, 8}, {201, 8},
    };
    const Buffer bytes = Flatten({}, 0x1122334455667788, {5, 6});
    ASSERT_GE(bytes.size(), 8u);
    EXPECT_EQ(std::memcmp(bytes.data(), "NXCFH\0\0\1", 8), 0);
    std::size_t at = 8;
    for (const auto& [tag, length] : layout) {
        std::uint32_t header[2];
        ASSERT_LE(at + 8, bytes.size());
        std::memcpy(header, bytes.data() + at, 8);
        EXPECT_EQ(header[0], tag) << "at " << at;
        EXPECT_EQ(header[1], length) << "tag " << tag;
        at += 8 + length;
    }
    EXPECT_EQ(at, bytes.size());
    // stateId -1 stands in the second chunk.
    EXPECT_EQ(std::memcmp(bytes.data() + 8 + 12 + 8, "\xff\xff\xff\xff", 4), 0);
}

TEST(SequenceState, SurvivesARoundTrip) {
    for (const SequenceState& state : {SequenceState{}, Filled()}) {
        const FlatSequence back = ReadSequence(Flatten(state, 99, {3, 1, 4}));
        EXPECT_EQ(back.state, state);
        EXPECT_EQ(back.stamp, 99);
        EXPECT_EQ(back.heldModels, (std::vector<std::uint64_t>{3, 1, 4}));
        EXPECT_EQ(back.formatVersion, 1u);
    }
}

TEST(SequenceState, DefaultsAreThoseOfANewInstance) {
    const SequenceState state;
    EXPECT_EQ(state.preview.views[0].rotation, (Point3{0, -0.025f, 0}));
    EXPECT_EQ(state.preview.rotation, state.preview.views[0].rotation);
    EXPECT_EQ(state.preview.views[0].target, (Point3{0, -0.3f, 0}));
    EXPECT_EQ(state.preview.views[1].target, Point3{});
    EXPECT_FLOAT_EQ(state.preview.views[6].rotation.x, 3.1415927f);
    for (const PreviewView& view : state.preview.views) EXPECT_EQ(view.distance, 5);
}

// Format version 2 keeps what stands up to tag 46; the rest of it is of another meaning.
TEST(SequenceState, AnotherFormatVersionKeepsOnlyTheFirstTags) {
    const std::vector<Chunk> body = {
        {7, Payload(std::int32_t{5})}, {43, Payload(std::int32_t{8})},     {66, Payload(std::uint64_t{3})},
        {92, Payload(9.0f)},           {200, Payload(std::int64_t{1234})}, {201, Payload(std::uint64_t{1})},
    };
    for (const std::uint32_t version : {0u, 1u, 2u}) {
        std::vector<Chunk> chunks = body;
        if (version > 0) chunks.insert(chunks.begin(), {1000, Payload(version)});
        const FlatSequence flat = ReadSequence(Stream(chunks));
        EXPECT_EQ(flat.state.stateId, 5);
        EXPECT_EQ(flat.state.nullLayerIds[3], 8);
        EXPECT_EQ(flat.state.preview.viewIndex, version == 1 ? 3u : 0u);
        EXPECT_EQ(flat.stamp, version == 1 ? 1234 : 0);
        EXPECT_EQ(flat.heldModels.size(), version == 1 ? 1u : 0u);
    }
}

TEST(SequenceState, ReadsTheMagicLeniently) {
    const std::vector<Chunk> chunks = {{7, Payload(std::int32_t{5})}};
    struct Case {
        const char* magic;
        std::int32_t stateId;
    };
    const Case cases[] = {
        {"NXCFH\0\0\1", 5},
        {"NXCFH\0\0\3", -1},
        {"NXCFH\0\0\4", -1},
        {"whatever", 5},
    };
    for (const Case& c : cases)
        EXPECT_EQ(ReadSequence(Stream(chunks, c.magic)).state.stateId, c.stateId) << c.magic;
}

TEST(SequenceState, OddChunksDoNoHarm) {
    const FlatSequence flat = ReadSequence(Stream({
        {1000, Payload(std::uint32_t{1})},
        {15, Payload(std::int32_t{5})}, // no channel set yet
        {14, Payload(std::uint32_t{0})},
        {15, Payload(std::uint8_t{7})}, // short: padded with zeros
        {100, Payload(std::uint32_t{700})},
        {92, Payload(1.0f)}, // of a view that is none
        {123456, Buffer(5)},
        {50, Payload(std::uint64_t{~0ull})}, // longer than the field
    }));
    ASSERT_EQ(flat.state.channelSets.size(), 1u);
    EXPECT_EQ(flat.state.channelSets[0].values, std::vector<std::int32_t>{7});
    SequenceState expected;
    EXPECT_EQ(flat.state.preview, expected.preview);
    EXPECT_EQ(flat.state.editor[3], std::byte{0xff});
    EXPECT_EQ(flat.state.editor[4], std::byte{0});
}

// Each length in an allocation of its own, so that a read behind the end shows.
TEST(SequenceState, EveryTruncationReadsWhatIsWhole) {
    const Buffer whole = Flatten(Filled(), 99, {3});
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        const auto cut = std::make_unique<std::byte[]>(length);
        std::copy_n(whole.begin(), length, cut.get());
        const FlatSequence flat = ReadSequence(Bytes(cut.get(), length));
        EXPECT_EQ(flat.state.stateId, length >= 8 + 12 + 12 ? 77 : -1) << length;
        EXPECT_EQ(flat.heldModels.size(), length == whole.size() ? 1u : 0u) << length;
    }
}

} // namespace
} // namespace velorin
