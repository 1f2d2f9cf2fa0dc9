#include "services/MappedFile.h"

#include <utility>

namespace velorin {

MappedFile MappedFile::Open(const std::string& path, FileAccess access, std::uint64_t size) {
    return OpenRange(path, access, 0, access == FileAccess::Read ? 0 : size);
}

MappedFile MappedFile::OpenRange(const std::string& path, FileAccess access, std::uint64_t offset,
                                 std::uint64_t size) {
    MappedFile file;
    file.valid_ = OpenFileMapping(path, access, offset, size, file.mapping_, file.reason_);
    file.writable_ = file.valid_ && access == FileAccess::ReadWrite;
    return file;
}

MappedFile::MappedFile(MappedFile&& other) noexcept {
    *this = std::move(other);
}

MappedFile& MappedFile::operator=(MappedFile&& other) noexcept {
    if (this == &other) return *this;
    Close();
    mapping_ = std::exchange(other.mapping_, {});
    reason_ = std::exchange(other.reason_, {});
    valid_ = std::exchange(other.valid_, false);
    writable_ = std::exchange(other.writable_, false);
    return *this;
}

bool MappedFile::Read(std::uint64_t offset, std::span<std::byte> to) const {
    return valid_ && ReadMappedFile(mapping_, offset, to.data(), to.size());
}

bool MappedFile::Write(std::uint64_t offset, Bytes from) const {
    return writable_ && WriteMappedFile(mapping_, offset, from.data(), from.size());
}

void MappedFile::Close() {
    CloseFileMapping(mapping_);
    valid_ = writable_ = false;
}

} // namespace velorin
