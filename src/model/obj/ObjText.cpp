#include "model/obj/ObjText.h"

#include "model/obj/NumberScan.h"
#include "services/Log.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>

namespace velorin::obj {

namespace {

constexpr std::ptrdiff_t kLineLength = 1023;  // what is longer goes on as a new line
constexpr std::ptrdiff_t kKeywordLength = 16; // letters
constexpr std::size_t kLineCorners = 512;     // a line of 1023 characters has no room for more
constexpr std::uint32_t kLoggedKeywords =
    100; // of unknown statements, so that a broken file does not fill the log
constexpr std::string_view kDefaultMaterial = "Default";

enum class FaceFormat { Position, PositionNormal, PositionTexCoord, All };

class Reader {
public:
    Reader(Bytes file, std::string_view defaultName)
        : p_(reinterpret_cast<const char*>(file.data())),
          end_(p_ + file.size()),
          defaultName_(defaultName),
          materialName_(kDefaultMaterial) {}

    ObjText Run() {
        while (p_ < end_) {
            if (IsLineEnd(*p_)) {
                ++p_;
                continue;
            }
            limit_ = end_ - p_ > kLineLength ? p_ + kLineLength : end_;
            Line();
            while (p_ < limit_ && !IsLineEnd(*p_)) ++p_;
        }
        // The last group keeps its place only with faces.
        if (!text_.groups.empty() && text_.groups.back().faceCount == 0 &&
            text_.meshes.back().groupCount > 0) {
            text_.groups.pop_back();
            --text_.meshes.back().groupCount;
        }
        if (unknown_ > kLoggedKeywords)
            Log("Unrecognized Obj type: %u more lines", unknown_ - kLoggedKeywords);
        return std::move(text_);
    }

private:
    // The frequent statements first, without looking for the end of the line.
    void Line() {
        const char* const next = p_ + 1;
        const bool oneLetter = next == limit_ || !IsLetter(*next);
        if (*p_ == 'v') {
            if (oneLetter) return Position(next);
            const bool twoLetters = next + 1 == limit_ || !IsLetter(next[1]);
            if (twoLetters && *next == 'n') return Normal(next + 1);
            if (twoLetters && *next == 't') return TexCoord(next + 1);
        } else if (*p_ == 'f' && oneLetter) {
            return FaceLine(next);
        }
        if (*p_ != '#') Statement();
    }

    // Numbers as "%f %f %f" takes them: from the first that is missing on, all are 0.
    template <int N>
    void Numbers(const char* p, float (&values)[N]) {
        for (float& value : values) {
            const char* const behind = ScanFloat(SkipBlanks(p, limit_), limit_, value);
            if (!behind) break;
            p = behind;
        }
        p_ = p;
    }
    void Position(const char* p) {
        float v[3]{};
        Numbers(p, v);
        text_.positions.push_back({-v[0], -v[1], v[2]});
    }
    void Normal(const char* p) {
        float v[3]{};
        Numbers(p, v);
        const Point3 n{-v[0], -v[1], v[2]};
        const float square = LengthSquared(n);
        text_.normals.push_back(square != 0 ? n * (1 / std::sqrt(square)) : n);
    }
    void TexCoord(const char* p) {
        float v[2]{};
        Numbers(p, v);
        text_.texCoords.push_back({v[0], 1 - v[1]});
    }

    // All statements but the frequent ones.
    void Statement() {
        const char* behind = p_;
        while (behind < limit_ && behind - p_ < kKeywordLength && IsLetter(*behind)) ++behind;
        if (behind == p_) return;
        const std::string_view keyword(p_, static_cast<std::size_t>(behind - p_));
        const char* lineEnd = behind;
        while (lineEnd < limit_ && !IsLineEnd(*lineEnd)) ++lineEnd;
        const std::string_view argument(behind, static_cast<std::size_t>(lineEnd - behind));
        p_ = lineEnd;
        if (keyword == "usemtl") {
            materialName_ = WithoutLeadingBlanks(argument);
            materialBound_ = false;
            if (text_.meshes.empty()) needMesh_ = true;
        } else if (keyword == "g") {
            StartMesh(argument.substr(std::min<std::size_t>(1, argument.size())));
        } else if (keyword == "mtllib") {
            text_.mtlLibrary = WithoutLeadingBlanks(argument);
        } else if (keyword != "o" && keyword != "s") {
            Unknown(keyword);
        }
    }
    static std::string_view WithoutLeadingBlanks(std::string_view text) {
        while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
        return text;
    }
    void Unknown(std::string_view keyword) {
        if (++unknown_ > kLoggedKeywords) return;
        Log("Unrecognized Obj type: %.*s (%s)", static_cast<int>(keyword.size()), keyword.data(),
            text_.meshes.empty() ? "" : text_.meshes.back().name.c_str());
    }

    // Faces behind a new mesh start a group in it, with the material that holds.
    void StartMesh(std::string_view name) {
        text_.meshes.push_back({std::string(name), text_.groups.size(), 0});
        needMesh_ = false;
        materialBound_ = false;
    }
    void BindMaterial() {
        const auto [entry, isNew] =
            materialIndex_.try_emplace(materialName_, static_cast<std::uint32_t>(text_.materialNames.size()));
        if (isNew) text_.materialNames.push_back(materialName_);
        text_.groups.push_back({entry->second, text_.faces.size(), 0});
        ++text_.meshes.back().groupCount;
        materialBound_ = true;
    }

    void FaceLine(const char* p) {
        if (needMesh_) StartMesh(defaultName_);
        if (!materialBound_) BindMaterial();
        if (!UniformCorners(p)) LooseCorners(p);
        for (std::size_t i = 2; i < cornerCount_; ++i)
            text_.faces.push_back({corners_[0], corners_[i - 1], corners_[i]});
        if (cornerCount_ > 2) text_.groups.back().faceCount += cornerCount_ - 2;
    }

    // A line whose corners are all written alike, with nothing else on it; ends at the line's end. False for
    // any other line, which LooseCorners then reads from its start.
    bool UniformCorners(const char* p) {
        cornerCount_ = 0;
        p = SkipBlanks(p, limit_);
        Corner corner;
        FaceFormat format{};
        const char* q = FirstCorner(p, corner, format);
        while (q) {
            const bool last = q == limit_ || IsLineEnd(*q);
            if (!last && !IsBlank(*q)) return false;
            AddCorner(corner, format);
            if (!last) q = SkipBlanks(q, limit_);
            if (last || q == limit_ || IsLineEnd(*q)) {
                p_ = q;
                return true;
            }
            corner = Corner{};
            q = NextCorner(q, corner, format);
        }
        return false;
    }
    const char* FirstCorner(const char* p, Corner& corner, FaceFormat& format) {
        p = Index(p, corner.position);
        format = FaceFormat::Position;
        if (!p || p == limit_ || *p != '/') return p;
        if (p + 1 < limit_ && p[1] == '/') {
            format = FaceFormat::PositionNormal;
            return Index(p + 2, corner.normal);
        }
        p = Index(p + 1, corner.texCoord);
        format = FaceFormat::PositionTexCoord;
        if (!p || p == limit_ || *p != '/') return p;
        format = FaceFormat::All;
        return Index(p + 1, corner.normal);
    }
    const char* NextCorner(const char* p, Corner& corner, FaceFormat format) {
        p = Index(p, corner.position);
        if (!p || format == FaceFormat::Position) return p;
        if (p == limit_ || *p != '/') return nullptr;
        ++p;
        if (format == FaceFormat::PositionNormal) {
            if (p == limit_ || *p != '/') return nullptr;
            return Index(p + 1, corner.normal);
        }
        p = Index(p, corner.texCoord);
        if (!p || format == FaceFormat::PositionTexCoord) return p;
        if (p == limit_ || *p != '/') return nullptr;
        return Index(p + 1, corner.normal);
    }
    // An index of at most nine digits without "+"; null for anything else.
    const char* Index(const char* p, std::int32_t& index) const {
        const bool negative = p < limit_ && *p == '-';
        p += negative;
        const char* const start = p;
        std::uint32_t value = 0;
        for (; p < limit_ && IsDigit(*p); ++p) value = value * 10 + static_cast<std::uint32_t>(*p - '0');
        if (p == start || p - start > 9) return nullptr;
        index = static_cast<std::int32_t>(negative ? 0u - value : value);
        return p;
    }

    // The corners of any line: each blank-separated token is scanned by the format that the line's first
    // corner and slashes give, and counts only when all of the format's numbers are there.
    void LooseCorners(const char* p) {
        const char* lineEnd = p;
        while (lineEnd < limit_ && !IsLineEnd(*lineEnd)) ++lineEnd;
        p_ = lineEnd;
        cornerCount_ = 0;
        const FaceFormat format = LineFormat({p, static_cast<std::size_t>(lineEnd - p)});
        for (;;) {
            p = SkipBlanks(p, lineEnd);
            if (p == lineEnd) return;
            const char* tokenEnd = p;
            while (tokenEnd < lineEnd && !IsBlank(*tokenEnd)) ++tokenEnd;
            Corner corner;
            if (ScanToken(p, tokenEnd, format, corner)) AddCorner(corner, format);
            p = tokenEnd;
        }
    }
    static FaceFormat LineFormat(std::string_view text) {
        text = WithoutLeadingBlanks(text);
        const auto slash = text.find('/');
        if (slash == text.npos) return FaceFormat::Position;
        if (text.find("//") != text.npos) return FaceFormat::PositionNormal;
        const auto second = text.find('/', slash + 1);
        if (second != text.npos && text.find_first_of(" \t") < second) return FaceFormat::PositionTexCoord;
        return FaceFormat::All;
    }
    static bool ScanToken(const char* p, const char* end, FaceFormat format, Corner& corner) {
        const auto slash = [&] { return p < end && *p++ == '/'; };
        p = ScanInt(p, end, corner.position);
        if (!p || format == FaceFormat::Position) return p != nullptr;
        if (format == FaceFormat::PositionNormal)
            return slash() && slash() && ScanInt(p, end, corner.normal) != nullptr;
        if (!slash() || !(p = ScanInt(p, end, corner.texCoord))) return false;
        return format == FaceFormat::PositionTexCoord ||
               (slash() && ScanInt(p, end, corner.normal) != nullptr);
    }

    // Counts negative indices from the ends of their lists as these stand now.
    void AddCorner(Corner corner, FaceFormat format) {
        Absolute(corner.position, text_.positions.size());
        if (format == FaceFormat::PositionTexCoord || format == FaceFormat::All)
            Absolute(corner.texCoord, text_.texCoords.size());
        if (format == FaceFormat::PositionNormal || format == FaceFormat::All)
            Absolute(corner.normal, text_.normals.size());
        corners_[cornerCount_++] = corner;
    }
    static void Absolute(std::int32_t& index, std::size_t length) {
        if (index >= 0) return;
        const std::int64_t absolute = static_cast<std::int64_t>(length) + index + 1;
        index = absolute > 0 && absolute <= INT32_MAX ? static_cast<std::int32_t>(absolute) : 0;
    }

    const char* p_;               // the next character
    const char* const end_;       // of the file
    const char* limit_ = nullptr; // the line ends here at the latest
    std::string_view defaultName_;
    std::string materialName_; // that holds now
    std::unordered_map<std::string, std::uint32_t> materialIndex_;
    bool needMesh_ = true, materialBound_ = false;
    std::uint32_t unknown_ = 0;
    std::array<Corner, kLineCorners> corners_;
    std::size_t cornerCount_ = 0;
    ObjText text_;
};

} // namespace

ObjText ReadObjText(Bytes file, std::string_view defaultName) {
    return Reader(file, defaultName).Run();
}

} // namespace velorin::obj
