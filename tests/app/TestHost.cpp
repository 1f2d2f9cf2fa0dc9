#include "app/HostFixture.h"

#include "app/host/suites/Suites.h"

#include <gmock/gmock.h>

// What a user does to effects and takes back, and what renders show of it. The test plug-in's sequence data
// is a number that counts its flattenings and set-ups, so that what was sent shows in it.

namespace velorin::app {
namespace {

// With renders from the project itself, or from a copy.
class HostSession : public testing::TestWithParam<bool> {
protected:
    void SetUp() override {
        HostOptions options;
        options.twoCopies = GetParam();
        host = StartTestPlugin("", options);
        ASSERT_TRUE(host);
        ASSERT_TRUE(host->Open(ProjectFromText(kTwoEffects)).good());
    }
    void TearDown() override {
        if (!host) return;
        host->Quit();
        EXPECT_EQ(Joined(host->reports.faults()), "");
    }

    [[nodiscard]] const ParameterRow& Row(const char* name) const { return RowNamed(*host, name); }
    [[nodiscard]] HostStream& Stream(std::size_t effect, const char* name) {
        return host->instance(effect).rows[static_cast<std::size_t>(Row(name).index)];
    }
    [[nodiscard]] double Amount(std::size_t effect) { return Stream(effect, "Amount").value.NumberAt(0); }
    [[nodiscard]] int Passages(std::size_t effect) {
        int value = 0;
        std::memcpy(&value, *host->instance(effect).sequence, sizeof value);
        return value;
    }
    [[nodiscard]] int Scene(std::size_t effect) {
        std::string flat;
        EXPECT_TRUE(host->FlatArbitrary(host->instance(effect), *host->arbitraryRow(), flat));
        return flat.empty() ? -1 : flat[0];
    }
    void EditScene(std::size_t effect, char value) {
        const std::string flat{value, 0, 0, 0};
        Good(host->EditArbitrary(host->instance(effect), *host->arbitraryRow(),
                                 std::as_bytes(std::span(flat))));
    }
    void Edit(std::size_t effect, const char* row, const AnimatedValue& value) {
        Good(host->Edit(host->instance(effect), Row(row), value));
    }
    static void Good(const HostResult& result) { ASSERT_TRUE(result.good()) << result.text; }
    void Undo(int steps = 1) {
        for (; steps > 0; --steps) Good(host->history.Undo());
    }
    void Redo(int steps = 1) {
        for (; steps > 0; --steps) Good(host->history.Redo());
    }
    [[nodiscard]] std::size_t Effects() { return host->comp().effects.size(); }
    // Red, green, blue and alpha of a pixel of frame 0.
    [[nodiscard]] std::array<int, 4> Pixel(int x, int y) {
        Picture picture;
        Good(host->RenderFrame(0, 8, picture));
        std::array<int, 4> rgba{};
        for (std::size_t c = 0; c < 4; ++c)
            rgba[c] = std::to_integer<int>(picture.row(y)[static_cast<std::size_t>(4 * x) + c]);
        return rgba;
    }

    std::unique_ptr<Host> host;
};

TEST_P(HostSession, ValuesAndScenesComeAndGoWhileSequenceDataStays) {
    AnimatedValue moving(5);
    moving.keys = {{0, {5}, KeyframeEase::Hold}, {0.5, {9}, KeyframeEase::Linear}};
    Edit(0, "Amount", AnimatedValue(60));
    Edit(0, "Amount", moving);
    EditScene(0, 42);
    EXPECT_EQ(Scene(0), 42);
    const std::uint32_t revision = Stream(0, "Amount").revision;
    Undo();
    EXPECT_EQ(Scene(0), 7);
    EXPECT_EQ(Stream(0, "Amount").value.keys.size(), 2U);
    Undo();
    EXPECT_EQ(Amount(0), 60);
    EXPECT_GT(Stream(0, "Amount").revision, revision); // a value that came back is a new state
    Undo(2);                                           // of which one was left
    EXPECT_EQ(Amount(0), 40);
    Redo(4);
    EXPECT_EQ(Amount(0), 5);
    EXPECT_EQ(Scene(0), 42);
    EXPECT_EQ(Passages(0), 1);
    Undo();
    Edit(1, "Amount", AnimatedValue(3)); // what was taken back is forgotten
    Redo();
    EXPECT_EQ(Scene(0), 7);
    // A group of the plug-in's is one step.
    Good(host->Click(host->instance(0), *host->rows().At(11), 10));
    EXPECT_EQ(Amount(0), 123);
    Undo();
    EXPECT_EQ(Amount(0), 5);
}

TEST_P(HostSession, EffectsTravelAsFlatData) {
    Edit(0, "Amount", AnimatedValue(60));
    EditScene(0, 42);
    EffectInstance* const first = &host->instance(0);
    Good(host->Remove(*first));
    ASSERT_EQ(Effects(), 1U);
    EXPECT_EQ(host->instance(0).number, 1);
    EXPECT_EQ(Amount(0), 40);
    Undo();
    EXPECT_EQ(&host->instance(0), first); // in its place, and known by the same reference
    EXPECT_EQ(Passages(0), 3);            // flattened once, set up once
    EXPECT_EQ(Amount(0), 60);
    EXPECT_EQ(Scene(0), 42);

    host->SetEnabled(host->instance(0), false);
    Good(host->Copy(host->instance(0)));
    EXPECT_EQ(Passages(0), 5);
    Edit(0, "Amount", AnimatedValue(70));
    EditScene(0, 43);
    Good(host->Paste());
    EXPECT_EQ(Passages(2), 5); // the flat 4, set up once
    EXPECT_EQ(Amount(2), 60);
    EXPECT_EQ(Scene(2), 42);
    EXPECT_FALSE(host->instance(2).enabled);
    Good(host->Duplicate(host->instance(0)));
    EXPECT_EQ(Passages(3), 7);
    EXPECT_EQ(Amount(3), 70);
    EXPECT_EQ(Scene(3), 43);
    Good(host->Apply());
    EXPECT_EQ(Passages(4), 1);
    EXPECT_EQ(Scene(4), 7);
    Undo(3);
    EXPECT_EQ(Effects(), 2U);
    Redo(3);
    EXPECT_EQ(Effects(), 5U);
    EXPECT_EQ(Scene(3), 43);
    // The clipboard outlives the project.
    Good(host->Open(ProjectFromText(R"({"effects": []})")));
    Good(host->Paste());
    EXPECT_EQ(Amount(0), 60);
    EXPECT_EQ(Scene(0), 42);
}

// The second effect adds to what the first drew; a disabled one is passed by.
TEST_P(HostSession, PicturesFollowTheEffects) {
    Edit(0, "Amount", AnimatedValue(100));
    Edit(1, "Amount", AnimatedValue(20));
    Edit(1, "Mode", AnimatedValue(2));
    // 255 * 100 / 200 = 127, then + 25.5; the columns' green is 255 * 2 / 8 = 63, then + 25.5.
    EXPECT_THAT(Pixel(2, 1), testing::ElementsAre(152, 88, 88, 255));
    host->SetEnabled(host->instance(0), false);
    EXPECT_THAT(Pixel(2, 1), testing::ElementsAre(25, 25, 25, 255));
    Undo();
    Good(host->Remove(host->instance(1)));
    EXPECT_EQ(Pixel(2, 1)[0], 127);
    Undo();
    EXPECT_EQ(Pixel(2, 1)[0], 152);
}

INSTANTIATE_TEST_SUITE_P(Copies, HostSession, testing::Bool(),
                         [](const auto& test) { return test.param ? "Two" : "One"; });

TEST(Host, ValuesStartAtTheirDefaultsAndPointsCountInDownsampledPixels) {
    const auto host = StartTestPlugin();
    ASSERT_TRUE(host);
    PF_ParamDef def{};
    const auto fill = [&](const char* row) {
        host->FillDefinition(host->instance(0), RowNamed(*host, row).index, 0, def);
    };
    ASSERT_TRUE(host->Open(ProjectFromText(kTwoEffects)).good());
    fill("Amount");
    EXPECT_EQ(def.u.fs_d.value, 40);
    fill("Spot");
    EXPECT_EQ(def.u.td.x_value, 4 << 16); // half of 8
    EXPECT_EQ(def.u.td.y_value, 1 << 16); // a quarter of 4
    fill("Tint");
    EXPECT_EQ(def.u.cd.value.blue, 30);
    ASSERT_TRUE(host->Open(ProjectFromText(R"({"composition": {"width": 8, "height": 6, "downsample": [2, 3]},
                                               "effects": [{}]})"))
                    .good());
    fill("Spot");
    EXPECT_EQ(def.u.td.x_value, 2 << 16);
    EXPECT_EQ(def.u.td.y_value, 1 << 15);
    Picture picture;
    ASSERT_TRUE(host->RenderFrame(0, 8, picture).good());
    EXPECT_EQ(picture.width, 4);
    EXPECT_EQ(picture.height, 2);
}

// Whichever call of progress says stop, the render ends with that code and leaves nothing behind.
TEST(Host, AbortAtEveryPossibleCall) {
    HostOptions options;
    for (options.cancelAt = 0; options.cancelAt < 9; ++options.cancelAt) {
        const auto host = StartTestPlugin("", options);
        ASSERT_TRUE(host);
        ASSERT_TRUE(host->Open(ProjectFromText(kTwoEffects)).good());
        host->SetValue(host->instance(1), RowNamed(*host, "Mode"), AnimatedValue(2));
        Picture picture;
        EXPECT_EQ(host->RenderFrame(0, 8, picture).code,
                  options.cancelAt < 8 ? PF_Interrupt_CANCEL : PF_Err_NONE);
        host->Quit();
        EXPECT_EQ(Joined(host->reports.faults()), "") << options.cancelAt;
    }
}

// Every suite that the interface's declarations name is there under its number, and under no other.
TEST(HostSuites, AllDeclaredSuitesAreOffered) {
    const std::pair<const char*, std::int32_t> suites[] = {
        {kPFPointParamSuite, 1},    {kPFAngleParamSuite, 1},      {kPFAppSuite, 6},
        {kPFParamUtilsSuite, 3},    {kPFPathDataSuite, 1},        {kPFWorldSuite, 2},
        {kPFHandleSuite, 2},        {kPFEffectCustomUISuite, 1},  {kAEGPUtilitySuite, 10},
        {kAEGPMemorySuite, 1},      {kAEGPCompSuite, 21},         {kAEGPPFInterfaceSuite, 1},
        {kAEGPItemSuite, 13},       {kAEGPLayerSuite, 14},        {kAEGPEffectSuite, 4},
        {kAEGPStreamSuite, 9},      {kAEGPDynamicStreamSuite, 5}, {kAEGPMaskSuite, 7},
        {kAEGPMaskOutlineSuite, 5}, {kAEGPTextLayerSuite, 1},     {kAEGPCameraSuite, 2},
        {kAEGPLightSuite, 2},       {kAEGPRenderSuite, 5},        {kAEGPRenderOptionsSuite, 3},
        {kAEGPWorldSuite, 3},       {kDRAWBOT_DrawSuite, 1},      {kDRAWBOT_SupplierSuite, 1},
        {kDRAWBOT_SurfaceSuite, 1}, {kDRAWBOT_PathSuite, 1},
    };
    for (const auto& [name, version] : suites) {
        EXPECT_TRUE(FindSuite(name, version)) << name;
        EXPECT_FALSE(FindSuite(name, version + 40)) << name;
    }
    EXPECT_FALSE(FindSuite("AEGP Layer Suites", 14));
}

} // namespace
} // namespace velorin::app
