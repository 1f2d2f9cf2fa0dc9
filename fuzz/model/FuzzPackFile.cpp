#include "model/ContentBundle.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

using namespace velorin;

// The input is the directory with the start of the names, laid over an empty pack: first read as a bundle,
// then written to as a cache.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kFileSize = 0x30008 + 4 * 0x8000;
    static const std::string path = (std::filesystem::temp_directory_path() /
                                     ("velorin_fuzz_pack_" + std::to_string(std::random_device()())))
                                        .string();
    std::vector<std::uint8_t> bytes(kFileSize);
    const std::uint8_t magic[] = {'N', 'X', 'M', 'P', 'C', 0, 0, 4};
    std::copy(std::begin(magic), std::end(magic), bytes.begin());
    std::copy_n(data, std::min(size, kFileSize - 8), bytes.begin() + 8);
    std::filesystem::remove(path);
    std::FILE* const file = std::fopen(path.c_str(), "wb");
    if (!file) return 0;
    std::fwrite(bytes.data(), 1, bytes.size(), file);
    std::fclose(file);
    {
        ContentBundle bundle(path);
        (void)bundle.ListFolders("");
        (void)bundle.ListFolderItems("");
        PackFile pack;
        pack.Open(path, false, false);
        for (const std::string& name : pack.Names()) {
            const PackEntry entry = pack.Get(name);
            unsigned sum = 0;
            for (const std::byte b : entry.bytes()) sum += std::to_integer<unsigned>(b);
            if (sum == 1) std::puts("");
        }
        const std::vector<std::byte> blob(40'000, std::byte{1});
        if (pack.Put("new", blob) && pack.Get("new").bytes().size() != blob.size()) std::abort();
        (void)pack.Remove("new");
    }
    std::filesystem::remove(path);
    std::filesystem::remove(path + ".lock");
    return 0;
}
