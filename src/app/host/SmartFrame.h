#pragma once

#include "app/host/Host.h"

#include <map>
#include <memory>

namespace velorin::app {

// An input that pre-render declared.
struct DeclaredInput {
    int row = 0;
    double seconds = 0;                   // layer time of the effect layer
    Rect area;                            // of the answer
    std::unique_ptr<SmartFrame> upstream; // the earlier effect's frame, for row 0 behind another effect
    bool taken = false;
    std::shared_ptr<const WorldBuffer> pixels;
    std::uint64_t checksum = 0;
    PF_EffectWorld world{};
};

// One frame of one instance, from its pre-render to the end of its render.
struct SmartFrame {
    SmartFrame() = default;
    SmartFrame(const SmartFrame&) = delete;
    SmartFrame& operator=(const SmartFrame&) = delete;
    ~SmartFrame(); // frees the plug-in's pre-render data

    EffectInstance* instance = nullptr;
    Rect request;
    A_long time = 0;
    int depth = 8;
    PF_PreRenderOutput answer{};
    std::map<A_long, DeclaredInput> inputs; // by checkout id
    bool inputAsked = false;
    std::shared_ptr<WorldBuffer> output;
    PF_EffectWorld outputWorld{};
};

} // namespace velorin::app
