// Linked into every test program: what it and the programs that it starts keep for the user (the model cache,
// the library) goes to a folder that lives as long as the program.
#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

struct UserFolder {
    UserFolder() {
        path = (std::filesystem::temp_directory_path() / "velorin_user_XXXXXX").string();
        if (mkdtemp(path.data())) setenv("VELORIN_USER_PATH", path.c_str(), 1);
    }
    ~UserFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    std::string path;
} const userFolder;

} // namespace
