#pragma once

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace velorin::app {

struct Ran {
    int status = -1;
    std::string out, error;
};

// Runs the real command in a folder of its own, which goes when the test ends.
class CommandTest : public testing::Test {
protected:
    void SetUp() override {
        std::string name = (std::filesystem::temp_directory_path() / "velorin_app_XXXXXX").string();
        ASSERT_TRUE(mkdtemp(name.data()));
        folder_ = name;
        unsetenv("VELORIN_TEST_FAULT");
        std::filesystem::create_directory(folder_ / "user");
        setenv("VELORIN_USER_PATH", (folder_ / "user").c_str(), 1);
        setenv("VELORIN_LOG", (folder_ / "log.txt").c_str(), 1);
    }
    void TearDown() override { std::filesystem::remove_all(folder_); }

    [[nodiscard]] std::string Path(const std::string& name) const { return (folder_ / name).string(); }
    [[nodiscard]] bool Exists(const std::string& name) const {
        return std::filesystem::exists(folder_ / name);
    }
    void Write(const std::string& name, const std::string& text) const {
        std::ofstream(folder_ / name, std::ios::binary) << text;
    }
    [[nodiscard]] std::string Read(const std::string& name) const {
        std::ifstream in(folder_ / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    // A line of the shell, in the folder; $V is the command and $P the test plug-in.
    [[nodiscard]] Ran Shell(const std::string& line) const {
        const std::string script = "cd '" + folder_.string() +
                                   "'; V='" VELORIN_COMMAND "'; P='" VELORIN_TEST_PLUGIN "'; " + line +
                                   " >stdout.txt 2>stderr.txt";
        const int status = std::system(script.c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, Read("stdout.txt"), Read("stderr.txt")};
    }
    [[nodiscard]] Ran Velorin(const std::string& arguments) const { return Shell("$V " + arguments); }
    // With the test plug-in.
    [[nodiscard]] Ran Render(const std::string& arguments) const {
        return Shell("$V render --plugin $P " + arguments);
    }

    std::filesystem::path folder_;
};

// The real plug-in, where it is built; it stands beside the command.
inline std::string RealPlugin() {
    return (std::filesystem::path(VELORIN_COMMAND).parent_path() / "Velorin.aex").string();
}
class PluginTest : public CommandTest {
protected:
    void SetUp() override {
        CommandTest::SetUp();
        if (!std::filesystem::exists(RealPlugin())) GTEST_SKIP() << "the plug-in is not built";
    }
};

} // namespace velorin::app
