#include "TemporaryFolder.h"

#include "platform/FileSystem.h"
#include "services/ByteReader.h"
#include "services/MappedFile.h"
#include "services/Paths.h"
#include "services/SafeFile.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <utility>
#include <vector>

namespace velorin {
namespace {

using test::ReadWhole;
using test::TemporaryFolder;

std::string Text(Bytes bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

TEST(ByteReader, NeverPassesTheEnd) {
    const std::string data = "\x01\x02\x03\x04\x05\x06\x07";
    ByteReader reader(AsBytes(data));
    EXPECT_EQ(reader.Read<std::uint32_t>(), 0x04030201u);
    EXPECT_FALSE(reader.Read<std::uint32_t>());
    EXPECT_EQ(reader.position(), 4u);
    EXPECT_FALSE(reader.Skip(~std::uint64_t{0}));
    EXPECT_FALSE(reader.Take(4));
    EXPECT_EQ(reader.Read<std::uint16_t>(), 0x0605u);
    EXPECT_FALSE(reader.Seek(8));
    ASSERT_TRUE(reader.Seek(7));
    EXPECT_TRUE(reader.atEnd());
    ASSERT_TRUE(reader.Seek(1));
    // 6 bytes are left; the product 2^63 * 4 would wrap to 0.
    EXPECT_FALSE(reader.Holds(std::uint64_t{1} << 62, 4));
    EXPECT_TRUE(reader.Holds(3, 2));
    EXPECT_FALSE(reader.Holds(4, 2));
}

TEST(MappedFile, ReadsWhatStandsThere) {
    const TemporaryFolder folder;
    const MappedFile file =
        MappedFile::Open(folder.Put("gr\xC3\xBC\xC3\x9F.bin", "0123456789"), FileAccess::Read);
    ASSERT_TRUE(file.valid());
    EXPECT_EQ(Text(file.bytes()), "0123456789");
    EXPECT_EQ(file.writableData(), nullptr);

    const MappedFile empty = MappedFile::Open(folder.Put("empty", ""), FileAccess::Read);
    EXPECT_TRUE(empty.valid());
    EXPECT_EQ(empty.size(), 0u);
}

// So much that several threads read it.
TEST(MappedFile, ReadsMuchAtOnce) {
    const TemporaryFolder folder;
    std::string much(45'000'001, ' ');
    std::uint32_t state = 1;
    for (std::size_t i = 0; i < much.size(); i += 97)
        much[i] = static_cast<char>((state = state * 1664525 + 1013904223) >> 24);
    const std::string path = folder.Put("much", much);
    const MappedFile file = MappedFile::Open(path, FileAccess::Read);
    for (const std::size_t offset : {std::size_t{0}, std::size_t{4099}, std::size_t{20'000'000}}) {
        std::vector<std::byte> read(much.size() - offset);
        ASSERT_TRUE(file.Read(offset, read));
        EXPECT_EQ(std::memcmp(read.data(), much.data() + offset, read.size()), 0) << offset;
    }
    ASSERT_EQ(truncate(path.c_str(), 44'000'000), 0);
    std::vector<std::byte> read(much.size());
    EXPECT_FALSE(file.Read(0, read));
    EXPECT_TRUE(file.Read(0, std::span(read).first(44'000'000)));
}

TEST(MappedFile, RefusesWhatIsNoFile) {
    const TemporaryFolder folder;
    const std::string pipe = folder.file("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const std::string& path :
         {folder.file("absent"), folder.path(), pipe, std::string("/dev/zero"), std::string()}) {
        const MappedFile file = MappedFile::Open(path, FileAccess::Read);
        EXPECT_FALSE(file.valid()) << path;
        EXPECT_FALSE(file.reason().empty()) << path;
        EXPECT_EQ(file.bytes().size(), 0u) << path;
    }
    EXPECT_EQ(MappedFile::Open(folder.file("absent"), FileAccess::Read).reason(),
              "No such file or directory");
}

TEST(MappedFile, WritingSetsTheLength) {
    const TemporaryFolder folder;
    const std::string path = folder.Put("file", "a longer content than before");
    {
        MappedFile file = MappedFile::Open(path, FileAccess::ReadWrite, 8);
        ASSERT_TRUE(file.valid());
        EXPECT_EQ(Text(file.bytes()), "a longer");
        std::memcpy(file.writableData(), "NXCFH", 5);
    }
    EXPECT_EQ(ReadWhole(path), "NXCFHger");
    { EXPECT_EQ(MappedFile::Open(path, FileAccess::ReadWrite, 11).size(), 11u); }
    EXPECT_EQ(ReadWhole(path), std::string("NXCFHger\0\0\0", 11));
    EXPECT_EQ(MappedFile::Open(path, FileAccess::ReadWrite).size(), 11u);
    EXPECT_EQ(MappedFile::Open(folder.file("made"), FileAccess::ReadWrite, 3).size(), 3u);
    EXPECT_FALSE(MappedFile::Open(folder.file("no/such/folder"), FileAccess::ReadWrite, 3).valid());
}

TEST(MappedFile, RangesNeedNoAlignment) {
    const TemporaryFolder folder;
    std::string content;
    for (int i = 0; i < 3000; ++i) content += std::to_string(i) + ",";
    const std::string path = folder.Put("file", content);
    for (const auto& [offset, size] :
         {std::pair<std::uint64_t, std::uint64_t>{0, 5}, {4095, 3}, {4096, 100}, {5001, 7000}})
        EXPECT_EQ(Text(MappedFile::OpenRange(path, FileAccess::Read, offset, size).bytes()),
                  content.substr(offset, size));
    EXPECT_FALSE(MappedFile::OpenRange(path, FileAccess::Read, content.size() - 2, 3).valid());
    EXPECT_FALSE(MappedFile::OpenRange(path, FileAccess::Read, 8, ~std::uint64_t{0} - 4).valid());
    // Writing behind the end extends, writing inside leaves the length.
    { EXPECT_TRUE(MappedFile::OpenRange(path, FileAccess::ReadWrite, content.size() + 10, 10).valid()); }
    { EXPECT_TRUE(MappedFile::OpenRange(path, FileAccess::ReadWrite, 4100, 10).valid()); }
    EXPECT_EQ(std::filesystem::file_size(path), content.size() + 20);
}

TEST(MappedFile, MovesAndCloses) {
    const TemporaryFolder folder;
    MappedFile first = MappedFile::Open(folder.Put("a", "aaa"), FileAccess::Read);
    MappedFile second = std::move(first);
    EXPECT_FALSE(first.valid()); // NOLINT: the state after a move is part of the contract
    EXPECT_EQ(Text(second.bytes()), "aaa");
    second = MappedFile::Open(folder.Put("b", "bb"), FileAccess::Read);
    EXPECT_EQ(Text(second.bytes()), "bb");
    second.Close();
    EXPECT_FALSE(second.valid());
    EXPECT_EQ(second.size(), 0u);
}

// Runs `body` in a child process whose files may not grow beyond `limit` bytes, as on a disk that is full.
template <class Body>
bool HoldsOnFullDisk(rlim_t limit, Body body) {
    const pid_t child = fork();
    if (child == 0) {
        signal(SIGXFSZ, SIG_IGN);
        const rlimit bounds{limit, limit};
        setrlimit(RLIMIT_FSIZE, &bounds);
        _exit(body() ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

TEST(MappedFile, FullDiskFailsAtOpening) {
    const TemporaryFolder folder;
    EXPECT_TRUE(HoldsOnFullDisk(4096, [&] {
        const MappedFile file = MappedFile::Open(folder.file("big"), FileAccess::ReadWrite, 1 << 20);
        return !file.valid() && !file.reason().empty();
    }));
}

TEST(SafeFile, AppearsOnlyWhenCommitted) {
    const TemporaryFolder folder;
    const std::string path = folder.Put("out.png", "old");
    {
        SafeFile file(path);
        EXPECT_TRUE(file.Write(AsBytes(std::string("new content"))));
        EXPECT_EQ(ReadWhole(path), "old");
    }
    EXPECT_EQ(ReadWhole(path), "old");
    EXPECT_EQ(folder.entryCount(), 1u);

    SafeFile file(path);
    EXPECT_TRUE(file.Write(AsBytes(std::string("new "))));
    EXPECT_TRUE(file.Write(AsBytes(std::string("content"))));
    EXPECT_TRUE(file.Commit());
    EXPECT_FALSE(file.Commit()) << "a second commit has nothing to do";
    EXPECT_EQ(ReadWhole(path), "new content");
    EXPECT_EQ(folder.entryCount(), 1u);
}

TEST(SafeFile, FullDiskLeavesNothingAndSaysWhy) {
    const TemporaryFolder folder;
    const std::string path = folder.Put("out.exr", "old");
    EXPECT_TRUE(HoldsOnFullDisk(4096, [&] {
        std::string error;
        const std::string content(100000, 'x');
        return !WriteFileSafely(path, AsBytes(content), error) &&
               error == path + ": cannot be written: File too large.";
    }));
    EXPECT_EQ(ReadWhole(path), "old");
    EXPECT_EQ(folder.entryCount(), 1u);
}

TEST(SafeFile, ReportsPlacesThatCannotBeWritten) {
    const TemporaryFolder folder;
    const std::string inFile = folder.Put("file", "") + "/below";
    for (const std::string& path : {folder.file("no/such"), inFile, folder.path()}) {
        std::string error;
        EXPECT_FALSE(WriteFileSafely(path, {}, error)) << path;
        EXPECT_TRUE(error.starts_with(path + ": cannot be written: ")) << error;
    }
    EXPECT_EQ(folder.entryCount(), 1u);
}

TEST(SafeFile, KeepsLinksAndPermissions) {
    const TemporaryFolder folder;
    const std::string target = folder.Put("target", "old"), link = folder.file("link");
    std::filesystem::create_symlink("target", link);
    std::filesystem::permissions(target, std::filesystem::perms{0640});
    std::string error;
    ASSERT_TRUE(WriteFileSafely(link, AsBytes(std::string("new")), error)) << error;
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(ReadWhole(target), "new");
    EXPECT_EQ(std::filesystem::status(target).permissions(), std::filesystem::perms{0640});
}

TEST(Files, RenameReplacesAndChangeDirectoryMoves) {
    const TemporaryFolder folder;
    const std::string from = folder.Put("a", "A"), to = folder.Put("b", "B");
    EXPECT_EQ(RenameFile(from, to), 0);
    EXPECT_EQ(ReadWhole(to), "A");
    EXPECT_EQ(RenameFile(from, to), ENOENT);
    const std::filesystem::path before = std::filesystem::current_path();
    EXPECT_TRUE(ChangeDirectory(folder.path()));
    EXPECT_EQ(ReadWhole("b"), "A");
    EXPECT_FALSE(ChangeDirectory(folder.file("absent")));
    EXPECT_TRUE(ChangeDirectory(before.string()));
}

TEST(Files, FactsHaveTheFractionOfASecond) {
    const TemporaryFolder folder;
    const std::string path = folder.Put("a", "12345");
    const timespec times[2] = {{1000000000, 0}, {1234567890, 250000000}};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    const auto facts = GetFileFacts(path);
    ASSERT_TRUE(facts);
    EXPECT_EQ(facts->size, 5u);
    EXPECT_NEAR(facts->modifiedTime, 1234567890.25, 1e-3);
    EXPECT_FALSE(GetFileFacts(folder.path()));
    EXPECT_FALSE(GetFileFacts(folder.file("absent")));
}

} // namespace
} // namespace velorin
