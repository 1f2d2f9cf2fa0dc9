#include "services/FileLock.h"

#include <utility>

namespace velorin {

bool FileLock::Open(const std::string& path) {
    Close();
    if (OpenLockFile(path, file_) == 0) return true;
    file_ = -1;
    return false;
}

void FileLock::Close() {
    if (file_ >= 0) CloseLockFile(std::exchange(file_, -1));
}

bool FileLock::Take(LockKind kind) {
    return file_ >= 0 && TakeFileLock(file_, kind) == 0;
}

void FileLock::Drop() {
    if (file_ >= 0) DropFileLock(file_);
}

} // namespace velorin
