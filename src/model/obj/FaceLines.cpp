#include "model/obj/FaceLines.h"

#include "model/obj/DigitRuns.h"

#include <algorithm>
#include <string_view>

namespace velorin::obj {

std::span<const Corner> FaceLineReader::Read(const char*& p, const char* limit, bool far,
                                             const ListLengths& lengths) {
    count_ = 0;
    negative_ = false;
    const char* q = p;
    if (far && ReadUniform(q, limit)) {
        p = q;
    } else {
        count_ = 0;
        negative_ = true;
        ReadLoose(p, limit);
    }
    if (negative_) MakeAbsolute(lengths);
    return {corners_.data(), count_};
}

// A line whose corners are all written alike, with nothing else on it; false for any other line. Stays within
// 64 characters behind the limit. Tries the form of the last such line first: a line has one form at most.
bool FaceLineReader::ReadUniform(const char*& p, const char* limit) {
    while (p < limit && IsBlank(*p)) ++p;
    if (p >= limit) return false;
    if (ReadAs(usualFormat_, p, limit)) return true;
    for (const Format format :
         {Format::Position, Format::PositionNormal, Format::PositionTexCoord, Format::All}) {
        if (format == usualFormat_ || !ReadAs(format, p, limit)) continue;
        usualFormat_ = format;
        return true;
    }
    return false;
}

bool FaceLineReader::ReadAs(Format format, const char*& p, const char* limit) {
    switch (format) {
    case Format::Position:
        return ReadCorners<Format::Position>(p, limit);
    case Format::PositionNormal:
        return ReadCorners<Format::PositionNormal>(p, limit);
    case Format::PositionTexCoord:
        return ReadCorners<Format::PositionTexCoord>(p, limit);
    case Format::All:
        return ReadCorners<Format::All>(p, limit);
    }
    return false;
}

template <FaceLineReader::Format kFormat>
bool FaceLineReader::ReadCorners(const char*& p, const char* limit) {
    DigitRuns runs(p);
    const auto slash = [&runs] {
        const bool there = runs.next() == '/';
        runs.Step();
        return there;
    };
    std::size_t count = 0;
    while (runs.place() < limit) {
        Corner corner;
        runs.Rebase();
        if (!runs.Index(corner.position, negative_)) return false;
        if constexpr (kFormat == Format::PositionNormal)
            if (!slash() || !slash() || !runs.Index(corner.normal, negative_)) return false;
        if constexpr (kFormat == Format::PositionTexCoord || kFormat == Format::All)
            if (!slash() || !runs.Index(corner.texCoord, negative_)) return false;
        if constexpr (kFormat == Format::All)
            if (!slash() || !runs.Index(corner.normal, negative_)) return false;
        if (runs.place() >= limit) return false;
        corners_[count++] = corner;
        const char behind = runs.next();
        if (IsLineEnd(behind)) {
            p = runs.place();
            count_ = count;
            return true;
        }
        if (!IsBlank(behind)) return false;
        runs.Step();
        if (IsBlank(runs.next()) || IsLineEnd(runs.next())) { // more than one blank, or blanks at the end
            const char* q = runs.place();
            while (q < limit && IsBlank(*q)) ++q;
            if (q >= limit) return false;
            if (IsLineEnd(*q)) {
                p = q;
                count_ = count;
                return true;
            }
            runs = DigitRuns(q);
        }
    }
    return false;
}

// Any line: each blank-separated token is scanned by the format that the line's first corner and slashes
// give, and counts only when all of the format's numbers are there.
void FaceLineReader::ReadLoose(const char*& p, const char* limit) {
    const char* end = p;
    while (end < limit && !IsLineEnd(*end)) ++end;
    const Format format = FormatOf(p, end);
    for (const char* q = SkipBlanks(p, end); q < end; q = SkipBlanks(q, end)) {
        const char* tokenEnd = q;
        while (tokenEnd < end && !IsBlank(*tokenEnd)) ++tokenEnd;
        Corner corner;
        if (ScanToken(q, tokenEnd, format, corner)) corners_[count_++] = corner;
        q = tokenEnd;
    }
    p = end;
}

FaceLineReader::Format FaceLineReader::FormatOf(const char* p, const char* end) {
    p = SkipBlanks(p, end);
    const std::string_view text(p, static_cast<std::size_t>(end - p));
    const auto slash = text.find('/');
    if (slash == text.npos) return Format::Position;
    if (text.find("//") != text.npos) return Format::PositionNormal;
    const auto second = text.find('/', slash + 1);
    if (second != text.npos && text.find_first_of(" \t") < second) return Format::PositionTexCoord;
    return Format::All;
}

bool FaceLineReader::ScanToken(const char* p, const char* end, Format format, Corner& corner) {
    const auto slash = [&] { return p < end && *p++ == '/'; };
    p = ScanInt(p, end, corner.position);
    if (!p || format == Format::Position) return p != nullptr;
    if (format == Format::PositionNormal)
        return slash() && slash() && ScanInt(p, end, corner.normal) != nullptr;
    if (!slash() || !(p = ScanInt(p, end, corner.texCoord))) return false;
    return format == Format::PositionTexCoord || (slash() && ScanInt(p, end, corner.normal) != nullptr);
}

void FaceLineReader::MakeAbsolute(const ListLengths& lengths) {
    const auto absolute = [](std::int32_t& index, std::size_t length) {
        if (index >= 0) return;
        const std::int64_t counted = static_cast<std::int64_t>(length) + index + 1;
        index = counted > 0 && counted <= INT32_MAX ? static_cast<std::int32_t>(counted) : 0;
    };
    for (Corner& corner : std::span(corners_.data(), count_)) {
        absolute(corner.position, lengths.positions);
        absolute(corner.texCoord, lengths.texCoords);
        absolute(corner.normal, lengths.normals);
    }
}

} // namespace velorin::obj
