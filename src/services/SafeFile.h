#pragma once

#include "services/ByteReader.h"

#include <cstdint>
#include <string>

namespace velorin {

// A file that appears only when it is complete: written beside its place under a name of its own and renamed
// over it by Commit. An object that dies before leaves the old file as it was and nothing beside it. A
// symbolic link stays one; what it points at is replaced. An existing file's permissions are kept.
class SafeFile {
public:
    // `ok()` tells whether the file could be opened.
    explicit SafeFile(std::string path);
    ~SafeFile();
    SafeFile(const SafeFile&) = delete;
    SafeFile& operator=(const SafeFile&) = delete;

    // The file beside its place, for a writer that goes by a path; empty when it could not be opened.
    [[nodiscard]] const std::string& temporary() const { return temporary_; }
    // After the first failure the later calls do nothing and return false.
    bool Write(Bytes bytes);
    bool Write(const void* bytes, std::uint64_t size);
    // Everything on the disk but not yet in its place: what several files need that appear together or not at
    // all. Nothing can be written after it.
    [[nodiscard]] bool Complete();
    // Completes the file and puts it in its place.
    [[nodiscard]] bool Commit();

    [[nodiscard]] bool ok() const { return error_.empty(); }
    // One sentence with the file's path and the system's reason; empty while all is well.
    [[nodiscard]] const std::string& error() const { return error_; }

private:
    void Fail(int number);
    void Abandon();

    std::string path_;
    std::string target_;    // path_ with a link resolved
    std::string temporary_; // beside target_; empty when there is none on disk
    int file_ = -1;
    std::string error_;
};

// The whole of it in one call. On failure `error` is SafeFile::error().
[[nodiscard]] bool WriteFileSafely(const std::string& path, Bytes bytes, std::string& error);

} // namespace velorin
