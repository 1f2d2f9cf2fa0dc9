#include "model/PackFile.h"

#include "FormatChecks.h"
#include "services/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <ctime>

using namespace velorin;
using namespace velorin::test;

namespace {

constexpr std::size_t kNames = 0x10008, kData = 0x30008;

Buffer Filled(std::size_t size, int value) {
    return Buffer(size, static_cast<std::byte>(value));
}

std::optional<Buffer> Read(PackFile& pack, const std::string& name) {
    const PackEntry entry = pack.Get(name);
    if (!entry) return std::nullopt;
    return Buffer(entry.bytes().begin(), entry.bytes().end());
}

// A directory row with the times at zero.
Buffer Row(int nameBlock, int nameBlocks, int dataBlock, int dataBlocks, std::uint32_t nameLength,
           std::uint32_t dataLength) {
    const auto u16 = [](int value) { return U16(static_cast<std::uint16_t>(value)); };
    return u16(nameBlock) + u16(nameBlocks) + u16(dataBlock) + u16(dataBlocks) + U32(nameLength) +
           U32(dataLength) + Buffer(16);
}

// A file with these rows, the names "a", "b", ... in name blocks 0, 1, ... and `dataBytes` of data.
std::string MakeFile(const TemporaryFolder& folder, int format, const std::vector<Buffer>& rows,
                     std::size_t dataBytes) {
    Buffer bytes = Text("NXMPC") + U8({0, 0, format});
    for (const Buffer& row : rows) bytes += row;
    bytes.resize(kNames);
    for (int i = 0; i < 20; ++i) {
        bytes.resize(kNames + 32 * static_cast<std::size_t>(i));
        bytes.push_back(static_cast<std::byte>('a' + i));
    }
    bytes.resize(kData + dataBytes, std::byte{7});
    return folder.Put("made.pack", std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
}

} // namespace

TEST(PackFile, LaysEntriesOutAsTheFormatSays) {
    const TemporaryFolder folder;
    const std::string path = folder.file("p");
    PackFile pack;
    EXPECT_EQ(pack.state(), PackFile::State::Closed);
    pack.Open(path, false, false);
    EXPECT_EQ(pack.state(), PackFile::State::Named);
    EXPECT_EQ(folder.entryCount(), 0u) << "nothing touches the disk before the first use";
    EXPECT_FALSE(pack.Get("a"));
    EXPECT_EQ(pack.state(), PackFile::State::Open);
    EXPECT_EQ(ReadWhole(path).size(), 0x30010u);

    const std::string longName(33, 'n');
    ASSERT_TRUE(pack.Put("first", Filled(32'768, 1)));
    ASSERT_TRUE(pack.Put(longName, Filled(32'769, 2)));
    ASSERT_TRUE(pack.Put(std::string(32, 'm'), Text("tiny")));
    const std::string file = ReadWhole(path);
    const Buffer bytes = Text(file);
    EXPECT_EQ(Buffer(bytes.begin(), bytes.begin() + 8), Text("NXMPC") + U8({0, 0, 4}));
    const auto row = [&](std::size_t i) {
        Buffer part(bytes.begin() + static_cast<std::ptrdiff_t>(8 + 32 * i),
                    bytes.begin() + static_cast<std::ptrdiff_t>(8 + 32 * i + 16));
        return part + Buffer(16);
    };
    EXPECT_EQ(row(0), Row(0, 1, 0, 1, 5, 32'768));
    EXPECT_EQ(row(1), Row(1, 2, 1, 2, 33, 32'769));
    EXPECT_EQ(row(2), Row(3, 1, 3, 1, 32, 4));
    EXPECT_EQ(file.substr(kNames, 6), std::string("first\0", 6));
    EXPECT_EQ(file.substr(kNames + 32, 33), longName);
    EXPECT_EQ(file.substr(kData + 3 * 32'768, 4), "tiny");
    EXPECT_EQ(file.size(), 4 * 32'768u + 0x3000c);

    double times[2];
    std::memcpy(times, &bytes[8 + 16], sizeof times);
    // From 1601 to 1970 there are 369 years, 89 of them leap years.
    const double now = 1000.0 * static_cast<double>(std::time(nullptr)) + 86'400'000.0 * (365 * 369 + 89);
    EXPECT_NEAR(times[0], now, 60'000);
    EXPECT_EQ(times[0], times[1]);
    EXPECT_EQ(pack.Get("first").created(), times[1]);
    EXPECT_EQ(Read(pack, "first"), Filled(32'768, 1));
    EXPECT_EQ(Read(pack, longName), Filled(32'769, 2));
    EXPECT_EQ(pack.Names(), (std::vector<std::string>{"first", std::string(32, 'm'), longName}));
}

TEST(PackFile, UsesTheFirstRoomThatFits) {
    const TemporaryFolder folder;
    PackFile pack;
    pack.Open(folder.file("p"), false, false);
    for (const char* name : {"a", "b", "c", "d"}) ASSERT_TRUE(pack.Put(name, Filled(40'000, name[0])));
    const std::size_t size = ReadWhole(folder.file("p")).size();
    EXPECT_TRUE(pack.Remove("a"));
    EXPECT_FALSE(pack.Remove("a"));
    EXPECT_TRUE(pack.Remove("c"));
    EXPECT_FALSE(pack.Get("a"));
    ASSERT_TRUE(pack.Put("three", Filled(70'000, 3))); // three blocks fit only behind d
    ASSERT_TRUE(pack.Put("one", Filled(10, 1)));       // into the first hole
    ASSERT_TRUE(pack.Put("two", Filled(60'000, 2)));   // into the second
    const Buffer bytes = Text(ReadWhole(folder.file("p")));
    const auto dataBlock = [&](std::size_t row) { return std::to_integer<int>(bytes[8 + 32 * row + 4]); };
    EXPECT_EQ(dataBlock(0), 8) << "the first empty row: three";
    EXPECT_EQ(dataBlock(2), 0) << "one";
    EXPECT_EQ(dataBlock(4), 4) << "two";
    EXPECT_EQ(bytes.size(), size + 3 * 32'768);
    ASSERT_TRUE(pack.Put("d", Text("short"))); // replaces, and gives room back
    EXPECT_EQ(Read(pack, "d"), Text("short"));
    EXPECT_EQ(Read(pack, "b"), Filled(40'000, 'b'));
    EXPECT_EQ(ReadWhole(folder.file("p")).size(), bytes.size()) << "the file never shrinks";

    PackFile again;
    again.Open(folder.file("p"), true, false);
    EXPECT_EQ(Read(again, "two"), Filled(60'000, 2));
    EXPECT_EQ(again.Names().size(), 5u);
    EXPECT_FALSE(again.Put("x", Text("x"))) << "read-only";
    EXPECT_FALSE(again.Remove("two"));
    again.Clear();
    EXPECT_EQ(Read(again, "two"), Filled(60'000, 2));
}

TEST(PackFile, RefusesWhatHasNoRoomAndKeepsTheOld) {
    const TemporaryFolder folder;
    PackFile pack;
    pack.Open(folder.file("p"), false, false);
    EXPECT_FALSE(pack.Put("", Text("x")));
    EXPECT_FALSE(pack.Put("empty", {}));
    // Two name blocks each fill the name area with the directory.
    for (std::size_t i = 0; i < PackFile::kEntries; ++i)
        ASSERT_TRUE(pack.Put(std::to_string(i) + std::string(40, '.'), Text("v" + std::to_string(i))));
    EXPECT_FALSE(pack.Put("one more", Text("x"))) << "the directory is full, the data area is not";
    EXPECT_TRUE(pack.Put("7" + std::string(40, '.'), Text("new")));
    EXPECT_EQ(Read(pack, "7" + std::string(40, '.')), Text("new"));
    EXPECT_TRUE(pack.Remove("8" + std::string(40, '.')));
    EXPECT_FALSE(pack.Put(std::string(65, 'n'), Text("x"))) << "three name blocks in a row";
    EXPECT_TRUE(pack.Put("one more", Text("x")));

    // A data area of which all but the last blocks are taken: no room for two more.
    std::vector<Buffer> rows = {Row(0, 1, 0, 65'534, 1, 10), Row(1, 1, 65'534, 1, 1, 10)};
    const std::string path = MakeFile(folder, 4, rows, 0);
    std::filesystem::resize_file(path, kData + 65'535ull * 32'768); // without blocks on the disk
    PackFile full;
    full.Open(path, false, false);
    EXPECT_EQ(full.Names(), (std::vector<std::string>{"a", "b"}));
    EXPECT_FALSE(full.Put("b", Filled(70'000, 1))) << "not even with its own block";
    EXPECT_EQ(full.Get("b").bytes().size(), 10u) << "the old one stays";
    EXPECT_TRUE(full.Put("b", Filled(40'000, 1))) << "its own block and the last one";
    EXPECT_FALSE(full.Put("c", Text("x")));
}

TEST(PackFile, ReadsOnlySoundEntries) {
    const TemporaryFolder folder;
    const std::vector<Buffer> rows = {
        Row(0, 1, 0, 1, 1, 100),        // a
        Row(1, 1, 1, 1, 0, 100),        // empty
        Row(1, 1, 1, 1, 1, 0),          // empty
        Row(1, 1, 1, 1, 1, 32'769),     // b: more than its blocks
        Row(1, 1, 2, 1, 33, 10),        // b: a name longer than its block
        Row(1, 1, 65'535, 2, 1, 10),    // b: behind the last data block
        Row(4'095, 2, 2, 1, 40, 10),    // behind the last name block
        Row(1, 1, 1'000, 1, 1, 10),     // b: behind the end of the file
        Row(2, 1, 0, 2, 1, 200),        // c: on the block of a
        Row(0, 1, 3, 1, 1, 10),         // on the name of a
        Row(3, 1, 1, 2, 1, 0xFFFFFFFF), // d: a length beyond everything
        Row(4, 1, 1, 2, 1, 40'000),     // e
        Row(5, 1, 3, 1, 1, 32'768),     // f: its last byte is the file's
    };
    for (const int format : {4, 3}) {
        const std::string path = MakeFile(folder, format, rows, 4 * 32'768);
        for (const bool readOnly : {true, false}) {
            PackFile pack;
            pack.Open(path, readOnly, false);
            EXPECT_EQ(pack.Names(), (std::vector<std::string>{"a", "e", "f"}));
            EXPECT_EQ(Read(pack, "f"), Filled(32'768, 7));
        }
    }
    std::filesystem::resize_file(folder.file("made.pack"), kData + 4 * 32'768 - 1);
    PackFile shorter;
    shorter.Open(folder.file("made.pack"), true, false);
    EXPECT_EQ(shorter.Names(), (std::vector<std::string>{"a", "e"}));
}

TEST(PackFile, ServesNothingFromOtherFiles) {
    const TemporaryFolder folder;
    const auto state = [](const std::string& path, bool readOnly) {
        PackFile pack;
        pack.Open(path, readOnly, false);
        EXPECT_FALSE(pack.Get("a"));
        EXPECT_FALSE(pack.Put("a", Text("x")) && readOnly);
        return pack.state();
    };
    EXPECT_EQ(state(folder.file("missing"), true), PackFile::State::Unavailable);
    EXPECT_EQ(state(folder.file("no/folder"), false), PackFile::State::Named) << "no lock, no pack";
    EXPECT_EQ(state(folder.Put("short", "NXMPC"), true), PackFile::State::Failed);
    for (const int format : {0, 2, 5, 255})
        EXPECT_EQ(state(MakeFile(folder, format, {}, 8), true), PackFile::State::Failed) << format;
    const std::string text(0x30010, 'x');
    EXPECT_EQ(state(folder.Put("other", text), false), PackFile::State::Failed);
    EXPECT_EQ(ReadWhole(folder.file("other")), text) << "what is no pack is left alone";

    // What a killed process may leave behind when it makes the file.
    for (const std::size_t size : {std::size_t{0}, std::size_t{5}, std::size_t{0x30010}})
        EXPECT_EQ(state(folder.Put("begun", std::string(size, '\0')), false), PackFile::State::Open) << size;

    PackFile damaged;
    damaged.Open(folder.file("other"), false, false);
    EXPECT_FALSE(damaged.Get("a"));
    damaged.Clear();
    EXPECT_EQ(damaged.state(), PackFile::State::Named);
    EXPECT_TRUE(damaged.Put("a", Text("x")));
    EXPECT_EQ(Read(damaged, "a"), Text("x"));
    damaged.Close();
    EXPECT_FALSE(damaged.Get("a"));
    EXPECT_EQ(damaged.state(), PackFile::State::Closed);
}

TEST(PackFile, FollowsWhatOthersWrite) {
    const TemporaryFolder folder;
    PackFile one, two;
    for (PackFile* pack : {&one, &two}) pack->Open(folder.file("p"), false, false);
    ASSERT_TRUE(one.Put("a", Text("1")));
    EXPECT_EQ(Read(two, "a"), Text("1"));
    ASSERT_TRUE(two.Put("b", Filled(100'000, 2)));
    ASSERT_TRUE(two.Put("a", Text("changed")));
    EXPECT_EQ(Read(one, "a"), Text("changed"));
    EXPECT_EQ(Read(one, "b"), Filled(100'000, 2));
    EXPECT_TRUE(one.Remove("b"));
    EXPECT_FALSE(two.Get("b"));
    two.Clear();
    EXPECT_FALSE(one.Get("a"));
    ASSERT_TRUE(one.Put("c", Text("3")));
    EXPECT_EQ(two.Names(), std::vector<std::string>{"c"});
}
