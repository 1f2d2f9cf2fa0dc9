#include "render/RendererPrefs.h"

#include "services/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <string>

namespace velorin {
namespace {

using namespace test;

struct Folders {
    TemporaryFolder folder;
    ScopedVariable settings{"VELORIN_SETTINGS_DIR", folder.file("none")};
    ScopedVariable user{"VELORIN_USER_PATH", folder.file("user")};
    ScopedVariable data{"VELORIN_DATA_PATH", folder.file("data")};
    Folders() {
        std::filesystem::create_directories(folder.file("user/Quenmarworks"));
        std::filesystem::create_directories(folder.file("data/Quenmarworks"));
    }
};

std::string Chunk(char tag, std::string_view payload) {
    return std::string{tag, 0, 0, 0, static_cast<char>(payload.size()), 0, 0, 0} + std::string(payload);
}

const std::string kMagic("NXCFH\0\0\1", 8);
constexpr const char* kInit = "user/Quenmarworks/velorin2_init";
constexpr const char* kPrefs = "data/Quenmarworks/velorin2_render_prefs";

TEST(RendererPrefs, FilesHoldTheTagsOfTheirTable) {
    const Folders folders;
    EXPECT_EQ(LoadRendererPrefs(), RendererPrefs{}); // without files
    ASSERT_TRUE(SaveRendererPrefs({true, 0x01020304, true}));
    EXPECT_EQ(ReadWhole(folders.folder.file(kPrefs)), kMagic + Chunk(1, "\4\3\2\1") + Chunk(2, "\1"));
    EXPECT_EQ(LoadRendererPrefs(), (RendererPrefs{false, 0x01020304, true}))
        << "the first flag lies elsewhere";
    folders.folder.Put(kInit, kMagic + Chunk(1, "\1"));
    EXPECT_TRUE(LoadRendererPrefs().initFlag);
    std::filesystem::remove_all(folders.folder.file("data/Quenmarworks"));
    EXPECT_FALSE(SaveRendererPrefs({}));
}

TEST(RendererPrefs, WhatIsDamagedOrUnknownChangesNothing) {
    const Folders folders;
    const std::pair<std::string, RendererPrefs> cases[] = {
        {"", {}},
        {"NXC", {}},
        {std::string("NXCFH\0\0\4", 8) + Chunk(2, "\1"), {}},
        {kMagic + Chunk(1, "\1\1"), {}},
        {kMagic + std::string("\2\0\0\0\xff\xff\xff\xff\1", 9), {}},
        // Unknown tags are stepped over, tag 0 ends the file.
        {kMagic + Chunk(9, "xyz") + Chunk(2, "\1") + Chunk(7, "") + Chunk(1, std::string("\7\0\0\0", 4)) +
             Chunk(0, "") + Chunk(1, "\1\1\1\1"),
         {false, 7, true}}};
    for (const auto& [content, expected] : cases) {
        folders.folder.Put(kPrefs, content);
        EXPECT_EQ(LoadRendererPrefs(), expected) << content;
    }
}

} // namespace
} // namespace velorin
