#include "app/host/suites/Suites.h"

#include <cstring>

namespace velorin::app {

const void* FindSuite(const char* name, std::int32_t version) {
    for (const auto entries :
         {EffectSuites(), ProjectSuites(), LayerSuites(), StreamSuites(), RenderSuites(), DrawingSuites()})
        for (const SuiteEntry& entry : entries)
            if (entry.version == version && std::strcmp(entry.name, name) == 0) return entry.suite;
    return nullptr;
}

HostLayer* LayerOf(AEGP_LayerH handle) {
    Host& host = *Host::current();
    for (const HostComp* comp : host.comps())
        for (const auto& layer : comp->layers)
            if (HandleOf(layer.get()) == handle) return layer.get();
    host.Fault("a layer handle is none");
    return nullptr;
}

HostComp* CompOf(AEGP_CompH handle) {
    Host& host = *Host::current();
    for (HostComp* comp : host.comps())
        if (HandleOf(comp) == handle) return comp;
    host.Fault("a comp handle is none");
    return nullptr;
}

HostItem* ItemOf(AEGP_ItemH handle) {
    Host& host = *Host::current();
    for (HostComp* comp : host.comps()) {
        if (HandleOf(&comp->item) == handle) return &comp->item;
        for (const auto& layer : comp->layers)
            if (HandleOf(&layer->item) == handle) return &layer->item;
    }
    host.Fault("an item handle is none");
    return nullptr;
}

EffectInstance* EffectOf(AEGP_EffectRefH handle) {
    Host& host = *Host::current();
    if (const auto* object = host.objects.Find<EffectObject>(handle)) return object->instance;
    host.Fault("an effect reference is none or was given back");
    return nullptr;
}

AEGP_MemHandle NewMemory(const void* bytes, std::size_t size) {
    Host& host = *Host::current();
    const auto handle = host.objects.Make<MemoryObject, AEGP_MemHandle>(host.run().number, size);
    if (bytes) std::memcpy(host.objects.Find<MemoryObject>(handle)->bytes.data(), bytes, size);
    return handle;
}

} // namespace velorin::app
