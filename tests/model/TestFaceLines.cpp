#include "model/obj/FaceLines.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

namespace velorin::obj {

void PrintTo(const Corner& corner, std::ostream* out) {
    *out << corner.position << '/' << corner.texCoord << '/' << corner.normal;
}

namespace {

using Corners = std::vector<Corner>;

// `text`: what stands behind the keyword. `far` pads it, so that the fast way is open.
Corners Read(const std::string& text, const ListLengths& lengths, bool far) {
    std::vector<char> exact(text.begin(), text.end());
    if (far) exact.insert(exact.end(), 256, '7');
    FaceLineReader reader;
    const char* p = exact.data();
    const auto corners = reader.Read(p, exact.data() + text.size(), far, lengths);
    EXPECT_LE(p, exact.data() + text.size());
    const std::size_t end = text.find_first_of("\r\n");
    EXPECT_EQ(p - exact.data(), static_cast<std::ptrdiff_t>(std::min(end, text.size()))) << text;
    return {corners.begin(), corners.end()};
}

TEST(FaceLines, ReadsEveryForm) {
    struct Case {
        const char *name, *text;
        Corners corners;
    };
    const Case cases[] = {
        {"positions", " 1 2 3\n", {{1, 1, 1}, {2, 1, 1}, {3, 1, 1}}},
        {"positions and texture", " 1/4 2/5 3/6\n", {{1, 4, 1}, {2, 5, 1}, {3, 6, 1}}},
        {"positions and normals", " 1//4 2//5 3//6\n", {{1, 1, 4}, {2, 1, 5}, {3, 1, 6}}},
        {"all", " 1/4/7 2/5/8 3/6/9\n", {{1, 4, 7}, {2, 5, 8}, {3, 6, 9}}},
        {"a quad", " 1 2 3 4\n", {{1, 1, 1}, {2, 1, 1}, {3, 1, 1}, {4, 1, 1}}},
        {"many blanks and tabs", "  \t1/2 \t 3/4\t5/6  \r\n", {{1, 2, 1}, {3, 4, 1}, {5, 6, 1}}},
        {"negative", " -3 -2 -1\n", {{8, 1, 1}, {9, 1, 1}, {10, 1, 1}}},
        {"each list its own length", " -1/-1/-1 -1/-2/-3 1/1/1\n", {{10, 20, 30}, {10, 19, 28}, {1, 1, 1}}},
        {"before the start of its list", " -11 1 -10\n", {{0, 1, 1}, {1, 1, 1}, {1, 1, 1}}},
        {"zero stays", " 0 1 2\n", {{0, 1, 1}, {1, 1, 1}, {2, 1, 1}}},
        {"eight digits", " 12345678 1 2\n", {{12345678, 1, 1}, {1, 1, 1}, {2, 1, 1}}},
        {"beyond 32 bits", " 99999999999 1 2\n", {{INT32_MAX, 1, 1}, {1, 1, 1}, {2, 1, 1}}},
        {"a comment behind", " 1 2 3 # four\n", {{1, 1, 1}, {2, 1, 1}, {3, 1, 1}}},
        {"text behind a number", " 1a 2.5 3-\n", {{1, 1, 1}, {2, 1, 1}, {3, 1, 1}}},
        {"a fourth index", " 1/2/3/4 5/6/7 8/9/1\n", {{1, 2, 3}, {5, 6, 7}, {8, 9, 1}}},
        {"one slash in the whole line", " 1/2 3 4\n", {}},
        {"mixed forms take the double slash", " 1/2/3 4//5 6/7/8\n", {{4, 1, 5}}},
        {"the first form does not fit later corners", " 1/2/3 4/5 6/7/8\n", {{1, 2, 3}, {6, 7, 8}}},
        {"texture form drops bare positions", " 1/2 3 4/5 6/7\n", {{1, 2, 1}, {4, 5, 1}, {6, 7, 1}}},
        {"an empty index", " /1/1 2/2/2 3//3\n", {{3, 1, 3}}},
        {"trailing slash", " 1/ 2/ 3/\n", {}},
        {"nothing", "\n", {}},
        {"the end of the text", " 1 2 3", {{1, 1, 1}, {2, 1, 1}, {3, 1, 1}}},
        {"long",
         " 1000001/1000002/1000003 1000004/1000005/1000006 1000007/1000008/1000009 1000010/1000011/1000012\n",
         {{1000001, 1000002, 1000003},
          {1000004, 1000005, 1000006},
          {1000007, 1000008, 1000009},
          {1000010, 1000011, 1000012}}},
    };
    for (const Case& c : cases) {
        for (const bool far : {false, true})
            EXPECT_THAT(Read(c.text, {10, 20, 30}, far), testing::ElementsAreArray(c.corners))
                << c.name << (far ? ", far from the end" : ", near the end");
    }
    std::string longest = "1"; // as many corners as a line holds
    for (int i = 1; i < 511; ++i) longest += " 1";
    for (const bool far : {false, true}) EXPECT_EQ(Read(longest, {}, far).size(), 511u);
}

// The fast way and the careful one read the same from any line.
TEST(FaceLines, BothWaysAgree) {
    std::mt19937 random(7);
    const std::string pieces[] = {" ",   "  ",      "\t",       "/", "//",    "-",    "+",     "1", "23",
                                  "456", "7890123", "99999999", "x", "1/2/3", "4//5", "-6/-7", "#"};
    for (int i = 0; i < 50000; ++i) {
        std::string text;
        for (auto n = random() % 24; n > 0; --n) text += pieces[random() % std::size(pieces)];
        // Half of the lines nearly regular.
        if (i % 2) {
            text.clear();
            for (auto n = random() % 9; n > 0; --n)
                text += " " + std::to_string(random() % 2000000) + "/" + std::to_string(random() % 300) +
                        (random() % 40 ? "/" : pieces[random() % std::size(pieces)]) +
                        std::to_string(random() % 99);
        }
        if (random() % 2) text += "\n";
        Corners fast = Read(text, {1000, 100, 10}, true), careful = Read(text, {1000, 100, 10}, false);
        // Fewer than three corners make no face: which ones they are does not matter.
        if (fast.size() < 3) fast.clear();
        if (careful.size() < 3) careful.clear();
        ASSERT_EQ(fast, careful) << text;
    }
}

} // namespace
} // namespace velorin::obj
