#include "app/HostFixture.h"

#include "app/host/suites/Suites.h"

#include <gmock/gmock.h>

namespace velorin::app {
namespace {

constexpr const char* kTwoEffects = R"({"composition": {"width": 8, "height": 4, "duration": 1},
                                        "effects": [{}, {}]})";

int ReadNumber(PF_Handle handle) {
    int value = 0;
    std::memcpy(&value, *handle, sizeof value);
    return value;
}

std::array<int, 4> Pixel8(const Picture& picture, int x, int y) {
    std::array<int, 4> rgba{};
    for (std::size_t c = 0; c < 4; ++c)
        rgba[c] = std::to_integer<int>(picture.row(y)[static_cast<std::size_t>(4 * x) + c]);
    return rgba;
}

TEST(Host, RowsStartAtTheirDefaultsAndPointsCountInPixels) {
    const auto host = StartTestPlugin("", {});
    ASSERT_TRUE(host);
    ASSERT_TRUE(host->Open(ProjectFromText(kTwoEffects)).good());
    PF_ParamDef def{};
    host->FillDefinition(host->instance(0), RowNamed(*host, "Amount").index, 0, def);
    EXPECT_EQ(def.u.fs_d.value, 40);
    host->FillDefinition(host->instance(0), RowNamed(*host, "Spot").index, 0, def);
    EXPECT_EQ(def.u.td.x_value, 4 << 16); // half of 8
    EXPECT_EQ(def.u.td.y_value, 1 << 16); // a quarter of 4
    host->FillDefinition(host->instance(0), RowNamed(*host, "Tint").index, 0, def);
    EXPECT_EQ(def.u.cd.value.blue, 30);
}

TEST(Host, PointsFollowTheDownsampling) {
    const auto host = StartTestPlugin("", {});
    ASSERT_TRUE(host);
    ASSERT_TRUE(
        host
            ->Open(ProjectFromText(
                R"({"composition": {"width": 8, "height": 6, "downsample": [2, 3]}, "effects": [{}]})"))
            .good());
    PF_ParamDef def{};
    host->FillDefinition(host->instance(0), RowNamed(*host, "Spot").index, 0, def);
    EXPECT_EQ(def.u.td.x_value, 2 << 16);
    EXPECT_EQ(def.u.td.y_value, 1 << 15);
    Picture picture;
    ASSERT_TRUE(host->RenderFrame(0, 8, picture).good());
    EXPECT_EQ(picture.width, 4);
    EXPECT_EQ(picture.height, 2);
}

// The second effect adds to what the first drew; a disabled one is passed by.
TEST(Host, EffectsOnOneLayerRenderThroughEachOther) {
    for (const bool twoCopies : {false, true}) {
        HostOptions options;
        options.twoCopies = twoCopies;
        const auto host = StartTestPlugin("", options);
        ASSERT_TRUE(host);
        ASSERT_TRUE(host->Open(ProjectFromText(kTwoEffects)).good());
        host->SetValue(host->instance(0), RowNamed(*host, "Amount"), AnimatedValue(100));
        host->SetValue(host->instance(1), RowNamed(*host, "Amount"), AnimatedValue(20));
        host->SetValue(host->instance(1), RowNamed(*host, "Mode"), AnimatedValue(2));
        ASSERT_TRUE(host->Save().good());
        Picture picture;
        ASSERT_TRUE(host->RenderFrame(0, 8, picture).good());
        // 255 * 100 / 200 = 127, then + 25.5; the columns' green is 255 * 2 / 8 = 63, then + 25.5.
        EXPECT_THAT(Pixel8(picture, 2, 1), testing::ElementsAre(152, 88, 88, 255));
        host->instance(0).enabled = false;
        ASSERT_TRUE(host->Save().good());
        ASSERT_TRUE(host->RenderFrame(0, 8, picture).good());
        EXPECT_THAT(Pixel8(picture, 2, 1), testing::ElementsAre(25, 25, 25, 255));
        host->Quit();
        EXPECT_EQ(Joined(host->reports.faults()), "");
    }
}

TEST(Host, AllDepthsShowTheSamePicture) {
    const auto host = StartTestPlugin("", {});
    ASSERT_TRUE(host);
    ASSERT_TRUE(host->Open(ProjectFromText(kTwoEffects)).good());
    Picture bytes, words, floats;
    ASSERT_TRUE(host->RenderFrame(0, 8, bytes).good());
    ASSERT_TRUE(host->RenderFrame(0, 16, words).good());
    ASSERT_TRUE(host->RenderFrame(0, 32, floats).good());
    const auto* w = reinterpret_cast<const std::uint16_t*>(words.pixels.data());
    const auto* f = reinterpret_cast<const float*>(floats.pixels.data());
    for (std::size_t i = 0; i < bytes.pixels.size(); ++i) {
        EXPECT_NEAR(std::to_integer<int>(bytes.pixels[i]) / 255.0, static_cast<double>(f[i]), 1.0 / 255) << i;
        EXPECT_NEAR(w[i] / 65535.0, static_cast<double>(f[i]), 1.0 / 32768) << i;
    }
}

TEST(Host, SavingAndDuplicatingFlattenAndSetUpAgain) {
    const auto host = StartTestPlugin("", {});
    ASSERT_TRUE(host);
    ASSERT_TRUE(host->Open(ProjectFromText(kTwoEffects)).good());
    EXPECT_EQ(ReadNumber(host->instance(0).sequence), 1);
    ASSERT_TRUE(host->Save().good());
    EXPECT_EQ(ReadNumber(host->instance(0).sequence), 3); // 7, then 6
    ASSERT_TRUE(host->Duplicate(host->instance(0)).good());
    EXPECT_EQ(ReadNumber(host->instance(0).sequence), 5);
    EXPECT_EQ(ReadNumber(host->instance(2).sequence), 5);
    ASSERT_TRUE(host->Remove(host->instance(0)).good());
    host->Quit();
    EXPECT_EQ(Joined(host->reports.faults()), "");
}

TEST(Host, ArbitraryValuesTravelAsFlatBytes) {
    const auto host = StartTestPlugin("", {});
    ASSERT_TRUE(host);
    ASSERT_TRUE(host->Open(ProjectFromText(kTwoEffects)).good());
    const ParameterRow& row = *host->arbitraryRow();
    std::string flat;
    ASSERT_TRUE(host->FlatArbitrary(host->instance(0), row, flat));
    EXPECT_EQ(flat, std::string("\7\0\0\0", 4));
    flat[0] = 42;
    ASSERT_TRUE(host->SetArbitrary(host->instance(1), row, std::as_bytes(std::span(flat))).good());
    std::string back;
    ASSERT_TRUE(host->FlatArbitrary(host->instance(1), row, back));
    EXPECT_EQ(back, flat);
    host->Quit();
    EXPECT_EQ(Joined(host->reports.faults()), "");
}

TEST(Host, AClickChangesAValueAsOneUndoStep) {
    const auto host = StartTestPlugin("", {});
    ASSERT_TRUE(host);
    ASSERT_TRUE(host->Open(ProjectFromText(kTwoEffects)).good());
    ASSERT_TRUE(host->Click(host->instance(0), *host->rows().At(11), 10).good());
    EXPECT_EQ(
        host->instance(0).rows[static_cast<std::size_t>(RowNamed(*host, "Amount").index)].value.NumberAt(0),
        123);
    EXPECT_EQ(host->history.done().size(), 1U);
}

// Whichever call of progress says stop, the render ends with that code and leaves nothing behind.
TEST(Host, AbortAtEveryPossibleCall) {
    for (int call = 0; call < 9; ++call) {
        HostOptions options;
        options.cancelAt = call;
        const auto host = StartTestPlugin("", options);
        ASSERT_TRUE(host);
        ASSERT_TRUE(host->Open(ProjectFromText(kTwoEffects)).good());
        host->SetValue(host->instance(1), RowNamed(*host, "Mode"), AnimatedValue(2));
        Picture picture;
        const HostResult result = host->RenderFrame(0, 8, picture);
        EXPECT_EQ(result.code, call < 8 ? PF_Interrupt_CANCEL : PF_Err_NONE) << call;
        host->Quit();
        EXPECT_EQ(Joined(host->reports.faults()), "") << call;
    }
}

// Every suite that the interface's declarations name is there under its number, and under no other.
TEST(Host, AllDeclaredSuitesAreOffered) {
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

TEST(Host, MissingSuitesAreRefused) {
    HostOptions options;
    options.missingSuites = {"AEGP Utility Suite"};
    const auto host = StartTestPlugin("", options);
    ASSERT_TRUE(host);
    EXPECT_TRUE(host->Open(ProjectFromText(kTwoEffects)).good());
}

} // namespace
} // namespace velorin::app
