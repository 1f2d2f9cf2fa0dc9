// Reading OBJ files beside two other readers, on one thread, from a warm page cache:
// bench_obj [--quick] [file.obj ...]. Without files: the largest model of the folder of test models, and
// generated files.

#include "../Measure.h"
#include "ObjPeers.h"
#include "Sheet.h"

#include "model/ModelTools.h"
#include "model/obj/ModelObj.h"

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace velorin;
using namespace velorin::bench;
namespace fs = std::filesystem;

struct Row {
    const char* name;
    std::shared_ptr<void> (*read)(const std::string& path);
};

std::shared_ptr<void> LoadOnly(const std::string& path) {
    auto model = std::make_shared<ModelObj>();
    return model->Load(path, true, true) ? model : nullptr;
}
std::shared_ptr<void> LoadAndImport(const std::string& path) {
    ModelObj file;
    if (!file.Load(path, true, true)) return nullptr;
    auto model = std::make_shared<ModelData>();
    ImportFile(*model, file);
    return model;
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
        const Measurement m = MeasureResult(runs, [&] { return rows[i].read(path); });
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
