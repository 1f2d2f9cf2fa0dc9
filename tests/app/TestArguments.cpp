#include "app/command/Commands.h"
#include "app/command/Table.h"
#include "app/host/Pipl.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace velorin::app {
namespace {

TEST(Arguments, FrameRanges) {
    struct Case {
        const char* text;
        int first, last, step; // step 0: refused
    };
    const Case cases[] = {{"0", 0, 0, 1},  {"3-7", 3, 7, 1}, {"0-10/5", 0, 10, 5}, {"7-3", 0, 0, 0},
                          {"-3", 0, 0, 0}, {"3-", 0, 0, 0},  {"1-5/0", 0, 0, 0},   {"1/2", 0, 0, 0},
                          {"", 0, 0, 0},   {"a", 0, 0, 0},   {"1-5x", 0, 0, 0},    {"99999999999", 0, 0, 0}};
    for (const Case& c : cases) {
        const auto range = ParseFrameRange(c.text);
        EXPECT_EQ(range.has_value(), c.step != 0) << c.text;
        if (!range) continue;
        EXPECT_EQ(range->first, c.first) << c.text;
        EXPECT_EQ(range->last, c.last) << c.text;
        EXPECT_EQ(range->step, c.step) << c.text;
    }
}

TEST(Arguments, Sizes) {
    const auto size = ParseSize("640x480");
    ASSERT_TRUE(size);
    EXPECT_EQ(size->width, 640);
    EXPECT_EQ(size->height, 480);
    for (const char* text : {"", "640", "640x", "x480", "640x480x1", "0x10", "10x-1", "640 x 480", "40000x1"})
        EXPECT_FALSE(ParseSize(text)) << text;
}

TEST(Arguments, FrameNames) {
    EXPECT_EQ(NumberedName("a.####.png", 7), "a.0007.png");
    EXPECT_EQ(NumberedName("a.####.png", 12345), "a.12345.png");
    EXPECT_EQ(NumberedName("####/b######.exr", 7), "####/b000007.exr");
    EXPECT_EQ(NumberedName("####", 0), "0000");
    EXPECT_FALSE(NumberedName("a###.png", 7));
}

TEST(Arguments, TablesAlignTheirColumns) {
    const auto json =
        nlohmann::ordered_json::parse(R"([{"a": 1, "name": "\u00e4b"}, {"name": "c", "list": [1, 2.5]}])");
    EXPECT_EQ(TableText(json), "a  name  list\n1  \xc3\xa4"
                               "b\n   c     1 2.5\n");
    EXPECT_EQ(
        TableText(nlohmann::ordered_json::parse(R"({"x": true, "rows": [{"k": 1}], "of": {"y": null}})")),
        "x: yes\n\nrows:\n  k\n  1\n\nof:\n  y: \n");
    // Rows that hold more than values stand below each other.
    EXPECT_EQ(TableText(nlohmann::ordered_json::parse(R"([{"a": 1, "b": {"c": 2}}, {"a": 3}])")),
              "[0]\n  a: 1\n\n  b:\n    c: 2\n\n[1]\n  a: 3\n");
}

TEST(Arguments, FilesWithoutAPropertyListHaveNone) {
    EXPECT_FALSE(ReadPipl("/nowhere"));
    EXPECT_FALSE(ReadPipl(VELORIN_SOURCE_DIR "/CMakeLists.txt"));
}

} // namespace
} // namespace velorin::app
