#include "TemporaryFolder.h"

#include "platform/Process.h"
#include "services/Library.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace velorin {
namespace {

using test::ScopedVariable;
using test::TemporaryFolder;

// Each name stands in the folders that its letters tell: u the user's library, d the data folder of the
// scene, s the shipped library of all users.
TEST(Library, TheUsersFileComesFirstAndTheShippedOneLast) {
    const TemporaryFolder folder;
    const ScopedVariable user("VELORIN_USER_PATH", folder.file("user"));
    const ScopedVariable shared("VELORIN_DATA_PATH", folder.file("share"));
    const std::string u = folder.file("user/Quenmarworks/"), d = folder.file("data/"),
                      s = folder.file("share/Quenmarworks/");
    for (const std::string& place : {u, d, s}) std::filesystem::create_directories(place + "Materials");
    for (const char* name : {"Materials/uds", "Materials/us", "pack_us.qbndl"})
        folder.Put("user/Quenmarworks/" + std::string(name), "");
    for (const char* name : {"Materials/uds", "Materials/ds"}) folder.Put("data/" + std::string(name), "");
    for (const char* name : {"Materials/uds", "Materials/us", "Materials/ds", "Materials/s", "pack_us.qbndl"})
        folder.Put("share/Quenmarworks/" + std::string(name), "");

    const struct {
        std::string path, found;
    } cases[] = {
        {"Materials/uds", u + "Materials/uds"},
        {"Materials\\us", u + "Materials/us"},
        {"Materials/./x/../ds", d + "Materials/ds"},
        {"Materials/s", s + "Materials/s"},
        {"Materials/absent", d + "Materials/absent"},
        {"Materials", d + "Materials"}, // a folder is no file
        {s + "Materials/us", s + "Materials/us"},
        {"pack_us.qbndl>Materials/s", u + "pack_us.qbndl>Materials/s"},
        {"C:\\x\\us", "C:/x/us"},
    };
    for (const auto& [path, found] : cases) EXPECT_EQ(FindAsset(path, folder.file("data")), found) << path;
    EXPECT_EQ(FindAsset("nowhere/x.jpg", ""), "nowhere/x.jpg");
    // What came in one folder with the module: here, with the test program.
    EXPECT_EQ(GetLibraryPlaces().beside,
              std::filesystem::path(ExecutablePath()).parent_path().string() + "/content");
}

TEST(Library, APathIntoABundleIsSplitBehindTheEnding) {
    const struct {
        const char *path, *bundle, *entry; // without a bundle null
    } cases[] = {{"content.qbndl>folder/ship.obj", "content.qbndl", "folder/ship.obj"},
                 {"/a b/c.qbndl>x>y", "/a b/c.qbndl", "x>y"},
                 {"c.qbndl>", "c.qbndl", ""},
                 {"c.qbndl", nullptr, nullptr},
                 {"a>b.obj", nullptr, nullptr}};
    for (const auto& [path, bundle, entry] : cases) {
        const auto split = SplitBundlePath(path);
        ASSERT_EQ(split.has_value(), bundle != nullptr) << path;
        EXPECT_EQ(FileOnDisk(path), bundle ? bundle : path);
        EXPECT_EQ(split ? split->entry : "", entry ? entry : "") << path;
    }
}

} // namespace
} // namespace velorin
