#include "platform/FileSystem.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <system_error>

namespace velorin {
namespace {

bool HasMode(const std::string& path, mode_t kind) {
    struct stat facts {};
    return stat(path.c_str(), &facts) == 0 && (facts.st_mode & S_IFMT) == kind;
}

} // namespace

bool SetWorkingDirectory(const std::string& path) {
    return chdir(path.c_str()) == 0;
}

int RenamePath(const std::string& from, const std::string& to) {
    return std::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

bool MakeFolder(const std::string& path) {
    return mkdir(path.c_str(), 0777) == 0 || IsFolder(path);
}

bool RemoveFile(const std::string& path) {
    return unlink(path.c_str()) == 0;
}

bool IsFolder(const std::string& path) {
    return HasMode(path, S_IFDIR);
}
bool IsRegularFile(const std::string& path) {
    return HasMode(path, S_IFREG);
}

std::optional<FileFacts> GetFileFacts(const std::string& path) {
    struct stat facts {};
    if (stat(path.c_str(), &facts) != 0 || !S_ISREG(facts.st_mode)) return std::nullopt;
    return FileFacts{static_cast<std::uint64_t>(facts.st_size),
                     static_cast<double>(facts.st_mtim.tv_sec) +
                         1e-9 * static_cast<double>(facts.st_mtim.tv_nsec)};
}

int CreateNewFile(const std::string& path, const std::string& like, int& file) {
    file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (file < 0) return errno;
    struct stat facts {};
    // File systems without permissions refuse, and lose nothing by it.
    if (stat(like.c_str(), &facts) == 0) (void)!fchmod(file, facts.st_mode & 0777);
    return 0;
}

int WriteAll(int file, const void* bytes, std::uint64_t size) {
    const char* next = static_cast<const char*>(bytes);
    while (size > 0) {
        const std::size_t part = size < (1u << 30) ? static_cast<std::size_t>(size) : std::size_t{1} << 30;
        const ssize_t written = write(file, next, part);
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) return errno;
        next += written;
        size -= static_cast<std::uint64_t>(written);
    }
    return 0;
}

int SyncFile(int file) {
    // What cannot be synchronised (some network and memory file systems) is no error.
    return fsync(file) == 0 || errno == EINVAL || errno == ENOTSUP ? 0 : errno;
}

int CloseFile(int file) {
    return close(file) == 0 ? 0 : errno;
}

std::string ResolveLink(const std::string& path) {
    struct stat facts {};
    if (lstat(path.c_str(), &facts) != 0 || !S_ISLNK(facts.st_mode)) return path;
    char* absolute = realpath(path.c_str(), nullptr);
    if (!absolute) return path;
    std::string target = absolute;
    std::free(absolute);
    return target;
}

std::string ErrorText(int error) {
    return std::generic_category().message(error);
}

} // namespace velorin
