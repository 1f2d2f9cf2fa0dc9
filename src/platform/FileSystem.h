#pragma once

#include <cstdint>
#include <optional>
#include <string>

// Paths are UTF-8.
namespace velorin {

[[nodiscard]] bool SetWorkingDirectory(const std::string& path);

// Renames within one file system, replacing an existing file at once: a reader sees the old or the new, never
// a mix. 0 on success, else the system's error number.
[[nodiscard]] int RenamePath(const std::string& from, const std::string& to);

// Makes one folder whose parent must exist. True also when it is there already.
[[nodiscard]] bool MakeFolder(const std::string& path);

[[nodiscard]] bool RemoveFile(const std::string& path);

[[nodiscard]] bool IsFolder(const std::string& path);
[[nodiscard]] bool IsRegularFile(const std::string& path);

// Of a regular file; nothing when there is none.
struct FileFacts {
    std::uint64_t size = 0;
    double modifiedTime = 0; // seconds since 1970, with their fraction
};
[[nodiscard]] std::optional<FileFacts> GetFileFacts(const std::string& path);

// A file that is created new and written from front to back. The functions return 0 or the system's error
// number. CreateNewFile fails when the path exists; the file gets the permissions that `like` has, or the
// default ones when there is no such file. SyncFile waits until the bytes stand on the disk.
[[nodiscard]] int CreateNewFile(const std::string& path, const std::string& like, int& file);
[[nodiscard]] int WriteAll(int file, const void* bytes, std::uint64_t size);
[[nodiscard]] int SyncFile(int file);
[[nodiscard]] int CloseFile(int file);
// What a symbolic link at the end of `path` finally points at; `path` itself when it is none.
[[nodiscard]] std::string ResolveLink(const std::string& path);

// The system's sentence for an error number ("No space left on device").
[[nodiscard]] std::string ErrorText(int error);

} // namespace velorin
