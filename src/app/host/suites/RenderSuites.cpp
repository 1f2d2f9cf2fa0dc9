#include "app/host/suites/Suites.h"

#include <algorithm>

namespace velorin::app {

namespace {

constexpr int kDepths[] = {8, 16, 32};

AEGP_WorldType WorldTypeOf(int depth) {
    return depth == 8 ? AEGP_WorldType_8 : depth == 16 ? AEGP_WorldType_16 : AEGP_WorldType_32;
}

struct RenderOptions {
    HostItem* item = nullptr;
    A_Time time{0, 1}, step{1, 1};
    PF_Field field = PF_Field_FRAME;
    AEGP_WorldType type = AEGP_WorldType_32;
    A_short factorX = 1, factorY = 1;
    A_LRect region{};
    AEGP_MatteMode matte = AEGP_MatteMode_STRAIGHT;
    AEGP_ChannelOrder order = AEGP_ChannelOrder_ARGB;
    A_Boolean guides = 0;
};
struct OptionsObject : HostObject {
    static constexpr ObjectKind kKind = ObjectKind::RenderOptions;
    OptionsObject() : HostObject(kKind) {}
    RenderOptions options;
};
// A world of the plug-in's own.
struct WorldObject : HostObject {
    static constexpr ObjectKind kKind = ObjectKind::World;
    explicit WorldObject(WorldBuffer buffer_) : HostObject(kKind), buffer(std::move(buffer_)) {}
    WorldBuffer buffer;
};
// A rendered picture; its world goes with it.
struct ReceiptObject : HostObject {
    static constexpr ObjectKind kKind = ObjectKind::FrameReceipt;
    ReceiptObject() : HostObject(kKind) {}
    void* worldSelf = this; // the world's handle is the address of this member
    std::shared_ptr<const WorldBuffer> pixels;
};

OptionsObject* OptionsOf(AEGP_RenderOptionsH handle) {
    Host& host = *Host::current();
    auto* options = host.objects.Find<OptionsObject>(handle);
    if (!options) host.Fault("render options are none or were given back");
    return options;
}

A_Err NewFromItem(AEGP_PluginID, AEGP_ItemH handle, AEGP_RenderOptionsH* out) {
    Host& host = *Host::current();
    *out = nullptr;
    HostItem* item = ItemOf(handle);
    if (!item) return A_Err_PARAMETER;
    *out = host.objects.Make<OptionsObject, AEGP_RenderOptionsH>(host.run().number);
    RenderOptions& options = host.objects.Find<OptionsObject>(*out)->options;
    const FrameRate rate = item->comp->settings.frameRate;
    options.item = item;
    options.step = {rate.step, static_cast<A_u_long>(rate.scale)};
    return A_Err_NONE;
}
A_Err DisposeOptions(AEGP_RenderOptionsH handle) {
    Host& host = *Host::current();
    if (host.objects.Dispose<OptionsObject>(handle)) return A_Err_NONE;
    host.Fault("render options were given back twice or are none");
    return A_Err_PARAMETER;
}

// One setter and getter a member.
template <auto Member, class T>
A_Err Set(AEGP_RenderOptionsH handle, T value) {
    OptionsObject* object = OptionsOf(handle);
    if (!object) return A_Err_PARAMETER;
    object->options.*Member = value;
    return A_Err_NONE;
}
template <auto Member, class T>
A_Err Get(AEGP_RenderOptionsH handle, T* value) {
    const OptionsObject* object = OptionsOf(handle);
    if (!object) return A_Err_PARAMETER;
    *value = object->options.*Member;
    return A_Err_NONE;
}
A_Err SetDownsampleFactor(AEGP_RenderOptionsH handle, A_short x, A_short y) {
    OptionsObject* object = OptionsOf(handle);
    if (!object || x < 1 || y < 1) return A_Err_PARAMETER;
    object->options.factorX = x, object->options.factorY = y;
    return A_Err_NONE;
}
A_Err GetDownsampleFactor(AEGP_RenderOptionsH handle, A_short* x, A_short* y) {
    const OptionsObject* object = OptionsOf(handle);
    if (!object) return A_Err_PARAMETER;
    *x = object->options.factorX, *y = object->options.factorY;
    return A_Err_NONE;
}
A_Err SetRegion(AEGP_RenderOptionsH handle, const A_LRect* region) {
    OptionsObject* object = OptionsOf(handle);
    if (!object || !region) return A_Err_PARAMETER;
    object->options.region = *region;
    return A_Err_NONE;
}

A_Err RenderAndCheckoutFrame(AEGP_RenderOptionsH handle, AEGP_RenderSuiteCheckForCancel cancel,
                             AEGP_CancelRefcon refcon, AEGP_FrameReceiptH* out) {
    Host& host = *Host::current();
    *out = nullptr;
    const OptionsObject* object = OptionsOf(handle);
    if (!object || object->options.type < AEGP_WorldType_8 || object->options.type > AEGP_WorldType_32)
        return A_Err_PARAMETER;
    A_Boolean cancelled = 0;
    if (cancel && (cancel(refcon, &cancelled) != A_Err_NONE || cancelled)) return PF_Interrupt_CANCEL;
    const RenderOptions& options = object->options;
    // A picture of the whole composition would need the effect that asks for it.
    if (!options.item->layer) return A_Err_PARAMETER;
    const int depth = kDepths[options.type - AEGP_WorldType_8];
    auto pixels = host.pixels.At(*options.item->layer, SecondsOf(options.time), depth, options.factorX,
                                 options.factorY);
    if (!pixels) pixels = std::make_shared<const WorldBuffer>(Rect{}, depth, 0);
    *out = host.objects.Make<ReceiptObject, AEGP_FrameReceiptH>(host.run().number);
    host.objects.Find<ReceiptObject>(*out)->pixels = std::move(pixels);
    return A_Err_NONE;
}
A_Err CheckinFrame(AEGP_FrameReceiptH handle) {
    Host& host = *Host::current();
    if (host.objects.Dispose<ReceiptObject>(handle)) return A_Err_NONE;
    host.Fault("a frame was checked in twice or is none");
    return A_Err_PARAMETER;
}
A_Err GetReceiptWorld(AEGP_FrameReceiptH handle, AEGP_WorldH* world) {
    auto* receipt = Host::current()->objects.Find<ReceiptObject>(handle);
    *world = receipt ? reinterpret_cast<AEGP_WorldH>(&receipt->worldSelf) : nullptr;
    return receipt ? A_Err_NONE : A_Err_PARAMETER;
}
A_Err GetRenderedRegion(AEGP_FrameReceiptH handle, A_LRect* region) {
    const auto* receipt = Host::current()->objects.Find<ReceiptObject>(handle);
    if (!receipt) return A_Err_PARAMETER;
    const Rect area = receipt->pixels->area();
    *region = {0, 0, area.width(), area.height()};
    return A_Err_NONE;
}

// Of either kind of world.
const WorldBuffer* BufferOf(AEGP_WorldH handle) {
    Host& host = *Host::current();
    if (const auto* world = host.objects.Find<WorldObject>(handle)) return &world->buffer;
    // A receipt's member stands at a fixed place behind the receipt's own handle.
    auto* const member = reinterpret_cast<std::byte*>(handle);
    static const std::ptrdiff_t distance = [] {
        const ReceiptObject probe;
        return reinterpret_cast<const std::byte*>(&probe.worldSelf) -
               reinterpret_cast<const std::byte*>(&probe.self);
    }();
    const auto* receipt =
        host.objects.Find<ReceiptObject>(reinterpret_cast<AEGP_FrameReceiptH>(member - distance));
    if (receipt) return receipt->pixels.get();
    host.Fault("a world is none or was given back");
    return nullptr;
}

A_Err NewWorld(AEGP_PluginID, AEGP_WorldType type, A_long width, A_long height, AEGP_WorldH* out) {
    Host& host = *Host::current();
    *out = nullptr;
    if (type < AEGP_WorldType_8 || type > AEGP_WorldType_32 || width < 1 || height < 1)
        return A_Err_PARAMETER;
    *out = host.objects.Make<WorldObject, AEGP_WorldH>(
        host.run().number, WorldBuffer(Rect{0, 0, width, height}, kDepths[type - AEGP_WorldType_8], 7));
    return A_Err_NONE;
}
A_Err DisposeWorld(AEGP_WorldH handle) {
    Host& host = *Host::current();
    if (const auto* world = host.objects.Find<WorldObject>(handle); world && !world->buffer.guardsIntact())
        host.Fault("memory around a world's rows was written");
    if (host.objects.Dispose<WorldObject>(handle)) return A_Err_NONE;
    host.Fault("a world was disposed of that is none of the plug-in's");
    return A_Err_PARAMETER;
}
A_Err GetType(AEGP_WorldH handle, AEGP_WorldType* type) {
    const WorldBuffer* buffer = BufferOf(handle);
    if (!buffer) return A_Err_PARAMETER;
    *type = WorldTypeOf(buffer->depth());
    return A_Err_NONE;
}
A_Err GetSize(AEGP_WorldH handle, A_long* width, A_long* height) {
    const WorldBuffer* buffer = BufferOf(handle);
    if (!buffer) return A_Err_PARAMETER;
    *width = buffer->area().width(), *height = buffer->area().height();
    return A_Err_NONE;
}
A_Err GetRowBytes(AEGP_WorldH handle, A_u_long* rowBytes) {
    const WorldBuffer* buffer = BufferOf(handle);
    if (!buffer) return A_Err_PARAMETER;
    *rowBytes = static_cast<A_u_long>(buffer->rowBytes());
    return A_Err_NONE;
}
template <class Pixel, int Depth>
A_Err GetBaseAddress(AEGP_WorldH handle, Pixel** base) {
    const WorldBuffer* buffer = BufferOf(handle);
    *base = nullptr;
    if (!buffer || buffer->depth() != Depth) return A_Err_PARAMETER;
    *base = reinterpret_cast<Pixel*>(buffer->World(true).data);
    return A_Err_NONE;
}
A_Err FillOutEffectWorld(AEGP_WorldH handle, PF_EffectWorld* view) {
    const WorldBuffer* buffer = BufferOf(handle);
    if (!buffer) return A_Err_PARAMETER;
    *view = buffer->World(true);
    return A_Err_NONE;
}

} // namespace

std::span<const SuiteEntry> RenderSuites() {
    using O = RenderOptions;
    static const AEGP_RenderOptionsSuite3 options{NewFromItem,
                                                  nullptr,
                                                  DisposeOptions,
                                                  Set<&O::time, A_Time>,
                                                  Get<&O::time, A_Time>,
                                                  Set<&O::step, A_Time>,
                                                  Get<&O::step, A_Time>,
                                                  Set<&O::field, PF_Field>,
                                                  Get<&O::field, PF_Field>,
                                                  Set<&O::type, AEGP_WorldType>,
                                                  Get<&O::type, AEGP_WorldType>,
                                                  SetDownsampleFactor,
                                                  GetDownsampleFactor,
                                                  SetRegion,
                                                  Get<&O::region, A_LRect>,
                                                  Set<&O::matte, AEGP_MatteMode>,
                                                  Get<&O::matte, AEGP_MatteMode>,
                                                  Set<&O::order, AEGP_ChannelOrder>,
                                                  Get<&O::order, AEGP_ChannelOrder>,
                                                  Get<&O::guides, A_Boolean>,
                                                  Set<&O::guides, A_Boolean>};
    static const AEGP_RenderSuite4 render{RenderAndCheckoutFrame, nullptr,           CheckinFrame,
                                          GetReceiptWorld,        GetRenderedRegion, {}};
    static const AEGP_WorldSuite3 world{NewWorld,
                                        DisposeWorld,
                                        GetType,
                                        GetSize,
                                        GetRowBytes,
                                        GetBaseAddress<PF_Pixel8, 8>,
                                        GetBaseAddress<PF_Pixel16, 16>,
                                        GetBaseAddress<PF_PixelFloat, 32>,
                                        FillOutEffectWorld,
                                        {}};
    static const SuiteEntry entries[] = {
        {kAEGPRenderOptionsSuite, kAEGPRenderOptionsSuiteVersion3, &options},
        {kAEGPRenderSuite, kAEGPRenderSuiteVersion4, &render},
        {kAEGPWorldSuite, kAEGPWorldSuiteVersion3, &world},
    };
    return entries;
}

} // namespace velorin::app
