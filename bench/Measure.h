#pragma once

#include <functional>
#include <memory>

// Measures a piece of work in processes of its own, so that nothing of one measurement is left for the next.
namespace velorin::bench {

struct Measurement {
    double seconds = 0;   // of the clock, the best of the runs
    double peakBytes = 0; // that one run adds to the process's peak; pages of mapped files count
    bool ok = false;      // the work returned true every time
};

// Of the monotonic clock.
[[nodiscard]] double Seconds();
// Spent by this process's threads, in user and system. Other programs on the machine count little.
[[nodiscard]] double ProcessorSeconds();

// One child process runs `work` once for the memory, another `runs` times for the time.
[[nodiscard]] Measurement Measure(int runs, const std::function<bool()>& work,
                                  double (*clock)() = ProcessorSeconds);
// The same for work that gives a result, null when it fails. What the result's end takes is not part of the
// time.
[[nodiscard]] Measurement MeasureResult(int runs, const std::function<std::shared_ptr<void>()>& work,
                                        double (*clock)() = ProcessorSeconds);

// The number that `work` answers, computed in a process of its own; -1 when that fails.
[[nodiscard]] double AskChild(const std::function<double()>& work);

} // namespace velorin::bench
