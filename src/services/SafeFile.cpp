#include "services/SafeFile.h"

#include "platform/FileSystem.h"
#include "platform/Process.h"

#include <atomic>
#include <cerrno>
#include <utility>

namespace velorin {
namespace {

// Unique among the processes of the machine and the files of this one.
std::string TemporaryNameBeside(const std::string& path) {
    static std::atomic<unsigned> counter{0};
    return path + "." + std::to_string(CurrentProcessId()) + "-" + std::to_string(counter.fetch_add(1)) +
           ".tmp";
}

} // namespace

SafeFile::SafeFile(std::string path) : path_(std::move(path)), target_(ResolveLink(path_)) {
    if (IsFolder(target_)) {
        Fail(EISDIR);
        return;
    }
    // Two tries more, should a process of the same number have left a file behind.
    for (int attempt = 0; attempt < 3; ++attempt) {
        std::string name = TemporaryNameBeside(target_);
        const int error = CreateNewFile(name, target_, file_);
        if (error == 0) {
            temporary_ = std::move(name);
            return;
        }
        if (error != EEXIST || attempt == 2) {
            Fail(error);
            return;
        }
    }
}

SafeFile::~SafeFile() {
    Abandon();
}

void SafeFile::Fail(int number) {
    error_ = path_ + ": cannot be written: " + ErrorText(number) + ".";
    Abandon();
}

void SafeFile::Abandon() {
    if (file_ >= 0) (void)CloseFile(std::exchange(file_, -1));
    if (!temporary_.empty()) (void)RemoveFile(std::exchange(temporary_, {}));
}

bool SafeFile::Write(const void* bytes, std::uint64_t size) {
    if (!ok() || file_ < 0) return false;
    if (const int error = WriteAll(file_, bytes, size); error != 0) Fail(error);
    return ok();
}

bool SafeFile::Write(Bytes bytes) {
    return Write(bytes.data(), bytes.size());
}

bool SafeFile::Complete() {
    if (!ok()) return false;
    if (file_ < 0) return !temporary_.empty();
    if (const int error = SyncFile(file_); error != 0) return Fail(error), false;
    if (const int error = CloseFile(std::exchange(file_, -1)); error != 0) return Fail(error), false;
    return true;
}

bool SafeFile::Commit() {
    if (!Complete()) return false;
    if (const int error = RenamePath(temporary_, target_); error != 0) return Fail(error), false;
    temporary_.clear();
    return true;
}

bool WriteFileSafely(const std::string& path, Bytes bytes, std::string& error) {
    SafeFile file(path);
    file.Write(bytes);
    if (file.Commit()) return true;
    error = file.error();
    return false;
}

} // namespace velorin
