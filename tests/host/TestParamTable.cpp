#include "host/ParamTable.h"

#include "host/FakeHost.h"
#include "host/ParamsSetup.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <set>
#include <stdexcept>

namespace velorin {
namespace {

const ParamRow& At(std::uint32_t diskId) {
    const ParamRow* row = FindParam(diskId);
    if (!row) throw std::out_of_range("no such row");
    return *row;
}

TEST(ParamTable, HasEveryRowOnce) {
    std::set<std::uint32_t> ids;
    std::array<int, kGroupCount> perGroup{};
    for (const ParamRow& row : ParamTable()) {
        EXPECT_TRUE(ids.insert(row.diskId).second) << row.diskId;
        if (row.group >= 0) ++perGroup[static_cast<std::size_t>(row.group)];
    }
    EXPECT_EQ(ids.size(), 2427u);
    EXPECT_EQ(*ids.rbegin(), 22467u);
    for (const int count : perGroup) EXPECT_EQ(count, 409);
    EXPECT_EQ(ParamTable()[0].diskId, 3u);
    EXPECT_EQ(ParamTable()[1].diskId, 4u);
    EXPECT_EQ(ParamTable()[2].diskId, 100u);
    EXPECT_EQ(ParamTable().back().diskId, 1950u);
    EXPECT_EQ(FindParam(5), nullptr);
    EXPECT_EQ(FindParam(4000000000u), nullptr);
}

// Worked out by hand from the rules: group base, channel base, prefixes.
TEST(ParamTable, RowsStandWhereTheirIdsSay) {
    struct Case {
        std::uint32_t id;
        const char* name;
        RowKind kind;
    };
    const Case cases[] = {
        {117, "1. Particle Count", RowKind::Float},
        {517, "2. Particle Count", RowKind::Float},
        {2917, "3. Particle Count", RowKind::Float},
        {3317, "4. Particle Count", RowKind::Float},
        {3717, "5. Particle Count", RowKind::Float},
        {500, "Group 2", RowKind::Group},
        {10036, "Enable", RowKind::Check}, // taper of group 1, without a prefix
        {13636, "Enable", RowKind::Check}, // of group 5
        {270, "Turbine", RowKind::Angle},  // rig rows have no prefix
        {245, "1. Copy/Paste Group", RowKind::Control},
        {8002, "Channel 1", RowKind::Group},
        {8204, "CH5. Position X", RowKind::Float},   // 50 * 4 + 8004
        {18254, "CH6. Position X", RowKind::Float},  // 50 * 5 + 10 * 1000 + 8004
        {22454, "CH10. Position X", RowKind::Float}, // group 5: 50 * 9 + 14 * 1000 + 8004
        {1861, "Layer 10", RowKind::Layer},
        {1872, "Sampling Layer 10", RowKind::Popup},
        {1816, "Path Layer 15", RowKind::Layer},
        {6203, "", RowKind::End},
    };
    for (const Case& c : cases) {
        const ParamRow* row = FindParam(c.id);
        ASSERT_NE(row, nullptr) << c.id;
        EXPECT_EQ(ParamName(*row), c.name) << c.id;
        EXPECT_EQ(row->row->kind, c.kind) << c.id;
    }
}

TEST(ParamTable, SlidersSpanTheirShareOfTheRange) {
    struct Case {
        std::uint32_t id;
        float minimum, maximum, sliderMinimum, sliderMaximum, value;
        int precision;
        bool percent;
    };
    const Case cases[] = {
        {117, 0, 1000000, 0, 100, 1, 0, false},        {203, -2000000, 2000000, -1000, 1000, 0, 1, false},
        {362, 0.0001f, 1000, 0.0001f, 5, 1, 1, false}, // a positive lower end is not scaled
        {105, 0, 6000, 0, 30, 10, 2, false},           {8004, -200000, 200000, -0.5f, 0.5f, 0, 2, false},
        {10079, 1e-5f, 10, 1e-5f, 0.5f, 1, 4, false},  {1068, 0, 1000, 0, 200, 100, 1, true},
        {5117, -1000, 1000, -10, 10, -0.3f, 4, false}, {1455, 0.1f, 10, 0.1f, 10, 2.2f, 2, false},
        {166, -10000, 10000, -100, 100, 100, 1, true},
    };
    for (const Case& c : cases) {
        const Row& row = *At(c.id).row;
        EXPECT_FLOAT_EQ(row.minimum, c.minimum) << c.id;
        EXPECT_FLOAT_EQ(row.maximum, c.maximum) << c.id;
        EXPECT_NEAR(row.sliderMinimum(), c.sliderMinimum, std::abs(c.sliderMinimum) * 1e-6f) << c.id;
        EXPECT_NEAR(row.sliderMaximum(), c.sliderMaximum, c.sliderMaximum * 1e-6f) << c.id;
        EXPECT_FLOAT_EQ(row.value, c.value) << c.id;
        EXPECT_EQ(row.precision, c.precision) << c.id;
        EXPECT_EQ(row.percent, c.percent) << c.id;
    }
}

TEST(ParamTable, LookupByNameFindsTheRowMeant) {
    static_assert(RowId("Animation Engine/Shape Order Offset") == 1908);
    static_assert(RowId("Dual Animation Mode/Shape Order Offset") == 1909);
    static_assert(RowId("Multi-Pass Mixer/Shadows") == 1609);
    static_assert(RowHead("Shadows") == 5100);
    static_assert(GroupRow("Taper/Origin/Offset Y") == 10046);
    static_assert(GroupRow("Exhaust/Intake Doors") == 252);
    static_assert(GroupRowHead("Multi-Object/Rotation") == 327);
    static_assert(ChannelRow("UV Offset V") == 8015);
}

TEST(ParamsSetup, AddsTheTableToTheHost) {
    FakeHost host;
    std::vector<std::uint32_t> index;
    A_long count = 0;
    ASSERT_EQ(AddParams(host.in, nullptr, index, count), PF_Err_NONE);
    EXPECT_EQ(count, 2427);
    ASSERT_EQ(host.rows.size(), 2427u);
    EXPECT_EQ(host.controlsRegistered, 1 + 5 * 4 + 1 + 4 + 1);
    int depth = 0;
    for (std::size_t i = 0; i < host.rows.size(); ++i) {
        const PF_ParamDef& row = host.rows[i];
        ASSERT_EQ(index[static_cast<std::size_t>(row.uu.id)], i + 1);
        if (row.param_type == PF_Param_GROUP_START) ++depth;
        if (row.param_type == PF_Param_GROUP_END) --depth;
        ASSERT_GE(depth, 0);
        if (row.param_type == PF_Param_POPUP) {
            const auto bars = std::count(host.choices[i].begin(), host.choices[i].end(), '|');
            EXPECT_EQ(row.u.pd.num_choices, bars + 1) << row.PF_DEF_NAME;
            if (row.uu.id != 6113) {
                EXPECT_LE(row.u.pd.dephault, row.u.pd.num_choices) << row.PF_DEF_NAME;
            }
        }
    }
    EXPECT_EQ(depth, 0);

    const PF_ParamDef& tint = host.Row(6113);
    EXPECT_EQ(tint.u.pd.num_choices, 2);
    EXPECT_EQ(tint.u.pd.dephault, 11);
    EXPECT_EQ(host.Row(202).u.td.x_dephault, 50 * 65536);
    EXPECT_EQ(host.Row(1702).u.td.x_dephault, 0);
    EXPECT_EQ(host.Row(1331).flags, PF_ParamFlag_SUPERVISE);
    EXPECT_EQ(host.Row(1267).flags, 0);
    EXPECT_EQ(host.Row(270).flags, PF_ParamFlag_COLLAPSE_TWIRLY);
    EXPECT_EQ(host.Row(320).flags, 0); // "Position Noise" of the multi-objects starts open
    EXPECT_EQ(host.Row(380).flags, PF_ParamFlag_START_COLLAPSED);
    EXPECT_EQ(host.labels[static_cast<std::size_t>(host.Index(10002) - 1)], "Enable");
    EXPECT_EQ(host.labels[static_cast<std::size_t>(host.Index(129) - 1)], "");
    const PF_ParamDef& scene = host.Row(4);
    EXPECT_EQ(scene.param_type, PF_Param_ARBITRARY_DATA);
    EXPECT_EQ(scene.ui_flags, PF_PUI_NO_ECW_UI);
    EXPECT_EQ(scene.u.arb_d.id, 4);
    const PF_ParamDef& open = host.Row(3);
    EXPECT_EQ(open.param_type, PF_Param_NO_DATA);
    EXPECT_EQ(open.ui_width, 106);
    EXPECT_EQ(open.ui_height, 24);
    const PF_ParamDef& color = host.Row(7005);
    EXPECT_EQ(color.u.cd.dephault.alpha, 255);
    EXPECT_EQ(color.u.cd.dephault.blue, 255);
}

} // namespace
} // namespace velorin
