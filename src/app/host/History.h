#pragma once

#include "app/host/Comp.h"
#include "app/host/Instance.h"

#include <cstddef>
#include <deque>
#include <memory>
#include <string>
#include <variant>
#include <vector>

namespace velorin::app {

class Host;
struct HostResult;

// Each change holds what differs from now: exchanging the two undoes it, and exchanging them again does it
// once more. Sequence data is no part of any: it is not undoable.

// A row of an effect or a property of a layer: value, keyframes, expression.
struct StreamChange {
    HostStream* stream = nullptr;
    EffectInstance* instance = nullptr; // null: the stream is a layer's
    HostStream other;                   // owns its arbitrary value
};
// An effect that was applied, copied or deleted. While it is away it is kept with flat sequence data.
struct EffectChange {
    EffectInstance* effect = nullptr;
    std::size_t place = 0; // in the effects of its comp
    std::unique_ptr<EffectInstance> away;
};
struct EnabledChange {
    EffectInstance* effect = nullptr;
    bool other = false;
};
// A layer that was made or deleted.
struct LayerChange {
    HostLayer* layer = nullptr;
    std::size_t place = 0; // in the layers of its comp
    std::unique_ptr<HostLayer> away;
};
struct LayerFactsChange {
    HostLayer* layer = nullptr;
    std::string name;
    AEGP_LayerFlags flags = 0;
};
using Change = std::variant<StreamChange, EffectChange, EnabledChange, LayerChange, LayerFactsChange>;

struct UndoStep {
    std::string name; // "" for a change of the plug-in's outside any group
    std::vector<Change> changes;
};

// The steps that the user can take back and do again. A new step forgets those that were taken back; beyond
// kLevels the oldest one is forgotten, and what it keeps alive ends.
class History {
public:
    static constexpr std::size_t kLevels = 32;

    explicit History(Host& host) : host_(host) {}

    void Add(UndoStep step);
    // Nothing to undo or redo is no error. Effects that are touched get their panel refreshed.
    [[nodiscard]] HostResult Undo();
    [[nodiscard]] HostResult Redo();
    void Clear();

    [[nodiscard]] const std::deque<UndoStep>& done() const { return done_; } // oldest first
    [[nodiscard]] const std::deque<UndoStep>& undone() const { return undone_; }

private:
    [[nodiscard]] HostResult Move(std::deque<UndoStep>& from, std::deque<UndoStep>& to);
    void Forget(std::deque<UndoStep>& steps, std::size_t count); // the first ones

    Host& host_;
    std::deque<UndoStep> done_, undone_;
};

} // namespace velorin::app
