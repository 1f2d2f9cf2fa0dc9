#pragma once

#include "services/ByteStream.h"
#include "services/FileLock.h"
#include "services/MappedFile.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace velorin {

class PackFile;

// What PackFile::Get found. While it lives the pack does not change, in this process or another; so it is
// held for a short time only, and the thread that holds it must not change the pack or hold another of it.
// Dies before the pack.
class PackEntry {
public:
    PackEntry() = default;
    PackEntry(PackEntry&& other) noexcept;
    PackEntry& operator=(PackEntry&& other) noexcept;
    ~PackEntry() { Release(); }

    explicit operator bool() const { return pack_ != nullptr; }
    [[nodiscard]] Bytes bytes() const { return bytes_; } // in the mapping; empty when there is no such entry
    // The same bytes without touching the mapping, whose pages a cut file or a failing disk takes away: the
    // way to large ones. Dies before the entry.
    [[nodiscard]] ByteStream stream() const;
    [[nodiscard]] double created() const { return created_; } // milliseconds since 1601, UTC
    void Release();

private:
    friend class PackFile;
    PackFile* pack_ = nullptr;
    std::shared_lock<std::shared_mutex> lock_;
    Bytes bytes_;
    double created_ = 0;
};

// A mapped file of named blobs: the geometry cache, content bundles. A pack that is written may be used by
// several processes at once; a process that is killed leaves a pack that opens, with at most the entry it was
// writing missing. Any thread.
class PackFile {
public:
    enum class State : std::uint32_t {
        Failed = 0,
        Unavailable = 1,
        Closed = 2,
        Named = 3,
        Opening = 4,
        Open = 5
    };

    static constexpr std::size_t kEntries = 2048;
    static constexpr std::size_t kNameBlocks = 4096;
    static constexpr std::size_t kNameBlockSize = 32;
    static constexpr std::size_t kDataBlocks = 65536;
    static constexpr std::size_t kDataBlockSize = 0x8000;

    PackFile() = default;
    ~PackFile();
    PackFile(const PackFile&) = delete;
    PackFile& operator=(const PackFile&) = delete;

    // Names the file; nothing touches the disk before the first use, but that `inUserData` puts it into the
    // folder "Quenmarworks" of the user, which is made.
    void Open(const std::string& name, bool readOnly, bool inUserData);

    [[nodiscard]] PackEntry Get(const std::string& name);
    // Adds or replaces. False, with an old entry kept, when there is no room, when the name or the blob is
    // empty, or when the file cannot be written.
    bool Put(const std::string& name, Bytes bytes);
    // False when there is no such entry.
    bool Remove(const std::string& name);
    // Deletes the file; the next use makes a new one. Not for a read-only pack.
    void Clear();
    void Close();

    // Opens the file if need be.
    [[nodiscard]] std::vector<std::string> Names();
    [[nodiscard]] State state() const;
    [[nodiscard]] const std::string& path() const { return path_; }

private:
    friend class PackEntry;
    struct DirectoryEntry;
    struct Place;
    class ReaderLock;
    class WriterLock;

    [[nodiscard]] bool IsCurrent() const;
    [[nodiscard]] bool OpenNow();
    [[nodiscard]] bool MapFile();
    [[nodiscard]] bool EnsureCurrent();
    void ReadDirectory();
    [[nodiscard]] std::optional<Place> FindPlace(std::size_t nameLength, std::size_t size,
                                                 const DirectoryEntry* old);
    void Unlink(const std::string& name);
    void CloseMapping(State state);
    [[nodiscard]] DirectoryEntry* directory() const;

    mutable std::shared_mutex guard_; // of everything below; shared while entries are out
    std::string path_;
    bool readOnly_ = false;
    State state_ = State::Closed;
    MappedFile mapping_;
    std::optional<FileIdentity> identity_;                 // of the mapped file
    std::unordered_map<std::string, std::size_t> entries_; // name to place in the directory
    std::vector<std::byte> known_;                         // the directory as `entries_` has it
    std::vector<bool> nameUsed_, dataUsed_;

    FileLock lock_;          // across processes; a read-only pack has none
    std::mutex readerMutex_; // of readers_ and the shared lock
    std::size_t readers_ = 0;
};

// The present moment, and that of a file's last change (0 when there is none), as packs store them:
// milliseconds since 1601, UTC.
[[nodiscard]] double PackTimeNow();
[[nodiscard]] double PackTimeOfFile(const std::string& path);

} // namespace velorin
