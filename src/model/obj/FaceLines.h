#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

// The "f" lines of an OBJ file.
namespace velorin::obj {

inline constexpr std::ptrdiff_t kLineLength = 1023; // characters; what is longer goes on as a new line

// Indices of one corner, counted from 1; an index that the file leaves out is 1. Nothing says that they lie
// in their lists.
struct Corner {
    std::int32_t position = 1, texCoord = 1, normal = 1;
    friend bool operator==(const Corner&, const Corner&) = default;
};

// The lengths of the lists where a face stands: what its negative indices count back from.
struct ListLengths {
    std::size_t positions = 0, texCoords = 0, normals = 0;
};

class FaceLineReader {
public:
    // Reads the line that starts at `p` behind its keyword; moves `p` to the line's end. `limit`: where the
    // line ends at the latest. `far`: 64 bytes behind the limit are readable, which is much faster. The
    // corners are valid until the next call; an absolute index takes the place of a negative one, 0 that of
    // one before the list's start.
    [[nodiscard]] std::span<const Corner> Read(const char*& p, const char* limit, bool far,
                                               const ListLengths& lengths);

private:
    enum class Format { Position, PositionNormal, PositionTexCoord, All };

    bool ReadAs(Format format, const char*& p, const char* limit);
    bool ReadUniform(const char*& p, const char* limit);
    template <Format kFormat>
    bool ReadCorners(const char*& p, const char* limit);
    void ReadLoose(const char*& p, const char* limit);
    void MakeAbsolute(const ListLengths& lengths);
    static Format FormatOf(const char* p, const char* end);
    static bool ScanToken(const char* p, const char* end, Format format, Corner& corner);

    // A line of 1023 characters has no room for more.
    std::array<Corner, 512> corners_;
    std::size_t count_ = 0;
    Format usualFormat_ = Format::All;
    bool negative_ = false; // some index may be
};

} // namespace velorin::obj
