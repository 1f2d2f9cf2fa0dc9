#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace velorin {

enum class LockKind { Shared, Exclusive };

// The system calls behind FileLock (services). The lock is the system's: it falls with the process that holds
// it. The functions return 0 or the system's error number. OpenLockFile creates the file when it is absent.
[[nodiscard]] int OpenLockFile(const std::string& path, int& file);
// Waits; a lock that is held changes its kind.
[[nodiscard]] int TakeFileLock(int file, LockKind kind);
void DropFileLock(int file);
void CloseLockFile(int file);

// Tells the file that a path names from one that takes its place later.
struct FileIdentity {
    std::uint64_t device = 0;
    std::uint64_t number = 0;
    std::uint64_t size = 0; // at the moment
    [[nodiscard]] bool IsSameFile(const FileIdentity& other) const {
        return device == other.device && number == other.number;
    }
};
[[nodiscard]] std::optional<FileIdentity> GetFileIdentity(const std::string& path);

} // namespace velorin
