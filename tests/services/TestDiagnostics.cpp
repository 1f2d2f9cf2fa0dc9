#include "TemporaryFolder.h"

#include "services/CrashReport.h"
#include "services/Log.h"
#include "services/Profiler.h"
#include "services/Warnings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <thread>
#include <vector>

namespace velorin {
namespace {

using test::ReadWhole;
using test::ScopedVariable;
using test::TemporaryFolder;

void Spin(double milliseconds) {
    const auto end =
        std::chrono::steady_clock::now() + std::chrono::duration<double, std::milli>(milliseconds);
    while (std::chrono::steady_clock::now() < end) {
    }
}

// The wait status of a child process that runs `body` and then ends.
template <class Body>
int StatusOf(Body body) {
    const pid_t child = fork();
    if (child == 0) {
        body();
        _exit(0);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return status;
}

// What `body` logs, in a child process, since the log's place is read once.
template <class Body>
std::string LogOf(Body body) {
    const TemporaryFolder folder;
    const std::string path = folder.file("log.txt");
    const ScopedVariable place("VELORIN_LOG", path);
    EXPECT_EQ(StatusOf(body), 0);
    return ReadWhole(path);
}

TEST(Log, FormatsLinesAndCutsThem) {
    EXPECT_EQ(LogOf([] {
                  Log("GL ERROR (%s:%d) - 0x%X", "Renderer::SetContext", 12, 0x502u);
                  Log("%s", "second");
              }),
              "GL ERROR (Renderer::SetContext:12) - 0x502\nsecond\n");
    const std::string cut = LogOf([] { Log("%s", std::string(60000, 'x').c_str()); });
    EXPECT_EQ(cut, std::string(49151, 'x') + "\n");
}

TEST(Profiler, PrintsTheStagesOfOneFrame) {
    EXPECT_EQ(LogOf(ProfilerPrint), "# Profiler:\n");
    const std::string log = LogOf([] {
        ProfilerStage read("Driver", "ReadParams", 1), render("Driver", "Render", 2);
        for (int frame = 0; frame < 2; ++frame) {
            {
                const ScopedStage outer(render);
                for (int i = 0; i < 3; ++i) {
                    const ScopedStage inner(read);
                }
            }
            ProfilerPrint();
            ProfilerReset();
        }
        ProfilerPrint();
    });
    const std::string frame =
        "# Profiler:\nRender - [0-9]+\\.[0-9][0-9]ms\nReadParams - [0-9]+\\.[0-9][0-9]ms\n";
    EXPECT_THAT(log, testing::MatchesRegex(frame + frame + "# Profiler:\n"));
}

TEST(Profiler, SumsWithinAFrameAndStartsAfresh) {
    ProfilerReset();
    ProfilerStage stage("Test", "Stage", 0);
    for (int i = 0; i < 3; ++i) {
        const ScopedStage scope(stage);
        Spin(2);
    }
    ASSERT_EQ(ProfilerStages().size(), 1u);
    EXPECT_GE(ProfilerStages()[0].milliseconds, 6);
    ProfilerStart(stage); // still running when the frame ends
    ProfilerReset();
    EXPECT_TRUE(ProfilerStages().empty());
    ASSERT_EQ(ProfilerLastFrame().size(), 1u);
    EXPECT_EQ(ProfilerLastFrame()[0].name, "Stage");
    EXPECT_GE(ProfilerLastFrame()[0].milliseconds, 6);
    ProfilerStop(stage);
    EXPECT_EQ(stage.ticks, 0) << "time of the last frame must not show in this one";
    ProfilerStart(stage);
    ProfilerStop(stage);
    EXPECT_EQ(ProfilerStages().size(), 1u);
    ProfilerReset();
    ProfilerReset(); // a frame without stages does not forget the last one
    EXPECT_EQ(ProfilerLastFrame().size(), 1u);
}

TEST(Warnings, EachSentenceIsToldOnce) {
    ResetWarnings();
    ReportWarning("a.png: not found.");
    ReportWarning("b.png: not found.");
    ReportWarning("a.png: not found.");
    EXPECT_THAT(TakeWarnings(), testing::ElementsAre("a.png: not found.", "b.png: not found."));
    ReportWarning("a.png: not found.");
    EXPECT_THAT(TakeWarnings(), testing::IsEmpty());
    ResetWarnings();
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([] {
            for (int i = 0; i < 100; ++i) ReportWarning("warning " + std::to_string(i));
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(TakeWarnings().size(), 100u);
    ResetWarnings();
}

// A folder with the documents of a user.
struct Home : TemporaryFolder {
    Home() { std::filesystem::create_directories(file("Documents/Quenmarworks")); }
};

// Runs `crash` in a child process with crash reports on and the documents in `folder`. The wait status.
template <class Body>
int StatusOfCrash(const TemporaryFolder& folder, Body crash) {
    const ScopedVariable home("HOME", folder.path()), config("XDG_CONFIG_HOME", folder.path());
    const ScopedVariable temporary("TMPDIR", folder.path());
    return StatusOf([&] {
        (void)!freopen(folder.file("stderr.txt").c_str(), "w", stderr);
        SetCrashReportGL("Maker", "Card 9", "3.3 test");
        InstallCrashReport();
        crash();
    });
}

std::vector<std::string> Reports(const std::string& folder) {
    std::vector<std::string> paths;
    std::error_code absent;
    for (const auto& entry : std::filesystem::directory_iterator(folder + "/Quenmarworks/Error Logs", absent))
        paths.push_back(entry.path().string());
    return paths;
}

void Segfault() {
    volatile int* nowhere = nullptr;
    *nowhere = 1;
}

int Overflow(volatile char* outer) {
    volatile char frame[4096];
    frame[0] = *outer;
    if (frame[0] == 1) return 0; // never
    return Overflow(frame) + frame[0];
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSanitized = true; // the sanitizers bring handlers of their own
#else
constexpr bool kSanitized = false;
#endif

TEST(CrashReport, EverySignalLeavesAFileAndEndsTheProcessAsBefore) {
    if (kSanitized) GTEST_SKIP();
    struct Case {
        const char* name;
        int signal;
        void (*crash)();
    };
    const Case cases[] = {
        {"SIGSEGV", SIGSEGV, Segfault},
        {"SIGABRT", SIGABRT, [] { std::abort(); }},
        {"SIGFPE", SIGFPE, [] { raise(SIGFPE); }},
        {"SIGILL", SIGILL, [] { __builtin_trap(); }},
        {"SIGBUS", SIGBUS,
         [] {
             kill(getpid(), SIGBUS);
             pause();
         }},
        {"SIGSEGV", SIGSEGV,
         [] {
             volatile char start = 0;
             Overflow(&start);
         }},
        {"SIGSEGV", SIGSEGV, [] { std::thread(Segfault).join(); }},
    };
    const ScopedVariable zone("TZ", "XYZ-05:30"); // names have the local time
    const auto stamp = [] {
        const std::time_t now = std::time(nullptr) + 5 * 3600 + 1800;
        char text[32];
        std::strftime(text, sizeof text, "%Y%m%d-%H%M%S", std::gmtime(&now));
        return std::string(text);
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const Home folder;
        const std::string before = stamp();
        const int status = StatusOfCrash(folder, c.crash);
        const std::string after = stamp();
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == c.signal) << status;
        const auto reports = Reports(folder.file("Documents"));
        ASSERT_EQ(reports.size(), 1u);
        const std::string name = std::filesystem::path(reports[0]).filename().string();
        EXPECT_THAT(name, testing::MatchesRegex(
                              "Velorin_v2\\.2\\.2160\\.hotfix-20[0-9]{6}-[0-9]{6}-[0-9]+-[0-9]+\\.txt"));
        const std::string time = name.substr(name.find('-') + 1, before.size());
        EXPECT_TRUE(before <= time && time <= after) << time << " not in " << before << " to " << after;
        const std::string text = ReadWhole(reports[0]);
        for (const char* part : {"Velorin_v2.2.2160.hotfix\n", c.name, "GL renderer: Card 9\n",
                                 "GL version: 3.3 test\n", "thread: ", "back-trace:\n"})
            EXPECT_NE(text.find(part), std::string::npos) << part << "\n" << text;
        EXPECT_GE(std::count(text.begin(), text.end(), '\n'), 9) << "frames of the back-trace\n" << text;
        const std::string message = ReadWhole(folder.file("stderr.txt"));
        EXPECT_NE(
            message.find(
                "Debug: Velorin has encountered an unrecoverable error.\n\nPlease compress the following "
                "file and contact support:\n\n" +
                reports[0]),
            std::string::npos)
            << message;
    }
}

TEST(CrashReport, ItGoesWhereItCanAndIsWrittenWithoutACrashToo) {
    if (kSanitized) GTEST_SKIP();
    struct Case {
        const char *there, *reports; // the folder that is made, and the one above the reports
        void (*crash)();
        int status; // of the exit; 0: ends by the signal
        std::size_t count;
    };
    const Case cases[] = {
        {"Documents/Quenmarworks", "Documents", [] { _exit(WriteCrashReport()); }, 1, 1},
        {"Quenmarworks", "", Segfault, 0, 1}, // no documents: the temporary folder
        {"Documents", "Documents", Segfault, 0, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.there);
        const TemporaryFolder folder;
        std::filesystem::create_directories(folder.file(c.there));
        const int status = StatusOfCrash(folder, c.crash);
        EXPECT_TRUE(c.status ? WIFEXITED(status) && WEXITSTATUS(status) == c.status
                             : WIFSIGNALED(status) && WTERMSIG(status) == SIGSEGV);
        const auto reports = Reports(folder.file(c.reports));
        ASSERT_EQ(reports.size(), c.count);
        const std::string text = ReadWhole(reports.empty() ? folder.file("stderr.txt") : reports[0]);
        EXPECT_THAT(text, testing::HasSubstr(c.status ? "signal: none" : "signal: SIGSEGV"));
        EXPECT_THAT(text, testing::HasSubstr("back-trace:"));
        if (reports.empty()) {
            EXPECT_TRUE(std::filesystem::is_empty(folder.file(c.there)));
            EXPECT_THAT(text, testing::HasSubstr("unrecoverable error"));
        }
    }
}

// The message of the first crash cannot be written before the second thread has crashed too: stderr is a full
// pipe, which the parent reads once both files are there.
TEST(CrashReport, TwoThreadsAtOnceWriteTwoFiles) {
    if (kSanitized) GTEST_SKIP();
    const Home folder;
    const ScopedVariable home("HOME", folder.path()), config("XDG_CONFIG_HOME", folder.path());
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const pid_t child = fork();
    if (child == 0) {
        fcntl(ends[1], F_SETFL, O_NONBLOCK);
        while (write(ends[1], "x", 1) == 1) {
        }
        fcntl(ends[1], F_SETFL, 0);
        dup2(ends[1], STDERR_FILENO);
        InstallCrashReport();
        std::thread first(Segfault), second(Segfault);
        first.join();
        second.join();
        _exit(77);
    }
    close(ends[1]);
    for (int i = 0; i < 500 && Reports(folder.file("Documents")).size() < 2; ++i) usleep(10000);
    EXPECT_EQ(Reports(folder.file("Documents")).size(), 2u);
    char drained[4096];
    while (read(ends[0], drained, sizeof drained) > 0) {
    }
    close(ends[0]);
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGSEGV) << status;
    for (const std::string& report : Reports(folder.file("Documents")))
        EXPECT_NE(ReadWhole(report).find("back-trace:\n"), std::string::npos) << "complete";
}

TEST(CrashReport, AnEarlierHandlerGetsTheSignalAfterwards) {
    if (kSanitized) GTEST_SKIP();
    for (void (*crash)() : {+[] { Segfault(); }, +[] { std::abort(); }}) {
        const Home folder;
        const int status = StatusOfCrash(folder, [&] {
            RemoveCrashReport();
            struct sigaction hostHandler {};
            hostHandler.sa_handler = [](int) { _exit(55); };
            sigaction(SIGSEGV, &hostHandler, nullptr);
            sigaction(SIGABRT, &hostHandler, nullptr);
            InstallCrashReport();
            crash();
        });
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 55) << status;
        EXPECT_EQ(Reports(folder.file("Documents")).size(), 1u);
    }
}

TEST(CrashReport, RemovingPutsTheOldHandlersBack) {
    if (kSanitized) GTEST_SKIP();
    struct sigaction before {
    }, after{};
    sigaction(SIGSEGV, nullptr, &before);
    InstallCrashReport();
    InstallCrashReport();
    RemoveCrashReport();
    sigaction(SIGSEGV, nullptr, &after);
    EXPECT_EQ(before.sa_handler, after.sa_handler);
}

} // namespace
} // namespace velorin
