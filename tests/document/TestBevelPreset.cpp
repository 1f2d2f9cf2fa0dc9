#include "core/document/BevelPreset.h"

#include "FormatChecks.h"
#include "services/TemporaryFolder.h"

#include <gtest/gtest.h>

using namespace velorin;
using namespace velorin::test;

TEST(BevelPreset, IsTheChunksOfABevelAndAPicture) {
    const TemporaryFolder folder;
    BevelPreset preset;
    preset.bevel = {2, 3, 4, 5, 6, 7, 8, true, false, 9, 10, 11, 12, true};
    preset.thumbnail = {1, 2, 3, 4};
    Buffer chunks;
    std::uint16_t tag = 160; // in the record's order, but for the flags
    for (const Buffer& payload : {F32({2}), F32({3}), F32({4}), F32({5}), F32({6}), F32({7}), F32({8}),
                                  U8({0}), U8({1}), U8({1}), F32({9}), F32({10}), F32({11}), F32({12})})
        chunks += Narrow(++tag, payload);
    chunks += Narrow(800, U8({1, 2, 3, 4}));
    const Buffer golden = Text("ZQP") + U8({2}) + chunks + Buffer(4);
    std::string error;
    ASSERT_TRUE(WriteBevelPreset(folder.file("b.qbv"), preset, &error)) << error;
    EXPECT_EQ(Text(ReadWhole(folder.file("b.qbv"))), golden);
    for (const bool fromFile : {true, false}) {
        BevelPreset read;
        ASSERT_TRUE(fromFile ? ReadBevelPreset(folder.file("b.qbv"), read)
                             : ReadBevelPresetBytes(golden, read));
        EXPECT_EQ(read.bevel, preset.bevel);
        EXPECT_EQ(read.thumbnail, preset.thumbnail);
    }
    ForEachTruncation(golden, [](Bytes part) {
        BevelPreset read;
        EXPECT_EQ(ReadBevelPresetBytes(part, read), part.size() >= 12)
            << "the first chunk tells that it is one";
    });

    BevelPreset kept = preset;
    EXPECT_FALSE(ReadBevelPreset(folder.file("missing.qbv"), kept));
    EXPECT_FALSE(ReadBevelPresetBytes(Text("ZQS") + U8({4}) + chunks, kept));
    EXPECT_FALSE(ReadBevelPresetBytes(Text("ZQP") + U8({2}) + Narrow(510, U8({1, 2, 3, 4})), kept))
        << "a material";
    EXPECT_EQ(kept.bevel, preset.bevel);
    preset.thumbnail.resize(65'536);
    EXPECT_FALSE(WriteBevelPreset(folder.file("large.qbv"), preset, &error));
    EXPECT_NE(error.find("large.qbv"), std::string::npos);
    EXPECT_FALSE(WriteBevelPreset(folder.file("no/b.qbv"), {}, &error));
}
