#include "app/project/Keyframes.h"

#include <gtest/gtest.h>

namespace velorin::app {
namespace {

using enum KeyframeEase;

TEST(Keyframes, EachEaseFollowsItsCurve) {
    struct Case {
        KeyframeEase from, to;
        double at, value;
    };
    // From 10 at 1 s to 30 at 3 s; the curve's inner heights are 0 and 1 where eased, 1/3 and 2/3 where
    // straight.
    const Case cases[] = {
        {Linear, Linear, 1.5, 15},
        {Linear, Linear, 2, 20},
        {Hold, Linear, 2.999, 10},
        {Hold, Bezier, 3, 30},
        {Bezier, Bezier, 2, 20},
        {Bezier, Bezier, 1.5, 10 + 20 * 0.15625},
        {Bezier, Linear, 2, 17.5},
        {Linear, Bezier, 2, 22.5},
        {Linear, Hold, 1.5, 15},
        {Linear, Linear, 2.5, 25},
        {Bezier, Bezier, 2.5, 10 + 20 * 0.84375},
        {Linear, Linear, 0, 10},
        {Linear, Linear, 100, 30},
        {Linear, Linear, -5, 10},
    };
    for (const Case& c : cases) {
        AnimatedValue value;
        value.keys = {{1, {10}, c.from}, {3, {30}, c.to}};
        EXPECT_NEAR(value.NumberAt(c.at), c.value, 1e-6) << c.at;
    }
}

// 29.97 frames a second: a frame's time from the composition and a key's time from its frame number are
// rounded apart.
TEST(Keyframes, AKeyTakesHoldAtItsOwnFrame) {
    const double rate = 30000.0 / 1001;
    for (int frame = 1; frame < 2000; ++frame) {
        AnimatedValue value;
        value.keys = {{0, {0}, Hold}, {frame / rate, {1}, Hold}};
        EXPECT_EQ(value.NumberAt(frame * 1001 / 30000.0), 1) << frame;
        EXPECT_EQ(value.NumberAt((frame - 1) * 1001 / 30000.0), 0) << frame;
    }
}

TEST(Keyframes, VectorsMoveByComponentAndChoicesHold) {
    AnimatedValue value(0, 0, 0);
    value.keys = {{0, {0, 10, 100}, Linear}, {2, {4, 30, 0}, Linear}};
    EXPECT_EQ(value.At(1), (Components{2, 20, 50, 0}));
    EXPECT_EQ(value.At(1.99, false), (Components{0, 10, 100, 0}));
    EXPECT_EQ(value.At(2, false), (Components{4, 30, 0, 0}));
}

} // namespace
} // namespace velorin::app
