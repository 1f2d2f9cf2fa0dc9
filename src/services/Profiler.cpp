#include "services/Profiler.h"

#include "platform/Clock.h"
#include "services/Log.h"

#include <algorithm>

namespace velorin {
namespace {

struct Profiler {
    std::vector<ProfilerStage*> stages; // of this frame, by first start
    std::vector<StageTime> lastFrame;
};

Profiler& TheProfiler() {
    static Profiler profiler;
    return profiler;
}

double Milliseconds(std::int64_t ticks) {
    static const double frequency = static_cast<double>(MonotonicFrequency());
    return static_cast<double>(ticks) * 1000 / frequency;
}

} // namespace

void ProfilerStart(ProfilerStage& stage) {
    auto& stages = TheProfiler().stages;
    if (std::find(stages.begin(), stages.end(), &stage) == stages.end()) stages.push_back(&stage);
    stage.running = true;
    stage.startTicks = MonotonicTicks();
}

void ProfilerStop(ProfilerStage& stage) {
    if (!stage.running) return;
    stage.ticks += MonotonicTicks() - stage.startTicks;
    stage.running = false;
}

void ProfilerPrint() {
    Log("# Profiler:");
    for (const ProfilerStage* stage : TheProfiler().stages)
        Log("%s - %.2fms", stage->name.c_str(), Milliseconds(stage->ticks));
}

void ProfilerReset() {
    Profiler& profiler = TheProfiler();
    if (!profiler.stages.empty()) profiler.lastFrame = ProfilerStages();
    for (ProfilerStage* stage : profiler.stages) {
        stage->ticks = 0;
        stage->running = false;
    }
    profiler.stages.clear();
}

std::vector<StageTime> ProfilerStages() {
    std::vector<StageTime> times;
    for (const ProfilerStage* stage : TheProfiler().stages)
        times.push_back({stage->group, stage->name, Milliseconds(stage->ticks)});
    return times;
}

const std::vector<StageTime>& ProfilerLastFrame() {
    return TheProfiler().lastFrame;
}

} // namespace velorin
