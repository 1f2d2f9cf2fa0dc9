#include "model/obj/ObjText.h"

#include "model/obj/ByteMasks.h"
#include "model/obj/DigitRuns.h"
#include "model/obj/NumberScan.h"
#include "services/Log.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <unordered_map>

namespace velorin::obj {

namespace {

constexpr std::ptrdiff_t kKeywordLength = 16; // letters
constexpr std::uint32_t kLoggedKeywords =
    100; // of unknown statements, so that a broken file does not fill the log
constexpr std::string_view kDefaultMaterial = "Default";

// Lines of a keyword of one or two letters and N numbers in their usual form, with one blank before each and
// nothing behind the last. `p` stands at a line's start; returns the start of the first line that is
// different or comes close to the end of the file. A function of its own: the loop has all registers to
// itself.
template <int N, class Store>
[[gnu::noinline]] const char* ReadUsualLines(const char* p, const char* end, std::string_view keyword,
                                             Store&& store) {
    // The numbers of a line end within one mask, or the line is left to others.
    while (end - p >= 2 * kFarBytes && p[0] == keyword[0] && (keyword.size() == 1 || p[1] == keyword[1])) {
        DigitRuns runs(p + keyword.size());
        std::array<float, N> values;
        for (float& value : values) {
            if (!IsBlank(runs.next())) return p;
            runs.Step();
            if (!runs.Float(value)) return p;
        }
        if (!IsLineEnd(runs.next())) return p;
        store(values.data());
        p = runs.place() + 1;
        if (runs.next() == '\r' && *p == '\n') ++p;
    }
    return p;
}

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
            Line(); // leaves p_ within its line, or limit_ at the start of a later one
            while (p_ < limit_ && !IsLineEnd(*p_)) ++p_;
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
            const char* const start = p_;
            if (oneLetter) {
                p_ = ReadUsualLines<3>(p_, end_, "v", [this](const float* v) { AddPosition(v); });
                if (p_ == start) return Position(next);
                limit_ = p_;
                return;
            }
            const bool twoLetters = next + 1 == limit_ || !IsLetter(next[1]);
            if (twoLetters && *next == 'n') {
                p_ = ReadUsualLines<3>(p_, end_, "vn", [this](const float* v) { AddNormal(v); });
                if (p_ == start) return Normal(next + 1);
                limit_ = p_;
                return;
            }
            if (twoLetters && *next == 't') {
                p_ = ReadUsualLines<2>(p_, end_, "vt", [this](const float* v) { AddTexCoord(v); });
                if (p_ == start) return TexCoord(next + 1);
                limit_ = p_;
                return;
            }
        } else if (*p_ == 'f' && oneLetter) {
            return FaceLines();
        }
        if (*p_ != '#') Statement();
    }

    // Numbers as "%f %f %f" takes them: from the first that is missing on, all are 0.
    template <int N>
    std::array<float, N> Numbers(const char* p) {
        std::array<float, N> values{};
        for (float& value : values) {
            const char* const behind = ScanFloat(SkipBlanks(p, limit_), limit_, value);
            if (!behind) break;
            p = behind;
        }
        p_ = p;
        return values;
    }
    void Position(const char* p) { AddPosition(Numbers<3>(p).data()); }
    void Normal(const char* p) { AddNormal(Numbers<3>(p).data()); }
    void TexCoord(const char* p) { AddTexCoord(Numbers<2>(p).data()); }
    void AddPosition(const float* v) { text_.positions.push_back({-v[0], -v[1], v[2]}); }
    void AddNormal(const float* v) {
        const Point3 n{-v[0], -v[1], v[2]};
        const float square = LengthSquared(n);
        text_.normals.push_back(square != 0 ? n * (1 / std::sqrt(square)) : n);
    }
    void AddTexCoord(const float* v) { text_.texCoords.push_back({v[0], 1 - v[1]}); }

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
        text_.groups.push_back({entry->second});
        ++text_.meshes.back().groupCount;
        materialBound_ = true;
    }

    // Takes this line and the "f" lines behind it, without reading their numbers.
    void FaceLines() {
        if (needMesh_) StartMesh(defaultName_);
        if (!materialBound_) BindMaterial();
        const char* const start = p_;
        do {
            const char* const line = p_;
            limit_ = end_ - line > kLineLength ? line + kLineLength : end_;
            std::size_t tokens = line + 1 < limit_ && !IsBlank(line[1]) ? 1 : 0;
            p_ = LineEnd(line + 1, limit_, tokens);
            if (tokens > 2) text_.faceEstimate += tokens - 2;
            while (p_ < end_ && IsLineEnd(*p_)) ++p_;
        } while (p_ < end_ && *p_ == 'f' && (p_ + 1 == end_ || !IsLetter(p_[1])));
        const std::span run(start, static_cast<std::size_t>(p_ - start));
        text_.runs.push_back({std::as_bytes(run),
                              {text_.positions.size(), text_.texCoords.size(), text_.normals.size()},
                              static_cast<std::uint32_t>(text_.groups.size() - 1)});
        limit_ = p_;
    }
    // Adds the number of tokens that start behind a blank.
    const char* LineEnd(const char* p, const char* limit, std::size_t& tokens) const {
        std::uint64_t blankBefore = 0;
        for (; end_ - p >= 64 && p < limit; p += 64) {
            const std::uint64_t ends = LineEnds64(p), blanks = Blanks64(p);
            const std::uint64_t starts = ~blanks & (blanks << 1 | blankBefore) & ~ends;
            if (ends != 0) {
                const int end = std::countr_zero(ends);
                tokens += CountBits(starts & ((1ull << end) - 1));
                return std::min(p + end, limit);
            }
            tokens += CountBits(starts);
            blankBefore = blanks >> 63;
        }
        for (; p < limit && !IsLineEnd(*p); ++p) {
            tokens += blankBefore && !IsBlank(*p);
            blankBefore = IsBlank(*p);
        }
        return std::min(p, limit);
    }

    const char* p_;               // the next character
    const char* const end_;       // of the file
    const char* limit_ = nullptr; // the line ends here at the latest
    std::string_view defaultName_;
    std::string materialName_; // that holds now
    std::unordered_map<std::string, std::uint32_t> materialIndex_;
    bool needMesh_ = true, materialBound_ = false;
    std::uint32_t unknown_ = 0;
    ObjText text_;
};

} // namespace

ObjText ReadObjText(Bytes file, std::string_view defaultName) {
    return Reader(file, defaultName).Run();
}

} // namespace velorin::obj
