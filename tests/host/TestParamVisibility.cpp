#include "host/ParamVisibility.h"

#include <gtest/gtest.h>

#include <map>
#include <vector>

namespace velorin {
namespace {

using Values = std::map<std::uint32_t, int>;

// Hidden rows with the given controlling values; all others have 1, as most popups start.
std::map<std::uint32_t, bool> Evaluate(const Values& values, const VisibilityInput& base = {}) {
    VisibilityInput input = base;
    input.value = [&](std::uint32_t id) {
        const auto found = values.find(id);
        return found == values.end() ? 1 : found->second;
    };
    std::map<std::uint32_t, bool> hidden;
    for (const RowVisibility& row : EvaluateVisibility(input)) {
        EXPECT_TRUE(hidden.emplace(row.diskId, row.hidden).second) << row.diskId << " is told twice";
    }
    return hidden;
}

TEST(ParamVisibility, FollowsItsControllingRows) {
    struct Case {
        Values values;
        std::vector<std::uint32_t> hidden, shown;
    };
    const Case cases[] = {
        {{{1950, 4}}, {1000, 1450}, {}},
        {{{1950, 1}}, {}, {1000, 1450}},
        {{{1267, 2}}, {1270, 1331, 1265, 1266, 1279, 1256, 1263}, {1272, 1274, 1324, 1325}},
        {{{1267, 1}}, {1272, 1274, 1324, 1325, 1322}, {1270, 1331, 1265, 1266, 1279}},
        {{{5121, 2}}, {5122, 5103, 5111, 5107, 5117, 5118, 5123}, {5124, 5126, 5128, 5125}},
        {{{5121, 1}}, {5124, 5126, 5128, 5125}, {5122, 5103, 5123}},
        {{{1102, 2}}, {}, {1104}},
        {{{1102, 3}}, {1104}, {}},
        {{{55, 2}, {64, 1}}, {71, 1908, 65, 75, 1909}, {57}},
        {{{55, 5}, {64, 6}}, {57, 71, 65, 75}, {1908, 1909}},
        {{{55, 3}, {64, 3}}, {57, 1908, 75, 1909}, {71, 65}},
        {{{1454, 3}}, {1550}, {1500}},
        {{{1454, 14}}, {1500}, {1550}},
        {{{1463, 2}}, {1464}, {1460}},
        {{{1463, 1}}, {1464, 1460}, {}},
        {{{1158, 1}}, {1153, 1156}, {1154, 1155}},
        {{{1158, 2}}, {1153, 1154, 1156}, {1155}},
        {{{1158, 3}}, {1153, 1154, 1155}, {1156}},
        {{{1158, 4}}, {1156}, {1153, 1154, 1155}},
        {{{1158, 5}}, {1153, 1154, 1155, 1156}, {}},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        auto hidden = Evaluate(cases[i].values);
        for (const std::uint32_t row : cases[i].hidden)
            EXPECT_TRUE(hidden.at(row)) << row << " of case " << i;
        for (const std::uint32_t row : cases[i].shown)
            EXPECT_FALSE(hidden.at(row)) << row << " of case " << i;
    }
}

// Columns: the offsets; a dot is shown, an x hidden, by "Replicator Shape" 1 to 8 with "Distribution"
// automatic.
TEST(ParamVisibility, FollowsTheReplicatorShape) {
    const std::vector<std::pair<std::uint32_t, const char*>> rows = {
        {117, ".x....xx"}, {118, "xxxxxx.x"}, {119, "x.xxxxx."}, {121, "x.xxxxxx"}, {208, "x......."},
        {105, "x......."}, {196, "xx......"}, {197, "xx......"}, {114, "xxxxx.x."}, {107, "xx..x.xx"},
        {106, "xxxxxxxx"}, {110, "xx..x.xx"}, {111, "xx....xx"}, {113, "xx....xx"},
    };
    for (int shape = 1; shape <= 8; ++shape) {
        // Groups 1 and 4: the rules count from each group's base.
        for (const std::uint32_t base : {0u, 3200u}) {
            auto hidden = Evaluate({{base + 104, shape}, {base + 302, 0}});
            for (const auto& [row, expected] : rows)
                EXPECT_EQ(hidden.at(base + row), expected[shape - 1] == 'x')
                    << row << " with shape " << shape;
        }
    }
    auto rowsSet = Evaluate({{104, 4}, {107, 2}});
    EXPECT_FALSE(rowsSet.at(106));
    EXPECT_TRUE(rowsSet.at(110));
}

TEST(ParamVisibility, FollowsMultiObjectMethodAndRig) {
    auto off = Evaluate({{302, 0}, {702, 1}});
    EXPECT_TRUE(off.at(325));
    EXPECT_TRUE(off.at(338));
    EXPECT_FALSE(off.at(725)); // group 2 has it on
    EXPECT_TRUE(Evaluate({{10203, 1}}).at(10077));
    EXPECT_FALSE(Evaluate({{10203, 2}}).at(10077));

    VisibilityInput input;
    input.hasRig[1] = true;
    input.rig[1].set(0).set(29);
    auto rig = Evaluate({}, input);
    EXPECT_TRUE(rig.at(250));
    EXPECT_FALSE(rig.at(650));
    EXPECT_FALSE(rig.at(652));
    EXPECT_TRUE(rig.at(653));
    EXPECT_FALSE(rig.at(681));
}

TEST(ParamVisibility, HidesMultisampledOcclusionWithoutTheDriversHelp) {
    VisibilityInput input;
    input.textureMultisample = false;
    for (const int mode : {1, 2}) {
        auto hidden = Evaluate({{1267, mode}}, input);
        EXPECT_TRUE(hidden.at(1266));
        EXPECT_TRUE(hidden.at(1279));
    }
}

} // namespace
} // namespace velorin
