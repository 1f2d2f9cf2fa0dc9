#include "app/project/NearestName.h"

#include <gtest/gtest.h>

#include <vector>

namespace velorin::app {
namespace {

TEST(NearestName, DistancesAreThoseOfTheLiterature) {
    struct Case {
        const char *a, *b;
        int distance;
    };
    const Case cases[] = {{"kitten", "sitting", 3}, {"ca", "ac", 1},   {"", "abc", 3},
                          {"abc", "abc", 0},        {"ABC", "abc", 0}, {"ca", "abc", 3},
                          {"a cat", "an act", 2}};
    for (const Case& c : cases) {
        EXPECT_EQ(EditDistance(c.a, c.b), c.distance) << c.a << ' ' << c.b;
        EXPECT_EQ(EditDistance(c.b, c.a), c.distance) << c.a << ' ' << c.b;
    }
}

TEST(NearestName, TheNearestIsFoundAndTheFarIsNot) {
    const std::vector<std::string> names{"width", "height", "pixelAspect", "1. Particle Count",
                                         "1. Particle Size"};
    EXPECT_EQ(NearestName("widht", names), "width");
    EXPECT_EQ(NearestName("HEIGTH", names), "height");
    EXPECT_EQ(NearestName("1. Partcle Siez", names), "1. Particle Size");
    EXPECT_EQ(NearestName("zzzz", names), "");
    EXPECT_EQ(NearestName("x", {}), "");
    EXPECT_EQ(NearestByWords("Partcle", names), "1. Particle Count");
    EXPECT_EQ(NearestByWords("partcle siz", names), "1. Particle Size");
    EXPECT_EQ(NearestByWords("Pattern", names), "");
    EXPECT_EQ(NearestByWords(" ", names), "");
    EXPECT_EQ(NearestHint("widht", names), ", did you mean \"width\"?");
}

} // namespace
} // namespace velorin::app
