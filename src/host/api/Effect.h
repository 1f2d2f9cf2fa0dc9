#pragma once

#include "host/api/SuiteBasics.h"
#include "host/api/Types.h"

// Commands, the two call records, flags, parameters, images and the host's callbacks.

// ---- commands

using PF_Cmd = A_long;
enum : PF_Cmd {
    PF_Cmd_ABOUT = 0,
    PF_Cmd_GLOBAL_SETUP = 1,
    PF_Cmd_GLOBAL_SETDOWN = 3,
    PF_Cmd_PARAMS_SETUP = 4,
    PF_Cmd_SEQUENCE_SETUP = 5,
    PF_Cmd_SEQUENCE_RESETUP = 6,
    PF_Cmd_SEQUENCE_FLATTEN = 7,
    PF_Cmd_SEQUENCE_SETDOWN = 8,
    PF_Cmd_DO_DIALOG = 9,
    PF_Cmd_FRAME_SETUP = 10,
    PF_Cmd_RENDER = 11,
    PF_Cmd_FRAME_SETDOWN = 12,
    PF_Cmd_USER_CHANGED_PARAM = 13,
    PF_Cmd_UPDATE_PARAMS_UI = 14,
    PF_Cmd_EVENT = 15,
    PF_Cmd_GET_EXTERNAL_DEPENDENCIES = 16,
    PF_Cmd_COMPLETELY_GENERAL = 17,
    PF_Cmd_QUERY_DYNAMIC_FLAGS = 18,
    PF_Cmd_AUDIO_RENDER = 19,
    PF_Cmd_AUDIO_SETUP = 20,
    PF_Cmd_AUDIO_SETDOWN = 21,
    PF_Cmd_ARBITRARY_CALLBACK = 22,
    PF_Cmd_SMART_PRE_RENDER = 23,
    PF_Cmd_SMART_RENDER = 24,
    PF_Cmd_GET_FLATTENED_SEQUENCE_DATA = 28,
    PF_Cmd_TRANSLATE_PARAMS_TO_PREFS = 29,
};

struct PF_UserChangedParamExtra {
    PF_ParamIndex param_index;
};

// ---- flags

using PF_OutFlags = A_long;
enum : PF_OutFlags {
    PF_OutFlag_KEEP_RESOURCE_OPEN = 0x1,
    PF_OutFlag_WIDE_TIME_INPUT = 0x2,
    PF_OutFlag_NON_PARAM_VARY = 0x4,
    PF_OutFlag_SEQUENCE_DATA_NEEDS_FLATTENING = 0x10,
    PF_OutFlag_I_DO_DIALOG = 0x20,
    PF_OutFlag_USE_OUTPUT_EXTENT = 0x40,
    PF_OutFlag_DISPLAY_ERROR_MESSAGE = 0x100,
    PF_OutFlag_I_EXPAND_BUFFER = 0x200,
    PF_OutFlag_PIX_INDEPENDENT = 0x400,
    PF_OutFlag_CUSTOM_UI = 0x8000,
    PF_OutFlag_REFRESH_UI = 0x20000,
    PF_OutFlag_I_USE_SHUTTER_ANGLE = 0x80000,
    PF_OutFlag_I_USE_AUDIO = 0x100000,
    PF_OutFlag_FORCE_RERENDER = 0x400000,
    PF_OutFlag_I_HAVE_EXTERNAL_DEPENDENCIES = 0x1000000,
    PF_OutFlag_DEEP_COLOR_AWARE = 0x2000000,
    PF_OutFlag_SEND_UPDATE_PARAMS_UI = 0x4000000,
};
using PF_OutFlags2 = A_long;
enum : PF_OutFlags2 {
    PF_OutFlag2_SUPPORTS_QUERY_DYNAMIC_FLAGS = 0x1,
    PF_OutFlag2_I_USE_3D_CAMERA = 0x2,
    PF_OutFlag2_I_USE_3D_LIGHTS = 0x4,
    PF_OutFlag2_PARAM_GROUP_START_COLLAPSED_FLAG = 0x8,
    PF_OutFlag2_I_AM_THREADSAFE = 0x10,
    PF_OutFlag2_DOESNT_NEED_EMPTY_PIXELS = 0x40,
    PF_OutFlag2_REVEALS_ZERO_ALPHA = 0x80,
    PF_OutFlag2_SUPPORTS_SMART_RENDER = 0x400,
    PF_OutFlag2_FLOAT_COLOR_AWARE = 0x1000,
    PF_OutFlag2_AUTOMATIC_WIDE_TIME_INPUT = 0x20000,
    PF_OutFlag2_DEPENDS_ON_UNREFERENCED_MASKS = 0x80000,
    PF_OutFlag2_I_MIX_GUID_DEPENDENCIES = 0x200000,
    PF_OutFlag2_AE13_5_THREADSAFE = 0x400000,
    PF_OutFlag2_SUPPORTS_GET_FLATTENED_SEQUENCE_DATA = 0x800000,
    PF_OutFlag2_SUPPORTS_GPU_RENDER_F32 = 0x2000000,
    PF_OutFlag2_SUPPORTS_THREADED_RENDERING = 0x8000000,
};
using PF_InFlags = A_long;
enum : PF_InFlags { PF_InFlag_NONE = 0, PF_InFlag_PROJECT_IS_RENDER_ONLY = 1 };

using PF_Quality = A_long;
enum : PF_Quality { PF_Quality_LO = 0, PF_Quality_HI = 1 };
using PF_Field = A_long;
enum : PF_Field { PF_Field_FRAME = 0, PF_Field_UPPER = 1, PF_Field_LOWER = 2 };

using PF_Stage = A_long;
enum : PF_Stage { PF_Stage_DEVELOP = 0, PF_Stage_ALPHA = 1, PF_Stage_BETA = 2, PF_Stage_RELEASE = 3 };

// The packed version: low 3 bits of the version at 19 (the next four at 26), sub-version at 15, bug-fix at
// 11, stage at 9, build in the low 9 bits.
#ifndef PF_VERSION
constexpr A_u_long PF_VERSION(A_u_long version, A_u_long sub, A_u_long bug, A_u_long stage, A_u_long build) {
    return ((version & 7) << 19) | (((version >> 3) & 15) << 26) | ((sub & 15) << 15) | ((bug & 15) << 11) |
           ((stage & 3) << 9) | (build & 511);
}
#endif

// ---- images

// Pixel memory is opaque: its layout follows from the depth (argb of bytes, of 0..32768, or of floats).
struct PF_PixelOpaque;
using PF_PixelPtr = PF_PixelOpaque*;

enum : A_long { PF_WorldFlag_DEEP = 1, PF_WorldFlag_WRITEABLE = 2 };
using PF_WorldFlags = A_long;
enum : A_long { PF_LayerDefault_MYSELF = -1, PF_LayerDefault_NONE = 0 };

struct PF_LayerDef {
    void* reserved0;
    void* reserved1;
    PF_WorldFlags world_flags;
    PF_PixelPtr data; // first row; null for a layer row without a layer
    A_long rowbytes;  // from row to row; padding differs from world to world
    A_long width, height;
    PF_UnionableRect extent_hint;
    void* platform_ref;
    A_long reserved_long1;
    void* reserved_long4;
    PF_RationalScale pix_aspect_ratio;
    void* reserved_long2;
    A_long origin_x, origin_y; // where layer pixel (0, 0) lies in the buffer
    A_long reserved_long3;
    A_long dephault;
};
using PF_EffectWorld = PF_LayerDef;
using PF_World = PF_LayerDef;

using PF_PixelFormat = A_long;
enum : PF_PixelFormat {
    PF_PixelFormat_ARGB32 = 0x62677261,
    PF_PixelFormat_ARGB64 = 0x36316561,
    PF_PixelFormat_ARGB128 = 0x32336561,
};

// ---- parameters

using PF_ParamType = A_long;
enum : PF_ParamType {
    PF_Param_LAYER = 0,
    PF_Param_SLIDER = 1,
    PF_Param_FIX_SLIDER = 2,
    PF_Param_ANGLE = 3,
    PF_Param_CHECKBOX = 4,
    PF_Param_COLOR = 5,
    PF_Param_POINT = 6,
    PF_Param_POPUP = 7,
    PF_Param_CUSTOM = 8,
    PF_Param_NO_DATA = 9,
    PF_Param_FLOAT_SLIDER = 10,
    PF_Param_ARBITRARY_DATA = 11,
    PF_Param_PATH = 12,
    PF_Param_GROUP_START = 13,
    PF_Param_GROUP_END = 14,
    PF_Param_BUTTON = 15,
    PF_Param_POINT_3D = 18,
};
using PF_ParamFlags = A_long;
enum : PF_ParamFlags {
    PF_ParamFlag_CANNOT_TIME_VARY = 2,
    PF_ParamFlag_CANNOT_INTERP = 4,
    PF_ParamFlag_COLLAPSE_TWIRLY = 32,
    PF_ParamFlag_START_COLLAPSED = 32,
    PF_ParamFlag_SUPERVISE = 64,
    PF_ParamFlag_USE_VALUE_FOR_OLD_PROJECTS = 128,
    PF_ParamFlag_EXCLUDE_FROM_HAVE_INPUTS_CHANGED = 256,
    PF_ParamFlag_SKIP_REVEAL_WHEN_UNHIDDEN = 512,
};
using PF_ParamUIFlags = A_long;
enum : PF_ParamUIFlags {
    PF_PUI_TOPIC = 1,
    PF_PUI_CONTROL = 2,
    PF_PUI_STD_CONTROL_ONLY = 4,
    PF_PUI_NO_ECW_UI = 8,
    PF_PUI_ECW_SEPARATOR = 16,
    PF_PUI_DISABLED = 32,
    PF_PUI_DONT_ERASE_TOPIC = 64,
    PF_PUI_DONT_ERASE_CONTROL = 128,
    PF_PUI_RADIO_BUTTON = 256,
    PF_PUI_INVISIBLE = 512,
};
using PF_ChangeFlags = A_long;
enum : PF_ChangeFlags {
    PF_ChangeFlag_NONE = 0,
    PF_ChangeFlag_CHANGED_VALUE = 1,
    PF_ChangeFlag_SET_TO_VARY = 4,
    PF_ChangeFlag_SET_TO_CONSTANT = 8,
};
enum : PF_ParamIndex {
    PF_ParamIndex_NONE = -1,
    PF_ParamIndex_CHECK_ALL = -2,
    PF_ParamIndex_CHECK_ALL_EXCEPT_LAYER_PARAMS = -3,
    PF_ParamIndex_CHECK_ALL_HONOR_EXCLUDE = -4,
};
enum : A_short {
    PF_ValueDisplayFlag_NONE = 0,
    PF_ValueDisplayFlag_PERCENT = 1,
    PF_ValueDisplayFlag_PIXEL = 2,
    PF_ValueDisplayFlag_REVERSE = 8,
};

struct PF_SliderDef {
    A_long value;
    A_char value_str[32];
    A_char value_desc[32];
    A_long valid_min, valid_max, slider_min, slider_max, dephault;
};
struct PF_FixedSliderDef {
    PF_Fixed value;
    A_char value_str[32];
    A_char value_desc[32];
    PF_Fixed valid_min, valid_max, slider_min, slider_max, dephault;
    A_short precision, display_flags;
};
struct PF_AngleDef { // degrees in 16.16
    PF_Fixed value, dephault, valid_min, valid_max;
};
struct PF_CheckBoxDef {
    A_long value;
    PF_Boolean dephault;
    A_char reserved;
    A_short reserved1;
    union {
        const A_char* nameptr;
    } u;
};
struct PF_ColorDef {
    PF_Pixel value, dephault;
};
struct PF_PointDef { // defaults in percent of the layer, 16.16
    PF_Fixed x_value, y_value;
    A_char reserved[3];
    PF_Boolean restrict_bounds;
    PF_Fixed x_dephault, y_dephault;
};
struct PF_PopupDef { // 1-based; choices parted by '|'
    A_long value;
    A_short num_choices, dephault;
    union {
        const A_char* namesptr;
    } u;
};
struct PF_FloatSliderDef {
    PF_FpLong value, phase;
    A_char value_desc[32];
    PF_FpShort valid_min, valid_max, slider_min, slider_max, dephault;
    A_short precision, display_flags;
    A_u_long fs_flags;
    PF_FpShort curve_tolerance;
    PF_Boolean useExponent;
    PF_FpShort exponent;
};
struct PF_ArbitraryDef {
    A_short id, pad;
    PF_ArbitraryH dephault, value;
    void* refconPV;
};
struct PF_PathDef {
    A_u_long path_id;
    A_long reserved0, dephault;
};
struct PF_ButtonDef {
    A_long value;
    union {
        const A_char* namesptr;
    } u;
};
struct PF_Point3DDef {
    PF_FpLong x_value, y_value, z_value, x_dephault, y_dephault, z_dephault;
    A_u_char reserved[16];
};

union PF_ParamDefUnion {
    PF_LayerDef ld;
    PF_SliderDef sd;
    PF_FixedSliderDef fd;
    PF_AngleDef ad;
    PF_CheckBoxDef bd;
    PF_ColorDef cd;
    PF_PointDef td;
    PF_PopupDef pd;
    PF_FloatSliderDef fs_d;
    PF_ArbitraryDef arb_d;
    PF_PathDef path_d;
    PF_ButtonDef button_d;
    PF_Point3DDef point3d_d;
};

enum { PF_MAX_EFFECT_PARAM_NAME_LEN = 31 };
struct PF_ParamDef {
    union {
        A_long id;                   // when a row is added
        PF_ChangeFlags change_flags; // when values are changed
    } uu;
    PF_ParamUIFlags ui_flags;
    A_short ui_width, ui_height;
    PF_ParamType param_type;
    A_char name[PF_MAX_EFFECT_PARAM_NAME_LEN + 1];
    PF_ParamFlags flags;
    A_long unused;
    PF_ParamDefUnion u;
};
// Newer headers rename these fields behind macros.
#ifndef PF_DEF_NAME
#define PF_DEF_NAME name
#endif
#ifndef PF_DEF_NAMESPTR
#define PF_DEF_NAMESPTR namesptr
#endif
#ifndef PF_DEF_NAMEPTR
#define PF_DEF_NAMEPTR nameptr
#endif

// ---- callbacks

enum : A_long {
    PF_CustomEFlag_NONE = 0,
    PF_CustomEFlag_COMP = 1,
    PF_CustomEFlag_LAYER = 2,
    PF_CustomEFlag_EFFECT = 4,
    PF_CustomEFlag_PREVIEW = 8,
};
struct PF_CustomUIInfo {
    A_long reserved;
    A_long events;
    A_long comp_ui_width, comp_ui_height, comp_ui_alignment;
    A_long layer_ui_width, layer_ui_height, layer_ui_alignment;
    A_long preview_ui_width, preview_ui_height, preview_ui_alignment;
};

struct PF_InteractCallbacks {
    PF_Err (*checkout_param)(PF_ProgPtr effect_ref, PF_ParamIndex index, A_long what_time, A_long time_step,
                             A_u_long time_scale, PF_ParamDef* param);
    PF_Err (*checkin_param)(PF_ProgPtr effect_ref, PF_ParamDef* param);
    PF_Err (*add_param)(PF_ProgPtr effect_ref, PF_ParamIndex index, PF_ParamDef* def);
    PF_Err (*abort)(PF_ProgPtr effect_ref);
    PF_Err (*progress)(PF_ProgPtr effect_ref, A_long current, A_long total);
    PF_Err (*register_ui)(PF_ProgPtr effect_ref, PF_CustomUIInfo* cust_info);
    void* audio[3];
    void* reserved[13];
};

using PF_PlatDataID = A_long;
enum : PF_PlatDataID {
    PF_PlatData_MAIN_WND = 0,
    PF_PlatData_EXE_FILE_PATH_DEPRECATED = 1,
    PF_PlatData_RES_FILE_PATH_DEPRECATED = 2,
    PF_PlatData_RES_REFNUM = 3,
    PF_PlatData_RES_DLLINSTANCE = 4,
    PF_PlatData_SP_PLUG_REF = 5,
    PF_PlatData_BUNDLE_REF = 6,
    PF_PlatData_EXE_FILE_PATH_W = 7,
    PF_PlatData_RES_FILE_PATH_W = 8,
};

struct _PF_UtilCallbacks {
    void* pixel_functions[20];
    PF_Handle (*host_new_handle)(A_HandleSize size);
    void* (*host_lock_handle)(PF_Handle handle);
    void (*host_unlock_handle)(PF_Handle handle);
    void (*host_dispose_handle)(PF_Handle handle);
    void* get_callback_addr;
    void* app;
    void* ansi[20];
    void* colorCB[8];
    PF_Err (*get_platform_data)(PF_ProgPtr effect_ref, PF_PlatDataID which, void* data);
    A_HandleSize (*host_get_handle_size)(PF_Handle handle);
    void* iterate_origin_non_clip_src;
    void* iterate_generic;
    PF_Err (*host_resize_handle)(A_HandleSize new_size, PF_Handle* handle);
    void* deep_functions[9];
    void* reserved;
};
using PF_UtilCallbacks = _PF_UtilCallbacks;

// ---- the two call records

struct PF_InData {
    PF_InteractCallbacks inter;
    PF_UtilCallbacks* utils;
    PF_ProgPtr effect_ref; // null in calls without an instance
    PF_Quality quality;
    PF_SpecVersion version;
    A_long serial_num;
    A_AppID appl_id;
    A_long num_params; // with the input layer
    A_long reserved;
    A_long what_cpu, what_fpu;
    A_long current_time; // layer time, units of time_scale
    A_long time_step;
    A_long total_time;
    A_long local_time_step;
    A_u_long time_scale;
    PF_Field field;
    PF_Fixed shutter_angle;
    A_long width, height; // of the source layer, full resolution
    PF_Rect extent_hint;
    A_long output_origin_x, output_origin_y;
    PF_RationalScale downsample_x, downsample_y;
    PF_RationalScale pixel_aspect_ratio;
    PF_InFlags in_flags;
    PF_Handle global_data;
    PF_Handle sequence_data;
    PF_Handle frame_data;
    A_long start_sampL, dur_sampL, total_sampL;
    PF_SoundWorld src_snd;
    SPBasicSuite* pica_basicP;
    A_long pre_effect_source_origin_x, pre_effect_source_origin_y;
    PF_Fixed shutter_phase;
};

struct PF_OutData {
    A_u_long my_version;
    A_char name[32];
    PF_Handle global_data;
    A_long num_params;
    PF_Handle sequence_data;
    A_long flat_sdata_size;
    PF_Handle frame_data;
    A_long width, height;
    PF_Point origin;
    PF_OutFlags out_flags;
    A_char return_msg[256];
    A_long start_sampL, dur_sampL;
    PF_SoundWorld dest_snd;
    PF_OutFlags2 out_flags2;
};

// The one exported function of a plug-in module.
using PluginEntry = PF_Err (*)(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[],
                               PF_LayerDef* output, void* extra);

static_assert(sizeof(PF_InteractCallbacks) == 176 && sizeof(PF_UtilCallbacks) == 552);
static_assert(offsetof(PF_UtilCallbacks, host_new_handle) == 160 &&
              offsetof(PF_UtilCallbacks, host_lock_handle) == 168 &&
              offsetof(PF_UtilCallbacks, host_unlock_handle) == 176 &&
              offsetof(PF_UtilCallbacks, host_dispose_handle) == 184 &&
              offsetof(PF_UtilCallbacks, get_platform_data) == 432 &&
              offsetof(PF_UtilCallbacks, host_get_handle_size) == 440 &&
              offsetof(PF_UtilCallbacks, host_resize_handle) == 464);
static_assert(sizeof(PF_LayerDef) == 120 && offsetof(PF_LayerDef, world_flags) == 16 &&
              offsetof(PF_LayerDef, data) == 24 && offsetof(PF_LayerDef, rowbytes) == 32 &&
              offsetof(PF_LayerDef, width) == 36 && offsetof(PF_LayerDef, height) == 40 &&
              offsetof(PF_LayerDef, extent_hint) == 44 && offsetof(PF_LayerDef, pix_aspect_ratio) == 88 &&
              offsetof(PF_LayerDef, origin_x) == 104 && offsetof(PF_LayerDef, dephault) == 116);
static_assert(sizeof(PF_ParamDefUnion) == 120 && sizeof(PF_ParamDef) == 176 &&
              offsetof(PF_ParamDef, ui_flags) == 4 && offsetof(PF_ParamDef, ui_width) == 8 &&
              offsetof(PF_ParamDef, param_type) == 12 && offsetof(PF_ParamDef, name) == 16 &&
              offsetof(PF_ParamDef, flags) == 48 && offsetof(PF_ParamDef, u) == 56);
static_assert(sizeof(PF_CustomUIInfo) == 44);
static_assert(sizeof(PF_InData) == 408 && offsetof(PF_InData, utils) == 176 &&
              offsetof(PF_InData, effect_ref) == 184 && offsetof(PF_InData, num_params) == 208 &&
              offsetof(PF_InData, current_time) == 224 && offsetof(PF_InData, width) == 252 &&
              offsetof(PF_InData, downsample_x) == 284 && offsetof(PF_InData, pixel_aspect_ratio) == 300 &&
              offsetof(PF_InData, global_data) == 312 && offsetof(PF_InData, sequence_data) == 320 &&
              offsetof(PF_InData, pica_basicP) == 384 && offsetof(PF_InData, shutter_phase) == 400);
static_assert(sizeof(PF_OutData) == 408 && offsetof(PF_OutData, global_data) == 40 &&
              offsetof(PF_OutData, num_params) == 48 && offsetof(PF_OutData, sequence_data) == 56 &&
              offsetof(PF_OutData, origin) == 88 && offsetof(PF_OutData, out_flags) == 96 &&
              offsetof(PF_OutData, return_msg) == 100 && offsetof(PF_OutData, dest_snd) == 368 &&
              offsetof(PF_OutData, out_flags2) == 400);
