// Makes the library that ships: environment maps, textures and presets, the same bytes at every run.
#include "Library.h"

#include <cstdio>

namespace content {

bool MakeFolder(const std::filesystem::path& folder) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) std::fprintf(stderr, "%s cannot be made: %s\n", folder.c_str(), error.message().c_str());
    return !error;
}

} // namespace content

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: make_content FOLDER\n");
        return 2;
    }
    return content::MakeTextures(argv[1]) && content::MakeEnvironments(argv[1]) ? 0 : 1;
}
