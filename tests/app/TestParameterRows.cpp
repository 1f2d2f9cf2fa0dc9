#include "app/host/ParameterInput.h"
#include "app/host/ParameterRows.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

namespace velorin::app {
namespace {

PF_ParamDef Definition(const char* name, PF_ParamType type, int id) {
    PF_ParamDef def{};
    std::strcpy(def.PF_DEF_NAME, name);
    def.param_type = type;
    def.uu.id = id;
    return def;
}

class ParameterRowsTest : public testing::Test {
protected:
    void SetUp() override {
        Add(Definition("Render", PF_Param_GROUP_START, 1));
        PF_ParamDef popup = Definition("Show", PF_Param_POPUP, 2);
        popup.u.pd.u.PF_DEF_NAMESPTR = "0|1|2|Composite";
        popup.u.pd.num_choices = 4, popup.u.pd.dephault = 4;
        Add(popup);
        PF_ParamDef size = Definition("Size", PF_Param_FLOAT_SLIDER, 3);
        size.u.fs_d.valid_max = 100;
        Add(size);
        Add(Definition("", PF_Param_GROUP_END, 4));
        Add(Definition("Output", PF_Param_GROUP_START, 5));
        Add(popup = WithId(popup, 6));
        Add(Definition("Tint", PF_Param_COLOR, 7));
        Add(Definition("Place", PF_Param_POINT, 8));
        Add(Definition("On", PF_Param_CHECKBOX, 9));
        Add(Definition("Map", PF_Param_LAYER, 10));
        PF_ParamDef data = Definition("Data", PF_Param_ARBITRARY_DATA, 11);
        data.flags = PF_ParamFlag_CANNOT_TIME_VARY;
        Add(data);
        Add(Definition("", PF_Param_GROUP_END, 12));
        std::vector<std::string> faults, warnings;
        rows_.Finish(rows_.count() + 1, faults, warnings);
        ASSERT_THAT(faults, testing::IsEmpty());
        comp_.AddLayer(LayerRole::Solid, "Back");
        comp_.AddLayer(LayerRole::Image, "Logo");
    }
    static PF_ParamDef WithId(PF_ParamDef def, int id) {
        def.uu.id = id;
        return def;
    }
    void Add(const PF_ParamDef& def) { ASSERT_TRUE(rows_.Add(-1, def)); }

    // The value at half a second, or nothing with `said_` set.
    std::optional<Components> Value(const std::string& key, const std::string& json) {
        std::string reason;
        const ParameterRow* row = rows_.Resolve(key, reason);
        said_ = reason;
        if (!row) return std::nullopt;
        JsonError fault;
        const auto document = ParseJson(json, fault);
        EXPECT_TRUE(document) << fault.reason;
        Diagnostics diagnostics;
        AnimatedValue value;
        const TextSource source("p", document->source, diagnostics);
        const bool good = ReadParameterValue(source, *row, document->root, comp_, value);
        for (const auto* list : {&diagnostics.errors, &diagnostics.warnings})
            for (const std::string& sentence : *list) said_ += sentence;
        return good ? std::optional(value.At(0.5)) : std::nullopt;
    }

    ParameterRows rows_;
    HostComp comp_;
    std::string said_;
};

TEST_F(ParameterRowsTest, KeysAreIdsNamesOrPaths) {
    std::string reason;
    EXPECT_EQ(rows_.Resolve("6", reason)->index, 6);
    EXPECT_EQ(rows_.Resolve("Size", reason)->index, 3);
    EXPECT_EQ(rows_.Resolve("Output/Show", reason)->index, 6);
    EXPECT_EQ(rows_.Resolve("Render/Show", reason)->index, 2);
    struct Case {
        const char *key, *says;
    };
    const Case cases[] = {
        {"Show", "\"Show\" names 2 parameters, such as \"Render/Show\" (2) and \"Output/Show\" (6)"},
        {"Siez", "unknown parameter \"Siez\", did you mean \"Size\"?"},
        {"Outptu/Show", "unknown parameter \"Outptu/Show\", did you mean \"Output/Show\"?"},
        {"99", "no parameter has the disk id 99"},
        {"1", "no parameter has the disk id 1"}, // a group has no value
        {"utput/Show", "did you mean \"Output/Show\"?"},
    };
    for (const Case& c : cases) {
        EXPECT_FALSE(rows_.Resolve(c.key, reason)) << c.key;
        EXPECT_THAT(reason, testing::HasSubstr(c.says));
    }
}

TEST_F(ParameterRowsTest, ValuesAreReadByKind) {
    struct Case {
        const char *key, *json;
        Components value;
    };
    const Case cases[] = {
        {"Size", "50", {50}},
        {"Size", R"({"keys": [{"time": 0, "value": 0}, {"time": 1, "value": 10}]})", {5}},
        {"2", "\"Composite\"", {4}},
        {"2", "\"composite\"", {4}},
        {"2", "\"2\"", {3}}, // the text, not the number
        {"2", "2", {2}},
        {"Tint", "\"#0102ff\"", {1, 2, 255}},
        {"Tint", "[4, 5, 6]", {4, 5, 6}},
        {"Place", "[7, -8]", {7, -8}},
        {"On", "true", {1}},
        {"Map", "\"Logo\"", {2}},
        {"Map", "null", {0}},
    };
    for (const Case& c : cases) {
        const auto value = Value(c.key, c.json);
        ASSERT_TRUE(value) << c.key << ' ' << c.json << ' ' << said_;
        EXPECT_EQ(*value, c.value) << c.key << ' ' << c.json;
        EXPECT_EQ(said_, "");
    }
}

TEST_F(ParameterRowsTest, WrongValuesAreRefusedAndFarOnesClamped) {
    struct Case {
        const char *key, *json, *says;
    };
    const Case cases[] = {
        {"Size", "\"x\"", "p:1:1: \"Size\": expected a number, found a text"},
        {"2", "\"Compsite\"", "\"Compsite\" is no choice, did you mean \"Composite\"?"},
        {"2", "1.5", "the number of a choice"},
        {"On", "1", "expected true or false, found a number"},
        {"Map", "\"Lgoo\"", "no layer is called \"Lgoo\", did you mean \"Logo\"?"},
        {"Place", "[1]", "expected a list of 2 numbers, found 1 value"},
        {"Data", "1", "the scene is set by \"scene\""},
    };
    for (const Case& c : cases) {
        EXPECT_FALSE(Value(c.key, c.json)) << c.key << ' ' << c.json;
        EXPECT_THAT(said_, testing::HasSubstr(c.says));
    }
    EXPECT_EQ(*Value("Size", "101"), (Components{100}));
    EXPECT_EQ(said_, "p:1:1: \"Size\": 101 lies outside 0 to 100, taken as 100");
    EXPECT_EQ(*Value("2", "9"), (Components{4}));
}

TEST_F(ParameterRowsTest, OnlyAppendingIsAllowed) {
    EXPECT_FALSE(rows_.Add(3, Definition("Late", PF_Param_ANGLE, 50)));
    EXPECT_FALSE(rows_.Add(-1, Definition("Odd", 77, 50)));
}

} // namespace
} // namespace velorin::app
