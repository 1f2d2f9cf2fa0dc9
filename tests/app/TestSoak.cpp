#include "app/HostFixture.h"

#include "app/host/ProjectWriter.h"

#include <algorithm>
#include <map>
#include <optional>
#include <random>
#include <set>

// The real plug-in under thousands of a user's actions in random order. Beside the host runs a model of what
// must come out: the user's effects with their values, every step that can be taken back as a whole project,
// and the cache of meshes with who holds what. The two are compared again and again, and at the end nothing
// is left.

namespace velorin::app {
namespace {

constexpr const char* kRows[] = {"1. Particle Count", "1. Particle Size", "1. Replicator Shape",
                                 "Render Mode"};
constexpr std::size_t kRenderMode = 3;
constexpr double kUnified = 4;

struct ModelEffect {
    int id = 0;
    bool enabled = true;
    std::array<double, std::size(kRows)> rows{1, 10, 1, 1};
    std::size_t scene = 0;
};
using ModelProject = std::vector<ModelEffect>;

// A load of a mesh: another load of the same file is another one.
struct Mesh {
    std::string name;
    int load = 0;
    auto operator<=>(const Mesh&) const = default;
};

class ModelCache {
public:
    Mesh Find(const std::string& name) {
        for (const auto& [mesh, uses] : uses_)
            if (mesh.name == name) return mesh;
        const Mesh mesh{name, ++loads_};
        uses_[mesh] = 0;
        return mesh;
    }
    void Add(const Mesh& mesh) { ++uses_.at(mesh); }
    void Drop(const Mesh& mesh) { --uses_.at(mesh); }
    [[nodiscard]] bool Knows(const Mesh& mesh) const { return uses_.contains(mesh); }
    void FreeUnused() {
        std::erase_if(uses_, [](const auto& entry) { return entry.second == 0; });
    }
    [[nodiscard]] std::map<std::string, int> uses() const {
        std::map<std::string, int> all;
        for (const auto& [mesh, uses] : uses_) all[mesh.name] = uses;
        return all;
    }

private:
    std::map<Mesh, int> uses_;
    int loads_ = 0;
};

class Soak : public PluginTest {
protected:
    void SetUp() override {
        PluginTest::SetUp();
        for (const char* file : {"a.obj", "b.obj"}) Write(file, "v -1 -1 0\nv 1 -1 0\nv 0 1 1\nf 1 2 3\n");
    }

    void Start(unsigned seed, bool twoCopies) {
        random_.seed(seed);
        std::string error;
        HostOptions options;
        options.twoCopies = twoCopies;
        session_.host = Host::Start(RealPlugin(), options, error);
        ASSERT_TRUE(session_.host) << error;
        Reopen(R"({"composition": {"width": 16, "height": 9}, "effects": [{}]})");
        project_ = {{++lastId_}};
        for (const auto& [models, meshes] : Scenes()) {
            std::string reason;
            const json request{
                {"do", "sceneToFlat"}, {"folder", folder_.string()}, {"scene", {{"models", models}}}};
            const auto flat = session_.host->Introspect(nullptr, request.dump(), {}, reason);
            ASSERT_TRUE(flat) << reason;
            flat_.push_back(*flat);
            shows_.push_back(meshes);
        }
    }

    // Models of the scenes, and the meshes that a frame of each shows.
    [[nodiscard]] std::vector<std::pair<json, std::vector<std::string>>> Scenes() const {
        const std::string a = Path("a.obj"), b = Path("b.obj");
        const auto file = [](const std::string& path, int type) {
            return json{{"name", "M"}, {"type", type}, {"path", path}, {"groups", {1}}};
        };
        const json box{{"name", "B"}, {"type", 6}, {"primitive", "Box"}, {"groups", {1}}};
        return {{json::array(), {}},
                {json::array({file(a, 2)}), {a}},
                {json::array({file(b, 2)}), {b}},
                {json::array({file(a, 1)}), {a}}, // of another kind, and yet the same mesh
                {json::array({box}), {""}}};
    }

    void Reopen(const std::string& text) {
        Console console(true);
        session_.project = ProjectFromText(text);
        ASSERT_TRUE(OpenProject(session_, console)) << Joined(console.errors());
    }

    int Pick(std::size_t count) { return static_cast<int>(random_() % count); }
    EffectInstance& Instance(std::size_t index) { return session_.host->instance(index); }
    void Good(const HostResult& result) { ASSERT_TRUE(result.good()) << result.text; }

    // The project before an action that can be taken back; `scenes` counts the old scene that it keeps.
    void Step(int scenes) {
        undone_.clear();
        done_.push_back({project_, scenes});
        if (done_.size() > History::kLevels) done_.erase(done_.begin());
    }

    // ---- what becomes of meshes

    // Sequence data flattened and set up again: what is still there is held again.
    void Revive(int id, std::set<Mesh> held) {
        std::erase_if(held, [&](const Mesh& mesh) { return !cache_.Knows(mesh); });
        for (const Mesh& mesh : held) cache_.Add(mesh);
        held_[id] = std::move(held);
    }
    void Park(int id) {
        for (const Mesh& mesh : held_[id]) cache_.Drop(mesh);
        parked_[id] = held_[id];
        held_.erase(id);
    }
    void EndAll() {
        for (const auto& [id, meshes] : held_)
            for (const Mesh& mesh : meshes) cache_.Drop(mesh);
        held_.clear();
        cache_.FreeUnused();
    }
    void Draw() {
        const ModelEffect* main = nullptr;
        for (const ModelEffect& effect : project_)
            if (effect.enabled && effect.rows[kRenderMode] != kUnified) main = &effect;
        if (!main) return;
        for (const ModelEffect& effect : project_) {
            if (!effect.enabled || (&effect != main && effect.rows[kRenderMode] != kUnified)) continue;
            std::set<Mesh> shown;
            for (const std::string& name : shows_[effect.scene]) shown.insert(cache_.Find(name));
            for (const Mesh& mesh : shown)
                if (!held_[effect.id].contains(mesh)) cache_.Add(mesh);
            for (const Mesh& mesh : held_[effect.id])
                if (!shown.contains(mesh)) cache_.Drop(mesh);
            held_[effect.id] = shown;
            cache_.FreeUnused();
        }
    }

    // ---- the actions

    void Move(bool back) {
        auto& from = back ? done_ : undone_;
        Good(back ? session_.host->history.Undo() : session_.host->history.Redo());
        if (from.empty()) return;
        const Past past = from.back();
        from.pop_back();
        (back ? undone_ : done_).push_back({project_, past.scenes});
        const auto has = [](const ModelProject& project, int id) {
            return std::any_of(project.begin(), project.end(), [&](const auto& e) { return e.id == id; });
        };
        for (const ModelEffect& effect : project_)
            if (!has(past.project, effect.id)) Park(effect.id);
        for (const ModelEffect& effect : past.project)
            if (!has(project_, effect.id)) Revive(effect.id, parked_[effect.id]);
        project_ = past.project;
    }

    void Add(ModelEffect effect, const std::set<Mesh>& held) {
        Step(0);
        effect.id = ++lastId_;
        project_.push_back(effect);
        Revive(effect.id, held);
    }

    void EditRow(std::size_t at) {
        const std::size_t row = static_cast<std::size_t>(Pick(std::size(kRows)));
        const double value = row == kRenderMode ? (Pick(2) ? 1 : kUnified) : 1 + Pick(4);
        Step(0);
        project_[at].rows[row] = value;
        Good(session_.host->Edit(Instance(at), RowNamed(*session_.host, kRows[row]), AnimatedValue(value)));
    }

    void EditScene(std::size_t at) {
        const auto scene = static_cast<std::size_t>(Pick(flat_.size()));
        Step(1);
        project_[at].scene = scene;
        Good(session_.host->EditArbitrary(Instance(at), *session_.host->arbitraryRow(),
                                          std::as_bytes(std::span(flat_[scene]))));
    }

    void Render() {
        Picture picture;
        Good(session_.host->RenderFrame(0, 8, picture));
        Draw();
    }

    void SaveAndReopen() {
        std::vector<StoredEffect> stored;
        Good(session_.host->Save(&stored));
        std::vector<SavedEffect> effects;
        for (StoredEffect& effect : stored) effects.push_back({std::move(effect), {}});
        Reopen(ProjectText(*session_.host, effects, folder_.string()));
        EndAll();
        for (const ModelEffect& effect : project_) held_[effect.id] = {};
        done_.clear();
        undone_.clear();
    }

    void Act() {
        Host& host = *session_.host;
        constexpr std::size_t kMostEffects = 5;
        const int action = Pick(100);
        const std::size_t at = project_.empty() ? 0 : static_cast<std::size_t>(Pick(project_.size()));
        if (action < 20) return Move(true);
        if (action < 32) return Move(false);
        if (action < 33) return Render();
        if (action < 34) return SaveAndReopen();
        if (action < 44) return Good(host.Save()); // flatten, and set up again
        if (action < 48 && project_.size() < kMostEffects) {
            Good(host.Apply());
            return Add({}, {});
        }
        if (action < 54 && project_.size() < kMostEffects && clipboard_) {
            Good(host.Paste());
            return Add(clipboard_->first, clipboard_->second);
        }
        if (project_.empty()) return;
        ModelEffect& effect = project_[at];
        if (action < 60 && project_.size() < kMostEffects) {
            Good(host.Duplicate(Instance(at)));
            const ModelEffect original = effect;
            return Add(original, held_[original.id]);
        }
        if (action < 66) {
            Good(host.Copy(Instance(at)));
            clipboard_ = {effect, held_[effect.id]};
            return;
        }
        if (action < 73) {
            Step(0);
            Good(host.Remove(Instance(at)));
            Park(effect.id);
            project_.erase(project_.begin() + static_cast<std::ptrdiff_t>(at));
            return;
        }
        if (action < 77) {
            Step(0);
            effect.enabled = !effect.enabled;
            return host.SetEnabled(Instance(at), effect.enabled);
        }
        if (action < 88) return EditScene(at);
        EditRow(at);
    }

    // ---- comparison

    [[nodiscard]] std::map<std::string, int> Uses() {
        std::string reason;
        const auto answer = session_.host->Introspect(nullptr, R"({"do":"meshUses"})", {}, reason);
        std::map<std::string, int> uses;
        for (const json& mesh : json::parse(answer.value_or("[]"))) uses[mesh["path"]] = mesh["uses"];
        return uses;
    }

    // Global data, the default scene; two of each effect, wherever it is; the scenes that steps keep.
    [[nodiscard]] std::size_t Handles() const {
        std::set<int> effects;
        std::size_t scenes = 0;
        for (const ModelEffect& effect : project_) effects.insert(effect.id);
        for (const auto* steps : {&done_, &undone_})
            for (const Past& past : *steps) {
                scenes += static_cast<std::size_t>(past.scenes);
                for (const ModelEffect& effect : past.project) effects.insert(effect.id);
            }
        return 2 + 2 * effects.size() + scenes;
    }

    void Compare() {
        Host& host = *session_.host;
        ASSERT_EQ(host.comp().effects.size(), project_.size());
        for (std::size_t i = 0; i < project_.size(); ++i) {
            const ModelEffect& effect = project_[i];
            EXPECT_EQ(Instance(i).enabled, effect.enabled);
            for (std::size_t row = 0; row < std::size(kRows); ++row)
                EXPECT_EQ(Instance(i)
                              .rows[static_cast<std::size_t>(RowNamed(host, kRows[row]).index)]
                              .value.NumberAt(0),
                          effect.rows[row])
                    << kRows[row];
            std::string flat;
            ASSERT_TRUE(host.FlatArbitrary(Instance(i), *host.arbitraryRow(), flat));
            // A document that nobody set and one that was set to nothing differ in no field.
            EXPECT_EQ(flat, flat_[effect.scene]) << "scene " << effect.scene;
        }
        if (!host.options.twoCopies) {
            EXPECT_EQ(Uses(), cache_.uses());
            EXPECT_EQ(host.handles.count(), Handles());
        }
    }

    void Run(int actions) {
        constexpr int kCompareEvery = 100;
        for (int i = 1; i <= actions && !HasFailure(); ++i) {
            SCOPED_TRACE("action " + std::to_string(i));
            Act();
            if (i % kCompareEvery == 0) Compare();
        }
        Host& host = *session_.host;
        host.CloseProject();
        EXPECT_TRUE(Uses().empty());
        EXPECT_EQ(host.handles.count(), 2U);
        for (int kind = 0; kind <= static_cast<int>(ObjectKind::Image); ++kind)
            EXPECT_EQ(host.objects.Count(static_cast<ObjectKind>(kind)), 0)
                << ObjectKindName(static_cast<ObjectKind>(kind));
        host.Quit();
        EXPECT_EQ(host.handles.count(), 0U);
        EXPECT_EQ(Joined(host.reports.faults()), "");
    }

    struct Past {
        ModelProject project;
        int scenes = 0;
    };
    std::mt19937 random_;
    Session session_;
    std::vector<std::string> flat_;               // of the scenes
    std::vector<std::vector<std::string>> shows_; // meshes of each
    ModelProject project_;
    std::vector<Past> done_, undone_;
    ModelCache cache_;
    std::map<int, std::set<Mesh>> held_, parked_; // by effect
    std::optional<std::pair<ModelEffect, std::set<Mesh>>> clipboard_;
    int lastId_ = 0;
};

TEST_F(Soak, TenThousandActionsLeaveNothingBehind) {
    Start(20240501, false);
    Run(10000);
}

// Renders with a copy of the project, made anew after each edit, as later hosts do it.
TEST_F(Soak, RendersFromACopyLeaveNothingBehind) {
    Start(7, true);
    Run(500);
}

} // namespace
} // namespace velorin::app
