#include "app/host/Host.h"

#include <algorithm>
#include <cstring>

// What the host stores of an instance, and the copies that it makes through it.

namespace velorin::app {

namespace {

std::string BytesOf(HandleStore& handles, PF_Handle handle) {
    if (!handles.alive(handle)) return {};
    return {static_cast<const char*>(*handle), static_cast<std::size_t>(handles.Size(handle))};
}

// Null for no bytes: what was stored as nothing comes back as nothing.
PF_Handle HandleWith(HandleStore& handles, const std::string& bytes) {
    if (bytes.empty()) return nullptr;
    const PF_Handle handle = handles.New(static_cast<A_HandleSize>(bytes.size()));
    if (handle) std::memcpy(*handle, bytes.data(), bytes.size());
    return handle;
}

} // namespace

HostResult Host::Flatten(EffectInstance& instance) {
    HostResult result = Call(PF_Cmd_SEQUENCE_FLATTEN, &instance, comp_->currentTime);
    if (result.good()) instance.flat = true;
    return result;
}

HostResult Host::SetUpAgain(EffectInstance& instance, PF_InFlags flags) {
    HostResult result = Call(PF_Cmd_SEQUENCE_RESETUP, &instance, comp_->currentTime, nullptr, flags);
    if (result.good()) instance.flat = false;
    return result;
}

HostResult Host::SetUpStored(EffectInstance& instance, const std::string& flat) {
    instance.sequence = HandleWith(handles, flat);
    instance.flat = true;
    HostResult result = SetUpAgain(instance);
    if (result.good()) result = ShowPanel(instance);
    return result;
}

HostResult Host::Save(std::vector<StoredEffect>* stored) {
    const ParameterRow* const row = arbitraryRow();
    for (const auto& effect : comp_->effects) {
        StoredEffect bytes;
        if (HostResult result = Flatten(*effect); !result.good()) return result;
        bytes.sequence = BytesOf(handles, effect->sequence);
        if (stored && row && !FlatArbitrary(*effect, *row, bytes.scene))
            return {A_Err_GENERIC,
                    "the scene of effect " + std::to_string(effect->number) + " could not be flattened"};
        if (HostResult result = SetUpAgain(*effect); !result.good()) return result;
        if (stored) stored->push_back(std::move(bytes));
    }
    return options.twoCopies ? MakeRenderCopy() : HostResult{};
}

HostResult Host::Duplicate(EffectInstance& instance) {
    if (HostResult result = Flatten(instance); !result.good()) return result;
    EffectInstance& copy = AddInstance(instance.enabled);
    copy.sequence = HandleWith(handles, BytesOf(handles, instance.sequence));
    copy.flat = true;
    copy.rows = instance.rows;
    for (HostStream& stream : copy.rows)
        if (stream.arbitrary) stream.arbitrary = CopyArbitrary(stream.arbitrary, &copy);
    HostResult result;
    for (EffectInstance* each : {&instance, &copy})
        if (result.good()) result = SetUpAgain(*each);
    if (result.good()) result = ShowPanel(copy);
    (void)Record(EffectChange{&copy, comp_->effects.size() - 1, nullptr}, "Duplicate");
    return result;
}

HostResult Host::Copy(EffectInstance& instance) {
    Clipboard copied;
    const ParameterRow* const row = arbitraryRow();
    if (HostResult result = Flatten(instance); !result.good()) return result;
    copied.enabled = instance.enabled;
    copied.stores.sequence = BytesOf(handles, instance.sequence);
    copied.rows = instance.rows;
    for (HostStream& stream : copied.rows) stream.arbitrary = nullptr;
    const bool good = !row || FlatArbitrary(instance, *row, copied.stores.scene);
    if (HostResult result = SetUpAgain(instance); !result.good()) return result;
    if (!good) return {A_Err_GENERIC, "the scene could not be copied"};
    clipboard_ = std::move(copied);
    return {};
}

HostResult Host::Paste() {
    if (!clipboard_) return {A_Err_GENERIC, "nothing was copied"};
    EffectInstance& instance = AddInstance(clipboard_->enabled);
    instance.rows = clipboard_->rows;
    HostResult result;
    if (const ParameterRow* const row = arbitraryRow())
        result = SetArbitrary(instance, *row, std::as_bytes(std::span(clipboard_->stores.scene)));
    instance.sequence = HandleWith(handles, clipboard_->stores.sequence);
    instance.flat = true;
    if (result.good()) result = SetUpAgain(instance);
    if (result.good()) result = ShowPanel(instance);
    (void)Record(EffectChange{&instance, comp_->effects.size() - 1, nullptr}, "Paste");
    return result;
}

HostResult Host::Remove(EffectInstance& instance) {
    EffectChange change{&instance, 0, nullptr};
    HostResult result = TakeAway(instance, change.away, change.place);
    if (result.good()) (void)Record(std::move(change), "Delete");
    return result;
}

HostResult Host::TakeAway(EffectInstance& instance, std::unique_ptr<EffectInstance>& away,
                          std::size_t& place) {
    if (HostResult result = Flatten(instance); !result.good()) return result;
    auto& effects = comp_->effects;
    const auto at =
        std::find_if(effects.begin(), effects.end(), [&](const auto& e) { return e.get() == &instance; });
    place = static_cast<std::size_t>(at - effects.begin());
    away = std::move(*at);
    effects.erase(at);
    NumberEffects();
    return {};
}

HostResult Host::PutBack(std::unique_ptr<EffectInstance> effect, std::size_t place) {
    EffectInstance& instance = *effect;
    auto& effects = comp_->effects;
    effects.insert(effects.begin() + static_cast<std::ptrdiff_t>(std::min(place, effects.size())),
                   std::move(effect));
    NumberEffects();
    return SetUpAgain(instance);
}

// The renders' own project: the same layers and values, sequence data from the flat form, no user interface.
HostResult Host::MakeRenderCopy() {
    if (renderComp_)
        for (const auto& effect : renderComp_->effects) EndInstance(*effect);
    renderComp_ = std::make_unique<HostComp>();
    HostComp& copy = *renderComp_;
    copy.settings = comp_->settings;
    copy.renderCopy = true;
    for (const auto& layer : comp_->layers) {
        HostLayer& twin = copy.AddLayer(layer->role, layer->name);
        const HostItem item = twin.item;
        twin = *layer;
        twin.self = &twin, twin.comp = &copy, twin.item = item;
        twin.item.id = layer->id;
        if (layer.get() == comp_->effectLayer) copy.effectLayer = &twin;
    }
    copy.nextLayerId = comp_->nextLayerId;
    for (const auto& effect : comp_->effects) {
        if (HostResult result = Flatten(*effect); !result.good()) return result;
        EffectInstance& twin = *copy.effects.emplace_back(std::make_unique<EffectInstance>());
        twin.comp = &copy;
        twin.number = effect->number;
        twin.enabled = effect->enabled;
        twin.sequence = HandleWith(handles, BytesOf(handles, effect->sequence));
        twin.flat = true;
        twin.rows = effect->rows;
        for (HostStream& stream : twin.rows)
            if (stream.arbitrary) stream.arbitrary = CopyArbitrary(stream.arbitrary, nullptr);
        if (HostResult result = SetUpAgain(*effect); !result.good()) return result;
        if (HostResult result = SetUpAgain(twin, PF_InFlag_PROJECT_IS_RENDER_ONLY); !result.good())
            return result;
    }
    renderCopyStale_ = false;
    return {};
}

} // namespace velorin::app
