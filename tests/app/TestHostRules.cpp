#include "app/HostFixture.h"

#include "platform/GLContext.h"

#include <gmock/gmock.h>

// Each fault of the test plug-in is one broken rule; the host must say so, and name the command.

namespace velorin::app {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* kProject = R"({"composition": {"width": 16, "height": 12, "duration": 1},
                                     "effects": [{}]})";

struct Outcome {
    std::string faults, failure;
};

Outcome RunSession(const std::string& fault, HostOptions options) {
    Outcome run;
    auto host = StartTestPlugin(fault, options);
    if (!host) return run;
    Project project = ProjectFromText(kProject);
    HostResult result = host->Open(project);
    EffectInstance& instance = host->instance(0);
    if (fault == "set-keyed") {
        AnimatedValue moving(1);
        moving.keys = {{0, {1}, KeyframeEase::Linear}, {1, {2}, KeyframeEase::Linear}};
        host->SetValue(instance, RowNamed(*host, "Amount"), moving);
        result = host->UpdateParameterUI(instance);
    }
    if (result.good()) result = host->Save();
    Picture picture;
    if (result.good()) result = host->RenderFrame(0, 8, picture);
    if (result.good()) result = host->Click(instance, *host->rows().At(11), 3);
    run.failure = result.text;
    host->Quit();
    run.faults = Joined(host->reports.faults());
    return run;
}

TEST(HostRules, AWellBehavedPlugInIsNotBlamed) {
    for (const bool strict : {false, true})
        for (const bool twoCopies : {false, true}) {
            HostOptions options;
            options.strict = strict, options.twoCopies = twoCopies;
            const Outcome run = RunSession("", options);
            EXPECT_THAT(run.faults, IsEmpty()) << strict << twoCopies;
            EXPECT_THAT(run.failure, IsEmpty()) << strict << twoCopies;
        }
}

struct Rule {
    const char* fault;
    const char* command; // that is named
    const char* says;
};

constexpr Rule kRules[] = {
    {"leak-handle", "after GLOBAL_SETDOWN", "handles are left"},
    {"leak-data", "after GLOBAL_SETDOWN", "handles are left"},
    {"double-dispose", "UPDATE_PARAMS_UI of effect 1", "disposed of after its disposal"},
    {"use-after-dispose", "UPDATE_PARAMS_UI of effect 1", "locked after its disposal"},
    {"dispose-locked", "UPDATE_PARAMS_UI of effect 1", "disposed of while it was locked"},
    {"unlock-extra", "UPDATE_PARAMS_UI of effect 1", "unlocked more often than locked"},
    {"leak-checkout", "UPDATE_PARAMS_UI of effect 1", "\"Amount\" was not checked in"},
    {"double-checkin", "UPDATE_PARAMS_UI of effect 1", "checked in that is not checked out"},
    {"checkout-into-params", "UPDATE_PARAMS_UI of effect 1", "the command's own list"},
    {"leak-suite", "SEQUENCE_SETUP of effect 1", "\"PF AngleParamSuite\" was not released"},
    {"release-extra", "SEQUENCE_SETUP of effect 1", "released more often than acquired"},
    {"add-late", "SEQUENCE_SETUP of effect 1", "added outside PARAMS_SETUP"},
    {"register-late", "SEQUENCE_SETUP of effect 1", "registered outside GLOBAL_SETUP"},
    {"open-undo", "SEQUENCE_SETUP of effect 1", "\"Left Open\" was left open"},
    {"leak-effect", "UPDATE_PARAMS_UI of effect 1", "1 effect reference was not given back"},
    {"leak-stream", "UPDATE_PARAMS_UI of effect 1", "1 stream was not given back"},
    {"leak-value", "UPDATE_PARAMS_UI of effect 1", "1 stream value was not given back"},
    {"set-keyed", "UPDATE_PARAMS_UI of effect 1", "a stream with keyframes"},
    {"declare-twice", "SMART_PRE_RENDER of effect 1", "id 0 was declared twice"},
    {"larger-result", "SMART_PRE_RENDER of effect 1", "larger than the request"},
    {"undeclared", "SMART_RENDER of effect 1", "id 77 were never declared"},
    {"taken-twice", "SMART_RENDER of effect 1", "id 0 were taken out twice"},
    {"output-first", "SMART_RENDER of effect 1", "before any input"},
    {"write-behind", "SMART_RENDER of effect 1", "around the output's rows"},
    {"write-before", "SMART_RENDER of effect 1", "around the output's rows"},
    {"write-below", "SMART_RENDER of effect 1", "around the output's rows"},
    {"write-input", "SMART_RENDER of effect 1", "checkout id 0 was written"},
    {"invalidate-in-draw", "EVENT of effect 1", "inside a draw event"},
};

TEST(HostRules, EachBrokenRuleIsToldWithItsCommand) {
    HostOptions options;
    options.strict = true;
    for (const Rule& rule : kRules) {
        const Outcome run = RunSession(rule.fault, options);
        EXPECT_THAT(run.faults, HasSubstr(rule.says)) << rule.fault;
        EXPECT_THAT(run.faults, HasSubstr(rule.command)) << rule.fault;
    }
}

TEST(HostRules, AForeignGlContextLeftCurrentIsTold) {
    HostOptions options;
    options.strict = true;
    std::string reason;
    if (!GLContext::Create(reason)) GTEST_SKIP() << reason;
    const Outcome run = RunSession("gl-context", options);
    EXPECT_THAT(run.faults, HasSubstr("SMART_RENDER of effect 1: the current GL context"));
}

TEST(HostRules, WritesToTheProjectAreRefusedOnTheRenderSide) {
    HostOptions options;
    options.twoCopies = true;
    const Outcome run = RunSession("render-write", options);
    EXPECT_THAT(run.faults, HasSubstr("changed from the render side"));
    EXPECT_THAT(run.failure, HasSubstr("code 6"));
    options.twoCopies = false; // one copy is both sides
    EXPECT_THAT(RunSession("render-write", options).faults, IsEmpty());
}

TEST(HostRules, ASuiteThatIsMissingIsNotHandedOut) {
    HostOptions options;
    options.missingSuites = {"PF AngleParamSuite"};
    EXPECT_THAT(RunSession("leak-suite", options).faults, IsEmpty());
}

TEST(HostRules, AFailedRenderTellsItsCodeOrItsMessage) {
    EXPECT_THAT(RunSession("render-error", {}).failure,
                HasSubstr("SMART_RENDER of effect 1 failed with code 512"));
    EXPECT_EQ(RunSession("render-message", {}).failure, "The card is too small.");
}

TEST(HostRules, FaultyModulesAreRefusedWhenTheyAreLoaded) {
    const Rule rules[] = {
        {"params-count", "", "declares 15 parameters and added 11"},
        {"open-group", "", "groups of parameters are not balanced"},
        {"popup-count", "", "\"Mode\" (disk id 13) declares 4 choices and names 3"},
        {"same-id", "", "\"Mode\" (disk id 11) has the disk id of \"Amount\""},
        {"float-default", "", "\"Amount\" (disk id 11) has a default outside its valid range"},
        {"setup-error", "", "GLOBAL_SETUP failed with code 4 (out of memory)"},
    };
    for (const Rule& rule : rules) {
        std::string error;
        EXPECT_FALSE(StartTestPlugin(rule.fault, {}, &error)) << rule.fault;
        EXPECT_THAT(error, HasSubstr(rule.says)) << rule.fault;
    }
}

TEST(HostRules, APopupDefaultOutOfRangeIsMendedAndTold) {
    HostOptions options;
    options.strict = true;
    const auto host = StartTestPlugin("popup-default", options);
    ASSERT_TRUE(host);
    EXPECT_THAT(Joined(host->reports.messages()), HasSubstr("has the default 9 of 3 choices, taken as 1"));
    EXPECT_EQ(RowNamed(*host, "Mode").def.u.pd.dephault, 1);
}

} // namespace
} // namespace velorin::app
