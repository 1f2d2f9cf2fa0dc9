// Particles against a copy of their finished array, and draw records a particle; one thread. Prints a table.

#include "core/DrawBuilder.h"
#include "core/Replicator.h"
#include "core/Velorin.h"
#include "core/document/AssetContext.h"
#include "core/document/Scene.h"
#include "core/document/SceneModel.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>

namespace velorin {
namespace {

// Best of several runs, seconds of processor time: all is one thread, and other programs disturb it less than
// the time of day.
double Best(int runs, const std::function<void()>& work) {
    double best = 1e30;
    for (int i = 0; i < runs; ++i) {
        const std::clock_t start = std::clock();
        work();
        best = std::min(best, static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC);
    }
    return best;
}

class NoSurfaces : public SurfaceSource {
public:
    [[nodiscard]] std::string SurfaceKey(const SceneModel&, const std::string& path) override { return path; }
    [[nodiscard]] Vertices ReadSurface(const SceneModel&, const std::string&) override { return {}; }
};

void SphereGroup(GroupParams& group, std::uint32_t count) {
    group.enabled = true;
    group.shape = ReplicatorShape::Sphere;
    group.particleCount = count;
    group.scatter = {5, 5, 5};
    group.rotationRandom = {1, 2, 3};
}

double CopySeconds(const std::vector<Particle>& particles) {
    std::vector<Particle> copy(particles.size()); // its pages are there before the clock runs
    return Best(9, [&] { std::memcpy(copy.data(), particles.data(), particles.size() * sizeof(Particle)); });
}

void BenchParticles() {
    std::printf("Sphere with scatter and random rotation, and a copy of the array (64 bytes a particle)\n");
    std::printf("%10s %12s %14s %12s %8s\n", "particles", "build ms", "ns a particle", "copy ms", "ratio");
    for (const std::uint32_t count : {1000u, 10000u, 100000u, 1000000u}) {
        FrameParams params;
        params.engine.startGroup = params.engine.finishGroup = 4;
        SphereGroup(params.groups[0], count);
        NoSurfaces none;
        std::string refused;
        const int runs = count < 1000000 ? 40 : 9;
        const double build =
            Best(runs, [&] { BuildParticles(params, none, {}, -1, std::uint64_t{8} << 30, refused); });
        const double copy = CopySeconds(params.particles[0]);
        std::printf("%10u %12.3f %14.1f %12.3f %8.1f\n", count, build * 1e3, build * 1e9 / count, copy * 1e3,
                    build / copy);
    }
}

void BenchMatching() {
    std::printf("\nAnimation engine: build and match two groups\n%10s %12s %14s\n", "particles", "ms",
                "ns a particle");
    for (const std::uint32_t count : {1000u, 10000u, 100000u, 1000000u}) {
        FrameParams params;
        params.engine.enabled = true;
        SphereGroup(params.groups[0], count);
        SphereGroup(params.groups[1], count);
        NoSurfaces none;
        std::string refused;
        const double time = Best(count < 1000000 ? 10 : 3, [&] {
            BuildParticles(params, none, {}, -1, std::uint64_t{8} << 30, refused);
        });
        std::printf("%10u %12.3f %14.1f\n", count, time * 1e3, time * 1e9 / count);
    }
}

void BenchDraws() {
    const std::filesystem::path folder = std::filesystem::temp_directory_path() / "velorin-bench-core";
    std::filesystem::create_directory(folder);
    std::ofstream(folder / "one.obj") << "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n";
    AssetContext assets;
    assets.dataFolder = folder.string();
    Scene scene(&assets);
    auto model = Ref<SceneModel>::Make(ModelType::File, &assets);
    model->path = "one.obj";
    model->groups = {true, true, false, false, false};
    scene.models.push_back(model);

    std::printf("\nSetRender, one-mesh model\n%10s %12s %14s %22s %20s\n", "particles", "ms", "ns a particle",
                "ns with multi-object", "ns in the engine");
    for (const std::uint32_t count : {1000u, 10000u, 100000u, 1000000u}) {
        FrameParams params;
        params.scene = &scene;
        params.engine.startGroup = params.engine.finishGroup = 4;
        SphereGroup(params.groups[0], count);
        Velorin core;
        core.BuildFrame(params, {});
        const auto frame = [&] {
            core.DropFrame();
            core.SetRender(0, params, {});
        };
        frame();
        const int runs = count < 1000000 ? 10 : 3;
        const double plain = Best(runs, frame);

        // A second model beside it, so that multi-object is not off for the slot: two records a particle.
        auto tree = Ref<SceneModel>::Make(ModelType::Folder, &assets);
        auto inner = Ref<SceneModel>::Make(ModelType::File, &assets);
        inner->path = "one.obj";
        inner->parent = tree.get();
        tree->children.push_back(inner);
        scene.models = {tree};
        params.groups[0].multi.enabled = true;
        params.groups[0].multi.scatter = {0.1f, 0.1f, 0.1f};
        params.groups[0].multi.rotationRandom = 1;
        frame();
        const double multi = Best(runs, frame);

        scene.models = {model};
        params.groups[0].multi.enabled = false;
        params.engine = {};
        params.engine.enabled = true;
        params.engine.animation = 0.5f;
        SphereGroup(params.groups[1], count);
        core.BuildFrame(params, {});
        frame();
        const double engine = Best(runs, frame);
        std::printf("%10u %12.3f %14.1f %22.1f %20.1f\n", count, plain * 1e3, plain * 1e9 / count,
                    multi * 1e9 / count, engine * 1e9 / count);
        core.ReleaseModels(params.loadedModels);
    }
    std::filesystem::remove_all(folder);
}

} // namespace
} // namespace velorin

int main() {
    velorin::BenchParticles();
    velorin::BenchMatching();
    velorin::BenchDraws();
}
