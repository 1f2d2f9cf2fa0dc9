#include "model/PackFile.h"

#include "services/Log.h"
#include "services/Paths.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <utility>

namespace velorin {

namespace {

constexpr std::size_t kDirectoryAt = 8;
constexpr std::size_t kNamesAt = 0x10008;
constexpr std::size_t kDataAt = 0x30008;
constexpr std::size_t kSmallestFile = 0x30010;
constexpr std::array<std::uint8_t, 8> kMagic{'N', 'X', 'M', 'P', 'C', 0, 0, 4};
constexpr std::uint8_t kOlderFormat = 3;

constexpr std::size_t BlocksFor(std::size_t size, std::size_t blockSize) {
    return size / blockSize + (size % blockSize != 0);
}

// The first run of `count` free blocks, or nothing.
std::optional<std::size_t> FirstFit(const std::vector<bool>& used, std::size_t count) {
    std::size_t run = 0;
    for (std::size_t i = 0; i < used.size(); ++i) {
        run = used[i] ? 0 : run + 1;
        if (run == count) return i + 1 - count;
    }
    return std::nullopt;
}

void Mark(std::vector<bool>& used, std::size_t first, std::size_t count, bool value) {
    std::fill_n(used.begin() + static_cast<std::ptrdiff_t>(first), count, value);
}

bool AnyUsed(const std::vector<bool>& used, std::size_t first, std::size_t count) {
    const auto begin = used.begin() + static_cast<std::ptrdiff_t>(first);
    return std::find(begin, begin + static_cast<std::ptrdiff_t>(count), true) !=
           begin + static_cast<std::ptrdiff_t>(count);
}

bool HasMagic(Bytes bytes) {
    if (bytes.size() < kSmallestFile || std::memcmp(bytes.data(), kMagic.data(), 7) != 0) return false;
    const auto format = std::to_integer<std::uint8_t>(bytes[7]);
    return format == kMagic[7] || format == kOlderFormat;
}

// A file that whoever began it did not get to finish.
bool IsUnfinished(Bytes bytes) {
    return bytes.size() < kSmallestFile ||
           std::all_of(bytes.begin(), bytes.begin() + 8, [](std::byte b) { return b == std::byte{0}; });
}

} // namespace

// 32 bytes of the file's directory. Empty when a length is zero.
struct PackFile::DirectoryEntry {
    std::uint16_t nameBlock;
    std::uint16_t nameBlockCount;
    std::uint16_t dataBlock;
    std::uint16_t dataBlockCount;
    std::uint32_t nameLength;
    std::uint32_t dataLength;
    double lastUsed;
    double created;

    [[nodiscard]] bool empty() const { return nameLength == 0 || dataLength == 0; }
    [[nodiscard]] bool IsSound(std::size_t fileSize) const {
        const std::size_t nameEnd = std::size_t{nameBlock} + nameBlockCount;
        const std::size_t dataEnd = std::size_t{dataBlock} + dataBlockCount;
        return nameEnd <= kNameBlocks && dataEnd <= kDataBlocks &&
               nameLength <= nameBlockCount * kNameBlockSize &&
               dataLength <= dataBlockCount * kDataBlockSize &&
               kDataAt + dataBlock * kDataBlockSize + dataLength <= fileSize;
    }
};

struct PackFile::Place {
    std::size_t index, nameBlock, nameBlockCount, dataBlock, dataBlockCount;
};

// Holds the lock across processes for reading; the first reader of the process takes it, the last one drops
// it. `guard_` is held shared.
class PackFile::ReaderLock {
public:
    static bool Take(PackFile& pack) {
        if (pack.readOnly_) return true;
        const std::lock_guard lock(pack.readerMutex_);
        if (pack.readers_ == 0 && !pack.lock_.Take(LockKind::Shared)) return false;
        ++pack.readers_;
        return true;
    }
    static void Drop(PackFile& pack) {
        if (pack.readOnly_) return;
        const std::lock_guard lock(pack.readerMutex_);
        if (--pack.readers_ == 0) pack.lock_.Drop();
    }
};

// The same for writing. `guard_` is held alone, so that there are no readers.
class PackFile::WriterLock {
public:
    explicit WriterLock(PackFile& pack) : pack_(pack) {
        if (pack.readOnly_ || pack.state_ == State::Closed) return;
        if (!pack.lock_.isOpen()) (void)pack.lock_.Open(pack.path_ + ".lock");
        taken_ = pack.lock_.Take(LockKind::Exclusive);
    }
    ~WriterLock() {
        if (taken_) pack_.lock_.Drop();
    }
    WriterLock(const WriterLock&) = delete;
    WriterLock& operator=(const WriterLock&) = delete;
    // Without a lock a pack that others may write is not touched.
    [[nodiscard]] bool ok() const { return taken_ || pack_.readOnly_; }

private:
    PackFile& pack_;
    bool taken_ = false;
};

PackEntry::PackEntry(PackEntry&& other) noexcept
    : pack_(std::exchange(other.pack_, nullptr)),
      lock_(std::move(other.lock_)),
      bytes_(std::exchange(other.bytes_, {})),
      created_(other.created_) {
}

PackEntry& PackEntry::operator=(PackEntry&& other) noexcept {
    if (this == &other) return *this;
    Release();
    pack_ = std::exchange(other.pack_, nullptr);
    lock_ = std::move(other.lock_);
    bytes_ = std::exchange(other.bytes_, {});
    created_ = other.created_;
    return *this;
}

void PackEntry::Release() {
    if (!pack_) return;
    PackFile::ReaderLock::Drop(*std::exchange(pack_, nullptr));
    lock_.unlock();
    bytes_ = {};
}

ByteStream PackEntry::stream() const {
    if (!pack_) return ByteStream(Bytes());
    const auto first = static_cast<std::uint64_t>(bytes_.data() - pack_->mapping_.bytes().data());
    return {bytes_.size(), [this, first](std::uint64_t at, std::span<std::byte> to) {
                return pack_->mapping_.Read(first + at, to);
            }};
}

PackFile::~PackFile() {
    Close();
}

void PackFile::Open(const std::string& name, bool readOnly, bool inUserData) {
    const std::unique_lock guard(guard_);
    CloseMapping(State::Named);
    lock_.Close();
    path_ = name;
    readOnly_ = readOnly;
    if (!inUserData) return;
    const std::string folder = GetUserPath() + "/Quenmarworks";
    std::error_code ignored;
    std::filesystem::create_directories(std::u8string(folder.begin(), folder.end()), ignored);
    path_ = folder + "/" + name;
}

void PackFile::Close() {
    const std::unique_lock guard(guard_);
    CloseMapping(State::Closed);
    lock_.Close();
}

PackFile::State PackFile::state() const {
    const std::shared_lock guard(guard_);
    return state_;
}

PackFile::DirectoryEntry* PackFile::directory() const {
    return reinterpret_cast<DirectoryEntry*>(const_cast<std::byte*>(mapping_.bytes().data()) + kDirectoryAt);
}

void PackFile::CloseMapping(State state) {
    mapping_.Close();
    identity_.reset();
    entries_.clear();
    known_.clear();
    state_ = state;
}

// Whether what is mapped and known is still what stands on the disk. The time of the last use does not count.
bool PackFile::IsCurrent() const {
    if (state_ != State::Open) return false;
    if (readOnly_) return true;
    const auto file = GetFileIdentity(path_);
    if (!file || !identity_ || !file->IsSameFile(*identity_) || file->size < mapping_.size()) return false;
    const std::byte* const now = mapping_.bytes().data() + kDirectoryAt;
    for (std::size_t at = 0; at < known_.size(); at += sizeof(DirectoryEntry))
        if (std::memcmp(now + at, &known_[at], 16) != 0 ||
            std::memcmp(now + at + 24, &known_[at + 24], 8) != 0)
            return false;
    return true;
}

bool PackFile::MapFile() {
    state_ = State::Opening;
    if (readOnly_) {
        mapping_ = MappedFile::Open(path_, FileAccess::Read);
        if (!mapping_.valid()) {
            CloseMapping(State::Unavailable);
            return false;
        }
    } else {
        mapping_ = MappedFile::Open(path_, FileAccess::ReadWrite);
        if (mapping_.valid() && IsUnfinished(mapping_.bytes())) {
            mapping_ = MappedFile::Open(path_, FileAccess::ReadWrite, kSmallestFile);
            if (mapping_.valid()) {
                std::memset(mapping_.writableData() + kDirectoryAt, 0, kNamesAt - kDirectoryAt);
                std::memcpy(mapping_.writableData(), kMagic.data(), kMagic.size());
            }
        }
        identity_ = GetFileIdentity(path_);
    }
    if (mapping_.valid() && HasMagic(mapping_.bytes())) return true;
    Log("Not a pack of models: %s", path_.c_str());
    CloseMapping(State::Failed);
    return false;
}

bool PackFile::OpenNow() {
    if (!MapFile()) return false;
    ReadDirectory();
    state_ = State::Open;
    return true;
}

// `guard_` and the lock across processes are held alone.
bool PackFile::EnsureCurrent() {
    if (state_ != State::Named && state_ != State::Open) return false;
    return IsCurrent() || OpenNow();
}

// Entries that lie outside the file, or on blocks of an earlier one, are left out.
void PackFile::ReadDirectory() {
    const Bytes bytes = mapping_.bytes();
    entries_.clear();
    nameUsed_.assign(kNameBlocks, false);
    dataUsed_.assign(kDataBlocks, false);
    known_.assign(bytes.begin() + kDirectoryAt, bytes.begin() + kNamesAt);
    for (std::size_t i = 0; i < kEntries; ++i) {
        DirectoryEntry entry;
        std::memcpy(&entry, &known_[i * sizeof entry], sizeof entry);
        if (entry.empty() || !entry.IsSound(bytes.size()) ||
            AnyUsed(nameUsed_, entry.nameBlock, entry.nameBlockCount) ||
            AnyUsed(dataUsed_, entry.dataBlock, entry.dataBlockCount))
            continue;
        const auto* const name =
            reinterpret_cast<const char*>(bytes.data() + kNamesAt + entry.nameBlock * kNameBlockSize);
        if (!entries_.emplace(std::string(name, entry.nameLength), i).second) continue;
        Mark(nameUsed_, entry.nameBlock, entry.nameBlockCount, true);
        Mark(dataUsed_, entry.dataBlock, entry.dataBlockCount, true);
    }
}

PackEntry PackFile::Get(const std::string& name) {
    // Once to find that the pack must be opened or read anew; again, since another process may write in
    // between.
    for (int attempt = 0; attempt < 4; ++attempt) {
        PackEntry result;
        result.lock_ = std::shared_lock(guard_);
        if (state_ == State::Open && ReaderLock::Take(*this)) {
            result.pack_ = this;
            if (IsCurrent()) {
                const auto found = entries_.find(name);
                if (found == entries_.end()) return {};
                DirectoryEntry entry;
                std::memcpy(&entry, &known_[found->second * sizeof entry], sizeof entry);
                result.bytes_ =
                    mapping_.bytes().subspan(kDataAt + entry.dataBlock * kDataBlockSize, entry.dataLength);
                result.created_ = entry.created;
                if (!readOnly_)
                    std::atomic_ref(directory()[found->second].lastUsed)
                        .store(PackTimeNow(), std::memory_order_relaxed);
                return result;
            }
        }
        if (result.pack_)
            result.Release();
        else
            result.lock_.unlock();
        const std::unique_lock guard(guard_);
        const WriterLock lock(*this);
        if (!lock.ok() || !EnsureCurrent()) return {};
    }
    return {};
}

std::vector<std::string> PackFile::Names() {
    const std::unique_lock guard(guard_);
    const WriterLock lock(*this);
    std::vector<std::string> names;
    if (!lock.ok() || !EnsureCurrent()) return names;
    names.reserve(entries_.size());
    for (const auto& [name, index] : entries_) names.push_back(name);
    std::sort(names.begin(), names.end());
    return names;
}

// Where a new entry goes when the blocks and the row of `old` are free.
std::optional<PackFile::Place> PackFile::FindPlace(std::size_t nameLength, std::size_t size,
                                                   const DirectoryEntry* old) {
    const auto markOld = [&](bool value) {
        if (!old) return;
        Mark(nameUsed_, old->nameBlock, old->nameBlockCount, value);
        Mark(dataUsed_, old->dataBlock, old->dataBlockCount, value);
    };
    Place place{};
    place.nameBlockCount = BlocksFor(nameLength, kNameBlockSize);
    place.dataBlockCount = BlocksFor(size, kDataBlockSize);
    if (place.dataBlockCount > 0xFFFF) return std::nullopt;
    const DirectoryEntry* const rows = directory();
    while (place.index < kEntries && !rows[place.index].empty() && &rows[place.index] != old) ++place.index;
    if (place.index == kEntries) return std::nullopt;
    markOld(false);
    const auto dataBlock = FirstFit(dataUsed_, place.dataBlockCount);
    const auto nameBlock = FirstFit(nameUsed_, place.nameBlockCount);
    markOld(true);
    if (!dataBlock || !nameBlock) return std::nullopt;
    place.dataBlock = *dataBlock;
    place.nameBlock = *nameBlock;
    return place;
}

bool PackFile::Put(const std::string& name, Bytes bytes) {
    const std::unique_lock guard(guard_);
    if (readOnly_ || name.empty() || bytes.empty() || name.size() > kNameBlocks * kNameBlockSize)
        return false;
    const WriterLock lock(*this);
    if (!lock.ok() || !EnsureCurrent()) return false;

    const auto old = entries_.find(name);
    const auto place =
        FindPlace(name.size(), bytes.size(), old == entries_.end() ? nullptr : &directory()[old->second]);
    if (!place) return false;
    // A little behind the last block, as every writer of this format leaves it.
    const std::size_t end = (place->dataBlock + place->dataBlockCount) * kDataBlockSize + 0x3000c;
    if (mapping_.size() < end) {
        // Never shorter than it is: another process may have mapped all of it.
        const auto file = GetFileIdentity(path_);
        MappedFile larger = MappedFile::Open(path_, FileAccess::ReadWrite,
                                             std::max<std::uint64_t>(end, file ? file->size : 0));
        if (!larger.valid()) return false; // the disk is full
        mapping_ = std::move(larger);
    }

    Unlink(name);
    std::byte* const base = mapping_.writableData();
    if (!mapping_.Write(kDataAt + place->dataBlock * kDataBlockSize, bytes)) return false;
    std::memcpy(base + kNamesAt + place->nameBlock * kNameBlockSize, name.data(), name.size());
    DirectoryEntry& entry = directory()[place->index];
    entry.nameBlock = static_cast<std::uint16_t>(place->nameBlock);
    entry.nameBlockCount = static_cast<std::uint16_t>(place->nameBlockCount);
    entry.dataBlock = static_cast<std::uint16_t>(place->dataBlock);
    entry.dataBlockCount = static_cast<std::uint16_t>(place->dataBlockCount);
    entry.lastUsed = entry.created = PackTimeNow();
    entry.nameLength = static_cast<std::uint32_t>(name.size());
    // Last: until here the row is empty, so that a process that dies leaves no entry whose bytes are not all
    // there.
    std::atomic_ref(entry.dataLength)
        .store(static_cast<std::uint32_t>(bytes.size()), std::memory_order_release);

    entries_.emplace(name, place->index);
    Mark(nameUsed_, place->nameBlock, place->nameBlockCount, true);
    Mark(dataUsed_, place->dataBlock, place->dataBlockCount, true);
    std::memcpy(&known_[place->index * sizeof entry], &entry, sizeof entry);
    return true;
}

// Takes an entry out of the file and the map, if it is there.
void PackFile::Unlink(const std::string& name) {
    const auto found = entries_.find(name);
    if (found == entries_.end()) return;
    DirectoryEntry& entry = directory()[found->second];
    Mark(nameUsed_, entry.nameBlock, entry.nameBlockCount, false);
    Mark(dataUsed_, entry.dataBlock, entry.dataBlockCount, false);
    // First: from here on the row is empty.
    std::atomic_ref(entry.dataLength).store(0, std::memory_order_release);
    std::atomic_thread_fence(std::memory_order_seq_cst);
    std::memset(&entry, 0, sizeof entry);
    std::memset(&known_[found->second * sizeof entry], 0, sizeof entry);
    entries_.erase(found);
}

bool PackFile::Remove(const std::string& name) {
    const std::unique_lock guard(guard_);
    if (readOnly_) return false;
    const WriterLock lock(*this);
    if (!lock.ok() || !EnsureCurrent() || !entries_.contains(name)) return false;
    Unlink(name);
    return true;
}

void PackFile::Clear() {
    const std::unique_lock guard(guard_);
    if (readOnly_ || state_ == State::Closed) return;
    const WriterLock lock(*this);
    if (!lock.ok()) return;
    CloseMapping(State::Named);
    std::error_code ignored;
    std::filesystem::remove(std::u8string(path_.begin(), path_.end()), ignored);
}

namespace {

// From the start of 1601 to that of 1970, the epoch of the system clock.
constexpr double kEpochOffset = 11'644'473'600'000.0;

double Milliseconds(std::chrono::system_clock::time_point time) {
    return std::chrono::duration<double, std::milli>(time.time_since_epoch()).count() + kEpochOffset;
}

} // namespace

double PackTimeNow() {
    return Milliseconds(std::chrono::system_clock::now());
}

double PackTimeOfFile(const std::string& path) {
    std::error_code error;
    const auto time = std::filesystem::last_write_time(std::u8string(path.begin(), path.end()), error);
    if (error) return 0;
    return Milliseconds(std::chrono::time_point_cast<std::chrono::system_clock::duration>(
        std::chrono::file_clock::to_sys(time)));
}

} // namespace velorin
