#include "Deflate.h"
#include "model/vector/PdfFilters.h"
#include "model/vector/PdfObject.h"

#include <gtest/gtest.h>

namespace velorin {
namespace {

using test::Deflate;

TEST(PdfFilters, DecodeKnownText) {
    const struct {
        const char* filter;
        std::string in, out;
    } rows[] = {
        {"ASCIIHexDecode", "48 65 6C6c 6F 7>", "Hellop"},
        // The example of the base-85 literature: "Man " is 9jqo^, a zero group is z, a short group ends
        // early.
        {"ASCII85Decode", "9jqo^~>", "Man "},
        {"ASCII85Decode", "z9jqo^~>", std::string(4, '\0') + "Man "},
        {"A85", "9jn~>", "Ma"},
        {"RunLengthDecode",
         "\x02"
         "abc\xFDx\x80rest",
         "abcxxxx"},
        {"FlateDecode", Deflate("inflated"), "inflated"},
        // The worked example of the LZW filter: 45 45 45 45 45 65 45 45 45 66.
        {"LZWDecode", std::string("\x80\x0B\x60\x50\x22\x0C\x0C\x85\x01", 9),
         std::string("\x2D\x2D\x2D\x2D\x2D\x41\x2D\x2D\x2D\x42")},
        {"JPXDecode", "as it is", "as it is"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(DecodeFilter(row.filter, row.in, {}, 1000), row.out) << row.filter << " " << row.in;
}

TEST(PdfFilters, PredictorsUndoTheirDifferences) {
    // One byte a pixel, three a row, worked by hand: none, left, above, mean, Paeth.
    std::string rows("\x00\x01\x02\x03"
                     "\x01\x05\x01\x01"
                     "\x02\x01\x01\x01"
                     "\x03\x01\x01\x01"
                     "\x04\x01\x01\x01",
                     20);
    const std::string expected("\x01\x02\x03"
                               "\x05\x06\x07"
                               "\x06\x07\x08"
                               "\x04\x06\x08"
                               "\x05\x07\x09",
                               15);
    EXPECT_EQ(DecodeFilter("FlateDecode", Deflate(rows), {15, 1, 8, 3, 1}, 1000), expected);
    EXPECT_EQ(DecodeFilter("FlateDecode", Deflate("\x01\x02\x03"), {2, 1, 8, 3, 1}, 1000),
              std::string("\x01\x03\x06"));
}

TEST(PdfFilters, BrokenAndBoundlessDataIsRefused) {
    const std::pair<const char*, std::string> rows[] = {{"ASCII85Decode", "9jq\x7f"},
                                                        {"FlateDecode", "no zlib data"},
                                                        {"FlateDecode", Deflate(std::string(1 << 20, 'a'))},
                                                        {"RunLengthDecode", std::string(200'000, '\x81')}};
    for (const auto& [filter, data] : rows)
        EXPECT_THROW(static_cast<void>(DecodeFilter(filter, data, {}, 100'000)), PdfError) << filter;
    std::string cut = Deflate(std::string(5000, 'a') + "the end"); // a cut stream keeps what came before
    cut.resize(cut.size() - 6);
    EXPECT_GE(DecodeFilter("FlateDecode", cut, {}, 100'000).size(), 1000u);
}

} // namespace
} // namespace velorin
