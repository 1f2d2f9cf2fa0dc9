#include "core/document/SceneModel.h"
#include "model/ModelCache.h"
#include "model/ModelData.h"

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>

using namespace velorin;

namespace {

// A folder of the process's own with a model file in it.
struct Place {
    Place() {
        folder = std::filesystem::temp_directory_path() /
                 ("velorin_fuzz_cache_" + std::to_string(std::random_device()()));
        std::filesystem::create_directories(folder);
        setenv("VELORIN_USER_PATH", folder.c_str(), 1);
        file = (folder / "a.obj").string();
        if (std::FILE* const out = std::fopen(file.c_str(), "wb")) std::fclose(out);
        std::filesystem::last_write_time(file,
                                         std::filesystem::last_write_time(file) - std::chrono::hours(1));
    }
    ~Place() { std::filesystem::remove_all(folder); }
    std::filesystem::path folder;
    std::string file;
};

} // namespace

// The input stands in the cache as the record of a model: whatever it is, the cache works on.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Place place;
    SceneModel model(ModelType::ImportedFile);
    model.path = "a.obj";
    ModelCache cache;
    (void)cache.pack().Put(model.path, std::as_bytes(std::span(data, size)));
    ModelData found, stored, again;
    (void)cache.Find(model, place.file, found);
    stored.sourceOffset.x = 5;
    if (!cache.Store(model, place.file, stored) || !cache.Find(model, place.file, again) ||
        again.sourceOffset.x != 5)
        std::abort();
    return 0;
}
