#include "platform/FileLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace velorin {

int OpenLockFile(const std::string& path, int& file) {
    file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    return file < 0 ? errno : 0;
}

int TakeFileLock(int file, LockKind kind) {
    while (flock(file, kind == LockKind::Shared ? LOCK_SH : LOCK_EX) != 0)
        if (errno != EINTR) return errno;
    return 0;
}

void DropFileLock(int file) {
    (void)flock(file, LOCK_UN);
}

void CloseLockFile(int file) {
    close(file);
}

std::optional<FileIdentity> GetFileIdentity(const std::string& path) {
    struct stat facts {};
    if (stat(path.c_str(), &facts) != 0) return std::nullopt;
    return FileIdentity{static_cast<std::uint64_t>(facts.st_dev), static_cast<std::uint64_t>(facts.st_ino),
                        static_cast<std::uint64_t>(facts.st_size)};
}

} // namespace velorin
