#include "core/document/ChunkFile.h"

#include "services/Log.h"
#include "services/SafeFile.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>

namespace velorin {

namespace {

// A file begins with this many bytes whatever the magic's length; what is written reaches into them. A file
// with a magic of 4 bytes therefore ends with 4 zeros, which its reader takes for the end tag.
constexpr std::size_t kFirstBytes = 8;

bool BeginsWith(Bytes bytes, Bytes magic) {
    return bytes.size() >= magic.size() && std::equal(magic.begin(), magic.end(), bytes.begin());
}

} // namespace

std::uint32_t FileVersion(Bytes bytes) {
    ContainerForm form = kDefaultForm;
    for (std::uint8_t version = 1; version <= 4; ++version) {
        form.magic[7] = version;
        if (version != 2 && BeginsWith(bytes, form.magicBytes())) return version;
    }
    form = kSceneForm;
    for (std::uint8_t version = 1; version <= 4; ++version) {
        form.magic[3] = version;
        if (BeginsWith(bytes, form.magicBytes())) return version;
    }
    return 0;
}

ChunkFile::ChunkFile(std::string path, Mode mode, const ContainerForm& form)
    : path_(std::move(path)), mode_(mode), form_(form) {
    if (mode_ == Mode::Read) {
        mapping_ = MappedFile::Open(path_, FileAccess::Read);
        document_ = mapping_.bytes();
        if (!mapping_.valid()) error_ = path_ + ": " + mapping_.reason();
    } else if (mode_ == Mode::Write) {
        file_ = std::make_unique<SafeFile>(path_);
        error_ = file_->error();
    }
}

ChunkFile::ChunkFile(Bytes document, const ContainerForm& form)
    : mode_(Mode::Read), form_(form), document_(document) {
}

ChunkFile::ChunkFile(std::byte* buffer, std::uint64_t size, const ContainerForm& form)
    : mode_(buffer ? Mode::Write : Mode::Measure), form_(form), buffer_(buffer), capacity_(size) {
}

ChunkFile::~ChunkFile() {
    if (!Close()) LogError("%s", error_.c_str());
}

void ChunkFile::Begin() {
    begun_ = true;
    opened_ = false;
    cursor_ = 0;
    payload_ = {};
    const Bytes magic = form_.magicBytes();
    switch (mode_) {
    case Mode::Measure:
        opened_ = true;
        break;
    case Mode::Write:
        if (file_ && file_->ok()) {
            written_.assign(kFirstBytes, std::byte{0});
            std::copy(magic.begin(), magic.end(), written_.begin());
            opened_ = true;
        } else if (buffer_ && capacity_ >= magic.size()) {
            std::copy(magic.begin(), magic.end(), buffer_);
            opened_ = true;
        }
        break;
    case Mode::Read:
        opened_ = document_.size() >= magic.size() &&
                  (BeginsWith(document_, magic) || FileVersion(magic) >= FileVersion(document_));
        damaged_ = !opened_;
        break;
    }
    if (opened_) cursor_ = magic.size();
}

void ChunkFile::WriteChunk(std::uint32_t tag, const void* data, std::uint64_t length) {
    if (!begun_) Begin();
    if (!opened_ || mode_ == Mode::Read) return;
    const std::uint64_t width = headerWidth();
    const std::uint64_t total = 2 * width + length;
    std::byte* target = nullptr;
    if (file_) {
        written_.resize(written_.size() + static_cast<std::size_t>(total));
        target = written_.data() + cursor_;
    } else if (mode_ == Mode::Write) {
        if (total > capacity_ - cursor_) {
            opened_ = false;
            return;
        }
        target = buffer_ + cursor_;
    }
    if (target) {
        const auto storedLength = static_cast<std::uint32_t>(length);
        std::memcpy(target, &tag, width);
        std::memcpy(target + width, &storedLength, width);
        if (length != 0) std::memcpy(target + 2 * width, data, length);
    }
    cursor_ += total;
}

void ChunkFile::WriteString(std::uint32_t tag, std::string_view text) {
    const std::string terminated(text);
    WriteChunk(tag, terminated.c_str(), terminated.size() + 1);
}

std::uint32_t ChunkFile::NextChunk() {
    if (!begun_) Begin();
    payload_ = {};
    if (!opened_ || ended_ || mode_ != Mode::Read) return 0;
    ByteReader reader(document_);
    const auto header = [&]() -> std::optional<std::uint32_t> {
        if (form_.narrow) {
            const auto value = reader.Read<std::uint16_t>();
            return value ? std::optional<std::uint32_t>(*value) : std::nullopt;
        }
        return reader.Read<std::uint32_t>();
    };
    if (!reader.Seek(cursor_)) return 0;
    const auto tag = header();
    const auto length = tag ? header() : std::nullopt;
    const auto payload = length ? reader.Take(*length) : std::nullopt;
    if (!payload || *tag == 0) {
        ended_ = true;
        damaged_ = cursor_ != document_.size() && tag != 0u;
        return 0;
    }
    payload_ = *payload;
    cursor_ = reader.position();
    return *tag;
}

std::uint64_t ChunkFile::size() const {
    if (mode_ == Mode::Read) return document_.size();
    return file_ ? written_.size() : cursor_;
}

bool ChunkFile::Close() {
    if (!file_) return true;
    if (error_.empty() && begun_) {
        file_->Write(written_);
        if (!file_->Commit()) error_ = file_->error();
    }
    file_.reset();
    opened_ = false;
    return error_.empty();
}

} // namespace velorin
