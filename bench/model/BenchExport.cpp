// The bare and the full export of ten million triangles: megabytes a second and what they add to the memory.
// The files go to the temporary folder and are removed.

#include "../Measure.h"

#include "model/export/ExportObj.h"
#include "model/export/SceneExport.h"

#include <cmath>
#include <cstdio>
#include <filesystem>

int main() {
    using namespace velorin;
    using namespace velorin::bench;
    namespace fs = std::filesystem;
    constexpr std::uint32_t kSide = 2236; // 2 * 2236^2 triangles
    ModelData model;
    model.vertices.reserve(std::size_t{kSide + 1} * (kSide + 1));
    for (std::uint32_t y = 0; y <= kSide; ++y) {
        for (std::uint32_t x = 0; x <= kSide; ++x) {
            const float u = static_cast<float>(x) / kSide, v = static_cast<float>(y) / kSide;
            model.vertices.push_back(
                {{2 * u - 1, 2 * v - 1, std::sin(40 * u) * 0.1f}, {u, v}, {0, 0, -1}, {1, 0, 0, 1}});
        }
    }
    ModelTriangles triangles;
    triangles.reserve(std::size_t{2} * kSide * kSide);
    for (std::uint32_t y = 0; y < kSide; ++y) {
        for (std::uint32_t x = 0; x < kSide; ++x) {
            const std::uint32_t a = y * (kSide + 1) + x, b = a + 1, c = a + kSide + 1, d = c + 1;
            triangles.push_back({a, b, c});
            triangles.push_back({b, d, c});
        }
    }
    const std::size_t count = triangles.size();
    model.meshes.emplace_back().groups.push_back({0, false, std::move(triangles)});
    const fs::path path = fs::temp_directory_path() / "velorin_export.obj";
    const auto print = [&](const char* what, const Measurement& m) {
        const double bytes = static_cast<double>(fs::file_size(path));
        std::printf("%s, %zu triangles, %.0f MB: %.2f s, %.0f MB/s, %.1f MB of memory above the mesh's own\n",
                    what, count, bytes / 1e6, m.seconds, bytes / 1e6 / m.seconds, m.peakBytes / 1e6);
    };
    const Measurement bare = Measure(2, [&] {
        std::string error;
        return WriteBareObj(model, path.string(), error);
    });
    if (!bare.ok) return 1;
    print("Bare", bare);
    const ModelGroup& group = model.meshes[0].groups[0];
    const GroupRange range{0, 0, static_cast<std::uint32_t>(count)};
    const ExportMesh mesh{"Mesh", model.vertices, group.triangles, std::span(&range, 1),
                          Matrix::Scale({100, 50, 25}) * Matrix::Translation({300, 200, -40})};
    const Measurement full = Measure(2, [&] {
        SceneExporter exporter(path.string());
        std::string error;
        return exporter.Add({"Model", std::span(&mesh, 1), {}, {0, 0}, {1, 1}, false}) &&
               exporter.Finish(error);
    });
    if (!full.ok) return 1;
    print("Full", full);
    fs::remove(path);
    fs::remove(fs::path(path).replace_extension(".mtl"));
    return 0;
}
