#include "app/host/SmartFrame.h"

#include <algorithm>
#include <cstdlib>

namespace velorin::app {

namespace {

constexpr int kOutputPadding = 5;

Rect LayerRect(const Composition& settings) {
    return {0, 0, (settings.width + settings.downsampleX - 1) / settings.downsampleX,
            (settings.height + settings.downsampleY - 1) / settings.downsampleY};
}

// The frame that the running render command is about.
SmartFrame* FrameOf(Host& host, PF_ProgPtr reference, PF_Cmd command) {
    EffectInstance* instance = host.InstanceOf(reference);
    SmartFrame* frame = host.run().frame;
    if (!instance || !frame || frame->instance != instance || host.run().command != command) {
        host.Fault("a render callback was called outside " + CommandName(command) + " of its instance");
        return nullptr;
    }
    return frame;
}

const HostLayer* LayerOfRow(const EffectInstance& instance, int row, double seconds) {
    if (row == 0) return instance.layer();
    return instance.comp->LayerById(
        static_cast<int>(instance.rows[static_cast<std::size_t>(row)].value.NumberAt(seconds, false)));
}

double TimeInLayer(const EffectInstance& instance, const HostLayer& layer, double seconds) {
    return seconds + instance.layer()->startTime - layer.startTime;
}

void AnswerForLayer(Host& host, const EffectInstance& instance, const HostLayer& layer, double seconds,
                    Rect wanted, PF_CheckoutResult& result) {
    const Composition& settings = instance.comp->settings;
    const double layerSeconds = TimeInLayer(instance, layer, seconds);
    const Rect bounds = host.pixels.Bounds(layer, layerSeconds, settings.downsampleX, settings.downsampleY);
    result.max_result_rect = ToHost(bounds);
    result.result_rect = ToHost(Intersect(bounds, wanted));
    int width = 0, height = 0;
    host.pixels.ReferenceSize(layer, layerSeconds, width, height);
    result.ref_width = width, result.ref_height = height;
}

PF_Err CheckoutLayer(PF_ProgPtr reference, PF_ParamIndex index, A_long id, const PF_RenderRequest* wanted,
                     A_long time, A_long, A_u_long scale, PF_CheckoutResult* result) {
    Host& host = *Host::current();
    SmartFrame* frame = FrameOf(host, reference, PF_Cmd_SMART_PRE_RENDER);
    if (!frame || !wanted || !result) return PF_Err_BAD_CALLBACK_PARAM;
    *result = {};
    result->par = {1, 1};
    const ParameterRow* row = host.rows().At(index);
    if (index != 0 && (!row || row->type() != PF_Param_LAYER)) {
        host.Fault("a layer was declared by the index " + std::to_string(index) + ", which is no layer row");
        return PF_Err_INVALID_INDEX;
    }
    if (id < 0 || frame->inputs.contains(id)) {
        host.Fault("the checkout id " + std::to_string(id) + " was declared twice or is negative");
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    EffectInstance& instance = *frame->instance;
    DeclaredInput& input = frame->inputs[id];
    input.row = index;
    input.seconds = host.Seconds(time, scale);
    EffectInstance* upstream = index == 0 ? instance.upstream() : nullptr;
    if (upstream) {
        const A_Time at = host.TimeFromSeconds(input.seconds);
        const HostResult done =
            host.PreRender(*upstream, FromHost(wanted->rect), at.value, frame->depth, input.upstream);
        if (!done.good()) {
            frame->inputs.erase(id);
            return done.code;
        }
        result->result_rect = input.upstream->answer.result_rect;
        result->max_result_rect = input.upstream->answer.max_result_rect;
        result->ref_width = instance.comp->settings.width;
        result->ref_height = instance.comp->settings.height;
    } else if (const HostLayer* layer = LayerOfRow(instance, index, input.seconds)) {
        AnswerForLayer(host, instance, *layer, input.seconds, FromHost(wanted->rect), *result);
    }
    input.area = FromHost(result->result_rect);
    return PF_Err_NONE;
}

PF_Err GuidMixIn(PF_ProgPtr reference, A_u_long, const void*) {
    Host& host = *Host::current();
    return FrameOf(host, reference, PF_Cmd_SMART_PRE_RENDER) ? PF_Err_NONE : PF_Err_BAD_CALLBACK_PARAM;
}

PF_Err CheckoutLayerPixels(PF_ProgPtr reference, A_long id, PF_EffectWorld** pixels) {
    Host& host = *Host::current();
    SmartFrame* frame = FrameOf(host, reference, PF_Cmd_SMART_RENDER);
    if (!frame || !pixels) return PF_Err_BAD_CALLBACK_PARAM;
    *pixels = nullptr;
    frame->inputAsked = true;
    const auto found = frame->inputs.find(id);
    if (found == frame->inputs.end() || found->second.taken) {
        host.Fault("the pixels of checkout id " + std::to_string(id) +
                   (found == frame->inputs.end() ? " were never declared" : " were taken out twice"));
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    DeclaredInput& input = found->second;
    input.taken = true;
    const EffectInstance& instance = *frame->instance;
    if (input.upstream) {
        const HostResult done = host.Render(*input.upstream);
        if (!done.good()) return done.code;
        input.pixels = input.upstream->output;
    } else if (const HostLayer* layer = LayerOfRow(instance, input.row, input.seconds);
               layer && !input.area.empty()) {
        const Composition& settings = instance.comp->settings;
        input.pixels = host.pixels.At(*layer, TimeInLayer(instance, *layer, input.seconds), frame->depth,
                                      settings.downsampleX, settings.downsampleY);
    }
    if (input.pixels) input.world = input.pixels->World(input.area, false);
    if (input.pixels && host.options.strict) input.checksum = input.pixels->Checksum();
    *pixels = &input.world;
    return PF_Err_NONE;
}

PF_Err CheckinLayerPixels(PF_ProgPtr reference, A_long id) {
    Host& host = *Host::current();
    SmartFrame* frame = FrameOf(host, reference, PF_Cmd_SMART_RENDER);
    const auto found = frame ? frame->inputs.find(id) : decltype(frame->inputs.end()){};
    if (!frame || found == frame->inputs.end() || !found->second.taken) {
        host.Fault("the pixels of checkout id " + std::to_string(id) + " were checked in without being out");
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    found->second.world = {};
    return PF_Err_NONE;
}

PF_Err CheckoutOutput(PF_ProgPtr reference, PF_EffectWorld** output) {
    Host& host = *Host::current();
    SmartFrame* frame = FrameOf(host, reference, PF_Cmd_SMART_RENDER);
    if (!frame || !output) return PF_Err_BAD_CALLBACK_PARAM;
    *output = nullptr;
    if (!frame->inputAsked && !frame->inputs.empty()) {
        host.Fault("the output was taken out before any input");
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    *output = &frame->outputWorld;
    return PF_Err_NONE;
}

} // namespace

SmartFrame::~SmartFrame() {
    if (!answer.pre_render_data) return;
    if (answer.delete_pre_render_data_func)
        answer.delete_pre_render_data_func(answer.pre_render_data);
    else
        std::free(answer.pre_render_data);
}

HostResult Host::PreRender(EffectInstance& instance, Rect request, A_long time, int depth,
                           std::unique_ptr<SmartFrame>& frame) {
    frame = std::make_unique<SmartFrame>();
    frame->instance = &instance;
    frame->request = request;
    frame->time = time;
    frame->depth = depth;
    PF_PreRenderInput input{};
    input.output_request.rect = ToHost(request);
    input.output_request.field = PF_Field_FRAME;
    input.output_request.channel_mask = PF_ChannelMask_ARGB;
    input.bitdepth = static_cast<short>(depth);
    PF_PreRenderCallbacks callbacks{CheckoutLayer, GuidMixIn};
    PF_PreRenderExtra extra{&input, &frame->answer, &callbacks};
    pendingFrame_ = frame.get();
    HostResult result = Call(PF_Cmd_SMART_PRE_RENDER, &instance, time, &extra);
    if (!result.good()) {
        frame.reset();
        return result;
    }
    if (!(frame->answer.flags & PF_RenderOutputFlag_RETURNS_EXTRA_PIXELS) &&
        !Contains(request, FromHost(frame->answer.result_rect))) {
        reports.Fault("SMART_PRE_RENDER of effect " + std::to_string(instance.number) +
                      ": the result is larger than the request");
        frame->answer.result_rect = ToHost(Intersect(request, FromHost(frame->answer.result_rect)));
    }
    return result;
}

HostResult Host::Render(SmartFrame& frame) {
    EffectInstance& instance = *frame.instance;
    const Rect area = FromHost(frame.answer.result_rect);
    frame.output = std::make_shared<WorldBuffer>(area, frame.depth, kOutputPadding);
    frame.outputWorld = frame.output->World(true);
    PF_SmartRenderInput input{};
    input.output_request.rect = ToHost(frame.request);
    input.output_request.field = PF_Field_FRAME;
    input.output_request.channel_mask = PF_ChannelMask_ARGB;
    input.bitdepth = static_cast<short>(frame.depth);
    input.pre_render_data = frame.answer.pre_render_data;
    PF_SmartRenderCallbacks callbacks{CheckoutLayerPixels, CheckinLayerPixels, CheckoutOutput};
    PF_SmartRenderExtra extra{&input, &callbacks};
    pendingFrame_ = &frame;
    HostResult result = Call(PF_Cmd_SMART_RENDER, &instance, frame.time, &extra);
    const std::string who = "SMART_RENDER of effect " + std::to_string(instance.number) + ": ";
    if (!frame.output->guardsIntact()) reports.Fault(who + "memory around the output's rows was written");
    for (const auto& [id, taken] : frame.inputs) {
        if (!taken.pixels) continue;
        if (!taken.pixels->guardsIntact() || (options.strict && taken.pixels->Checksum() != taken.checksum))
            reports.Fault(who + "the input of checkout id " + std::to_string(id) + " was written");
    }
    // A message without a code: the plug-in could not draw, and the picture is not what was asked for.
    if (result.good() && !lastMessage_.empty()) result = {A_Err_GENERIC, lastMessage_};
    frame.inputs.clear();
    return result;
}

HostResult Host::RenderFrame(int number, int depth, Picture& picture) {
    if (options.twoCopies && (!renderComp_ || renderCopyStale_))
        if (HostResult made = MakeRenderCopy(); !made.good()) return made;
    HostComp& comp = options.twoCopies ? *renderComp_ : *comp_;
    const FrameRate rate = comp.settings.frameRate;
    comp.currentTime = number * rate.step;
    const Rect area = LayerRect(comp.settings);
    picture = Picture(area.width(), area.height(), depth);
    const auto last =
        std::find_if(comp.effects.rbegin(), comp.effects.rend(), [](const auto& e) { return e->enabled; });
    if (last == comp.effects.rend()) return {};
    EffectInstance& instance = **last;
    for (const auto& effect : comp.effects)
        if (effect->enabled)
            if (HostResult result = QueryDynamicFlags(*effect); !result.good()) return result;
    std::unique_ptr<SmartFrame> frame;
    if (options.strict) {
        // A host asks for the largest extent before it asks for pixels, and may think better of it.
        if (HostResult result = PreRender(instance, {}, comp.currentTime, depth, frame); !result.good())
            return result;
        frame.reset();
    }
    HostResult result = PreRender(instance, area, comp.currentTime, depth, frame);
    if (!result.good()) return result;
    result = Render(*frame);
    if (result.good()) picture = PictureFromWorld(*frame->output, area);
    return result;
}

} // namespace velorin::app
