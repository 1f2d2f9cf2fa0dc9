#include "app/HostFixture.h"

#include <gmock/gmock.h>

// What a user does to effects and takes back. The test plug-in's sequence data is a number that counts its
// flattenings and set-ups, so that what was sent shows in it.

namespace velorin::app {
namespace {

constexpr const char* kTwoEffects = R"({"composition": {"width": 8, "height": 4, "duration": 1},
                                        "effects": [{}, {}]})";

class History : public testing::TestWithParam<bool> {
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
        ASSERT_TRUE(
            host->EditArbitrary(host->instance(effect), *host->arbitraryRow(), std::as_bytes(std::span(flat)))
                .good());
    }
    void EditAmount(std::size_t effect, double value) {
        ASSERT_TRUE(host->Edit(host->instance(effect), Row("Amount"), AnimatedValue(value)).good());
    }
    void Undo() { ASSERT_TRUE(host->history.Undo().good()); }
    void Redo() { ASSERT_TRUE(host->history.Redo().good()); }
    [[nodiscard]] std::size_t Effects() { return host->comp().effects.size(); }

    std::unique_ptr<Host> host;
};

TEST_P(History, ValuesAndScenesComeAndGoWhileSequenceDataStays) {
    AnimatedValue moving(5);
    moving.keys = {{0, {5}, KeyframeEase::Hold}, {0.5, {9}, KeyframeEase::Linear}};
    EditAmount(0, 60);
    ASSERT_TRUE(host->Edit(host->instance(0), Row("Amount"), moving).good());
    EditScene(0, 42);
    EXPECT_EQ(Scene(0), 42);
    const std::uint32_t revision = Stream(0, "Amount").revision;
    Undo();
    EXPECT_EQ(Scene(0), 7);
    EXPECT_EQ(Stream(0, "Amount").value.keys.size(), 2U);
    Undo();
    EXPECT_EQ(Amount(0), 60);
    EXPECT_TRUE(Stream(0, "Amount").value.keys.empty());
    EXPECT_GT(Stream(0, "Amount").revision, revision); // a value that came back is a new state
    Undo();
    Undo(); // nothing left to undo
    EXPECT_EQ(Amount(0), 40);
    Redo();
    Redo();
    Redo();
    Redo();
    EXPECT_EQ(Amount(0), 5);
    EXPECT_EQ(Scene(0), 42);
    EXPECT_EQ(Passages(0), 1);
    Undo();
    EditAmount(1, 3); // what was taken back is forgotten
    Redo();
    EXPECT_EQ(Scene(0), 7);
    EXPECT_EQ(Amount(1), 3);
}

TEST_P(History, ADeletedEffectComesBackFromItsFlatData) {
    EditAmount(0, 60);
    EditScene(0, 42);
    EffectInstance* const first = &host->instance(0);
    ASSERT_TRUE(host->Remove(*first).good());
    ASSERT_EQ(Effects(), 1U);
    EXPECT_EQ(host->instance(0).number, 1);
    EXPECT_EQ(Amount(0), 40);
    Undo();
    ASSERT_EQ(Effects(), 2U);
    EXPECT_EQ(&host->instance(0), first); // in its place, and known by the same reference
    EXPECT_EQ(Passages(0), 3);            // flattened once, set up once
    EXPECT_EQ(Amount(0), 60);
    EXPECT_EQ(Scene(0), 42);
    Redo();
    EXPECT_EQ(Effects(), 1U);
    Undo();
    Undo();
    Undo();
    EXPECT_EQ(Amount(0), 40);
}

TEST_P(History, CopiesTakeValuesSceneAndFlatData) {
    EditAmount(0, 60);
    EditScene(0, 42);
    host->SetEnabled(host->instance(0), false);
    ASSERT_TRUE(host->Copy(host->instance(0)).good());
    EXPECT_EQ(Passages(0), 3);
    EditAmount(0, 70);
    EditScene(0, 43);
    ASSERT_TRUE(host->Paste().good());
    ASSERT_EQ(Effects(), 3U);
    EXPECT_EQ(Passages(2), 3); // the flat 2, set up once
    EXPECT_EQ(Amount(2), 60);
    EXPECT_EQ(Scene(2), 42);
    EXPECT_FALSE(host->instance(2).enabled);
    ASSERT_TRUE(host->Duplicate(host->instance(0)).good());
    EXPECT_EQ(Amount(3), 70);
    EXPECT_EQ(Scene(3), 43);
    ASSERT_TRUE(host->Apply().good());
    EXPECT_EQ(Passages(4), 1);
    EXPECT_EQ(Scene(4), 7);
    Undo();
    Undo();
    Undo();
    EXPECT_EQ(Effects(), 2U);
    EXPECT_EQ(Scene(0), 43);
    Redo();
    Redo();
    Redo();
    EXPECT_EQ(Effects(), 5U);
    EXPECT_EQ(Scene(3), 43);
    // The clipboard outlives the project.
    ASSERT_TRUE(host->Open(ProjectFromText(R"({"effects": []})")).good());
    ASSERT_TRUE(host->Paste().good());
    EXPECT_EQ(Amount(0), 60);
    EXPECT_EQ(Scene(0), 42);
}

TEST_P(History, WhatIsForgottenEnds) {
    EditScene(0, 42);
    ASSERT_TRUE(host->Remove(host->instance(0)).good());
    const std::size_t handles = host->handles.count();
    // Global data is none here: the default scene, one effect's two handles, the deleted one's, the old
    // scene.
    EXPECT_EQ(handles, 6U);
    for (std::size_t i = 0; i < velorin::app::History::kLevels; ++i) EditAmount(0, static_cast<double>(i));
    EXPECT_EQ(host->history.done().size(), velorin::app::History::kLevels);
    EXPECT_EQ(host->handles.count(), 3U);
    while (!host->history.done().empty()) Undo();
    EXPECT_EQ(Effects(), 1U);
    EXPECT_EQ(Amount(0), 40);
}

TEST_P(History, AGroupOfThePlugInIsOneStep) {
    ASSERT_TRUE(host->Click(host->instance(0), *host->rows().At(11), 10).good()); // sets "Amount"
    ASSERT_EQ(host->history.done().size(), 1U);
    EXPECT_EQ(Amount(0), 123);
    Undo();
    EXPECT_EQ(Amount(0), 40);
    EXPECT_EQ(host->history.undone().size(), 1U);
}

TEST_P(History, PicturesFollow) {
    ASSERT_TRUE(
        host->Edit(host->instance(1), Row("Mode"), AnimatedValue(3)).good()); // the second draws nothing
    const auto red = [&] {
        Picture picture;
        EXPECT_TRUE(host->RenderFrame(0, 8, picture).good());
        return std::to_integer<int>(picture.row(0)[0]);
    };
    ASSERT_TRUE(host->Remove(host->instance(1)).good());
    EditAmount(0, 100);
    EXPECT_EQ(red(), 127); // 255 * 100 / 200
    Undo();
    EXPECT_EQ(red(), 51); // 40
    Undo();
    EXPECT_EQ(red(), 0);
}

INSTANTIATE_TEST_SUITE_P(Copies, History, testing::Bool(),
                         [](const auto& test) { return test.param ? "Two" : "One"; });

} // namespace
} // namespace velorin::app
