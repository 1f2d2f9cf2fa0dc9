// Makes the library that ships: environment maps, textures and presets, the same bytes at every run.
#include "Library.h"

#include <cstdio>
#include <string>

int main(int argc, char** argv) {
    const std::string part = argc == 4 ? argv[3] : "all";
    const bool all = part == "all", pictures = part == "textures", maps = part == "environments",
               presets = part == "presets";
    if (argc < 3 || argc > 4 || !(all || pictures || maps || presets)) {
        std::fprintf(stderr, "usage: make_content LIBRARY.json FOLDER [textures|environments|presets]\n");
        return 2;
    }
    const std::filesystem::path table = argv[1], root = argv[2];
    const bool good = (!(all || pictures) || content::MakeTextures(root)) &&
                      (!(all || maps) || content::MakeEnvironments(root)) &&
                      (!(all || presets) || content::MakePresets(table, root));
    return good ? 0 : 1;
}
