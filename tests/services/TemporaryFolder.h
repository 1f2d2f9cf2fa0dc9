#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

namespace velorin::test {

// A folder of the test's own that is removed with everything in it.
class TemporaryFolder {
public:
    TemporaryFolder() {
        const std::string pattern = (std::filesystem::temp_directory_path() / "velorin-test-").string();
        for (unsigned i = 0;; ++i) {
            path_ = pattern + std::to_string(std::hash<const void*>{}(this) % 1000000007u) + "-" +
                    std::to_string(i);
            if (std::filesystem::create_directory(path_)) break;
        }
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    [[nodiscard]] const std::string& path() const { return path_; }
    [[nodiscard]] std::string file(std::string_view name) const { return path_ + "/" + std::string(name); }
    std::string Put(std::string_view name, std::string_view content) const {
        std::ofstream(file(name), std::ios::binary) << content;
        return file(name);
    }
    [[nodiscard]] std::size_t entryCount() const {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(path_), {}));
    }

private:
    std::string path_;
};

[[nodiscard]] inline std::string ReadWhole(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// Sets an environment variable for the life of the object.
class ScopedVariable {
public:
    ScopedVariable(const char* name, const std::string& value) : name_(name) {
        if (const char* old = std::getenv(name)) had_ = true, old_ = old;
        setenv(name, value.c_str(), 1);
    }
    ~ScopedVariable() {
        if (had_)
            setenv(name_, old_.c_str(), 1);
        else
            unsetenv(name_);
    }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

private:
    const char* name_;
    std::string old_;
    bool had_ = false;
};

} // namespace velorin::test
