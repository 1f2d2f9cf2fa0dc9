// What the geometry cache saves: a model from its OBJ file and from its record in the cache, beside a copy of
// the record's bytes from memory to memory. Time as the user waits it: parsing and copying keep one thread
// busy, a large record is read by several. Once as the first model of a process (all memory is fresh, the
// processor's caches know nothing; median of many processes), once as one of several (best of several runs).
// Both files in the system's page cache: bench_warm_start [file.obj ...].

#include "../Measure.h"
#include "Sheet.h"

#include "core/document/SceneModel.h"
#include "model/ModelCache.h"
#include "model/ModelLoader.h"
#include "services/LargePages.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace velorin;
using namespace velorin::bench;
namespace fs = std::filesystem;

std::shared_ptr<void> ParseFile(const std::string& path) {
    const auto data = std::make_shared<ModelData>();
    return LoadModelFile(path, true, true, *data) ? data : nullptr;
}

bool FillCache(const std::string& path) {
    SceneModel model(ModelType::ImportedFile);
    model.path = path;
    ModelCache cache;
    ModelData data;
    return LoadModelFile(path, true, true, data) && cache.Store(model, path, data);
}

// As the first model of a process: with the opening of the cache.
std::shared_ptr<void> FindRecord(const std::string& path) {
    SceneModel model(ModelType::ImportedFile);
    model.path = path;
    ModelCache cache;
    const auto data = std::make_shared<ModelData>();
    return cache.Find(model, path, *data) ? data : nullptr;
}

std::vector<std::byte> ReadRecord(const std::string& path) {
    ModelCache cache;
    const PackEntry entry = cache.pack().Get(path);
    return {entry.bytes().begin(), entry.bytes().end()};
}

// Into memory that is made for it, as a model's arrays are: on large pages.
std::shared_ptr<void> CopyBytes(const std::vector<std::byte>& record) {
    const auto copy = std::make_shared<LargeArray<std::byte>>();
    ResizeUnwritten(*copy, record.size());
    std::memcpy(copy->data(), record.data(), record.size());
    const volatile std::byte* const seen = copy->data(); // so that the copy is made
    return seen[record.size() / 2] == record[record.size() / 2] ? copy : nullptr;
}

struct Times {
    const char* name;
    double first, next; // seconds
};

Times MeasureTimes(const char* name, int runs, const std::function<std::shared_ptr<void>()>& work) {
    std::array<double, 15> firsts{};
    for (double& first : firsts)
        first = AskChild([&] {
            const double start = Seconds();
            const auto result = work();
            return Seconds() - start;
        });
    std::nth_element(firsts.begin(), firsts.begin() + firsts.size() / 2, firsts.end());
    return {name, firsts[firsts.size() / 2], MeasureResult(runs, work, Seconds).seconds};
}

void PrintTable(const std::string& path) {
    const bool stored = Measure(1, [&] { return FillCache(path); }).ok;
    const std::vector<std::byte> record = ReadRecord(path);
    const auto bytes = static_cast<double>(record.size());
    if (!stored || record.empty()) {
        std::printf("%s: cannot be cached\n", path.c_str());
        return;
    }
    std::printf("\n%s: %.1f MB, record %.1f MB\n", fs::path(path).filename().c_str(),
                static_cast<double>(fs::file_size(path)) / 1e6, bytes / 1e6);
    const int runs = bytes > 1e8 ? 8 : 40;
    const Times parse = MeasureTimes("parsed from the file", runs, [&] { return ParseFile(path); });
    const Times find = MeasureTimes("found in the cache", runs, [&] { return FindRecord(path); });
    const Times copy = MeasureTimes("bytes copied in memory", runs, [&] { return CopyBytes(record); });
    std::printf("  %-24s %22s %26s\n", "", "a process's first", "one of several");
    for (const Times& row : {parse, find, copy})
        std::printf("  %-24s %10.2f ms %6.2f GB/s %12.2f ms %6.2f GB/s\n", row.name, row.first * 1e3,
                    bytes / 1e9 / row.first, row.next * 1e3, bytes / 1e9 / row.next);
    std::printf(
        "  the cache is %.1f and %.1f times as fast as parsing, at %.2f and %.2f of the speed of a copy\n",
        parse.first / find.first, parse.next / find.next, copy.first / find.first, copy.next / find.next);
}

} // namespace

int main(int argc, char** argv) {
    const fs::path folder =
        fs::temp_directory_path() / ("velorin_warm_" + std::to_string(std::random_device()()));
    fs::create_directories(folder);
    setenv("VELORIN_USER_PATH", folder.c_str(), 1);
    std::vector<std::string> files(argv + 1, argv + argc);
    if (files.empty()) {
        const fs::path largest = fs::path(VELORIN_SOURCE_DIR) / "../shared/data/models/3DBenchy.obj";
        if (fs::exists(largest)) files.push_back(largest.lexically_normal().string());
        for (const int side : {230, 710}) {
            files.push_back((folder / ("sheet_" + std::to_string(side) + ".obj")).string());
            if (!WriteSheet(files.back(), side)) return 1;
        }
    }
    for (const std::string& file : files) PrintTable(file);
    fs::remove_all(folder);
    return 0;
}
