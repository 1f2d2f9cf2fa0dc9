#include "model/vector/PdfFilters.h"

#include "model/vector/PdfObject.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <vector>
#include <zlib.h>

namespace velorin {

namespace {

void CheckLimit(std::size_t size, std::size_t limit) {
    if (size > limit) throw PdfError("A stream of the file unpacks to too many bytes.");
}

std::string Ascii85(const std::string& in, std::size_t limit) {
    std::string out;
    std::uint64_t group = 0;
    int count = 0;
    const auto flush = [&](int digits) {
        for (int k = digits; k < 5; ++k) group = group * 85 + 84;
        for (int k = 0; k < digits - 1; ++k) out += static_cast<char>((group >> (24 - 8 * k)) & 255);
        group = 0, count = 0;
    };
    for (std::size_t i = 0; i < in.size(); ++i) {
        const char c = in[i];
        if (c == ' ' || c == '\n' || c == '\r' || c == '\t' || c == '\f' || c == '\0') continue;
        if (c == '~') break;
        if (c == 'z' && count == 0) {
            out.append(4, '\0');
            CheckLimit(out.size(), limit);
            continue;
        }
        if (c == '<' && i + 1 < in.size() && in[i + 1] == '~') { // an opening mark that some writers add
            ++i;
            continue;
        }
        if (c < '!' || c > 'u') throw PdfError("ASCII85Decode: char out of range");
        group = group * 85 + static_cast<std::uint64_t>(c - '!');
        if (++count == 5) flush(5);
    }
    if (count > 1) flush(count);
    return out;
}

std::string AsciiHex(const std::string& in) {
    std::string out;
    int high = -1;
    for (const char c : in) {
        if (c == '>') break;
        const int digit = c >= '0' && c <= '9'   ? c - '0'
                          : c >= 'a' && c <= 'f' ? c - 'a' + 10
                          : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                                 : -1;
        if (digit < 0) continue;
        if (high < 0) {
            high = digit;
        } else {
            out += static_cast<char>(high * 16 + digit);
            high = -1;
        }
    }
    if (high >= 0) out += static_cast<char>(high * 16);
    return out;
}

std::string RunLength(const std::string& in, std::size_t limit) {
    std::string out;
    for (std::size_t i = 0; i < in.size();) {
        const int length = static_cast<unsigned char>(in[i++]);
        if (length == 128) break;
        if (length < 128) {
            const std::size_t count =
                std::min<std::size_t>(static_cast<std::size_t>(length) + 1, in.size() - i);
            out.append(in, i, count);
            i += count;
        } else if (i < in.size()) {
            out.append(static_cast<std::size_t>(257 - length), in[i++]);
        }
        CheckLimit(out.size(), limit);
    }
    return out;
}

// Inflates what is there: a damaged end keeps what came before it.
std::string Flate(const std::string& in, std::size_t limit) {
    z_stream stream{};
    if (inflateInit(&stream) != Z_OK) throw PdfError("FlateDecore: zip init error");
    struct End {
        z_stream& stream;
        ~End() { inflateEnd(&stream); }
    } end{stream};
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(in.data()));
    stream.avail_in = static_cast<uInt>(std::min<std::size_t>(in.size(), 0xffffffffu));
    std::string out;
    std::array<char, 1 << 16> buffer;
    int state = Z_OK;
    while (state == Z_OK) {
        stream.next_out = reinterpret_cast<Bytef*>(buffer.data());
        stream.avail_out = static_cast<uInt>(buffer.size());
        state = inflate(&stream, Z_NO_FLUSH);
        out.append(buffer.data(), buffer.size() - stream.avail_out);
        CheckLimit(out.size(), limit);
        if (stream.avail_in == 0 && stream.avail_out != 0) break;
    }
    if (state != Z_OK && state != Z_STREAM_END && state != Z_BUF_ERROR && out.empty())
        throw PdfError("FlateDecore: zip error");
    return out;
}

// T. A. Welch, "A technique for high-performance data compression", 1984; codes of 9 to 12 bits, high bit
// first, 256 clears the table and 257 ends.
std::string Lzw(const std::string& in, int earlyChange, std::size_t limit) {
    struct Entry {
        std::uint16_t prefix;
        std::uint16_t length;
        char last;
    };
    std::vector<Entry> table(4096);
    for (int i = 0; i < 256; ++i) table[static_cast<std::size_t>(i)] = {0, 1, static_cast<char>(i)};
    std::string out;
    std::size_t next = 258;
    int bits = 9, previous = -1;
    std::uint32_t window = 0;
    int have = 0;
    for (std::size_t i = 0;;) {
        while (have < bits && i < in.size()) {
            window = (window << 8) | static_cast<unsigned char>(in[i++]);
            have += 8;
        }
        if (have < bits) break;
        const int code = static_cast<int>((window >> (have - bits)) & ((1u << bits) - 1));
        have -= bits;
        if (code == 257) break;
        if (code == 256) {
            next = 258, bits = 9, previous = -1;
            continue;
        }
        if (static_cast<std::size_t>(code) > next || (static_cast<std::size_t>(code) == next && previous < 0))
            break;
        const auto append = [&](int which) {
            const std::size_t length = table[static_cast<std::size_t>(which)].length, start = out.size();
            out.resize(start + length);
            for (std::size_t k = length; k-- > 0;) {
                out[start + k] = table[static_cast<std::size_t>(which)].last;
                which = table[static_cast<std::size_t>(which)].prefix;
            }
            return out[start];
        };
        char first = 0;
        if (static_cast<std::size_t>(code) < next) {
            first = append(code);
        } else {
            first = append(previous);
            out += first;
        }
        if (previous >= 0 && next < 4096)
            table[next++] = {static_cast<std::uint16_t>(previous),
                             static_cast<std::uint16_t>(table[static_cast<std::size_t>(previous)].length + 1),
                             first};
        const std::size_t reach = next + static_cast<std::size_t>(earlyChange);
        bits = reach >= 2048 ? 12 : reach >= 1024 ? 11 : reach >= 512 ? 10 : 9;
        previous = code;
        CheckLimit(out.size(), limit);
    }
    return out;
}

int Paeth(int a, int b, int c) {
    const int p = a + b - c, pa = std::abs(p - a), pb = std::abs(p - b), pc = std::abs(p - c);
    return pa <= pb && pa <= pc ? a : pb <= pc ? b : c;
}

std::string Unpredict(const std::string& in, const PdfPredictor& p) {
    if (p.predictor < 2) return in;
    const int colors = std::clamp(p.colors, 1, 32), bits = std::clamp(p.bitsPerComponent, 1, 16);
    const int columns = std::clamp(p.columns, 1, 1 << 24);
    const auto pixel = static_cast<std::size_t>(std::max(1, colors * bits / 8));
    // A row that is longer than all there is ends with it.
    const std::size_t row = std::min(
        (static_cast<std::size_t>(columns) * static_cast<std::size_t>(colors * bits) + 7) / 8, in.size() + 1);
    std::string out;
    if (p.predictor == 2) { // differences between neighbours, whole bytes only
        out = in;
        if (bits != 8) return out;
        for (std::size_t start = 0; start < out.size(); start += row)
            for (std::size_t k = pixel; k < row && start + k < out.size(); ++k)
                out[start + k] = static_cast<char>(out[start + k] + out[start + k - pixel]);
        return out;
    }
    std::string above(row, '\0');
    for (std::size_t i = 0; i < in.size();) {
        const int kind = in[i++];
        std::string line = in.substr(i, row);
        i += line.size();
        const std::size_t got = line.size();
        line.resize(row, '\0');
        for (std::size_t k = 0; k < row; ++k) {
            const int left = k >= pixel ? static_cast<unsigned char>(line[k - pixel]) : 0;
            const int up = static_cast<unsigned char>(above[k]);
            const int corner = k >= pixel ? static_cast<unsigned char>(above[k - pixel]) : 0;
            const int add = kind == 1   ? left
                            : kind == 2 ? up
                            : kind == 3 ? (left + up) / 2
                            : kind == 4 ? Paeth(left, up, corner)
                                        : 0;
            line[k] = static_cast<char>(static_cast<unsigned char>(line[k]) + add);
        }
        out.append(line, 0, got);
        above = std::move(line);
    }
    return out;
}

} // namespace

std::string DecodeFilter(std::string_view filter, std::string bytes, const PdfPredictor& predictor,
                         std::size_t limit) {
    if (filter == "ASCII85Decode" || filter == "A85") return Ascii85(bytes, limit);
    if (filter == "ASCIIHexDecode" || filter == "AHx") return AsciiHex(bytes);
    if (filter == "RunLengthDecode" || filter == "RL") return RunLength(bytes, limit);
    if (filter == "FlateDecode" || filter == "Fl") return Unpredict(Flate(bytes, limit), predictor);
    if (filter == "LZWDecode" || filter == "LZW")
        return Unpredict(Lzw(bytes, predictor.earlyChange, limit), predictor);
    return bytes;
}

} // namespace velorin
