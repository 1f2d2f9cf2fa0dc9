#include "Library.h"

#include "core/document/BevelPreset.h"
#include "core/document/Scene.h"
#include "core/document/SceneJson.h"
#include "model/ModelPreset.h"
#include "images/Image.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <map>

namespace velorin {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

const fs::path kTable = fs::path(VELORIN_SOURCE_DIR) / "tools/make_content/library.json";

std::string Content(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

// Two libraries, made one after the other for all tests.
class ContentTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        std::string name = (fs::temp_directory_path() / "velorin_content_XXXXXX").string();
        ASSERT_TRUE(mkdtemp(name.data()));
        folder_ = name;
        for (const char* run : {"first", "second"}) {
            ASSERT_TRUE(content::MakeTextures(folder_ / run, 8));
            ASSERT_TRUE(content::MakeEnvironments(folder_ / run, 8));
            ASSERT_TRUE(content::MakePresets(kTable, folder_ / run));
        }
        table_ = json::parse(Content(kTable));
    }
    static void TearDownTestSuite() { fs::remove_all(folder_); }

    static fs::path Root() { return folder_ / "first"; }
    static std::vector<fs::path> Files(const fs::path& root) {
        std::vector<fs::path> files;
        for (const auto& entry : fs::recursive_directory_iterator(root))
            if (entry.is_regular_file()) files.push_back(fs::relative(entry.path(), root));
        std::sort(files.begin(), files.end());
        return files;
    }
    static std::size_t Count(const std::string& extension) {
        const auto files = Files(Root());
        return static_cast<std::size_t>(std::count_if(
            files.begin(), files.end(), [&](const fs::path& f) { return f.extension() == extension; }));
    }
    static Image Decoded(const std::string& path) {
        const std::string bytes = Content(Root() / path);
        std::string reason;
        auto image =
            DecodeImage(std::as_bytes(std::span(bytes)), fs::path(path).extension().string(), reason);
        EXPECT_TRUE(image) << path << ": " << reason;
        return image ? std::move(*image) : Image();
    }

    static inline fs::path folder_;
    static inline json table_;
};

TEST_F(ContentTest, IsTheSameAtEveryRun) {
    const std::vector<fs::path> files = Files(Root());
    EXPECT_EQ(files, Files(folder_ / "second"));
    for (const fs::path& file : files)
        EXPECT_TRUE(Content(Root() / file) == Content(folder_ / "second" / file)) << file;
    EXPECT_GE(Count(".qmt"), 24U);
    EXPECT_GE(Count(".qbv"), 8U);
    EXPECT_GE(Count(".qmx"), 8U);
    for (const char* path : {kDefaultEnvironmentPath, kThumbnailEnvironmentPath})
        EXPECT_TRUE(fs::is_regular_file(Root() / path)) << path;
}

// Each preset, read by the product, holds what the table says, by way of the product's JSON.
TEST_F(ContentTest, PresetsHoldWhatTheTableSays) {
    const auto read = [](const json& scene, Scene& into) {
        SceneJsonError error;
        ASSERT_TRUE(SceneFromJson(scene, {}, into, error)) << error.at << error.message;
    };
    std::map<std::string, json> materials;
    for (const auto& [folder, presets] : table_.at("materials").items())
        for (const json& preset : presets) {
            const std::string name = folder + "/" + preset.at("name").get<std::string>();
            EXPECT_TRUE(materials.emplace(name, preset).second) << name << " stands twice";
            Scene wanted;
            read({{"materials", {preset}}}, wanted);
            SceneMaterial found;
            ASSERT_TRUE(found.ReadPreset(Root() / "Materials" / (name + ".qmt"))) << name;
            found.index = wanted.materials.front()->index; // of a preset without meaning
            EXPECT_TRUE(static_cast<const MaterialSettings&>(found) == *wanted.materials.front()) << name;
            EXPECT_EQ(found.name, preset.at("name").get<std::string>());
            for (const TextureChannel& channel : found.channels)
                EXPECT_TRUE(channel.path.empty() || fs::is_regular_file(Root() / channel.path))
                    << channel.path;
        }
    EXPECT_EQ(materials.size(), Count(".qmt"));

    for (const auto& [folder, presets] : table_.at("bevels").items())
        for (json preset : presets) {
            const std::string name = folder + "/" + preset.at("name").get<std::string>();
            preset.erase("name");
            Scene wanted;
            read({{"models", {{{"type", 3}, {"bevels", {preset}}}}}}, wanted);
            BevelPreset found;
            ASSERT_TRUE(ReadBevelPreset(Root() / "Bevels" / (name + ".qbv"), found)) << name;
            EXPECT_TRUE(found.bevel == wanted.models.front()->bevels.front()) << name;
        }

    for (const auto& [folder, presets] : table_.at("models").items())
        for (const json& preset : presets) {
            const std::string name = folder + "/" + preset.at("name").get<std::string>();
            auto root = Ref<SceneModel>::Make(ModelType::File);
            std::vector<Ref<SceneMaterial>> used;
            ASSERT_TRUE(LoadModelPreset(Root() / "Models" / (name + ".qmx"), *root, used)) << name;
            EXPECT_EQ(root->name, preset.at("name").get<std::string>());
            EXPECT_STREQ(PrimitiveLabel(root->primitive), preset.at("primitive").get<std::string>().c_str());
            ASSERT_EQ(used.size(), 1U) << name;
            EXPECT_EQ(root->bindings.at(0).material, used.front().get()) << name;
            Scene wanted;
            read({{"materials", {materials.at(preset.at("material").get<std::string>())}}}, wanted);
            MaterialSettings settings = *used.front();
            settings.index = wanted.materials.front()->index; // the place in the scene that it came from
            EXPECT_TRUE(settings == *wanted.materials.front()) << name;
        }
}

// A map has no seam where it closes and no pinch at its poles, and lights as it should.
TEST_F(ContentTest, EnvironmentMapsCloseAndReach) {
    const struct {
        const char* path;
        float least;  // of the brightest over the mean: dynamic range
        float warmth; // red over blue of the mean, at least
        float coolth; // and at most
        bool smoothPoles;
    } maps[] = {{"Studio/Soft_Boxes", 10, 0.8f, 1.2f, true},
                {"Studio/Strip_Lights", 10, 0.8f, 1.2f, false},
                {"Interior/Window_Room", 10, 0.8f, 1.6f, false},
                {"Sky/Overcast", 1.5f, 0.7f, 1.1f, true},
                {"Sky/Sunset", 100, 0.9f, 4, true},
                {"City/Night_City", 200, 0.9f, 4, true}};
    for (const auto& map : maps) {
        SCOPED_TRACE(map.path);
        const Image image = Decoded(std::string("Materials/Environment/") + map.path + ".hdr");
        ASSERT_EQ(image.width(), 2 * image.height());
        const int width = static_cast<int>(image.width()), height = static_cast<int>(image.height());
        const auto at = [&](int x, int y) { return image.floats() + 4 * (y * width + (x + width) % width); };
        double brightest = 0, mean[3] = {}, weight = 0, seam = 0, step = 0;
        for (int y = 0; y < height; ++y) {
            const double area = std::sin((y + 0.5) / height * 3.14159265);
            for (int x = 0; x < width; ++x) {
                for (int c = 0; c < 3; ++c) mean[c] += area * static_cast<double>(at(x, y)[c]);
                brightest = std::max(brightest, static_cast<double>(at(x, y)[1]));
                weight += area;
            }
            // Steps between neighbours on the scale of the eye: across the closing edge and on average.
            const auto jump = [&](int x) {
                return std::fabs(std::log(static_cast<double>(at(x, y)[1]) + 0.01) -
                                 std::log(static_cast<double>(at(x - 1, y)[1]) + 0.01));
            };
            seam += jump(0);
            for (int x = 1; x < width; ++x) step += jump(x) / (width - 1);
        }
        EXPECT_LT(seam, 3 * step + 0.01 * height);
        EXPECT_GT(brightest, static_cast<double>(map.least) * mean[1] / weight);
        EXPECT_GT(mean[0], static_cast<double>(map.warmth) * mean[2]);
        EXPECT_LT(mean[0], static_cast<double>(map.coolth) * mean[2]);
        if (!map.smoothPoles) continue;
        for (const int y : {0, height - 1}) { // around a pole everything is one colour
            float low = 1e9f, high = 0;
            for (int x = 0; x < width; ++x)
                low = std::min(low, at(x, y)[1]), high = std::max(high, at(x, y)[1]);
            EXPECT_LT(high - low, 0.35f * high + 0.02f) << "row " << y;
        }
    }
}

} // namespace
} // namespace velorin
