#pragma once

#include "platform/FileLock.h"

#include <string>

namespace velorin {

// A lock that the processes of a machine share, named by a file that nothing else is stored in. Many may hold
// it shared, or one exclusively; it falls with the process that holds it. One object is one holder: threads
// that share an object need a lock of their own beside it.
class FileLock {
public:
    FileLock() = default;
    ~FileLock() { Close(); }
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

    // False when the file cannot be made; Take then fails too.
    [[nodiscard]] bool Open(const std::string& path);
    [[nodiscard]] bool isOpen() const { return file_ >= 0; }
    void Close();

    // Waits for the lock; one that is held already changes its kind.
    [[nodiscard]] bool Take(LockKind kind);
    void Drop();

private:
    int file_ = -1;
};

} // namespace velorin
