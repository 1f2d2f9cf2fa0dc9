#pragma once

#include "services/ByteReader.h"
#include "services/MappedFile.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace velorin {

class SafeFile;

// What tells one kind of document from another: the bytes it begins with and the width of a chunk's header.
struct ContainerForm {
    std::array<std::uint8_t, 8> magic{};
    std::uint32_t magicLength = 8; // 8 or 4
    bool narrow = false;           // tag and length in 16 bits instead of 32

    [[nodiscard]] Bytes magicBytes() const { return std::as_bytes(std::span(magic)).first(magicLength); }
};

inline constexpr ContainerForm kDefaultForm{{'N', 'X', 'C', 'F', 'H', 0, 0, 1}, 8, false};
inline constexpr ContainerForm kSceneForm{{'Z', 'Q', 'S', 4}, 4, true};
inline constexpr ContainerForm kMaterialPresetForm{{'Z', 'Q', 'P', 2}, 4, true};

// Version by the leading bytes: 1, 3, 4 for "NXCFH", 1 to 4 for "ZQS", 0 for everything else.
[[nodiscard]] std::uint32_t FileVersion(Bytes bytes);

// Reader and writer of the tagged container: a magic, then a flat run of chunks, each a tag, a payload length
// and the payload. One direction, one thread, then thrown away. It reports nothing: a container that could
// not be opened reads as empty and swallows what is written; `opened()` tells after Begin.
class ChunkFile {
public:
    enum class Mode : std::uint32_t { Read = 0, Write = 1, Measure = 2 };

    // A file. Read maps it. Write collects the document and puts it in the place of an existing file at
    // Close, so that a write that is interrupted leaves the old file as it was. Measure touches no file.
    ChunkFile(std::string path, Mode mode, const ContainerForm& form = kDefaultForm);

    // Reads a document in memory, which must outlive the container.
    explicit ChunkFile(Bytes document, const ContainerForm& form = kDefaultForm);

    // Writes into a buffer of `size` bytes, or measures when `buffer` is null. A chunk that does not fit
    // closes the container: the document then ends with the chunk before it.
    ChunkFile(std::byte* buffer, std::uint64_t size, const ContainerForm& form = kDefaultForm);

    ~ChunkFile();
    ChunkFile(const ChunkFile&) = delete;
    ChunkFile& operator=(const ChunkFile&) = delete;

    // Another form than the constructor's; only before the first read or write.
    void SetForm(const ContainerForm& form) { form_ = form; }

    // Checks or places the magic. Runs by itself at the first read or write. When reading, a magic other than
    // the expected one is refused only if its version is higher than the expected one's.
    void Begin();

    // The low 16 bits of tag and length are stored in the narrow form: a payload of 65,536 bytes or more
    // corrupts the rest of such a document.
    void WriteChunk(std::uint32_t tag, const void* data, std::uint64_t length);
    void WriteChunk(std::uint32_t tag, Bytes payload) { WriteChunk(tag, payload.data(), payload.size()); }
    // With its terminating zero.
    void WriteString(std::uint32_t tag, std::string_view text);

    // Moves to the next chunk and returns its tag, or 0 at the end. A chunk that does not lie whole inside
    // the document counts as the end.
    [[nodiscard]] std::uint32_t NextChunk();
    [[nodiscard]] Bytes Payload() const { return payload_; } // empty when there is no chunk
    [[nodiscard]] std::uint64_t PayloadLength() const { return payload_.size(); }

    [[nodiscard]] bool opened() const { return opened_; }
    // Reading: the magic was refused, or the document has ended inside a chunk. Known at its end.
    [[nodiscard]] bool damaged() const { return damaged_; }
    // Reading: bytes up to the end of the current chunk; at the end, of all that could be read.
    [[nodiscard]] std::uint64_t bytesRead() const { return cursor_; }
    [[nodiscard]] bool begun() const { return begun_; }
    [[nodiscard]] Mode mode() const { return mode_; }
    [[nodiscard]] const std::string& path() const { return path_; }
    [[nodiscard]] const ContainerForm& form() const { return form_; }
    // Bytes available (read), written or measured so far.
    [[nodiscard]] std::uint64_t size() const;
    // Version by the first bytes of the document that is read.
    [[nodiscard]] std::uint32_t version() const { return FileVersion(document_); }

    // Ends a written file: it stands complete on disk when this returns true. The destructor does the same
    // without an answer. True at once for the other kinds of container.
    bool Close();
    // Why Close or the opening of the file failed: one sentence, empty while all is well.
    [[nodiscard]] const std::string& error() const { return error_; }

private:
    [[nodiscard]] std::uint64_t headerWidth() const { return form_.narrow ? 2 : 4; }

    std::string path_;
    Mode mode_;
    bool opened_ = false;
    bool begun_ = false;
    bool ended_ = false; // reading has met the last chunk
    bool damaged_ = false;
    ContainerForm form_;
    Bytes document_;                 // read: the whole of it
    std::byte* buffer_ = nullptr;    // write into memory of the caller
    std::uint64_t capacity_ = 0;     // of buffer_
    std::uint64_t cursor_ = 0;       // next chunk (read), bytes so far (write, measure)
    Bytes payload_;                  // of the current chunk
    std::vector<std::byte> written_; // file write: the document so far
    MappedFile mapping_;             // file read
    std::unique_ptr<SafeFile> file_; // file write
    std::string error_;
};

} // namespace velorin
