#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace velorin {

enum class FileAccess { Read, ReadWrite };

// The system calls behind MappedFile (services), which is what the rest of the system uses.
//
// A file mapped into memory: `view` is at `offset` of the file and `size` bytes long. A range that holds no
// bytes has a null view and is a success.
struct FileMapping {
    int file = -1;
    void* mappingBase = nullptr;   // page-aligned start of the mapped range
    std::size_t mappingLength = 0; // from mappingBase
    std::byte* view = nullptr;
    std::uint64_t size = 0;
};

// Opens `path` (UTF-8) and maps the bytes from `offset` on.
// Read: an existing regular file, as it stands; `size` bytes or, when 0, up to its end. A range past the end
// fails. ReadWrite: created when absent; when `size` is not 0 the file's end is set at `offset + size` (cut,
// or extended with zeros), else its size is kept. Disk space for the bytes is reserved, so that a full disk
// is an error here and not a fault when the memory is written. False on failure, with nothing left open;
// `reason` is the system's sentence.
[[nodiscard]] bool OpenFileMapping(const std::string& path, FileAccess access, std::uint64_t offset,
                                   std::uint64_t size, FileMapping& mapping, std::string& reason);
void CloseFileMapping(FileMapping& mapping);

// `count` bytes from or to `offset` of the mapped file, past the mapping, of which both sides see the same
// bytes. False where the file does not have them all (any more) or the disk fails, which would be a fault
// when the mapping is touched. Many bytes in one call are also cheaper than fresh pages of a mapping.
[[nodiscard]] bool ReadMappedFile(const FileMapping& mapping, std::uint64_t offset, std::byte* to,
                                  std::size_t count);
[[nodiscard]] bool WriteMappedFile(const FileMapping& mapping, std::uint64_t offset, const std::byte* from,
                                   std::size_t count);

} // namespace velorin
