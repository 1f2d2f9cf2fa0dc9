#include "host/FakeHost.h"
#include "host/HostMemory.h"
#include "host/SceneValue.h"
#include "host/api/Introspection.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <limits>
#include <memory>
#include <unistd.h>

namespace velorin {
namespace {

// The whole way of a frame through the plug-in's entry, with a real context. One process set-up serves all
// tests, since making the programs takes longer than all frames together; each test has an instance of its
// own.
class Frame : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        shared = std::make_unique<FakeHost>();
        ASSERT_EQ(shared->Start(), PF_Err_NONE);
        EXPECT_EQ(shared->out.num_params, 2428);
        rowsAtStart = shared->rows;
    }
    static void TearDownTestSuite() {
        FakeHost& host = *shared;
        PF_ArbParamsExtra dispose{};
        dispose.which_function = PF_Arbitrary_DISPOSE_FUNC;
        dispose.u.dispose_func_params.arbH = host.Row(4).u.arb_d.value;
        EXPECT_EQ(host.Send(PF_Cmd_ARBITRARY_CALLBACK, &dispose), PF_Err_NONE);
        EXPECT_EQ(host.Send(PF_Cmd_GLOBAL_SETDOWN), PF_Err_NONE);
        EXPECT_EQ(host.in.global_data, nullptr);
        EXPECT_EQ(host.handles, 0u);
        shared.reset();
    }
    void SetUp() override {
        host.rows = rowsAtStart;
        host.in.width = 160;
        host.in.height = 90;
        host.progressCalls = 0;
        host.stopAtProgress = -1;
        ASSERT_EQ(host.Send(PF_Cmd_SEQUENCE_SETUP), PF_Err_NONE);
        static int number = 0; // a file of its own, so that no test meets the geometry of another
        path = std::filesystem::temp_directory_path() /
               ("velorin_frame_" + std::to_string(getpid()) + "_" + std::to_string(++number) + ".obj");
        WriteCube();
    }
    void TearDown() override {
        EXPECT_EQ(host.Send(PF_Cmd_SEQUENCE_SETDOWN), PF_Err_NONE);
        EXPECT_EQ(host.checkedOut, 0);
        EXPECT_EQ(host.suitesOut, 0);
        {
            const HandleLock lock(host.in.utils, host.Row(4).u.arb_d.value);
            SceneValue& value = *SceneValueIn(lock.memory());
            value.scene->Clear();
            value.Touch();
        }
        std::filesystem::remove(path);
    }
    void WriteCube() {
        std::ofstream file(path);
        for (const int z : {-1, 1})
            for (const int y : {-1, 1})
                for (const int x : {-1, 1}) file << "v " << x << ' ' << y << ' ' << z << '\n';
        // Counter-clockwise from outside, y up.
        file << "f 5 6 8 7\nf 2 1 3 4\nf 6 2 4 8\nf 1 5 7 3\nf 7 8 4 3\nf 1 2 6 5\n";
    }
    // Puts the cube into the scene of "Scene Settings".
    void AddCube() {
        const HandleLock lock(host.in.utils, host.Row(4).u.arb_d.value);
        SceneValue& value = *SceneValueIn(lock.memory());
        auto model = Ref<SceneModel>::Make(ModelType::ImportedFile);
        model->path = path.string();
        model->name = "Cube";
        model->normalMode = NormalMode::Auto;
        model->normalizeSize = true; // a "Particle Size" of 1 makes half an edge of 25 pixels
        value.scene->models.push_back(model);
        value.Touch();
        host.Row(185).u.fs_d.value = 1;
    }
    nlohmann::json Ask(const nlohmann::json& request) {
        const std::string text = request.dump();
        std::string answer;
        IntrospectionRequest record;
        record.request = text.c_str();
        record.context = &answer;
        record.respond = [](void* context, const void* bytes, std::uint64_t size) {
            static_cast<std::string*>(context)->assign(static_cast<const char*>(bytes), size);
        };
        GeneralCall general{kIntrospectionCall, &record};
        EXPECT_EQ(host.Send(PF_Cmd_COMPLETELY_GENERAL, &general), PF_Err_NONE);
        return nlohmann::json::parse(answer, nullptr, false);
    }

    static std::unique_ptr<FakeHost> shared;
    static std::vector<PF_ParamDef> rowsAtStart;
    FakeHost& host = *shared;
    std::filesystem::path path;
};
std::unique_ptr<FakeHost> Frame::shared;
std::vector<PF_ParamDef> Frame::rowsAtStart;

TEST_F(Frame, DrawsACubeInTheMiddle) {
    AddCube();
    FakeFrame frame(host, 160, 90);
    ASSERT_EQ(frame.Render(), PF_Err_NONE);
    EXPECT_EQ(host.out.return_msg[0], 0) << host.out.return_msg;
    EXPECT_EQ(frame.resultRect.right, 160);
    EXPECT_GT(frame.At(80, 45, 1), 0);
    // The front face lies 25 pixels before the comp's plane, and the eye 160 * 50 / 36 before that.
    const double distance = 160 * 50.0 / 36, side = 50 * distance / (distance - 25);
    EXPECT_NEAR(frame.Coverage(), side * side, side);
}

TEST_F(Frame, TheSecondFrameUploadsNothing) {
    AddCube();
    FakeFrame first(host, 160, 90), second(host, 160, 90);
    ASSERT_EQ(first.Render(), PF_Err_NONE);
    EXPECT_GT(Ask({{"do", "frame"}})["uploads"], 0);
    ASSERT_EQ(second.Render(), PF_Err_NONE);
    const nlohmann::json frame = Ask({{"do", "frame"}});
    EXPECT_EQ(frame["uploads"], 0);
    EXPECT_EQ(frame["programs"], 0);
    EXPECT_TRUE(frame["stages"].contains("PluginRender"));
    EXPECT_TRUE(Ask({{"do", "nonsense"}}).contains("error"));
    EXPECT_TRUE(Ask(nlohmann::json("text")).contains("error"));
    // Another value with the same contents is the same scene.
    {
        const HandleLock lock(host.in.utils, host.Row(4).u.arb_d.value);
        SceneValueIn(lock.memory())->Touch();
    }
    FakeFrame third(host, 160, 90);
    ASSERT_EQ(third.Render(), PF_Err_NONE);
    EXPECT_EQ(Ask({{"do", "frame"}})["uploads"], 0);
}

TEST_F(Frame, DeclaresAndTakesEachLayerOnce) {
    host.Row(104).u.pd.value = 6; // group 1: Layer
    FakeFrame frame(host, 160, 90);
    ASSERT_EQ(frame.Render(), PF_Err_NONE);
    std::vector<A_long> expected = {0, 20};
    for (A_long id = 1852; id <= 1861; ++id) expected.push_back(id);
    expected.push_back(114);
    EXPECT_EQ(frame.taken, expected);
}

TEST_F(Frame, MotionBlurReportsEachPassAndStops) {
    AddCube();
    host.Row(1102).u.pd.value = 2;
    host.Row(1103).u.fs_d.value = 5;
    FakeFrame whole(host, 160, 90), stopped(host, 160, 90), again(host, 160, 90);
    ASSERT_EQ(whole.Render(), PF_Err_NONE);
    EXPECT_EQ(host.progressCalls, 5);
    EXPECT_GT(whole.PixelsDrawn(), 0u);
    host.stopAtProgress = 8;
    EXPECT_EQ(stopped.Render(), PF_Interrupt_CANCEL);
    EXPECT_EQ(stopped.PixelsDrawn(), 0u);
    EXPECT_EQ(again.Render(), PF_Err_NONE);
    EXPECT_EQ(again.PixelsDrawn(), whole.PixelsDrawn());
}

TEST_F(Frame, UnifiedAloneDrawsNothing) {
    AddCube();
    host.Row(1950).u.pd.value = 4;
    FakeFrame frame(host, 160, 90);
    EXPECT_EQ(frame.Render(), PF_Err_NONE);
    EXPECT_EQ(frame.PixelsDrawn(), 0u);
    EXPECT_EQ(host.progressCalls, 0);
}

TEST_F(Frame, AFrameBeyondTheDriverSaysSo) {
    host.in.width = 40000;
    host.in.height = 4;
    FakeFrame frame(host, 40000, 4);
    EXPECT_EQ(frame.Render(), PF_Err_NONE);
    EXPECT_STREQ(host.out.return_msg, "Your video card does not support the selected configuration,\n please "
                                      "reduce the layer size.");
    EXPECT_EQ(frame.PixelsDrawn(), 0u);
}

TEST_F(Frame, AnInstanceStoredAsNothingStillDraws) {
    AddCube();
    const PF_Handle kept = host.in.sequence_data;
    host.in.sequence_data = nullptr;
    FakeFrame frame(host, 160, 90);
    EXPECT_EQ(frame.Render(), PF_Err_NONE);
    EXPECT_GT(frame.PixelsDrawn(), 0u);
    host.in.sequence_data = kept;
}

// Values that no row allows, as a broken project or expression may give them, in every row at once. The
// counts are bounded by their rows; particles and grids stay small here, since a million is a honest wish.
TEST_F(Frame, RowsBeyondTheirRangesAreHeldWithin) {
    AddCube();
    host.in.width = 64, host.in.height = 36;
    const auto rows = host.rows;
    FakeFrame before(host, 64, 36);
    ASSERT_EQ(before.Render(), PF_Err_NONE);
    ASSERT_GT(before.PixelsDrawn(), 0u);
    const double infinity = std::numeric_limits<double>::infinity();
    const double values[] = {1e300, -1e300, std::nan(""), infinity, -infinity, -1e9, 1e9};
    const A_long shapes[] = {4, 8, 7, 6, 2, 3, 5}; // a shape a value, on every group
    for (std::size_t i = 0; i < std::size(values); ++i) {
        host.rows = rows;
        for (PF_ParamDef& row : host.rows) {
            const std::string name = row.PF_DEF_NAME;
            if (row.param_type == PF_Param_FLOAT_SLIDER) row.u.fs_d.value = values[i];
            if (row.param_type == PF_Param_ANGLE) row.u.ad.value = i % 2 ? 0x7fffffff : -0x7fffffff;
            if (row.param_type == PF_Param_POINT)
                row.u.td.x_value = row.u.td.y_value = i % 2 ? 0x7fffffff : -1;
            if (name.ends_with(". Replicator Shape")) row.u.pd.value = shapes[i];
            if (name.ends_with(". Particle Count")) row.u.fs_d.value = 200;
            if (name.ends_with(". Grid X") || name.ends_with(". Grid Y")) row.u.fs_d.value = 5;
            if (name == "Enable" || name.ends_with("Enable Multi-Object")) row.u.bd.value = 1;
        }
        host.Row(129).u.bd.value = 1;
        FakeFrame hostile(host, 64, 36);
        EXPECT_EQ(hostile.Render(), PF_Err_NONE) << values[i];
        EXPECT_EQ(host.out.return_msg[0], 0) << values[i];
    }
    host.rows = rows;
    FakeFrame after(host, 64, 36);
    ASSERT_EQ(after.Render(), PF_Err_NONE);
    EXPECT_EQ(after.Coverage(), before.Coverage());
}

} // namespace
} // namespace velorin
