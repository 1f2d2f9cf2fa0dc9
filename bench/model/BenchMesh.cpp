// Mesh processing on smooth spheres of growing size, and the whole preparation beside meshoptimizer's vertex
// remap and vertex cache passes on the same mesh.

#include "../Measure.h"

#include "model/ModelTools.h"
#include "model/mesh/MeshSteps.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <meshoptimizer.h>
#include <vector>

namespace {

using namespace velorin;
using namespace velorin::bench;

// A bumpy globe of about `triangles` triangles, three vertices of its own each.
ModelData MakeGlobe(std::size_t triangles) {
    const auto rows = static_cast<std::size_t>(std::sqrt(static_cast<double>(triangles) / 4)),
               columns = 2 * rows;
    const auto place = [&](std::size_t row, std::size_t column) {
        const float v = static_cast<float>(row) / static_cast<float>(rows),
                    u = static_cast<float>(column % columns) / static_cast<float>(columns);
        const float r = 1 + 0.1f * std::sin(40 * u * kPi) * std::sin(20 * v * kPi);
        const float ring = row == 0 || row == rows ? 0 : r * std::sin(v * kPi);
        return ModelVertex{
            {ring * std::cos(2 * kPi * u), -r * std::cos(v * kPi), ring * std::sin(2 * kPi * u)},
            {u, v},
            {0, 0, 1},
            {0, 0, 0, 1}};
    };
    ModelData model;
    ModelTriangles list;
    model.vertices.reserve(6 * rows * columns); // as readers do
    const auto add = [&](const ModelVertex& a, const ModelVertex& b, const ModelVertex& c) {
        const auto first = static_cast<std::uint32_t>(model.vertices.size());
        for (const ModelVertex& v : {a, b, c}) model.vertices.push_back(v);
        list.push_back({first, first + 1, first + 2});
    };
    for (std::size_t row = 0; row < rows; ++row) {
        for (std::size_t column = 0; column < columns; ++column) {
            const ModelVertex a = place(row, column), b = place(row, column + 1), c = place(row + 1, column),
                              d = place(row + 1, column + 1);
            add(a, b, c);
            add(b, d, c);
        }
    }
    model.meshes.emplace_back().groups.push_back({0, false, std::move(list)});
    NormaliseModel(model);
    return model;
}

ModelData Copy(const ModelData& source) {
    ModelData copy;
    copy.vertices.reserve(source.vertices.size());
    copy.vertices = source.vertices;
    copy.meshes = source.meshes;
    copy.boundsMin = source.boundsMin, copy.boundsMax = source.boundsMax;
    return copy;
}

const ModelTriangles& TrianglesOf(const ModelData& model) {
    return model.meshes[0].groups[0].triangles;
}

void PrintSteps() {
    std::printf("%-12s %22s %22s %22s\n", "triangles", "auto normals", "optimisation", "connected edges");
    std::printf("%-12s %22s %22s %22s\n", "", "ns/triangle  of mesh", "ns/triangle  of mesh",
                "ns/triangle  of mesh");
    for (const std::size_t wanted : {10000u, 100000u, 1000000u, 4000000u}) {
        const double triangles =
            AskChild([&] { return static_cast<double>(TrianglesOf(MakeGlobe(wanted)).size()); });
        const double bytes = triangles * (3 * sizeof(ModelVertex) + sizeof(Triangle));
        std::printf("%-12.0f", triangles);
        const int runs = wanted > 500000 ? 4 : 8;
        for (int step = 0; step < 3; ++step) {
            const auto work = [&] {
                const ModelData source = MakeGlobe(wanted);
                double best = 1e30;
                for (int i = 0; i < runs; ++i) {
                    ModelData copy = Copy(source);
                    ModelTriangles& list = copy.meshes[0].groups[0].triangles;
                    const double start = ProcessorSeconds();
                    if (step == 0) AutoNormals(copy.vertices, list, 35);
                    if (step == 1) OptimizeMesh(copy.vertices, list);
                    if (step == 2) EdgeConnector({1, 1, 1}).Connect(copy.vertices, list);
                    best = std::min(best, ProcessorSeconds() - start);
                }
                return best;
            };
            const double seconds = AskChild(work);
            // What a step adds to a process that holds the mesh twice.
            const auto peak = [&](bool run) {
                return Measure(0,
                               [&, run] {
                                   const ModelData source = MakeGlobe(wanted);
                                   ModelData copy = Copy(source);
                                   ModelTriangles& list = copy.meshes[0].groups[0].triangles;
                                   if (run && step == 0) AutoNormals(copy.vertices, list, 35);
                                   if (run && step == 1) OptimizeMesh(copy.vertices, list);
                                   if (run && step == 2)
                                       EdgeConnector({1, 1, 1}).Connect(copy.vertices, list);
                                   return true;
                               })
                    .peakBytes;
            };
            std::printf(" %13.1f %7.2fx", seconds * 1e9 / triangles, (peak(true) - peak(false)) / bytes);
        }
        std::printf("\n");
    }
}

void PrintPreparation() {
    constexpr std::size_t kTriangles = 1000000;
    const double ours = AskChild([] {
        const ModelData source = MakeGlobe(kTriangles);
        ImportOptions options;
        options.normalMode = NormalMode::Auto;
        options.textureMapping = TextureMapping::Box;
        options.optimizeMesh = true;
        double best = 1e30;
        for (int i = 0; i < 4; ++i) {
            ModelData copy = Copy(source);
            const double start = ProcessorSeconds();
            const PreparedMesh mesh = PrepareMesh(std::move(copy), options);
            best = std::min(best, ProcessorSeconds() - start);
            if (mesh.triangles.empty()) return -1.0;
        }
        return best;
    });
    const double theirs = AskChild([] {
        const ModelData source = MakeGlobe(kTriangles);
        double best = 1e30;
        for (int i = 0; i < 4; ++i) {
            const double start = ProcessorSeconds();
            const std::size_t count = source.vertices.size();
            std::vector<unsigned> remap(count);
            const std::size_t unique = meshopt_generateVertexRemap(
                remap.data(), nullptr, count, source.vertices.data(), count, sizeof(ModelVertex));
            ModelVertices vertices(unique);
            std::vector<unsigned> indices(count), ordered(count);
            meshopt_remapVertexBuffer(vertices.data(), source.vertices.data(), count, sizeof(ModelVertex),
                                      remap.data());
            meshopt_remapIndexBuffer(indices.data(), nullptr, count, remap.data());
            meshopt_optimizeVertexCache(ordered.data(), indices.data(), count, unique);
            best = std::min(best, ProcessorSeconds() - start);
        }
        return best;
    });
    std::printf(
        "\nPrepareMesh of %zu triangles with auto normals, box mapping, optimisation and tangents: %.1f ms\n"
        "meshoptimizer, vertex remap and vertex cache of the same mesh: %.1f ms; ratio %.2f\n",
        kTriangles, ours * 1e3, theirs * 1e3, ours / theirs);
}

} // namespace

int main() {
    PrintSteps();
    PrintPreparation();
    return 0;
}
