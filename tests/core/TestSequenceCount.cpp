#include "core/SequencePath.h"

#include "services/TemporaryFolder.h"

#include <gtest/gtest.h>

using namespace velorin;
using namespace velorin::test;

TEST(SequencePath, CountsTheFilesInARow) {
    const TemporaryFolder folder;
    for (const char* name :
         {"a098.obj", "a099.obj", "a100.obj", "a102.obj", "b9.obj", "b10.obj", "still.obj"})
        folder.Put(name, "");
    const struct {
        const char* first;
        std::uint32_t count;
    } cases[] = {{"a098.obj", 3}, {"a099.obj", 2},  {"a102.obj", 1},
                 {"b9.obj", 2},   {"still.obj", 1}, {"none1.obj", 1}};
    for (const auto& c : cases) EXPECT_EQ(CountSequence(folder.file(c.first)), c.count) << c.first;
}
