#include "app/project/Json.h"

#include <gtest/gtest.h>

namespace velorin::app {
namespace {

JsonDocument Parsed(const std::string& text) {
    JsonError error;
    auto document = ParseJson(text, error);
    EXPECT_TRUE(document) << error.reason;
    return document ? std::move(*document) : JsonDocument();
}

TEST(Json, EachValueKnowsItsBytes) {
    const std::string text =
        "{ \"a\" : [ -1.5e2 , \"x\\\"\\\\\" ,true,false , null ],\r\n\t\"\\u00e4\":{\"b\":7}}";
    const JsonDocument document = Parsed(text);
    const auto span = [&](const JsonNode& node) { return text.substr(node.begin, node.end - node.begin); };
    const JsonNode& list = document.root.members[0].value;
    EXPECT_EQ(span(document.root), text);
    EXPECT_EQ(span(list), "[ -1.5e2 , \"x\\\"\\\\\" ,true,false , null ]");
    const char* items[] = {"-1.5e2", "\"x\\\"\\\\\"", "true", "false", "null"};
    ASSERT_EQ(list.items.size(), 5U);
    for (std::size_t i = 0; i < 5; ++i) EXPECT_EQ(span(list.items[i]), items[i]);
    EXPECT_EQ(list.items[0].number, -150);
    EXPECT_EQ(list.items[1].text, "x\"\\");
    EXPECT_EQ(text.substr(document.root.members[1].keyBegin, 8), "\"\\u00e4\"");
    EXPECT_EQ(span(*document.root.Find("\xc3\xa4")->Find("b")), "7");
}

TEST(Json, FaultsAreToldAtTheirPlace) {
    struct Case {
        const char* text;
        TextPlace place;
        const char* says;
    };
    const Case cases[] = {
        {"{\n  \"a\": 1,\n  \"a\": 2 }", {3, 3}, "stands twice"},
        {"{\n  \"a\": tru }", {2, 11}, "syntax error"},
        {"{ \"a\": 1", {1, 9}, "syntax error"},
        {"{\n\"\u00e4\xe2\x82\xac\": tru }", {2, 10}, "syntax error"}, // columns count characters
        {"[1, 2", {1, 6}, "syntax error"},
        {"", {1, 1}, "syntax error"},
        {"{} x", {1, 4}, "syntax error"},
        {"{ \"a\": \"\xff\" }", {1, 9}, "UTF-8"},
    };
    for (const Case& c : cases) {
        JsonError error;
        EXPECT_FALSE(ParseJson(c.text, error)) << c.text;
        EXPECT_EQ(error.place.line, c.place.line) << c.text;
        EXPECT_NEAR(error.place.column, c.place.column, 1) << c.text;
        EXPECT_NE(error.reason.find(c.says), std::string::npos) << error.reason;
    }
}

TEST(Json, DeepNestingIsRefusedAndEveryCutTextToo) {
    JsonError error;
    EXPECT_FALSE(ParseJson(std::string(100000, '['), error));
    EXPECT_NE(error.reason.find("too deeply"), std::string::npos);
    const std::string text = R"({"a":[1,{"b":"c"},true],"d":null})";
    for (std::size_t length = 0; length < text.size(); ++length)
        EXPECT_FALSE(ParseJson(text.substr(0, length), error)) << length;
}

TEST(Json, PointersLeadAsFarAsTheyCan) {
    const JsonDocument document = Parsed(R"({"models":[{"a/b":{"~":3}}]})");
    EXPECT_EQ(document.At("/models/0/a~1b/~0").number, 3);
    EXPECT_EQ(&document.At("/models/7/name"), document.root.Find("models"));
    EXPECT_EQ(&document.At(""), &document.root);
}

} // namespace
} // namespace velorin::app
