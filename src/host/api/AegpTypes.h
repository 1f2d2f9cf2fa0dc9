#pragma once

#include "host/api/Effect.h"
#include "host/api/PfSuites.h"

// Types and numbers of the project side (AEGP). Handles do not outlive the command in which they were got.

struct _AEGP_Layer;
struct _AEGP_Comp;
struct _AEGP_Item;
struct _AEGP_Effect;
struct _AEGP_Stream;
struct _AEGP_MaskRef;
struct _AEGP_MaskOutline;
struct _AEGP_TextOutlines;
struct _AEGP_TextDocument;
struct _AEGP_RenderOptions;
struct _AEGP_FrameReceipt;
struct _AEGP_World;
struct _AEGP_Mem;
struct _AEGP_Global;
using AEGP_LayerH = _AEGP_Layer**;
using AEGP_CompH = _AEGP_Comp**;
using AEGP_ItemH = _AEGP_Item**;
using AEGP_EffectRefH = _AEGP_Effect**;
using AEGP_StreamRefH = _AEGP_Stream**;
using AEGP_MaskRefH = _AEGP_MaskRef**;
using AEGP_MaskOutlineValH = _AEGP_MaskOutline**;
using AEGP_TextOutlinesH = _AEGP_TextOutlines**;
using AEGP_TextDocumentH = _AEGP_TextDocument**;
using AEGP_RenderOptionsH = _AEGP_RenderOptions**;
using AEGP_FrameReceiptH = _AEGP_FrameReceipt**;
using AEGP_WorldH = _AEGP_World**;
using AEGP_MemHandle = _AEGP_Mem**;
using AEGP_GlobalRefcon = _AEGP_Global*;

using AEGP_PluginID = A_long;
using AEGP_InstalledEffectKey = A_long;
using AEGP_EffectIndex = A_long;
using AEGP_LayerIDVal = A_long;
using AEGP_MaskIDVal = A_long;
using AEGP_MaskIndex = A_long;
using AEGP_VertexIndex = A_long;
using AEGP_LayerFlags = A_long;
using AEGP_CompFlags = A_long;
using AEGP_EffectFlags = A_long;
using AEGP_ItemFlags = A_long;
using AEGP_ObjectType = A_long;
using AEGP_LayerStream = A_long;
using AEGP_MaskStream = A_long;
using AEGP_StreamType = A_long;
using AEGP_WorldType = A_long;
using AEGP_MatteMode = A_long;
using AEGP_FilmSizeUnits = A_long;
using PF_MaskMode = A_long;
using AEGP_CameraType = A_u_long;
using AEGP_LightType = A_u_long;
using AEGP_DynStreamFlags = A_u_long;
using AEGP_LTimeMode = A_short;
using AEGP_ItemType = A_short;
using AEGP_ChannelOrder = A_char;
using AEGP_MemSize = A_u_long;
using AEGP_MemFlag = A_long;
struct AEGP_DownsampleFactor {
    A_short xS, yS;
};
struct AEGP_ErrReportState {
    A_long reserved[12];
};

enum : AEGP_ObjectType {
    AEGP_ObjectType_NONE = -1,
    AEGP_ObjectType_AV = 0,
    AEGP_ObjectType_LIGHT = 1,
    AEGP_ObjectType_CAMERA = 2,
    AEGP_ObjectType_TEXT = 3,
    AEGP_ObjectType_VECTOR = 4,
    AEGP_ObjectType_3D_MODEL = 5,
};
enum : AEGP_LayerFlags {
    AEGP_LayerFlag_NONE = 0,
    AEGP_LayerFlag_VIDEO_ACTIVE = 0x1,
    AEGP_LayerFlag_AUDIO_ACTIVE = 0x2,
    AEGP_LayerFlag_EFFECTS_ACTIVE = 0x4,
    AEGP_LayerFlag_MOTION_BLUR = 0x8,
    AEGP_LayerFlag_FRAME_BLENDING = 0x10,
    AEGP_LayerFlag_LOCKED = 0x20,
    AEGP_LayerFlag_SHY = 0x40,
    AEGP_LayerFlag_COLLAPSE = 0x80,
    AEGP_LayerFlag_AUTO_ORIENT_ROTATION = 0x100,
    AEGP_LayerFlag_ADJUSTMENT_LAYER = 0x200,
    AEGP_LayerFlag_TIME_REMAPPING = 0x400,
    AEGP_LayerFlag_LAYER_IS_3D = 0x800,
    AEGP_LayerFlag_LOOK_AT_CAMERA = 0x1000,
    AEGP_LayerFlag_LOOK_AT_POI = 0x2000,
    AEGP_LayerFlag_SOLO = 0x4000,
    AEGP_LayerFlag_NULL_LAYER = 0x10000,
    AEGP_LayerFlag_GUIDE_LAYER = 0x40000,
};
enum : AEGP_CompFlags {
    AEGP_CompFlag_SHOW_ALL_SHY = 0x1,
    AEGP_CompFlag_ENABLE_MOTION_BLUR = 0x8,
    AEGP_CompFlag_ENABLE_TIME_FILTER = 0x10,
    AEGP_CompFlag_GRID_TO_FRAMES = 0x20,
    AEGP_CompFlag_GRID_TO_FIELDS = 0x40,
    AEGP_CompFlag_USE_LOCAL_DSF = 0x80,
    AEGP_CompFlag_DRAFT_3D = 0x100,
    AEGP_CompFlag_SHOW_GRAPH = 0x200,
};
enum : AEGP_EffectFlags {
    AEGP_EffectFlags_NONE = 0,
    AEGP_EffectFlags_ACTIVE = 1,
    AEGP_EffectFlags_AUDIO_ONLY = 2,
    AEGP_EffectFlags_AUDIO_TOO = 4,
    AEGP_EffectFlags_MISSING = 8,
};
enum : AEGP_ItemType {
    AEGP_ItemType_NONE = 0,
    AEGP_ItemType_FOLDER = 1,
    AEGP_ItemType_COMP = 2,
    AEGP_ItemType_FOOTAGE = 4,
};
enum : AEGP_ItemFlags {
    AEGP_ItemFlag_MISSING = 1,
    AEGP_ItemFlag_HAS_PROXY = 2,
    AEGP_ItemFlag_USING_PROXY = 4,
    AEGP_ItemFlag_MISSING_PROXY = 8,
    AEGP_ItemFlag_HAS_VIDEO = 0x10,
    AEGP_ItemFlag_HAS_AUDIO = 0x20,
    AEGP_ItemFlag_STILL = 0x40,
    AEGP_ItemFlag_HAS_ACTIVE_AUDIO = 0x80,
};
enum : AEGP_CameraType {
    AEGP_CameraType_NONE = 0xFFFFFFFF,
    AEGP_CameraType_PERSPECTIVE = 0,
    AEGP_CameraType_ORTHOGRAPHIC = 1,
};
enum : AEGP_FilmSizeUnits {
    AEGP_FilmSizeUnits_NONE = 0,
    AEGP_FilmSizeUnits_HORIZONTAL = 1,
    AEGP_FilmSizeUnits_VERTICAL = 2,
    AEGP_FilmSizeUnits_DIAGONAL = 3,
};
enum : AEGP_LightType {
    AEGP_LightType_NONE = 0xFFFFFFFF,
    AEGP_LightType_PARALLEL = 0,
    AEGP_LightType_SPOT = 1,
    AEGP_LightType_POINT = 2,
    AEGP_LightType_AMBIENT = 3,
    AEGP_LightType_ENVIRONMENT = 4,
};
enum : AEGP_LTimeMode { AEGP_LTimeMode_LayerTime = 0, AEGP_LTimeMode_CompTime = 1 };
enum : AEGP_DynStreamFlags {
    AEGP_DynStreamFlag_ACTIVE_EYEBALL = 0x1,
    AEGP_DynStreamFlag_HIDDEN = 0x2,
    AEGP_DynStreamFlag_DISABLED = 0x10,
    AEGP_DynStreamFlag_ELIDED = 0x20,
    AEGP_DynStreamFlag_SHOWN_WHEN_EMPTY = 0x400,
    AEGP_DynStreamFlag_SKIP_REVEAL_WHEN_UNHIDDEN = 0x10000,
};
enum : AEGP_StreamType {
    AEGP_StreamType_NO_DATA = 0,
    AEGP_StreamType_ThreeD_SPATIAL = 1,
    AEGP_StreamType_ThreeD = 2,
    AEGP_StreamType_TwoD_SPATIAL = 3,
    AEGP_StreamType_TwoD = 4,
    AEGP_StreamType_OneD = 5,
    AEGP_StreamType_COLOR = 6,
    AEGP_StreamType_ARB = 7,
    AEGP_StreamType_MARKER = 8,
    AEGP_StreamType_LAYER_ID = 9,
    AEGP_StreamType_MASK_ID = 10,
    AEGP_StreamType_MASK = 11,
    AEGP_StreamType_TEXT_DOCUMENT = 12,
};
enum : AEGP_LayerStream {
    AEGP_LayerStream_NONE = -1,
    AEGP_LayerStream_ANCHORPOINT = 0, // point of interest of cameras and lights
    AEGP_LayerStream_POSITION = 1,
    AEGP_LayerStream_SCALE = 2,
    AEGP_LayerStream_ROTATION = 3,
    AEGP_LayerStream_ROTATE_Z = 3,
    AEGP_LayerStream_OPACITY = 4,
    AEGP_LayerStream_ROTATE_X = 8,
    AEGP_LayerStream_ROTATE_Y = 9,
    AEGP_LayerStream_ORIENTATION = 10,
    AEGP_LayerStream_ZOOM = 11,
    AEGP_LayerStream_DEPTH_OF_FIELD = 12,
    AEGP_LayerStream_FOCUS_DISTANCE = 13,
    AEGP_LayerStream_APERTURE = 14,
    AEGP_LayerStream_BLUR_LEVEL = 15,
    AEGP_LayerStream_INTENSITY = 16,
    AEGP_LayerStream_COLOR = 17,
    AEGP_LayerStream_CONE_ANGLE = 18,
    AEGP_LayerStream_CONE_FEATHER = 19,
    AEGP_LayerStream_SHADOW_DARKNESS = 20,
    AEGP_LayerStream_SHADOW_DIFFUSION = 21,
    AEGP_LayerStream_CASTS_SHADOWS = 28,
    AEGP_LayerStream_SOURCE_TEXT = 31,
    AEGP_LayerStream_LIGHT_FALLOFF_TYPE = 40,
    AEGP_LayerStream_LIGHT_FALLOFF_START = 41,
    AEGP_LayerStream_LIGHT_FALLOFF_DISTANCE = 42,
};
enum : AEGP_MaskStream {
    AEGP_MaskStream_OUTLINE = 400,
    AEGP_MaskStream_OPACITY = 401,
    AEGP_MaskStream_FEATHER = 402,
    AEGP_MaskStream_EXPANSION = 403,
};
enum : AEGP_WorldType {
    AEGP_WorldType_NONE = 0,
    AEGP_WorldType_8 = 1,
    AEGP_WorldType_16 = 2,
    AEGP_WorldType_32 = 3
};
enum : AEGP_MatteMode {
    AEGP_MatteMode_STRAIGHT = 0,
    AEGP_MatteMode_PREMUL_BLACK = 1,
    AEGP_MatteMode_PREMUL_BG_COLOR = 2,
};
enum : AEGP_ChannelOrder { AEGP_ChannelOrder_ARGB = 0, AEGP_ChannelOrder_BGRA = 1 };
enum : PF_MaskMode {
    PF_MaskMode_NONE = 0,
    PF_MaskMode_ADD = 1,
    PF_MaskMode_SUBTRACT = 2,
    PF_MaskMode_INTERSECT = 3,
    PF_MaskMode_LIGHTEN = 4,
    PF_MaskMode_DARKEN = 5,
    PF_MaskMode_DIFFERENCE = 6,
    PF_MaskMode_ACCUM = 7,
};
enum { AEGP_MAX_EFFECT_MATCH_NAME_SIZE = 48, AEGP_MAX_EFFECT_NAME_SIZE = 48, AEGP_MAX_PLUGIN_NAME_SIZE = 32 };

using AEGP_OneDVal = A_FpLong;
struct AEGP_TwoDVal {
    A_FpLong x, y;
};
struct AEGP_ThreeDVal {
    A_FpLong x, y, z;
};
struct AEGP_FourDVal {
    A_FpLong v[4];
};
struct AEGP_ColorVal { // 0 to 1
    A_FpLong alphaF, redF, greenF, blueF;
};
using AEGP_ArbBlockVal = A_Handle;
using AEGP_MarkerValP = void*;
using AEGP_MaskVertex = PF_PathVertex;

union AEGP_StreamVal2 {
    AEGP_FourDVal four_d;
    AEGP_ThreeDVal three_d;
    AEGP_TwoDVal two_d;
    AEGP_OneDVal one_d;
    AEGP_ColorVal color;
    AEGP_ArbBlockVal arbH;
    AEGP_MarkerValP markerP;
    AEGP_LayerIDVal layer_id;
    AEGP_MaskIDVal mask_id;
    AEGP_MaskOutlineValH mask;
    AEGP_TextDocumentH text_documentH;
};
struct AEGP_StreamValue2 {
    AEGP_StreamRefH streamH;
    AEGP_StreamVal2 val;
};
static_assert(sizeof(AEGP_StreamVal2) == 32 && sizeof(AEGP_StreamValue2) == 40);

using AEGP_CancelRefcon = void*;
using AEGP_RenderSuiteCheckForCancel = A_Err (*)(void* refcon, A_Boolean* cancel);
