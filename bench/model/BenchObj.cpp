// Reading OBJ files beside two other readers, on one thread, from a warm page cache:
// bench_obj [--quick] [file.obj ...]. Without files: the largest model of the folder of test models, and
// generated files.

#include "../Measure.h"
#include "ObjPeers.h"

#include "model/ModelTools.h"
#include "model/obj/ModelObj.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

namespace {

using namespace velorin;
using namespace velorin::bench;
namespace fs = std::filesystem;

// A bumpy sheet of 2 * side * side triangles with all three kinds of indices, written as exporters do.
bool WriteSheet(const fs::path& path, int side) {
    std::FILE* file = std::fopen(path.c_str(), "w");
    if (!file) return false;
    std::vector<char> buffer(1 << 20);
    std::setvbuf(file, buffer.data(), _IOFBF, buffer.size());
    std::fprintf(file, "o sheet\n");
    const auto each = [&](auto&& write) {
        for (int y = 0; y <= side; ++y)
            for (int x = 0; x <= side; ++x) write(double(x) / side, double(y) / side);
    };
    each([&](double u, double v) {
        std::fprintf(file, "v %.6f %.6f %.6f\n", 20 * u - 10, 20 * v - 10,
                     std::sin(40 * u) * std::cos(30 * v));
    });
    each([&](double u, double v) { std::fprintf(file, "vt %.6f %.6f\n", u, v); });
    each([&](double u, double v) {
        const double nx = -2 * std::cos(40 * u) * std::cos(30 * v),
                     ny = 1.5 * std::sin(40 * u) * std::sin(30 * v);
        const double length = std::sqrt(nx * nx + ny * ny + 1);
        std::fprintf(file, "vn %.6f %.6f %.6f\n", nx / length, ny / length, 1 / length);
    });
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            const int a = y * (side + 1) + x + 1, b = a + 1, c = a + side + 1, d = c + 1;
            std::fprintf(file, "f %d/%d/%d %d/%d/%d %d/%d/%d\n", a, a, a, b, b, b, c, c, c);
            std::fprintf(file, "f %d/%d/%d %d/%d/%d %d/%d/%d\n", b, b, b, d, d, d, c, c, c);
        }
    }
    return std::fclose(file) == 0;
}

struct Row {
    const char* name;
    bool (*read)(const std::string& path);
};

bool LoadOnly(const std::string& path) {
    ModelObj model;
    return model.Load(path, true, true);
}
bool LoadAndImport(const std::string& path) {
    ModelObj file;
    if (!file.Load(path, true, true)) return false;
    ModelData model;
    ImportFile(model, file);
    return true;
}

double TriangleCountOf(const std::string& path) {
    ModelObj file;
    return file.Load(path, true, true) ? file.VertexCount() / 3.0 : 0;
}

void PrintTable(const std::string& path, bool withPeers) {
    constexpr Row rows[] = {{"ModelObj::Load", LoadOnly},
                            {"Load, ImportFile, tangents", LoadAndImport},
                            {"tinyobjloader", ReadWithTinyObjLoader},
                            {"assimp", ReadWithAssimp}};
    const double fileBytes = static_cast<double>(fs::file_size(path));
    const double triangles = AskChild([&] { return TriangleCountOf(path); });
    const double resultBytes = triangles * (3 * sizeof(ModelVertex) + sizeof(Triangle));
    std::printf("\n%s: %.1f MB, %.0f triangles, arrays of the result %.1f MB\n",
                fs::path(path).filename().c_str(), fileBytes / 1e6, triangles, resultBytes / 1e6);
    std::printf("  %-28s %10s %10s %12s %12s %10s\n", "", "ms", "MB/s", "ns/triangle", "peak MB",
                "of result");
    double seconds[4]{};
    for (int i = 0; i < (withPeers ? 4 : 2); ++i) {
        const int runs = fileBytes > 3e8 ? 2 : fileBytes > 3e7 ? 4 : 12;
        const Measurement m = Measure(runs, [&] { return rows[i].read(path); });
        seconds[i] = m.seconds;
        if (!m.ok) {
            std::printf("  %-28s failed\n", rows[i].name);
            continue;
        }
        std::printf("  %-28s %10.1f %10.0f %12.1f %12.1f %9.2fx\n", rows[i].name, m.seconds * 1e3,
                    fileBytes / 1e6 / m.seconds, m.seconds * 1e9 / triangles, m.peakBytes / 1e6,
                    m.peakBytes / resultBytes);
    }
    if (withPeers)
        std::printf(
            "  Load is %.1f times as fast as tinyobjloader, %.1f times as fast as assimp; with import and "
            "tangents %.1f and %.1f times\n",
            seconds[2] / seconds[0], seconds[3] / seconds[0], seconds[2] / seconds[1],
            seconds[3] / seconds[1]);
}

} // namespace

int main(int argc, char** argv) {
    bool quick = false;
    std::vector<std::string> files;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--quick") == 0)
            quick = true;
        else
            files.emplace_back(argv[i]);
    }
    if (!files.empty()) {
        for (const std::string& file : files) PrintTable(file, true);
        return 0;
    }
    const fs::path largest = fs::path(VELORIN_SOURCE_DIR) / "../shared/data/models/3DBenchy.obj";
    if (fs::exists(largest)) PrintTable(largest.lexically_normal(), true);
    struct Sheet {
        int side;
        bool withPeers;
    };
    // 10 MB, 100 MB and 1 GB.
    for (const Sheet& sheet : {Sheet{230, true}, Sheet{710, true}, Sheet{2180, false}}) {
        if (quick && sheet.side > 1000) continue;
        const fs::path path =
            fs::temp_directory_path() / ("velorin_sheet_" + std::to_string(sheet.side) + ".obj");
        if (WriteSheet(path, sheet.side)) PrintTable(path, sheet.withPeers);
        fs::remove(path);
    }
    return 0;
}
