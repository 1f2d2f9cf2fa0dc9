#pragma once

#include "platform/FileMapping.h"
#include "services/ByteReader.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace velorin {

// A file as memory. Move-only; the file is unmapped and closed when the object dies. An object that is not
// `valid()` looks like an empty file.
class MappedFile {
public:
    MappedFile() = default;

    // Maps a whole file. Read: an existing file; `size` is ignored. ReadWrite: created when absent; a `size`
    // other than 0 sets the file's length first (cut, or extended with zero bytes), 0 keeps it. A file of
    // length 0 is valid, with no bytes. A full disk fails here.
    [[nodiscard]] static MappedFile Open(const std::string& path, FileAccess access, std::uint64_t size = 0);

    // Maps `size` bytes from any `offset` on of an existing file (Read), or of one that ReadWrite creates or
    // extends to hold them and otherwise leaves at its length.
    [[nodiscard]] static MappedFile OpenRange(const std::string& path, FileAccess access,
                                              std::uint64_t offset, std::uint64_t size);

    ~MappedFile() { Close(); }
    MappedFile(MappedFile&& other) noexcept;
    MappedFile& operator=(MappedFile&& other) noexcept;

    [[nodiscard]] bool valid() const { return valid_; }
    [[nodiscard]] bool writable() const { return writable_; }
    [[nodiscard]] std::uint64_t size() const { return mapping_.size; }
    [[nodiscard]] Bytes bytes() const { return {mapping_.view, static_cast<std::size_t>(mapping_.size)}; }
    // Null unless the file was opened for writing and holds bytes.
    [[nodiscard]] std::byte* writableData() const { return writable_ ? mapping_.view : nullptr; }
    // Bytes of the file by way of the system, from `offset` of the file on: unlike in the mapping, a file
    // that was cut meanwhile or a failing disk only fails here.
    [[nodiscard]] bool Read(std::uint64_t offset, std::span<std::byte> to) const;
    [[nodiscard]] bool Write(std::uint64_t offset, Bytes from) const;
    // Why Open failed, as the system says it; empty when valid.
    [[nodiscard]] const std::string& reason() const { return reason_; }

    void Close();

private:
    FileMapping mapping_;
    std::string reason_;
    bool valid_ = false;
    bool writable_ = false;
};

} // namespace velorin
