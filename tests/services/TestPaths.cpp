#include "TemporaryFolder.h"

#include "services/Paths.h"
#include "services/StringConversion.h"

#include <gtest/gtest.h>

#include <string>

namespace velorin {
namespace {

using test::ScopedVariable;
using test::TemporaryFolder;

// A machine of the test's own: every source of a path lies in one folder.
struct Machine {
    TemporaryFolder folder;
    ScopedVariable settings{"VELORIN_SETTINGS_DIR", folder.path()};
    ScopedVariable home{"HOME", folder.path()};
    ScopedVariable config{"XDG_CONFIG_HOME", folder.path()};
    ScopedVariable dataDirs{"XDG_DATA_DIRS", folder.file("absent") + ":" + folder.file("share1") + ":" +
                                                 folder.file("share2")};
    ScopedVariable userPath{"VELORIN_USER_PATH", ""};
    ScopedVariable dataPath{"VELORIN_DATA_PATH", ""};
};

TEST(Paths, DataPathTakesTheVariableBeforeTheSystemFolder) {
    const Machine machine;
    EXPECT_EQ(GetDataPath(), "");
    std::filesystem::create_directory(machine.folder.file("share1"));
    EXPECT_EQ(GetDataPath(), machine.folder.file("share1"));
    std::filesystem::create_directories(machine.folder.file("share2/Quenmarworks"));
    EXPECT_EQ(GetDataPath(), machine.folder.file("share2"));
    const ScopedVariable set("VELORIN_DATA_PATH", "/some/where");
    EXPECT_EQ(GetDataPath(), "/some/where");
}

TEST(Paths, UserPathTakesTheMachinesSettingBeforeTheVariable) {
    const Machine machine;
    EXPECT_EQ(GetUserPath(), machine.folder.path()) << "without documents, the home folder";
    std::filesystem::create_directory(machine.folder.file("Documents"));
    EXPECT_EQ(GetUserPath(), machine.folder.file("Documents"));
    std::filesystem::create_directory(machine.folder.file("Dokumente"));
    machine.folder.Put("user-dirs.dirs",
                       "# comment\nXDG_MUSIC_DIR=\"$HOME/x\"\nXDG_DOCUMENTS_DIR=\"$HOME/Dokumente/\"\n");
    EXPECT_EQ(GetUserPath(), machine.folder.file("Dokumente"));
    {
        const ScopedVariable set("VELORIN_USER_PATH", "/from/variable");
        EXPECT_EQ(GetUserPath(), "/from/variable");
        machine.folder.Put("VelorinUserPath", "/from/setting \r\nmore\n");
        EXPECT_EQ(GetUserPath(), "/from/setting");
    }
    EXPECT_EQ(GetUserPath(), "/from/setting");
}

TEST(Paths, AValueThatIsTooLongIsNotRead) {
    const Machine machine;
    // Counted in UTF-16 units: the two-byte letter is one of them.
    const std::string fits = "/" + std::string(497, 'a') + "\xC3\xBC", tooLong = fits + "b";
    {
        const ScopedVariable set("VELORIN_USER_PATH", fits);
        EXPECT_EQ(GetUserPath(), fits);
    }
    const ScopedVariable set("VELORIN_USER_PATH", tooLong);
    EXPECT_EQ(GetUserPath(), machine.folder.path());
    machine.folder.Put("VelorinUserPath", tooLong);
    EXPECT_EQ(GetUserPath(), machine.folder.path());
}

TEST(StringConversion, KnownTextsBothWays) {
    struct Case {
        std::string utf8;
        std::u16string utf16;
    };
    const Case cases[] = {
        {"", u""},
        {"Velorin", u"Velorin"},
        {"Gr\xC3\xBC\xC3\x9F Gott/\xE6\x97\xA5\xE6\x9C\xAC", u"Gr\u00FC\u00DF Gott/\u65E5\u672C"},
        {"\xF0\x9D\x84\x9E", u"\xD834\xDD1E"},
        {"\xF4\x8F\xBF\xBF", u"\xDBFF\xDFFF"},
        {std::string("a\0b", 3), std::u16string(u"a\0b", 3)},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Utf8ToUtf16(c.utf8), c.utf16) << c.utf8;
        EXPECT_EQ(Utf16ToUtf8(c.utf16), c.utf8);
        EXPECT_EQ(WideToUtf8(Utf8ToWide(c.utf8)), c.utf8);
    }
    EXPECT_EQ(Utf8ToWide("\xF0\x9D\x84\x9E"), L"\U0001D11E");
}

TEST(StringConversion, MalformedInputBecomesReplacementCharacters) {
    struct Case {
        const char* what;
        std::string utf8;
        std::u16string utf16;
    };
    // Counts by the rule of maximal subparts; the fourth row is the example of Unicode's table 3-8.
    const Case cases[] = {
        {"lone continuation", "a\x80z", u"a\uFFFDz"},
        {"overlong slash", "\xC0\xAF", u"\uFFFD\uFFFD"},
        {"surrogate", "\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD"},
        {"mixed", "\x61\xF1\x80\x80\xE1\x80\xC2\x62\x80\x63\x80\xBF\x64",
         u"a\uFFFD\uFFFD\uFFFDb\uFFFDc\uFFFD\uFFFDd"},
        {"cut at the end", "x\xE6\x97", u"x\uFFFD"},
        {"above the last plane", "\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"overlong in four", "\xF0\x80\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
    };
    for (const Case& c : cases) EXPECT_EQ(Utf8ToUtf16(c.utf8), c.utf16) << c.what;
    EXPECT_EQ(Utf16ToUtf8(std::u16string(1, char16_t{0xD800}) + u"a"), "\xEF\xBF\xBD"
                                                                       "a");
    EXPECT_EQ(Utf16ToUtf8(std::u16string{char16_t{0xDC00}, char16_t{0xD800}}), "\xEF\xBF\xBD\xEF\xBF\xBD");
}

} // namespace
} // namespace velorin
