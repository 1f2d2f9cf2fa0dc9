#pragma once

#include "host/api/Effect.h"

// Rendering in two steps: the pre-render declares inputs and the result's rectangle, the render takes them
// out.

using PF_ChannelMask = A_long;
enum : PF_ChannelMask {
    PF_ChannelMask_ALPHA = 1,
    PF_ChannelMask_RED = 2,
    PF_ChannelMask_GREEN = 4,
    PF_ChannelMask_BLUE = 8,
    PF_ChannelMask_ARGB = 15,
};
enum : short { PF_RenderOutputFlag_RETURNS_EXTRA_PIXELS = 1, PF_RenderOutputFlag_GPU_RENDER_POSSIBLE = 2 };

struct PF_RenderRequest { // rect in downsampled layer coordinates
    PF_LRect rect;
    PF_Field field;
    PF_ChannelMask channel_mask;
    PF_Boolean preserve_rgb_of_zero_alpha;
    char unused[3];
    A_long reserved[4];
};

struct PF_CheckoutResult {
    PF_LRect result_rect;
    PF_LRect max_result_rect;
    PF_RationalScale par;
    PF_Boolean solid;
    PF_Boolean reservedB[3];
    A_long ref_width, ref_height; // the layer before effects, full resolution
    A_long reserved[6];
};

struct PF_PreRenderInput {
    PF_RenderRequest output_request;
    short bitdepth; // 8, 16 or 32
    const void* gpu_data;
    A_long what_gpu;
    A_u_long device_index;
};
using PF_DeletePreRenderDataFunc = void (*)(void* pre_render_data);
struct PF_PreRenderOutput {
    PF_LRect result_rect;
    PF_LRect max_result_rect;
    PF_Boolean solid;
    PF_Boolean reserved;
    short flags;
    void* pre_render_data;
    PF_DeletePreRenderDataFunc delete_pre_render_data_func;
};
struct PF_PreRenderCallbacks {
    PF_Err (*checkout_layer)(PF_ProgPtr effect_ref, PF_ParamIndex index, A_long checkout_id,
                             const PF_RenderRequest* wanted, A_long what_time, A_long time_step,
                             A_u_long time_scale, PF_CheckoutResult* result);
    PF_Err (*GuidMixInPtr)(PF_ProgPtr effect_ref, A_u_long size, const void* bytes);
};
struct PF_PreRenderExtra {
    PF_PreRenderInput* input;
    PF_PreRenderOutput* output;
    PF_PreRenderCallbacks* cb;
};

struct PF_SmartRenderInput {
    PF_RenderRequest output_request;
    short bitdepth;
    void* pre_render_data;
    const void* gpu_data;
    A_long what_gpu;
    A_u_long device_index;
};
struct PF_SmartRenderCallbacks {
    PF_Err (*checkout_layer_pixels)(PF_ProgPtr effect_ref, A_long checkout_id, PF_EffectWorld** pixels);
    PF_Err (*checkin_layer_pixels)(PF_ProgPtr effect_ref, A_long checkout_id);
    PF_Err (*checkout_output)(PF_ProgPtr effect_ref, PF_EffectWorld** output);
};
struct PF_SmartRenderExtra {
    PF_SmartRenderInput* input;
    PF_SmartRenderCallbacks* cb;
};

static_assert(sizeof(PF_RenderRequest) == 44 && offsetof(PF_RenderRequest, field) == 16 &&
              offsetof(PF_RenderRequest, channel_mask) == 20 &&
              offsetof(PF_RenderRequest, preserve_rgb_of_zero_alpha) == 24 &&
              offsetof(PF_RenderRequest, reserved) == 28);
static_assert(sizeof(PF_PreRenderInput) == 64 && sizeof(PF_PreRenderOutput) == 56 &&
              sizeof(PF_PreRenderCallbacks) == 16 && sizeof(PF_PreRenderExtra) == 24);
static_assert(offsetof(PF_PreRenderOutput, solid) == 32 && offsetof(PF_PreRenderOutput, flags) == 34 &&
              offsetof(PF_PreRenderOutput, pre_render_data) == 40);
static_assert(sizeof(PF_CheckoutResult) == 76 && offsetof(PF_CheckoutResult, par) == 32 &&
              offsetof(PF_CheckoutResult, solid) == 40 && offsetof(PF_CheckoutResult, ref_width) == 44 &&
              offsetof(PF_CheckoutResult, ref_height) == 48);
static_assert(sizeof(PF_SmartRenderInput) == 72 && sizeof(PF_SmartRenderCallbacks) == 24 &&
              sizeof(PF_SmartRenderExtra) == 16 && offsetof(PF_SmartRenderInput, bitdepth) == 44 &&
              offsetof(PF_SmartRenderInput, pre_render_data) == 48);
