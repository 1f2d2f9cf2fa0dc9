#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace velorin {

// One measured place of the code; a static object, made on first use. Times are ticks of the monotonic clock.
struct ProfilerStage {
    ProfilerStage(const char* group_, const char* name_, int line_)
        : group(group_), name(name_), line(line_) {}

    std::string group; // the class or function, such as "AEPluginConnection::UnifiedRender"
    std::string name;  // the stage, such as "ReadParams"
    int line = 0;
    std::int64_t ticks = 0;      // sum of this stage's time in the frame
    std::int64_t startTicks = 0; // while running
    bool running = false;
};

// The stages that have run in this frame, process-wide, in the order of their first start. Used under the
// render mutex only; no lock of its own.
//
// Start: adds the stage to the list when it is not there and takes the time. Stop: adds the time since the
// last start; nothing happens when the stage is not running.
void ProfilerStart(ProfilerStage& stage);
void ProfilerStop(ProfilerStage& stage);
// Logs "# Profiler:" and a line a stage.
void ProfilerPrint();
// Ends the frame: all stages back to 0 (a running one stops), and the list is empty.
void ProfilerReset();

struct StageTime {
    std::string group;
    std::string name;
    double milliseconds = 0;
};
// The stages of the running frame so far, and those of the frame that the last reset with a stage in its list
// ended.
[[nodiscard]] std::vector<StageTime> ProfilerStages();
[[nodiscard]] const std::vector<StageTime>& ProfilerLastFrame();

// Measures from here to the end of the block.
class ScopedStage {
public:
    explicit ScopedStage(ProfilerStage& stage) : stage_(stage) { ProfilerStart(stage_); }
    ~ScopedStage() { ProfilerStop(stage_); }
    ScopedStage(const ScopedStage&) = delete;
    ScopedStage& operator=(const ScopedStage&) = delete;

private:
    ProfilerStage& stage_;
};

} // namespace velorin

// Measures the rest of the block as the stage `name` of `group`; one such line a block.
#define VELORIN_PROFILE(group, name)                                                                         \
    static ::velorin::ProfilerStage velorinStage(group, name, __LINE__);                                     \
    const ::velorin::ScopedStage velorinScopedStage(velorinStage)
