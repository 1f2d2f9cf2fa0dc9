#include "Measure.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace velorin::bench {

namespace {

// Runs `body` in a child that answers with one number; `peakBytes` is that of the child.
bool InChild(const std::function<double()>& body, double& answer, double& peakBytes) {
    int ends[2];
    if (pipe(ends) != 0) return false;
    std::fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        const double value = body();
        const bool written = write(ends[1], &value, sizeof value) == sizeof value;
        _exit(written ? 0 : 1);
    }
    close(ends[1]);
    const bool answered = read(ends[0], &answer, sizeof answer) == sizeof answer;
    close(ends[0]);
    int status = 0;
    rusage usage{};
    wait4(child, &status, 0, &usage);
    peakBytes = static_cast<double>(usage.ru_maxrss) * 1024;
    return answered && status == 0;
}

} // namespace

double Seconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

double ProcessorSeconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

double AskChild(const std::function<double()>& work) {
    double answer = 0, ignored = 0;
    return InChild(work, answer, ignored) ? answer : -1;
}

Measurement MeasureResult(int runs, const std::function<std::shared_ptr<void>()>& work, double (*clock)()) {
    Measurement result;
    double nothing = 0, worked = 0, idlePeak = 0, peak = 0, ignored = 0;
    result.ok = InChild([] { return 0.0; }, nothing, idlePeak) &&
                InChild([&] { return work() ? 1.0 : 0.0; }, worked, peak) && worked == 1;
    result.peakBytes = peak - idlePeak;
    const auto best = [&] {
        double seconds = 1e30;
        for (int i = 0; i < runs; ++i) {
            const double start = clock();
            const std::shared_ptr<void> made = work();
            const double elapsed = clock() - start;
            if (!made) return -1.0;
            seconds = std::min(seconds, elapsed);
        }
        return seconds;
    };
    result.ok = result.ok && InChild(best, result.seconds, ignored) && result.seconds >= 0;
    return result;
}

Measurement Measure(int runs, const std::function<bool()>& work, double (*clock)()) {
    return MeasureResult(
        runs, [&]() -> std::shared_ptr<void> { return work() ? std::make_shared<char>() : nullptr; }, clock);
}

} // namespace velorin::bench
