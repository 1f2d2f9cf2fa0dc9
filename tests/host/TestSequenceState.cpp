#include "host/SequenceState.h"

#include "FormatChecks.h"
#include "core/document/ChunkFile.h"

#include <gtest/gtest.h>

#include <utility>

namespace velorin {
namespace {

using test::Buffer, test::ForEachTruncation, test::Little, test::Text, test::U8, test::Wide;
using test::operator+, test::operator+=;

Buffer Flatten(const SequenceState& state, std::int64_t stamp = 0, std::vector<std::uint64_t> held = {}) {
    Buffer bytes(WriteSequence(state, stamp, held, nullptr, 0));
    EXPECT_EQ(WriteSequence(state, stamp, held, bytes.data(), bytes.size()), bytes.size());
    return bytes;
}

FlatSequence Read(const Buffer& chunks, std::string_view magic = {"NXCFH\0\0\1", 8}) {
    return ReadSequence(Text(magic) + chunks);
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
    ChunkFile file(bytes);
    for (const auto& [tag, length] : layout) {
        EXPECT_EQ(file.NextChunk(), tag);
        EXPECT_EQ(file.PayloadLength(), length) << "tag " << tag;
    }
    EXPECT_EQ(file.NextChunk(), 0u);
    const Buffer start = Text({"NXCFH\0\0\1", 8}) + Wide(1000, Little(1)) + Wide(7, Little(-1)) +
                         Wide(9, U8({0})) + Wide(20, U8({1}));
    EXPECT_EQ(Buffer(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(start.size())), start);
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
    const Buffer body = Wide(7, Little(5)) + Wide(43, Little(8)) + Wide(66, Little(std::uint64_t{3})) +
                        Wide(92, Little(9.0f)) + Wide(200, Little(std::int64_t{1234})) +
                        Wide(201, Little(std::uint64_t{1}));
    for (const std::uint32_t version : {0u, 1u, 2u}) {
        const FlatSequence flat = Read(version > 0 ? Wide(1000, Little(version)) + body : body);
        EXPECT_EQ(flat.state.stateId, 5);
        EXPECT_EQ(flat.state.nullLayerIds[3], 8);
        EXPECT_EQ(flat.state.preview.viewIndex, version == 1 ? 3u : 0u);
        EXPECT_EQ(flat.stamp, version == 1 ? 1234 : 0);
        EXPECT_EQ(flat.heldModels.size(), version == 1 ? 1u : 0u);
    }
}

TEST(SequenceState, ReadsTheMagicLeniently) {
    const std::pair<std::string_view, bool> magics[] = {{{"NXCFH\0\0\1", 8}, true},
                                                        {{"NXCFH\0\0\3", 8}, false},
                                                        {{"NXCFH\0\0\4", 8}, false},
                                                        {"whatever", true}};
    for (const auto& [magic, taken] : magics) {
        const FlatSequence flat = Read(Wide(7, Little(5)), magic);
        EXPECT_EQ(flat.state.stateId, taken ? 5 : -1) << magic;
        EXPECT_EQ(flat.damaged, !taken) << magic;
    }
}

TEST(SequenceState, OddChunksDoNoHarm) {
    Buffer chunks = Wide(1000, Little(1)) + Wide(15, Little(5)) +      // no channel set yet
                    Wide(14, Little(0)) + Wide(15, U8({7})) +          // short: padded with zeros
                    Wide(100, Little(700)) + Wide(92, Little(1.0f)) +  // of a view that is none
                    Wide(123456, Buffer(5)) + Wide(50, Little(~0ull)); // longer than the field
    const FlatSequence flat = Read(chunks);
    ASSERT_EQ(flat.state.channelSets.size(), 1u);
    EXPECT_EQ(flat.state.channelSets[0].values, std::vector<std::int32_t>{7});
    EXPECT_EQ(flat.state.preview, SequenceState().preview);
    EXPECT_EQ(flat.state.editor[3], std::byte{0xff});
    EXPECT_EQ(flat.state.editor[4], std::byte{0});
    for (std::size_t i = 0; i < 2 * kMostChannelSets; ++i) chunks += Wide(14, {});
    EXPECT_EQ(Read(chunks).state.channelSets.size(), kMostChannelSets);
}

TEST(SequenceState, EveryTruncationReadsWhatIsWhole) {
    const Buffer whole = Flatten(Filled(), 99, {3});
    EXPECT_FALSE(ReadSequence(whole).damaged);
    ForEachTruncation(whole, [](Bytes part) {
        const FlatSequence flat = ReadSequence(part);
        EXPECT_EQ(flat.state.stateId, part.size() >= 8 + 12 + 12 ? 77 : -1) << part.size();
        EXPECT_TRUE(flat.heldModels.empty());
    });
}

} // namespace
} // namespace velorin
