#include "images/Image.h"

#include "services/NxMath.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <memory>
#include <span>

// G. Ward, "Real Pixels", Graphics Gems II, 1991; run lengths as in G. W. Larson and R. Shakespeare,
// "Rendering with Radiance", 1998, and its file format description.

namespace velorin {

namespace {

// A scan line of one colour takes 12 bytes in the old form, up to a width of 65,536. Wider than 12,288, and
// of one colour everywhere, is not taken for a picture.
constexpr std::uint64_t kPixelsPerByte = 1024;
constexpr std::uint64_t kMaxHeaderBytes = 1 << 20;
constexpr std::size_t kMinNewRunLength = 8, kMaxNewRunLength = 0x7FFF;

using Rgbe = std::array<std::uint8_t, 4>;

struct RadianceHeader {
    bool xyz = false;
    // The picture as it is stored: `lines` scan lines of `length` pixels.
    std::uint32_t lines = 0, length = 0;
    bool linesAreColumns = false; // X is the slow axis
    bool flipX = false, flipY = false;

    [[nodiscard]] std::uint32_t width() const { return linesAreColumns ? lines : length; }
    [[nodiscard]] std::uint32_t height() const { return linesAreColumns ? length : lines; }
};

std::optional<std::string_view> TakeLine(ByteReader& reader, Bytes file) {
    const auto* text = reinterpret_cast<const char*>(file.data()) + reader.position();
    const auto limit = static_cast<std::size_t>(std::min(reader.remaining(), kMaxHeaderBytes));
    const void* end = std::memchr(text, '\n', limit);
    if (!end) return std::nullopt;
    std::string_view line(text, static_cast<std::size_t>(static_cast<const char*>(end) - text));
    if (!reader.Skip(line.size() + 1)) return std::nullopt;
    if (line.ends_with('\r')) line.remove_suffix(1);
    return line;
}

// One axis of the resolution line: "-Y 512".
bool ParseAxis(std::string_view& rest, char& axis, bool& negative, std::uint32_t& size) {
    while (rest.starts_with(' ')) rest.remove_prefix(1);
    if (rest.size() < 4 || (rest[0] != '+' && rest[0] != '-') || rest[2] != ' ') return false;
    negative = rest[0] == '-';
    axis = rest[1];
    rest.remove_prefix(3);
    while (rest.starts_with(' ')) rest.remove_prefix(1);
    const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), size);
    if (error != std::errc()) return false;
    rest.remove_prefix(static_cast<std::size_t>(end - rest.data()));
    return true;
}

// +Y is up and +X to the right, so that the usual "-Y h +X w" stores the top row first, from the left.
bool ParseResolution(std::string_view line, RadianceHeader& header) {
    char slow = 0, fast = 0;
    bool slowNegative = false, fastNegative = false;
    if (!ParseAxis(line, slow, slowNegative, header.lines) ||
        !ParseAxis(line, fast, fastNegative, header.length))
        return false;
    if (!((slow == 'Y' && fast == 'X') || (slow == 'X' && fast == 'Y'))) return false;
    header.linesAreColumns = slow == 'X';
    header.flipX = header.linesAreColumns ? slowNegative : fastNegative;
    header.flipY = !(header.linesAreColumns ? fastNegative : slowNegative);
    return true;
}

std::optional<RadianceHeader> ReadHeader(ByteReader& reader, Bytes file, std::string& reason) {
    RadianceHeader header;
    reason = "it is no Radiance picture";
    // Pictures from before the "#?" line still name their format.
    bool known = file.size() >= 2 && file[0] == std::byte{'#'} && file[1] == std::byte{'?'};
    auto line = TakeLine(reader, file);
    for (; line && !line->empty(); line = TakeLine(reader, file)) {
        if (!line->starts_with("FORMAT=")) continue;
        known = true;
        header.xyz = *line == "FORMAT=32-bit_rle_xyze";
        if (!header.xyz && *line != "FORMAT=32-bit_rle_rgbe") {
            reason = "its pixel format is not known";
            return std::nullopt;
        }
    }
    if (!line || !known) return std::nullopt;
    line = TakeLine(reader, file);
    if (!line || !ParseResolution(*line, header)) {
        reason = "its resolution line cannot be read";
        return std::nullopt;
    }
    return header;
}

// New form: the four components one after the other, each in runs (128 + n: one value n times) and literal
// spans.
bool ReadNewScanLine(ByteReader& reader, std::span<Rgbe> line) {
    for (std::size_t component = 0; component < 4; ++component) {
        for (std::size_t x = 0; x < line.size();) {
            const auto code = reader.Read<std::uint8_t>();
            if (!code) return false;
            const bool run = *code > 128;
            const std::size_t count = run ? *code - 128u : *code;
            if (count == 0 || count > line.size() - x) return false;
            const auto bytes = reader.Take(run ? 1 : count);
            if (!bytes) return false;
            const std::byte* source = bytes->data();
            for (std::size_t i = 0; i < count; ++i)
                line[x++][component] = static_cast<std::uint8_t>(source[run ? 0 : i]);
        }
    }
    return true;
}

// Old form, and flat pixels: (1, 1, 1, n) repeats the last pixel n times, times 256 for each such code before
// it.
bool ReadOldScanLine(ByteReader& reader, std::span<Rgbe> line, std::size_t x) {
    for (unsigned shift = 0; x < line.size();) {
        const auto pixel = reader.Read<Rgbe>();
        if (!pixel) return false;
        if ((*pixel)[0] != 1 || (*pixel)[1] != 1 || (*pixel)[2] != 1) {
            line[x++] = *pixel;
            shift = 0;
            continue;
        }
        if (x == 0 || shift > 24) return false;
        std::uint64_t count = std::uint64_t{(*pixel)[3]} << shift;
        if (count > line.size() - x) return false;
        for (; count > 0; --count, ++x) line[x] = line[x - 1];
        shift += 8;
    }
    return true;
}

bool ReadScanLine(ByteReader& reader, std::span<Rgbe> line) {
    const auto first = reader.Read<Rgbe>();
    if (!first) return false;
    const bool isNew = (*first)[0] == 2 && (*first)[1] == 2 && (*first)[2] < 128 &&
                       line.size() >= kMinNewRunLength && line.size() <= kMaxNewRunLength;
    if (isNew)
        return ((*first)[2] << 8 | (*first)[3]) == static_cast<int>(line.size()) &&
               ReadNewScanLine(reader, line);
    // A repeat has nothing to repeat at the start of a line.
    if ((*first)[0] == 1 && (*first)[1] == 1 && (*first)[2] == 1) return false;
    line[0] = *first;
    return ReadOldScanLine(reader, line, 1);
}

// 2^(e - 136) for each exponent byte; 0 is black.
std::array<float, 256> ExponentTable() {
    std::array<float, 256> scale{};
    for (int e = 1; e < 256; ++e) scale[static_cast<std::size_t>(e)] = std::ldexp(1.0f, e - 136);
    return scale;
}

// CIE XYZ to the primaries that Radiance uses, with equal-energy white: the inverse of the matrix whose
// columns are the primaries (0.640, 0.330), (0.290, 0.600), (0.150, 0.060), scaled to add up to (1, 1, 1).
Point3 XyzToRgb(Point3 c) {
    return {2.5653f * c.x - 1.1668f * c.y - 0.3985f * c.z, -1.0221f * c.x + 1.9783f * c.y + 0.0438f * c.z,
            0.0747f * c.x - 0.2519f * c.y + 1.1772f * c.z};
}

// Where the stored pixels go, in values from one to the next.
struct Walk {
    float* first = nullptr;
    std::ptrdiff_t lineStep = 0, pixelStep = 0;

    Walk(const RadianceHeader& header, Image& image) {
        const auto width = static_cast<std::ptrdiff_t>(image.width());
        const auto height = static_cast<std::ptrdiff_t>(image.height());
        const std::ptrdiff_t stepX = header.flipX ? -4 : 4, stepY = (header.flipY ? -4 : 4) * width;
        first = image.floats() + (header.flipX ? (width - 1) * 4 : 0) +
                (header.flipY ? (height - 1) * width * 4 : 0);
        lineStep = header.linesAreColumns ? stepX : stepY;
        pixelStep = header.linesAreColumns ? stepY : stepX;
    }
};

void Store(std::span<const Rgbe> line, bool xyz, float* target, std::ptrdiff_t step) {
    static const std::array<float, 256> scales = ExponentTable();
    for (const Rgbe& pixel : line) {
        const float scale = scales[pixel[3]];
        Point3 colour{scale * pixel[0], scale * pixel[1], scale * pixel[2]};
        if (xyz) colour = XyzToRgb(colour);
        target[0] = colour.x, target[1] = colour.y, target[2] = colour.z, target[3] = 1;
        target += step;
    }
}

} // namespace

std::optional<Image> DecodeRadiance(Bytes file, std::string& reason) {
    ByteReader reader(file);
    const auto header = ReadHeader(reader, file, reason);
    if (!header) return std::nullopt;
    if (!PlausibleSize(header->width(), header->height(), reader.remaining(), kPixelsPerByte, reason))
        return std::nullopt;
    if (!reader.Holds(header->lines, 4)) {
        reason = "the file is cut short";
        return std::nullopt;
    }
    Image image(header->width(), header->height(), Image::Format::RgbaFloat);
    const Walk walk(*header, image);
    // Not initialised: memory that a damaged file never fills is never touched.
    const auto pixels = std::make_unique_for_overwrite<Rgbe[]>(header->length);
    const std::span line(pixels.get(), header->length);
    for (std::uint32_t n = 0; n < header->lines; ++n) {
        if (!ReadScanLine(reader, line)) {
            reason = "its scan line " + std::to_string(n + 1) + " is damaged or cut short";
            return std::nullopt;
        }
        Store(line, header->xyz, walk.first + static_cast<std::ptrdiff_t>(n) * walk.lineStep, walk.pixelStep);
    }
    reason.clear();
    return image;
}

} // namespace velorin
