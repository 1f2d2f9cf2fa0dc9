#include "core/document/SceneModel.h"
#include "model/ContentBundle.h"
#include "model/ModelCache.h"
#include "model/ModelLoader.h"
#include "model/ModelRecord.h"

#include "FormatChecks.h"
#include "services/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <random>
#include <set>
#include <sys/wait.h>
#include <unistd.h>

using namespace velorin;
using namespace velorin::test;

namespace {

constexpr const char* kTriangle = "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n";

class CacheTest : public ::testing::Test {
protected:
    SceneModel& ModelAt(const std::string& path) {
        model_.path = path;
        return model_;
    }
    // A cached model that its file does not look like: what is found is told from what is parsed.
    static ModelData Marked(float mark) {
        ModelData data;
        EXPECT_TRUE(ReadModelRecord(WriteModelRecord({}, 0), data));
        data.sourceOffset.x = mark;
        return data;
    }
    static void MakeOlder(const std::string& path, int seconds) {
        std::filesystem::last_write_time(path, std::filesystem::last_write_time(path) -
                                                   std::chrono::seconds(seconds));
    }

    TemporaryFolder folder_;
    ScopedVariable user_{"VELORIN_USER_PATH", folder_.path()};
    SceneModel model_{ModelType::ImportedFile};
};
using ModelCacheTest = CacheTest;

} // namespace

TEST_F(ModelCacheTest, FindsARecordAsLongAsTheFileIsTheSame) {
    const std::string file = folder_.Put("a.obj", kTriangle);
    MakeOlder(file, 10);
    ModelCache cache;
    ModelData data;
    EXPECT_FALSE(cache.Find(ModelAt("a.obj"), file, data));
    ASSERT_TRUE(cache.Store(ModelAt("a.obj"), file, Marked(5)));
    ASSERT_TRUE(cache.Find(ModelAt("a.obj"), file, data));
    EXPECT_EQ(data.sourceOffset.x, 5);
    EXPECT_FALSE(cache.Find(ModelAt("other.obj"), file, data)) << "by the path of the scene";
    ASSERT_TRUE(ModelCache().Find(ModelAt("a.obj"), file, data)) << "in the next process too";
    EXPECT_EQ(cache.pack().path(), folder_.file("Quenmarworks/model_cache_2"));

    folder_.Put("a.obj", std::string(kTriangle) + "#");
    MakeOlder(file, 10);
    EXPECT_FALSE(cache.Find(ModelAt("a.obj"), file, data)) << "another size";
    folder_.Put("a.obj", kTriangle);
    std::filesystem::last_write_time(file, std::filesystem::last_write_time(file) + std::chrono::seconds(10));
    EXPECT_FALSE(cache.Find(ModelAt("a.obj"), file, data)) << "younger than its record";
    MakeOlder(file, 20);
    EXPECT_TRUE(cache.Find(ModelAt("a.obj"), file, data)) << "the old record was kept";
    std::filesystem::remove(file);
    EXPECT_FALSE(cache.Find(ModelAt("a.obj"), file, data)) << "no file";
    EXPECT_FALSE(cache.Store(ModelAt("a.obj"), file, Marked(1)));
}

TEST_F(ModelCacheTest, IsWipedByARecordOfAnotherVersion) {
    const std::string file = folder_.Put("a.obj", kTriangle);
    MakeOlder(file, 10);
    ModelCache cache;
    ASSERT_TRUE(cache.Store(ModelAt("b.obj"), file, Marked(1)));
    Buffer record = WriteModelRecord(Marked(2), static_cast<std::uint32_t>(std::strlen(kTriangle)));
    for (const Buffer& bad : {U32(11) + Buffer(record.begin() + 4, record.end()), // an older version
                              Text("x"),                                          // no record at all
                              Buffer(record.begin(), record.end() - 1)}) {        // a cut one
        ASSERT_TRUE(cache.pack().Put("a.obj", bad));
        ModelData data;
        EXPECT_FALSE(cache.Find(ModelAt("a.obj"), file, data));
        EXPECT_TRUE(cache.pack().Names().empty());
    }
    folder_.Put("Quenmarworks/model_cache_2", std::string(300'000, 'x'));
    ModelCache damaged;
    ModelData data;
    EXPECT_FALSE(damaged.Find(ModelAt("a.obj"), file, data));
    EXPECT_TRUE(damaged.Store(ModelAt("a.obj"), file, Marked(3)));
    EXPECT_TRUE(damaged.Find(ModelAt("a.obj"), file, data));
}

TEST_F(ModelCacheTest, SparesTheParserTheSecondTime) {
    const std::string file = folder_.Put("a.obj", kTriangle);
    MakeOlder(file, 10);
    ModelCache cache;
    SetModelCache(&cache);
    ModelData first, second;
    EXPECT_TRUE(LoadModelData(ModelAt("a.obj"), folder_.path(), first));
    EXPECT_EQ(cache.pack().Names(), std::vector<std::string>{"a.obj"});
    // Same size and age, so that only the cache can know the triangle.
    folder_.Put("a.obj", std::string(std::strlen(kTriangle), '#'));
    MakeOlder(file, 10);
    EXPECT_TRUE(LoadModelData(ModelAt("a.obj"), folder_.path(), second));
    SetModelCache(nullptr);
    EXPECT_EQ(WriteModelRecord(first, 0), WriteModelRecord(second, 0));
    EXPECT_EQ(second.vertices.size(), 3u);
    ModelData third;
    EXPECT_FALSE(LoadModelData(ModelAt("a.obj"), folder_.path(), third)) << "without the cache";
}

// Names between arrays, so that the small parts lie across the windows in which a file is read.
TEST_F(ModelCacheTest, ReadsARecordFromItsFileAsFromMemory) {
    ModelData data;
    data.vertices.resize(9'000);
    for (std::size_t i = 0; i < 9'000; ++i) data.vertices[i].position.x = static_cast<float>(i);
    for (std::uint32_t i = 0; i < 900; ++i) {
        data.materials.emplace_back().name = std::string(i, 'm') + "end";
        ModelMesh& mesh = data.meshes.emplace_back();
        mesh.name = std::to_string(i);
        mesh.groups.resize(1);
        mesh.groups[0].triangles.assign(i == 500 ? 20'000 : i, Triangle{i, 2 * i, 3 * i});
    }
    const Buffer record = WriteModelRecord(data, 1);
    PackFile pack;
    pack.Open(folder_.file("p"), false, false);
    ASSERT_TRUE(pack.Put("a", record));
    const PackEntry entry = pack.Get("a");
    ModelData read;
    ASSERT_TRUE(ReadModelRecord(entry.stream(), read));
    EXPECT_EQ(WriteModelRecord(read, 1), record);
    // A file that somebody cuts while it is read is a record that ends too early, and nothing worse.
    std::filesystem::resize_file(folder_.file("p"), 0x30008 + record.size() - 40'000);
    EXPECT_FALSE(ReadModelRecord(entry.stream(), read));
    EXPECT_TRUE(read.vertices.empty() && read.meshes.empty());
}

TEST_F(ModelCacheTest, LoadsBundlesAndTheDefaultModel) {
    std::filesystem::create_directories(folder_.file("c/ships/old"));
    folder_.Put("c/ships/one.obj", kTriangle);
    folder_.Put("c/ships/one.png", "picture");
    folder_.Put("c/ships/old/two.OBJ", kTriangle);
    folder_.Put("c/top.qmx", "preset");
    folder_.Put("c/ships/one.mtl", "newmtl a");
    folder_.Put("c/broken.obj", "nothing");
    folder_.Put("c/void.png", "");
    folder_.Put("c/a||b.png", "picture");
    const BundleResult result = CreateBundle(folder_.file("c"), folder_.file("c.qbndl"), "ships-1");
    ASSERT_TRUE(result.ok) << result.error;
    EXPECT_EQ(result.items, 4u);
    std::string skipped;
    for (const auto& [name, reason] : result.skipped) skipped += name + " " + reason + "; ";
    EXPECT_EQ(skipped, "a||b.png has \"||\" in its name, which parts the names of the index; "
                       "broken.obj holds no face; void.png is empty; ");
    EXPECT_EQ(folder_.entryCount(), 2u) << "nothing is left beside it";

    ContentBundle bundle(folder_.file("c.qbndl"));
    ASSERT_TRUE(bundle.IsOpen());
    EXPECT_EQ(bundle.Id(), "ships-1");
    using Names = std::vector<std::string>;
    EXPECT_EQ(bundle.ListFolders(""), Names{"ships"});
    for (const char* parent : {"ships", "ships/"}) {
        EXPECT_EQ(bundle.ListFolders(parent), Names{"old"});
        EXPECT_EQ(bundle.ListFolderItems(parent), (Names{"one.obj", "one.png"}));
    }
    EXPECT_EQ(bundle.ListFolderItems(""), Names{"top.qmx"});
    EXPECT_EQ(bundle.ListFolderItems("ships/old"), Names{"two.OBJ"});
    EXPECT_EQ(bundle.ListFolders("shi"), Names{}) << "no part of a name";
    EXPECT_EQ(bundle.pack().Get("ships/one.png").bytes().size(), std::strlen("picture"));

    ModelData data;
    EXPECT_TRUE(LoadModelData(ModelAt("c.qbndl>ships/one.obj"), folder_.path(), data));
    EXPECT_EQ(data.vertices.size(), 3u);
    EXPECT_FALSE(LoadModelData(ModelAt("c.qbndl>ships/none.obj"), folder_.path(), data));
    EXPECT_TRUE(data.vertices.empty());
    EXPECT_FALSE(LoadModelData(ModelAt("none.qbndl>ships/one.obj"), folder_.path(), data));
    model_.type = ModelType::Default;
    EXPECT_TRUE(LoadModelData(model_, "", data));
    EXPECT_EQ(data.vertices.size(), 6600u);

    EXPECT_FALSE(CreateBundle(folder_.file("none"), folder_.file("d.qbndl"), "").ok);
    EXPECT_FALSE(CreateBundle(folder_.file("c"), folder_.file("no/d.qbndl"), "").ok);
    ContentBundle missing(folder_.file("missing.qbndl"));
    EXPECT_FALSE(missing.IsOpen());
    EXPECT_TRUE(missing.ListFolders("").empty() && missing.ListFolderItems("").empty());
}

namespace {

// A blob that can be told whole from torn: its length and a seed, then numbers that follow from the seed.
Buffer Blob(std::uint32_t seed) {
    std::minstd_rand random(seed + 1);
    const std::uint32_t size = 16 + static_cast<std::uint32_t>(random() % 90'000);
    Buffer bytes = U32(size) + U32(seed);
    bytes.resize(size);
    for (std::size_t i = 8; i < size; ++i) bytes[i] = static_cast<std::byte>(random() >> 8);
    return bytes;
}

bool IsWhole(Bytes bytes) {
    std::uint32_t seed = 0;
    if (bytes.size() < 16) return false;
    std::memcpy(&seed, &bytes[4], sizeof seed);
    const Buffer expected = Blob(seed);
    return std::equal(bytes.begin(), bytes.end(), expected.begin(), expected.end());
}

// Runs `work` in a child process, which ends with what it returns.
template <class Work>
pid_t Fork(Work work) {
    const pid_t child = fork();
    if (child == 0) _exit(work());
    return child;
}

} // namespace

TEST(SharedPack, IsNeverTornBetweenProcesses) {
    const TemporaryFolder folder;
    const auto use = [&](unsigned seed) {
        std::minstd_rand random(seed);
        PackFile pack;
        pack.Open(folder.file("p"), false, false);
        for (int i = 0; i < 400; ++i) {
            const std::string name = "model " + std::to_string(random() % 12);
            const auto what = random() % 100;
            if (what < 40) {
                if (!pack.Put(name, Blob(static_cast<std::uint32_t>(random())))) return 2;
            } else if (what < 45) {
                pack.Remove(name);
            } else if (what == 45) {
                pack.Clear();
            } else {
                const PackEntry entry = pack.Get(name);
                if (entry && !IsWhole(entry.bytes())) return 3;
            }
        }
        return 0;
    };
    std::vector<pid_t> children;
    for (unsigned i = 1; i <= 3; ++i) children.push_back(Fork([&] { return use(i); }));
    for (const pid_t child : children) {
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status));
        EXPECT_EQ(WEXITSTATUS(status), 0);
    }
}

TEST(SharedPack, OpensAfterItsWriterWasKilled) {
    const TemporaryFolder folder;
    std::minstd_rand random(7);
    std::size_t entriesSeen = 0;
    for (int round = 0; round < 200; ++round) {
        SCOPED_TRACE(round);
        if (round % 40 == 0) std::filesystem::remove(folder.file("p")); // also kills the making of the file
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        const auto seed = static_cast<unsigned>(random());
        const pid_t child = Fork([&] {
            std::minstd_rand choice(seed);
            PackFile pack;
            pack.Open(folder.file("p"), false, false);
            for (std::uint32_t i = 0;; ++i) {
                const auto name = static_cast<char>('a' + choice() % 8);
                const bool put = pack.Put(std::string(1, name), Blob(static_cast<std::uint32_t>(choice())));
                if (!put || write(ends[1], &name, 1) != 1) return 1;
            }
        });
        close(ends[1]);
        usleep(static_cast<useconds_t>(random() % 12'000));
        kill(child, SIGKILL);
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status)) << "it must not end by itself";

        // What the child had finished, but for one that it may have been replacing, is there and whole.
        std::set<char> finished;
        char name = 0;
        while (read(ends[0], &name, 1) == 1) finished.insert(name);
        close(ends[0]);
        PackFile pack;
        pack.Open(folder.file("p"), false, false);
        std::size_t missing = 0;
        for (const char entryName : finished) {
            const PackEntry entry = pack.Get(std::string(1, entryName));
            EXPECT_TRUE(!entry || IsWhole(entry.bytes()));
            missing += entry ? 0 : 1;
        }
        EXPECT_LE(missing, 1u);
        for (const std::string& entryName : pack.Names()) {
            EXPECT_TRUE(IsWhole(pack.Get(entryName).bytes()));
            ++entriesSeen;
        }
        EXPECT_EQ(pack.state(), PackFile::State::Open);
        EXPECT_TRUE(pack.Put("after", Blob(1)));
    }
    EXPECT_GT(entriesSeen, 400u) << "the kills came too early to say anything";
}
