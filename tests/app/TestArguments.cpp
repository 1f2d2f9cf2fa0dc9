#include "app/command/CommandTable.h"
#include "app/command/Table.h"

#include "services/MappedFile.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <regex>
#include <set>

namespace velorin::app {
namespace {

TEST(Arguments, FrameRanges) {
    struct Case {
        const char* text;
        int first, last, step; // step 0: refused
    };
    const Case cases[] = {{"0", 0, 0, 1},  {"3-7", 3, 7, 1}, {"0-10/5", 0, 10, 5}, {"7-3", 0, 0, 0},
                          {"-3", 0, 0, 0}, {"3-", 0, 0, 0},  {"1-5/0", 0, 0, 0},   {"1/2", 0, 0, 0},
                          {"", 0, 0, 0},   {"a", 0, 0, 0},   {"1-5x", 0, 0, 0},    {"99999999999", 0, 0, 0}};
    for (const Case& c : cases) {
        const auto range = ParseFrameRange(c.text);
        EXPECT_EQ(range.has_value(), c.step != 0) << c.text;
        if (!range) continue;
        EXPECT_EQ(range->first, c.first) << c.text;
        EXPECT_EQ(range->last, c.last) << c.text;
        EXPECT_EQ(range->step, c.step) << c.text;
    }
}

TEST(Arguments, Sizes) {
    const auto size = ParseSize("640x480");
    ASSERT_TRUE(size);
    EXPECT_EQ(size->width, 640);
    EXPECT_EQ(size->height, 480);
    for (const char* text : {"", "640", "640x", "x480", "640x480x1", "0x10", "10x-1", "640 x 480", "40000x1"})
        EXPECT_FALSE(ParseSize(text)) << text;
}

TEST(Arguments, FrameNames) {
    EXPECT_EQ(NumberedName("a.####.png", 7), "a.0007.png");
    EXPECT_EQ(NumberedName("a.####.png", 12345), "a.12345.png");
    EXPECT_EQ(NumberedName("####/b######.exr", 7), "####/b000007.exr");
    EXPECT_EQ(NumberedName("####", 0), "0000");
    EXPECT_FALSE(NumberedName("a###.png", 7));
}

TEST(Arguments, TablesAlignTheirColumns) {
    const auto json =
        nlohmann::ordered_json::parse(R"([{"a": 1, "name": "\u00e4b"}, {"name": "c", "list": [1, 2.5]}])");
    EXPECT_EQ(TableText(json), "a  name  list\n1  \xc3\xa4"
                               "b\n   c     1 2.5\n");
    EXPECT_EQ(
        TableText(nlohmann::ordered_json::parse(R"({"x": true, "rows": [{"k": 1}], "of": {"y": null}})")),
        "x: yes\n\nrows:\n  k\n  1\n\nof:\n  y: \n");
    EXPECT_EQ(TableText(nlohmann::ordered_json::parse(R"([{"a": 1, "b": {"c": 2}}, {"a": 3}])")),
              "[0]\n  a: 1\n\n  b:\n    c: 2\n\n[1]\n  a: 3\n");
}

// The synopsis at the head of the users' page, by command: the options that it names.
std::map<std::string, std::set<std::string>> Synopsis(const std::string& page) {
    std::map<std::string, std::set<std::string>> commands;
    const std::size_t begin = page.find("```\n") + 4;
    std::istringstream lines(page.substr(begin, page.find("```", begin) - begin));
    std::string name;
    const std::regex option("--[a-z]+|-o\\b");
    for (std::string line; std::getline(lines, line);) {
        std::smatch words;
        if (std::regex_search(line, words, std::regex("^velorin ([a-z]+( [a-z]+)?)"))) name = words[1];
        for (std::sregex_iterator at(line.begin(), line.end(), option), end; at != end; ++at)
            commands[name].insert(at->str() == "-o" ? "--output" : at->str());
        commands[name];
    }
    return commands;
}

TEST(Arguments, TheUsersPageNamesEveryCommandAndOption) {
    const MappedFile page = MappedFile::Open(VELORIN_SOURCE_DIR "/docs/command-line.md", FileAccess::Read);
    ASSERT_TRUE(page.valid());
    const auto documented =
        Synopsis({reinterpret_cast<const char*>(page.bytes().data()), page.bytes().size()});
    std::map<std::string, std::set<std::string>> known;
    for (const CommandRow& command : CommandRows()) {
        if (!command.run) continue;
        std::set<std::string>& options = known[command.name];
        for (const OptionRow& option : command.options)
            if (const std::string names = option.names; names[0] == '-')
                options.insert(names.substr(names.find("--")));
        // What all of them take is told once.
        if (std::string(command.name) == "render")
            for (const OptionRow& option : CommonOptions()) options.insert(option.names);
    }
    EXPECT_EQ(known, documented);
}

} // namespace
} // namespace velorin::app
