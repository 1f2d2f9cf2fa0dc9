// Makes the models, textures and environment maps of examples/: the same bytes at every run.
#include "Scenes.h"

#include <cstdio>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: make_examples FOLDER\n");
        return 2;
    }
    const std::filesystem::path folder = argv[1];
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) {
        std::fprintf(stderr, "%s cannot be made: %s\n", argv[1], error.message().c_str());
        return 1;
    }
    const bool good = examples::MakeStudio(folder) && examples::MakeVase(folder) &&
                      examples::MakeWatch(folder) && examples::MakeGlass(folder) &&
                      examples::MakeDesigns(folder) && examples::MakeLogo(folder);
    return good ? 0 : 1;
}
