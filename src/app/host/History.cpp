#include "app/host/History.h"

#include "app/host/Host.h"

#include <algorithm>
#include <set>
#include <utility>

namespace velorin::app {

namespace {

// Exchanges one change with what is there.
struct Exchange {
    Host& host;
    std::set<EffectInstance*>& touched;

    HostResult operator()(StreamChange& change) const {
        HostStream& stream = *change.stream;
        // As the host does it: a copy of the kept value comes in, and the kept one goes.
        if (change.other.arbitrary) {
            const PF_ArbitraryH copy = host.CopyArbitrary(change.other.arbitrary, change.instance);
            host.DisposeArbitrary(std::exchange(change.other.arbitrary, copy), change.instance);
        }
        const std::uint32_t revision = std::max(stream.revision, change.other.revision) + 1;
        std::swap(stream, change.other);
        stream.revision = revision;
        if (change.instance) touched.insert(change.instance);
        return {};
    }
    HostResult operator()(EffectChange& change) const {
        touched.erase(change.effect);
        if (change.away) {
            touched.insert(change.effect);
            return host.PutBack(std::move(change.away), change.place);
        }
        return host.TakeAway(*change.effect, change.away, change.place);
    }
    HostResult operator()(EnabledChange& change) const {
        std::swap(change.effect->enabled, change.other);
        touched.insert(change.effect);
        return {};
    }
    HostResult operator()(LayerChange& change) const {
        auto& layers = change.layer->comp->layers;
        if (change.away) {
            const std::size_t place = std::min(change.place, layers.size());
            layers.insert(layers.begin() + static_cast<std::ptrdiff_t>(place), std::move(change.away));
            return {};
        }
        const auto at = std::find_if(layers.begin(), layers.end(),
                                     [&](const auto& l) { return l.get() == change.layer; });
        change.place = static_cast<std::size_t>(at - layers.begin());
        change.away = std::move(*at);
        layers.erase(at);
        return {};
    }
    HostResult operator()(LayerFactsChange& change) const {
        std::swap(change.layer->name, change.name);
        std::swap(change.layer->flags, change.flags);
        return {};
    }
};

// Ends what a change keeps.
struct Drop {
    Host& host;

    void operator()(StreamChange& change) const {
        // The instance itself may be gone already.
        host.DisposeArbitrary(std::exchange(change.other.arbitrary, nullptr), nullptr);
    }
    void operator()(EffectChange& change) const {
        if (change.away) host.EndInstance(*change.away);
        change.away.reset();
    }
    void operator()(LayerChange& change) const { change.away.reset(); }
    void operator()(EnabledChange&) const {}
    void operator()(LayerFactsChange&) const {}
};

} // namespace

void History::Add(UndoStep step) {
    Forget(undone_, undone_.size());
    done_.push_back(std::move(step));
    if (done_.size() > kLevels) Forget(done_, done_.size() - kLevels);
}

HostResult History::Undo() {
    return Move(done_, undone_);
}

HostResult History::Redo() {
    return Move(undone_, done_);
}

HostResult History::Move(std::deque<UndoStep>& from, std::deque<UndoStep>& to) {
    if (from.empty()) return {};
    UndoStep step = std::move(from.back());
    from.pop_back();
    HostResult first;
    const auto keep = [&first](HostResult result) {
        if (first.good()) first = std::move(result);
    };
    std::set<EffectInstance*> touched;
    std::reverse(step.changes.begin(), step.changes.end()); // last change first, and the next time back again
    for (Change& change : step.changes) keep(std::visit(Exchange{host_, touched}, change));
    to.push_back(std::move(step));
    host_.ProjectChanged();
    for (EffectInstance* effect : touched) {
        keep(host_.UpdateParameterUI(*effect));
        keep(host_.QueryDynamicFlags(*effect));
    }
    return first;
}

void History::Forget(std::deque<UndoStep>& steps, std::size_t count) {
    for (; count > 0; --count) {
        for (Change& change : steps.front().changes) std::visit(Drop{host_}, change);
        steps.pop_front();
    }
}

void History::Clear() {
    Forget(done_, done_.size());
    Forget(undone_, undone_.size());
}

} // namespace velorin::app
