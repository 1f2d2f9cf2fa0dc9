#include "platform/FileMapping.h"

#include "platform/FileSystem.h"
#include "platform/LargePages.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <limits>
#include <system_error>
#include <thread>

namespace velorin {
namespace {

// Sets the file's length to exactly `length` (exact) or at least `length`, with disk space behind the new
// bytes.
int SetLength(int file, std::uint64_t present, std::uint64_t length, bool exact) {
    if (length > static_cast<std::uint64_t>(std::numeric_limits<off_t>::max())) return EFBIG;
    if (length < present) return exact && ftruncate(file, static_cast<off_t>(length)) != 0 ? errno : 0;
    if (length == present) return 0;
    const int error =
        posix_fallocate(file, static_cast<off_t>(present), static_cast<off_t>(length - present));
    if (error == EOPNOTSUPP || error == EINVAL)
        return ftruncate(file, static_cast<off_t>(length)) != 0 ? errno : 0;
    if (error != 0 && ftruncate(file, static_cast<off_t>(present)) != 0) return errno;
    return error;
}

int Map(FileAccess access, std::uint64_t offset, std::uint64_t size, FileMapping& mapping) {
    const bool writable = access == FileAccess::ReadWrite;
    struct stat facts {};
    if (fstat(mapping.file, &facts) != 0) return errno;
    if (S_ISDIR(facts.st_mode)) return EISDIR;
    if (!S_ISREG(facts.st_mode)) return EINVAL; // a pipe or device has no bytes to map, and may never end
    std::uint64_t length = static_cast<std::uint64_t>(facts.st_size);
    if (size > std::numeric_limits<std::uint64_t>::max() - offset) return EFBIG;
    if (writable && size != 0) {
        const int error = SetLength(mapping.file, length, offset + size, offset == 0);
        if (error != 0) return error;
        if (length < offset + size || offset == 0) length = offset + size;
    }
    if (offset > length || size > length - offset) return EINVAL;
    mapping.size = size != 0 ? size : length - offset;
    if (mapping.size == 0) return 0;

    const std::uint64_t granularity = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    const std::uint64_t lead = offset % granularity;
    if (mapping.size > std::numeric_limits<std::size_t>::max() - lead) return ENOMEM;
    mapping.mappingLength = static_cast<std::size_t>(mapping.size + lead);
    void* base = mmap(nullptr, mapping.mappingLength, writable ? PROT_READ | PROT_WRITE : PROT_READ,
                      writable ? MAP_SHARED : MAP_PRIVATE, mapping.file, static_cast<off_t>(offset - lead));
    if (base == MAP_FAILED) return errno;
    mapping.mappingBase = base;
    mapping.view = static_cast<std::byte*>(base) + lead;
    return 0;
}

} // namespace

bool OpenFileMapping(const std::string& path, FileAccess access, std::uint64_t offset, std::uint64_t size,
                     FileMapping& mapping, std::string& reason) {
    mapping = {};
    // Without O_NONBLOCK, opening a named pipe would wait for its other end.
    const int flags =
        (access == FileAccess::ReadWrite ? O_RDWR | O_CREAT : O_RDONLY) | O_CLOEXEC | O_NONBLOCK;
    mapping.file = open(path.c_str(), flags, 0666);
    int error = mapping.file < 0 ? errno : Map(access, offset, size, mapping);
    if (error == 0) return true;
    CloseFileMapping(mapping);
    reason = ErrorText(error);
    return false;
}

namespace {

// `transfer` moves up to so many bytes at an offset and returns how many it did, as pread does.
template <class Byte, class Transfer>
bool TransferAll(std::uint64_t offset, Byte* bytes, std::size_t count, Transfer&& transfer) {
    while (count > 0) {
        const ssize_t done = transfer(bytes, count, static_cast<off_t>(offset));
        if (done < 0 && errno == EINTR) continue;
        if (done <= 0) return false;
        offset += static_cast<std::uint64_t>(done);
        bytes += done;
        count -= static_cast<std::size_t>(done);
    }
    return true;
}

// A thread reads at least this much.
constexpr std::size_t kLeastShare = 4 * kLargePageSize;
constexpr std::size_t kMostThreads = 4;

// How many bytes each of several threads reads of `count`: whole large pages, as no two threads should wait
// for one.
std::size_t ShareOfRead(std::size_t count) {
    static const std::size_t cores =
        std::clamp<std::size_t>(std::thread::hardware_concurrency(), 1, kMostThreads); // asks the system
    const std::size_t shares = std::clamp<std::size_t>(count / kLeastShare, 1, cores);
    return (count / shares / kLargePageSize + 1) * kLargePageSize;
}

} // namespace

bool ReadMappedFile(const FileMapping& mapping, std::uint64_t offset, std::byte* to, std::size_t count) {
    std::atomic<bool> whole = true;
    const auto read = [&](std::size_t begin, std::size_t end) {
        if (!TransferAll(offset + begin, to + begin, end - begin,
                         [&](std::byte* bytes, std::size_t size, off_t at) {
                             return pread(mapping.file, bytes, size, at);
                         }))
            whole = false;
    };
    // Half of the time the system clears the fresh pages that the bytes go to, for each thread its own.
    const std::size_t share = ShareOfRead(count);
    std::size_t shared = share;
    {
        std::array<std::jthread, kMostThreads> others; // joined at the end of the block
        try {
            for (std::size_t i = 0; shared < count; shared += share)
                others.at(i++) = std::jthread(read, shared, std::min(shared + share, count));
        } catch (const std::system_error&) { // no more threads: the rest is read here
        }
        read(0, std::min(share, count));
        if (shared < count) read(shared, count);
    }
    return whole;
}

bool WriteMappedFile(const FileMapping& mapping, std::uint64_t offset, const std::byte* from,
                     std::size_t count) {
    return TransferAll(offset, from, count, [&](const std::byte* bytes, std::size_t size, off_t at) {
        return pwrite(mapping.file, bytes, size, at);
    });
}

void CloseFileMapping(FileMapping& mapping) {
    if (mapping.mappingBase) munmap(mapping.mappingBase, mapping.mappingLength);
    if (mapping.file >= 0) close(mapping.file);
    mapping = {};
}

} // namespace velorin
