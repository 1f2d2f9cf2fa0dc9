#include "core/document/ChunkFile.h"

#include "FormatChecks.h"
#include "services/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <utility>

using namespace velorin;
using namespace velorin::test;

namespace {

using Chunks = std::vector<std::pair<std::uint32_t, Buffer>>;

Chunks ReadAll(ChunkFile& file) {
    Chunks chunks;
    while (const std::uint32_t tag = file.NextChunk())
        chunks.emplace_back(tag, Buffer(file.Payload().begin(), file.Payload().end()));
    EXPECT_TRUE(file.Payload().empty()) << "the end leaves no payload";
    return chunks;
}

Chunks ReadAll(Bytes document, const ContainerForm& form) {
    ChunkFile file(document, form);
    return ReadAll(file);
}

void WriteSample(ChunkFile& file) {
    const std::uint32_t number = 0xA1B2C3D4;
    file.WriteChunk(0x0102, &number, 4);
    file.WriteString(7, "ab");
    file.WriteChunk(9, nullptr, 0);
}

const Buffer kNarrowSample = Text("ZQS") + U8({4}) +                           //
                             U8({0x02, 0x01, 4, 0, 0xD4, 0xC3, 0xB2, 0xA1}) +  //
                             U8({7, 0, 3, 0, 'a', 'b', 0}) + U8({9, 0, 0, 0}); //
const Buffer kWideSample = Text("NXCFH") + U8({0, 0, 1}) +                     //
                           U8({0x02, 0x01, 0, 0, 4, 0, 0, 0, 0xD4, 0xC3, 0xB2, 0xA1}) +
                           U8({7, 0, 0, 0, 3, 0, 0, 0, 'a', 'b', 0}) + U8({9, 0, 0, 0, 0, 0, 0, 0});

const Chunks kSample = {{0x0102, U8({0xD4, 0xC3, 0xB2, 0xA1})}, {7, Zero("ab")}, {9, {}}};

struct Width {
    const char* name;
    ContainerForm form;
    const Buffer& golden;
};
const Width kWidths[] = {{"narrow", kSceneForm, kNarrowSample}, {"wide", kDefaultForm, kWideSample}};

} // namespace

TEST(ChunkFile, WritesMeasuresAndReadsBothWidthsInMemory) {
    for (const Width& width : kWidths) {
        SCOPED_TRACE(width.name);
        ChunkFile measure(nullptr, 0, width.form);
        WriteSample(measure);
        ASSERT_EQ(measure.size(), width.golden.size());

        Buffer buffer(width.golden.size());
        ChunkFile write(buffer.data(), buffer.size(), width.form);
        WriteSample(write);
        EXPECT_TRUE(write.opened());
        EXPECT_EQ(buffer, width.golden);
        EXPECT_EQ(ReadAll(width.golden, width.form), kSample);
    }
}

TEST(ChunkFile, StopsWritingAtTheEndOfTheBuffer) {
    for (const Width& width : kWidths) {
        SCOPED_TRACE(width.name);
        for (std::size_t size = 0; size < width.golden.size(); ++size) {
            const auto buffer = std::make_unique<std::byte[]>(size + 1);
            ChunkFile write(buffer.get(), size, width.form);
            WriteSample(write);
            EXPECT_LE(write.size(), size);
            if (size < width.form.magicLength) continue;
            const Chunks read =
                ReadAll(Bytes(buffer.get(), static_cast<std::size_t>(write.size())), width.form);
            ASSERT_LT(read.size(), kSample.size());
            EXPECT_EQ(read,
                      Chunks(kSample.begin(), kSample.begin() + static_cast<std::ptrdiff_t>(read.size())));
        }
    }
}

TEST(ChunkFile, ReadsWholeChunksOfACutDocument) {
    for (const Width& width : kWidths) {
        SCOPED_TRACE(width.name);
        ForEachTruncation(width.golden, [&](Bytes part) {
            const Chunks read = ReadAll(part, width.form);
            ASSERT_LT(read.size(), kSample.size());
            EXPECT_EQ(read,
                      Chunks(kSample.begin(), kSample.begin() + static_cast<std::ptrdiff_t>(read.size())));
        });
        EXPECT_EQ(ReadAll(width.golden + U8({5}), width.form), kSample) << "a byte too many is no chunk";
    }
    const Buffer huge = kWideSample + U8({5, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 1, 2, 3});
    EXPECT_EQ(ReadAll(huge, kDefaultForm), kSample) << "a length behind the end counts as the end";
}

TEST(ChunkFile, AcceptsAndRefusesMagics) {
    const struct {
        const char* name;
        const ContainerForm& expected;
        Buffer magic;
        bool opened;
        std::uint32_t version;
    } cases[] = {
        {"nothing at all", kSceneForm, {}, false, 0},
        {"three bytes", kSceneForm, Text("ZQS"), false, 0},
        {"seven bytes of eight", kDefaultForm, Text("NXCFH") + U8({0, 0}), false, 0},
        {"the expected one", kSceneForm, Text("ZQS") + U8({4}), true, 4},
        {"old scenes", kSceneForm, Text("ZQS") + U8({1}), true, 1},
        {"old scenes", kSceneForm, Text("ZQS") + U8({2}), true, 2},
        {"old scenes", kSceneForm, Text("ZQS") + U8({3}), true, 3},
        {"an invented scene is read as unknown", kSceneForm, Text("ZQS") + U8({5}), true, 0},
        {"anything unknown", kSceneForm, Text("????"), true, 0},
        {"newer", kDefaultForm, Text("NXCFH") + U8({0, 0, 4}), false, 4},
        {"newer", kDefaultForm, Text("NXCFH") + U8({0, 0, 3}), false, 3},
        {"no version 2 of this letter row", kDefaultForm, Text("NXCFH") + U8({0, 0, 2}), true, 0},
        {"an older container in a scene", kSceneForm, Text("NXCFH") + U8({0, 0, 1}), true, 1},
        {"a material", kMaterialPresetForm, Text("ZQP") + U8({2}), true, 0},
        {"another material", kMaterialPresetForm, Text("ZQP") + U8({9}), true, 0},
        {"a scene is no material", kMaterialPresetForm, Text("ZQS") + U8({1}), false, 1},
        {"a container is no material", kMaterialPresetForm, Text("NXCFH") + U8({0, 0, 1}), false, 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const Buffer document = c.magic;
        ChunkFile file(document, c.expected);
        file.Begin();
        EXPECT_TRUE(file.begun());
        EXPECT_EQ(file.opened(), c.opened);
        EXPECT_EQ(file.damaged(), !c.opened);
        EXPECT_EQ(file.version(), c.version);
        if (!c.opened) {
            EXPECT_EQ(file.NextChunk(), 0u);
        }
    }
    // What is skipped has the length of the expected magic: four bytes of the eight are then a chunk's
    // header.
    const Buffer mixed = Text("NXCFH") + U8({0, 0, 1}) + U8({1}) + Narrow(7, U8({3}));
    // "H" 00 00 01 is the tag 0x48 with 0x100 bytes of payload, which are not there.
    EXPECT_TRUE(ReadAll(mixed, kSceneForm).empty());
}

TEST(ChunkFile, EndsAtATagOfZeroOrInsideAChunk) {
    const Buffer start = Text("ZQS") + U8({4}) + Narrow(5, U8({1}));
    const struct {
        Buffer rest;
        bool damaged;
    } cases[] = {{{}, false},
                 {Narrow(0, U8({2})) + Narrow(6, U8({3})), false},
                 {U8({0, 0, 1}), false},
                 {U8({6}), true},
                 {U8({6, 0, 2, 0, 1}), true}};
    for (const auto& c : cases) {
        const Buffer document = start + c.rest;
        ChunkFile file(document, kSceneForm);
        EXPECT_EQ(ReadAll(file), (Chunks{{5, U8({1})}}));
        EXPECT_EQ(file.NextChunk(), 0u) << "the end stays the end";
        EXPECT_EQ(file.damaged(), c.damaged) << c.rest.size();
        EXPECT_EQ(file.bytesRead(), start.size());
    }
    // Of a narrow length only the low bits are stored.
    const Buffer payload(65'536, std::byte{1});
    Buffer buffer(4 + 4 + payload.size());
    ChunkFile file(buffer.data(), buffer.size(), kSceneForm);
    file.WriteChunk(300, payload);
    EXPECT_EQ(Buffer(buffer.begin() + 4, buffer.begin() + 8), U16(300) + U16(0));
    EXPECT_EQ(file.size(), buffer.size());
}

TEST(ChunkFile, WritesFilesThatBeginWithEightBytes) {
    const TemporaryFolder folder;
    const std::string path = folder.file("document.bin");
    for (const Width& width : kWidths) {
        SCOPED_TRACE(width.name);
        folder.Put("document.bin", std::string(4096, 'x')); // longer than what replaces it
        {
            ChunkFile file(path, ChunkFile::Mode::Write);
            file.SetForm(width.form);
            WriteSample(file);
            EXPECT_EQ(ReadWhole(path), std::string(4096, 'x'))
                << "the old file stands until the new one is whole";
        }
        const std::string written = ReadWhole(path);
        const std::size_t padding = 8 - width.form.magicLength;
        EXPECT_EQ(Text(written), width.golden + Buffer(padding));
        EXPECT_EQ(folder.entryCount(), 1u) << "nothing stays beside it";
        ChunkFile read(path, ChunkFile::Mode::Read, width.form);
        EXPECT_EQ(ReadAll(read), kSample);
        EXPECT_TRUE(read.opened());
    }
}

TEST(ChunkFile, ReportsNothingForFilesThatCannotBeOpened) {
    const TemporaryFolder folder;
    ChunkFile missing(folder.file("missing"), ChunkFile::Mode::Read);
    EXPECT_EQ(missing.NextChunk(), 0u);
    EXPECT_FALSE(missing.opened());
    EXPECT_NE(missing.error().find("missing"), std::string::npos);

    ChunkFile empty(folder.Put("empty", ""), ChunkFile::Mode::Read);
    EXPECT_EQ(empty.NextChunk(), 0u);
    EXPECT_FALSE(empty.opened());

    ChunkFile nowhere(folder.file("no/such/folder"), ChunkFile::Mode::Write);
    WriteSample(nowhere);
    EXPECT_FALSE(nowhere.opened());
    EXPECT_FALSE(nowhere.Close());
    EXPECT_NE(nowhere.error().find("no/such/folder"), std::string::npos);

    folder.Put("kept", "old");
    { ChunkFile unused(folder.file("kept"), ChunkFile::Mode::Write); }
    EXPECT_EQ(ReadWhole(folder.file("kept")), "old") << "a container that was not begun writes nothing";
}

TEST(ChunkFile, MovesInOneDirectionOnly) {
    Buffer document = kNarrowSample;
    ChunkFile reader(document, kSceneForm);
    WriteSample(reader);
    EXPECT_EQ(document, kNarrowSample);
    ChunkFile writer(document.data(), document.size(), kSceneForm);
    EXPECT_EQ(writer.NextChunk(), 0u);
    ChunkFile measure(nullptr, 0, kSceneForm);
    EXPECT_EQ(measure.NextChunk(), 0u);
    EXPECT_EQ(measure.size(), 4u);
}
