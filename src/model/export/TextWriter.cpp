#include "model/export/TextWriter.h"

#include <charconv>
#include <cmath>
#include <cstring>

namespace velorin {

namespace {

constexpr std::size_t kBufferSize = std::size_t{1} << 20;
constexpr std::size_t kLongestFloat = 64; // the largest float has 39 digits before the point

} // namespace

TextWriter::TextWriter(const std::string& path) : file_(path), buffer_(kBufferSize) {
}

char* TextWriter::Room(std::size_t size) {
    if (buffer_.size() - used_ < size) Flush();
    return buffer_.data() + used_;
}

void TextWriter::Flush() {
    (void)file_.Write(buffer_.data(), used_); // after a failure the file refuses the rest; Commit tells
    used_ = 0;
}

void TextWriter::Text(std::string_view text) {
    if (text.size() > buffer_.size()) {
        Flush();
        (void)file_.Write(text.data(), text.size());
        return;
    }
    std::memcpy(Room(text.size()), text.data(), text.size());
    used_ += text.size();
}

void TextWriter::Float(float value) {
    char* const start = Room(kLongestFloat);
    char* p = start;
    // 24 bits of a float and 14 of 5^6: the product is exact, so that its rounding is that of the written
    // number.
    const double millionths = std::abs(static_cast<double>(value)) * 1e6;
    if (!(millionths < 1e18)) {
        p = std::to_chars(p, p + kLongestFloat, value, std::chars_format::fixed, 6).ptr;
    } else {
        const auto rounded = static_cast<std::uint64_t>(std::llrint(millionths));
        if (std::signbit(value)) *p++ = '-';
        p = std::to_chars(p, p + 20, rounded / 1000000).ptr;
        std::uint64_t fraction = rounded % 1000000;
        *p = '.';
        for (int i = 6; i >= 1; --i, fraction /= 10) p[i] = static_cast<char>('0' + fraction % 10);
        p += 7;
    }
    used_ += static_cast<std::size_t>(p - start);
}

void TextWriter::Number(std::uint64_t value) {
    char* const start = Room(24);
    used_ += static_cast<std::size_t>(std::to_chars(start, start + 24, value).ptr - start);
}

bool TextWriter::Complete(std::string& error) {
    if (used_ > 0) Flush();
    if (file_.Complete()) return true;
    error = file_.error();
    return false;
}

bool TextWriter::Commit(std::string& error) {
    if (!Complete(error)) return false;
    if (file_.Commit()) return true;
    error = file_.error();
    return false;
}

} // namespace velorin
