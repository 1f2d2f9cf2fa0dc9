#pragma once

#include "host/api/AegpTypes.h"

// Suites of the project side, with the slots that are called.

inline constexpr char kAEGPUtilitySuite[] = "AEGP Utility Suite";
inline constexpr char kAEGPPFInterfaceSuite[] = "AEGP PF Interface Suite";
inline constexpr char kAEGPMemorySuite[] = "AEGP Memory Suite";
inline constexpr char kAEGPCompSuite[] = "AEGP Comp Suite";
inline constexpr char kAEGPItemSuite[] = "AEGP Item Suite";
inline constexpr char kAEGPLayerSuite[] = "AEGP Layer Suite";
inline constexpr char kAEGPEffectSuite[] = "AEGP Effect Suite";
inline constexpr char kAEGPStreamSuite[] = "AEGP Stream Suite";
inline constexpr char kAEGPDynamicStreamSuite[] = "AEGP Dynamic Stream Suite";
inline constexpr char kAEGPMaskSuite[] = "AEGP Layer Mask Suite";
inline constexpr char kAEGPMaskOutlineSuite[] = "AEGP Mask Outline Suite";
inline constexpr char kAEGPTextLayerSuite[] = "AEGP Text Layer Suite";
inline constexpr char kAEGPCameraSuite[] = "AEGP Camera Suite";
inline constexpr char kAEGPLightSuite[] = "AEGP Light Suite";
inline constexpr char kAEGPRenderOptionsSuite[] = "AEGP Render Options Suite";
inline constexpr char kAEGPRenderSuite[] = "AEGP Render Suite";
inline constexpr char kAEGPWorldSuite[] = "AEGP World Suite";
inline constexpr std::int32_t kAEGPUtilitySuiteVersion4 = 10;
inline constexpr std::int32_t kAEGPPFInterfaceSuiteVersion1 = 1;
inline constexpr std::int32_t kAEGPMemorySuiteVersion1 = 1;
inline constexpr std::int32_t kAEGPCompSuiteVersion10 = 21;
inline constexpr std::int32_t kAEGPItemSuiteVersion8 = 13;
inline constexpr std::int32_t kAEGPLayerSuiteVersion8 = 14;
inline constexpr std::int32_t kAEGPEffectSuiteVersion4 = 4;
inline constexpr std::int32_t kAEGPStreamSuiteVersion4 = 9;
inline constexpr std::int32_t kAEGPDynamicStreamSuiteVersion4 = 5;
inline constexpr std::int32_t kAEGPMaskSuiteVersion6 = 7;
inline constexpr std::int32_t kAEGPMaskOutlineSuiteVersion3 = 5;
inline constexpr std::int32_t kAEGPTextLayerSuiteVersion1 = 1;
inline constexpr std::int32_t kAEGPCameraSuiteVersion2 = 2;
inline constexpr std::int32_t kAEGPLightSuiteVersion2 = 2;
inline constexpr std::int32_t kAEGPRenderOptionsSuiteVersion3 = 3;
inline constexpr std::int32_t kAEGPRenderSuiteVersion4 = 5;
inline constexpr std::int32_t kAEGPWorldSuiteVersion3 = 3;

struct AEGP_UtilitySuite4 {
    A_Err (*AEGP_ReportInfo)(AEGP_PluginID id, const A_char* text);
    void* slot_1_to_2[2];
    A_Err (*AEGP_StartQuietErrors)(AEGP_ErrReportState* state);
    A_Err (*AEGP_EndQuietErrors)(A_Boolean report, AEGP_ErrReportState* state);
    void* slot_5;
    A_Err (*AEGP_StartUndoGroup)(const A_char* name);
    A_Err (*AEGP_EndUndoGroup)();
    A_Err (*AEGP_RegisterWithAEGP)(AEGP_GlobalRefcon refcon, const A_char* name, AEGP_PluginID* id);
    A_Err (*AEGP_GetMainHWND)(void* window);
    void* slot_10_to_22[13];
    A_Err (*AEGP_GetSuppressInteractiveUI)(A_Boolean* suppressed);
    void* slot_24_to_29[6];
};
static_assert(sizeof(AEGP_UtilitySuite4) == 30 * sizeof(void*));
VELORIN_SUITE_SLOT(AEGP_UtilitySuite4, AEGP_StartUndoGroup, 6);
VELORIN_SUITE_SLOT(AEGP_UtilitySuite4, AEGP_RegisterWithAEGP, 8);
VELORIN_SUITE_SLOT(AEGP_UtilitySuite4, AEGP_GetSuppressInteractiveUI, 23);

struct AEGP_PFInterfaceSuite1 {
    A_Err (*AEGP_GetEffectLayer)(PF_ProgPtr effect, AEGP_LayerH* layer);
    A_Err (*AEGP_GetNewEffectForEffect)(AEGP_PluginID id, PF_ProgPtr effect, AEGP_EffectRefH* ref);
    A_Err (*AEGP_ConvertEffectToCompTime)(PF_ProgPtr effect, A_long time, A_u_long scale, A_Time* compTime);
    A_Err (*AEGP_GetEffectCamera)(PF_ProgPtr effect, const A_Time* compTime, AEGP_LayerH* camera);
    A_Err (*AEGP_GetEffectCameraMatrix)(PF_ProgPtr effect, const A_Time* compTime, A_Matrix4* matrix,
                                        A_FpLong* distanceToImagePlane, A_short* planeWidth,
                                        A_short* planeHeight);
};

struct AEGP_MemorySuite1 {
    A_Err (*AEGP_NewMemHandle)(AEGP_PluginID id, const A_char* what, AEGP_MemSize size, AEGP_MemFlag flags,
                               AEGP_MemHandle* handle);
    A_Err (*AEGP_FreeMemHandle)(AEGP_MemHandle handle);
    A_Err (*AEGP_LockMemHandle)(AEGP_MemHandle handle, void** memory);
    A_Err (*AEGP_UnlockMemHandle)(AEGP_MemHandle handle);
    A_Err (*AEGP_GetMemHandleSize)(AEGP_MemHandle handle, AEGP_MemSize* size);
    void* slot_5_to_7[3];
};

struct AEGP_CompSuite10 {
    A_Err (*AEGP_GetCompFromItem)(AEGP_ItemH item, AEGP_CompH* comp);
    A_Err (*AEGP_GetItemFromComp)(AEGP_CompH comp, AEGP_ItemH* item);
    A_Err (*AEGP_GetCompDownsampleFactor)(AEGP_CompH comp, AEGP_DownsampleFactor* factor);
    void* slot_3_to_5[3];
    A_Err (*AEGP_GetCompFlags)(AEGP_CompH comp, AEGP_CompFlags* flags);
    void* slot_7_to_10[4];
    A_Err (*AEGP_GetCompFramerate)(AEGP_CompH comp, A_FpLong* rate);
    void* slot_12;
    A_Err (*AEGP_GetCompShutterAnglePhase)(AEGP_CompH comp, A_Ratio* angle, A_Ratio* phase); // degrees
    A_Err (*AEGP_GetCompShutterFrameRange)(AEGP_CompH comp, const A_Time* compTime, A_Time* start,
                                           A_Time* duration);
    void* slot_15_to_30[16];
    A_Err (*AEGP_CreateNullInComp)(const A_UTF16Char* name, AEGP_CompH comp, const A_Time* duration,
                                   AEGP_LayerH* layer);
    void* slot_32_to_36[5];
    A_Err (*AEGP_GetCompFrameDuration)(AEGP_CompH comp, A_Time* duration);
    void* slot_38_to_42[5];
};
static_assert(sizeof(AEGP_CompSuite10) == 43 * sizeof(void*));
VELORIN_SUITE_SLOT(AEGP_CompSuite10, AEGP_GetCompFramerate, 11);
VELORIN_SUITE_SLOT(AEGP_CompSuite10, AEGP_GetCompShutterAnglePhase, 13);
VELORIN_SUITE_SLOT(AEGP_CompSuite10, AEGP_CreateNullInComp, 31);
VELORIN_SUITE_SLOT(AEGP_CompSuite10, AEGP_GetCompFrameDuration, 37);

struct AEGP_ItemSuite8 {
    void* slot_0_to_4[5];
    A_Err (*AEGP_GetItemType)(AEGP_ItemH item, AEGP_ItemType* type);
    void* slot_6_to_8[3];
    A_Err (*AEGP_GetItemID)(AEGP_ItemH item, A_long* id);
    A_Err (*AEGP_GetItemFlags)(AEGP_ItemH item, AEGP_ItemFlags* flags);
    void* slot_11_to_13[3];
    A_Err (*AEGP_GetItemDuration)(AEGP_ItemH item, A_Time* duration);
    A_Err (*AEGP_GetItemCurrentTime)(AEGP_ItemH item, A_Time* time);
    A_Err (*AEGP_GetItemDimensions)(AEGP_ItemH item, A_long* width, A_long* height);
    A_Err (*AEGP_GetItemPixelAspectRatio)(AEGP_ItemH item, A_Ratio* ratio); // width for height 1
    void* slot_18_to_26[9];
};
static_assert(sizeof(AEGP_ItemSuite8) == 27 * sizeof(void*));
VELORIN_SUITE_SLOT(AEGP_ItemSuite8, AEGP_GetItemDimensions, 16);

struct AEGP_LayerSuite8 {
    A_Err (*AEGP_GetCompNumLayers)(AEGP_CompH comp, A_long* count);
    A_Err (*AEGP_GetCompLayerByIndex)(AEGP_CompH comp, A_long index, AEGP_LayerH* layer); // 0 is the topmost
    void* slot_2;
    A_Err (*AEGP_GetLayerIndex)(AEGP_LayerH layer, A_long* index);
    A_Err (*AEGP_GetLayerSourceItem)(AEGP_LayerH layer, AEGP_ItemH* item);
    void* slot_5;
    A_Err (*AEGP_GetLayerParentComp)(AEGP_LayerH layer, AEGP_CompH* comp);
    A_Err (*AEGP_GetLayerName)(AEGP_PluginID id, AEGP_LayerH layer, AEGP_MemHandle* layerName,
                               AEGP_MemHandle* sourceName); // UTF-16; either may be null
    void* slot_8_to_9[2];
    A_Err (*AEGP_GetLayerFlags)(AEGP_LayerH layer, AEGP_LayerFlags* flags);
    A_Err (*AEGP_SetLayerFlag)(AEGP_LayerH layer, AEGP_LayerFlags flag, A_Boolean value);
    A_Err (*AEGP_IsLayerVideoReallyOn)(AEGP_LayerH layer, A_Boolean* on);
    void* slot_13_to_14[2];
    A_Err (*AEGP_GetLayerInPoint)(AEGP_LayerH layer, AEGP_LTimeMode mode, A_Time* time);
    A_Err (*AEGP_GetLayerDuration)(AEGP_LayerH layer, AEGP_LTimeMode mode, A_Time* duration);
    void* slot_17_to_27[11];
    A_Err (*AEGP_GetLayerObjectType)(AEGP_LayerH layer, AEGP_ObjectType* type);
    void* slot_29_to_30[2];
    A_Err (*AEGP_IsVideoActive)(AEGP_LayerH layer, AEGP_LTimeMode mode, const A_Time* time,
                                A_Boolean* active);
    void* slot_32_to_33[2];
    A_Err (*AEGP_ConvertCompToLayerTime)(AEGP_LayerH layer, const A_Time* compTime, A_Time* layerTime);
    A_Err (*AEGP_ConvertLayerToCompTime)(AEGP_LayerH layer, const A_Time* layerTime, A_Time* compTime);
    void* slot_36;
    A_Err (*AEGP_GetLayerID)(AEGP_LayerH layer, AEGP_LayerIDVal* id);
    A_Err (*AEGP_GetLayerToWorldXform)(AEGP_LayerH layer, const A_Time* compTime, A_Matrix4* matrix);
    void* slot_39;
    A_Err (*AEGP_SetLayerName)(AEGP_LayerH layer, const A_UTF16Char* name);
    void* slot_41_to_42[2];
    A_Err (*AEGP_DeleteLayer)(AEGP_LayerH layer);
    void* slot_44;
    A_Err (*AEGP_GetLayerFromLayerID)(AEGP_CompH comp, AEGP_LayerIDVal id, AEGP_LayerH* layer);
    void* slot_46_to_49[4];
};
static_assert(sizeof(AEGP_LayerSuite8) == 50 * sizeof(void*));
VELORIN_SUITE_SLOT(AEGP_LayerSuite8, AEGP_GetLayerFlags, 10);
VELORIN_SUITE_SLOT(AEGP_LayerSuite8, AEGP_GetLayerInPoint, 15);
VELORIN_SUITE_SLOT(AEGP_LayerSuite8, AEGP_GetLayerObjectType, 28);
VELORIN_SUITE_SLOT(AEGP_LayerSuite8, AEGP_IsVideoActive, 31);
VELORIN_SUITE_SLOT(AEGP_LayerSuite8, AEGP_ConvertCompToLayerTime, 34);
VELORIN_SUITE_SLOT(AEGP_LayerSuite8, AEGP_GetLayerToWorldXform, 38);
VELORIN_SUITE_SLOT(AEGP_LayerSuite8, AEGP_SetLayerName, 40);
VELORIN_SUITE_SLOT(AEGP_LayerSuite8, AEGP_DeleteLayer, 43);
VELORIN_SUITE_SLOT(AEGP_LayerSuite8, AEGP_GetLayerFromLayerID, 45);

struct AEGP_EffectSuite4 {
    A_Err (*AEGP_GetLayerNumEffects)(AEGP_LayerH layer, A_long* count);
    A_Err (*AEGP_GetLayerEffectByIndex)(AEGP_PluginID id, AEGP_LayerH layer, AEGP_EffectIndex index,
                                        AEGP_EffectRefH* effect);
    A_Err (*AEGP_GetInstalledKeyFromLayerEffect)(AEGP_EffectRefH effect, AEGP_InstalledEffectKey* key);
    A_Err (*AEGP_GetEffectParamUnionByIndex)(AEGP_PluginID id, AEGP_EffectRefH effect, PF_ParamIndex index,
                                             PF_ParamType* type, PF_ParamDefUnion* def);
    A_Err (*AEGP_GetEffectFlags)(AEGP_EffectRefH effect, AEGP_EffectFlags* flags);
    void* slot_5_to_6[2];
    A_Err (*AEGP_EffectCallGeneric)(AEGP_PluginID id, AEGP_EffectRefH effect, const A_Time* time, PF_Cmd cmd,
                                    void* extra);
    A_Err (*AEGP_DisposeEffect)(AEGP_EffectRefH effect);
    void* slot_9_to_12[4];
    A_Err (*AEGP_GetEffectName)(AEGP_InstalledEffectKey key, A_char* name);
    A_Err (*AEGP_GetEffectMatchName)(AEGP_InstalledEffectKey key, A_char* name);
    void* slot_15_to_21[7];
};
static_assert(sizeof(AEGP_EffectSuite4) == 22 * sizeof(void*));
VELORIN_SUITE_SLOT(AEGP_EffectSuite4, AEGP_EffectCallGeneric, 7);
VELORIN_SUITE_SLOT(AEGP_EffectSuite4, AEGP_GetEffectMatchName, 14);

struct AEGP_StreamSuite4 {
    A_Err (*AEGP_IsStreamLegal)(AEGP_LayerH layer, AEGP_LayerStream which, A_Boolean* legal);
    A_Err (*AEGP_CanVaryOverTime)(AEGP_StreamRefH stream, A_Boolean* can);
    void* slot_2;
    A_Err (*AEGP_GetNewLayerStream)(AEGP_PluginID id, AEGP_LayerH layer, AEGP_LayerStream which,
                                    AEGP_StreamRefH* stream);
    A_Err (*AEGP_GetEffectNumParamStreams)(AEGP_EffectRefH effect, A_long* count);
    A_Err (*AEGP_GetNewEffectStreamByIndex)(AEGP_PluginID id, AEGP_EffectRefH effect, PF_ParamIndex index,
                                            AEGP_StreamRefH* stream);
    A_Err (*AEGP_GetNewMaskStream)(AEGP_PluginID id, AEGP_MaskRefH mask, AEGP_MaskStream which,
                                   AEGP_StreamRefH* stream);
    A_Err (*AEGP_DisposeStream)(AEGP_StreamRefH stream);
    void* slot_8_to_10[3];
    A_Err (*AEGP_IsStreamTimevarying)(AEGP_StreamRefH stream, A_Boolean* varying);
    A_Err (*AEGP_GetStreamType)(AEGP_StreamRefH stream, AEGP_StreamType* type);
    A_Err (*AEGP_GetNewStreamValue)(AEGP_PluginID id, AEGP_StreamRefH stream, AEGP_LTimeMode mode,
                                    const A_Time* time, A_Boolean preExpression, AEGP_StreamValue2* value);
    A_Err (*AEGP_DisposeStreamValue)(AEGP_StreamValue2* value);
    A_Err (*AEGP_SetStreamValue)(AEGP_PluginID id, AEGP_StreamRefH stream, AEGP_StreamValue2* value);
    A_Err (*AEGP_GetLayerStreamValue)(AEGP_LayerH layer, AEGP_LayerStream which, AEGP_LTimeMode mode,
                                      const A_Time* time, A_Boolean preExpression, AEGP_StreamVal2* value,
                                      AEGP_StreamType* type);
    A_Err (*AEGP_GetExpressionState)(AEGP_PluginID id, AEGP_StreamRefH stream, A_Boolean* enabled);
    A_Err (*AEGP_SetExpressionState)(AEGP_PluginID id, AEGP_StreamRefH stream, A_Boolean enabled);
    A_Err (*AEGP_GetExpression)(AEGP_PluginID id, AEGP_StreamRefH stream, AEGP_MemHandle* text);
    A_Err (*AEGP_SetExpression)(AEGP_PluginID id, AEGP_StreamRefH stream, const A_char* text);
    void* slot_21;
};
static_assert(sizeof(AEGP_StreamSuite4) == 22 * sizeof(void*));
VELORIN_SUITE_SLOT(AEGP_StreamSuite4, AEGP_GetNewStreamValue, 13);
VELORIN_SUITE_SLOT(AEGP_StreamSuite4, AEGP_SetExpression, 20);

struct AEGP_DynamicStreamSuite4 {
    void* slot_0_to_4[5];
    A_Err (*AEGP_GetDynamicStreamFlags)(AEGP_StreamRefH stream, AEGP_DynStreamFlags* flags);
    A_Err (*AEGP_SetDynamicStreamFlag)(AEGP_StreamRefH stream, AEGP_DynStreamFlags flag, A_Boolean undoable,
                                       A_Boolean set);
    void* slot_7_to_25[19];
};
static_assert(sizeof(AEGP_DynamicStreamSuite4) == 26 * sizeof(void*));

struct AEGP_MaskSuite6 {
    A_Err (*AEGP_GetLayerNumMasks)(AEGP_LayerH layer, A_long* count);
    A_Err (*AEGP_GetLayerMaskByIndex)(AEGP_LayerH layer, AEGP_MaskIndex index, AEGP_MaskRefH* mask);
    A_Err (*AEGP_DisposeMask)(AEGP_MaskRefH mask);
    void* slot_3_to_4[2];
    A_Err (*AEGP_GetMaskMode)(AEGP_MaskRefH mask, PF_MaskMode* mode);
};
struct AEGP_MaskOutlineSuite3 { // tangents relative to their vertex
    A_Err (*AEGP_IsMaskOutlineOpen)(AEGP_MaskOutlineValH outline, A_Boolean* open);
    void* slot_1;
    A_Err (*AEGP_GetMaskOutlineNumSegments)(AEGP_MaskOutlineValH outline, A_long* count);
    A_Err (*AEGP_GetMaskOutlineVertexInfo)(AEGP_MaskOutlineValH outline, AEGP_VertexIndex which,
                                           AEGP_MaskVertex* vertex);
};

struct AEGP_TextLayerSuite1 {
    A_Err (*AEGP_GetNewTextOutlines)(AEGP_LayerH layer, const A_Time* layerTime,
                                     AEGP_TextOutlinesH* outlines);
    A_Err (*AEGP_DisposeTextOutlines)(AEGP_TextOutlinesH outlines);
    A_Err (*AEGP_GetNumTextOutlines)(AEGP_TextOutlinesH outlines, A_long* count);
    A_Err (*AEGP_GetIndexedTextOutline)(AEGP_TextOutlinesH outlines, A_long index, PF_PathOutlinePtr* path);
};

struct AEGP_CameraSuite2 {
    void* slot_0;
    A_Err (*AEGP_GetCameraType)(AEGP_LayerH camera, AEGP_CameraType* type);
    A_Err (*AEGP_GetDefaultCameraDistanceToImagePlane)(AEGP_CompH comp, A_FpLong* distance);
    A_Err (*AEGP_GetCameraFilmSize)(AEGP_LayerH camera, AEGP_FilmSizeUnits* units, A_FpLong* size); // pixels
    void* slot_4;
};
struct AEGP_LightSuite2 {
    A_Err (*AEGP_GetLightType)(AEGP_LayerH light, AEGP_LightType* type);
    void* slot_1;
};

struct AEGP_RenderOptionsSuite3 {
    A_Err (*AEGP_NewFromItem)(AEGP_PluginID id, AEGP_ItemH item, AEGP_RenderOptionsH* options);
    void* slot_1;
    A_Err (*AEGP_Dispose)(AEGP_RenderOptionsH options);
    A_Err (*AEGP_SetTime)(AEGP_RenderOptionsH options, A_Time time);
    A_Err (*AEGP_GetTime)(AEGP_RenderOptionsH options, A_Time* time);
    A_Err (*AEGP_SetTimeStep)(AEGP_RenderOptionsH options, A_Time step);
    A_Err (*AEGP_GetTimeStep)(AEGP_RenderOptionsH options, A_Time* step);
    A_Err (*AEGP_SetFieldRender)(AEGP_RenderOptionsH options, PF_Field field);
    A_Err (*AEGP_GetFieldRender)(AEGP_RenderOptionsH options, PF_Field* field);
    A_Err (*AEGP_SetWorldType)(AEGP_RenderOptionsH options, AEGP_WorldType type);
    A_Err (*AEGP_GetWorldType)(AEGP_RenderOptionsH options, AEGP_WorldType* type);
    A_Err (*AEGP_SetDownsampleFactor)(AEGP_RenderOptionsH options, A_short x, A_short y);
    A_Err (*AEGP_GetDownsampleFactor)(AEGP_RenderOptionsH options, A_short* x, A_short* y);
    A_Err (*AEGP_SetRegionOfInterest)(AEGP_RenderOptionsH options, const A_LRect* region);
    A_Err (*AEGP_GetRegionOfInterest)(AEGP_RenderOptionsH options, A_LRect* region);
    A_Err (*AEGP_SetMatteMode)(AEGP_RenderOptionsH options, AEGP_MatteMode mode);
    A_Err (*AEGP_GetMatteMode)(AEGP_RenderOptionsH options, AEGP_MatteMode* mode);
    A_Err (*AEGP_SetChannelOrder)(AEGP_RenderOptionsH options, AEGP_ChannelOrder order);
    A_Err (*AEGP_GetChannelOrder)(AEGP_RenderOptionsH options, AEGP_ChannelOrder* order);
    A_Err (*AEGP_GetRenderGuideLayers)(AEGP_RenderOptionsH options, A_Boolean* render);
    A_Err (*AEGP_SetRenderGuideLayers)(AEGP_RenderOptionsH options, A_Boolean render);
};
static_assert(sizeof(AEGP_RenderOptionsSuite3) == 21 * sizeof(void*));

struct AEGP_RenderSuite4 {
    // The cancel function and its argument may be null.
    A_Err (*AEGP_RenderAndCheckoutFrame)(AEGP_RenderOptionsH options, AEGP_RenderSuiteCheckForCancel cancel,
                                         AEGP_CancelRefcon refcon, AEGP_FrameReceiptH* receipt);
    void* slot_1;
    A_Err (*AEGP_CheckinFrame)(AEGP_FrameReceiptH receipt);
    A_Err (*AEGP_GetReceiptWorld)(AEGP_FrameReceiptH receipt, AEGP_WorldH* world);
    A_Err (*AEGP_GetRenderedRegion)(AEGP_FrameReceiptH receipt, A_LRect* region);
    void* slot_5_to_11[7];
};
static_assert(sizeof(AEGP_RenderSuite4) == 12 * sizeof(void*));

struct AEGP_WorldSuite3 {
    A_Err (*AEGP_New)(AEGP_PluginID id, AEGP_WorldType type, A_long width, A_long height, AEGP_WorldH* world);
    A_Err (*AEGP_Dispose)(AEGP_WorldH world);
    A_Err (*AEGP_GetType)(AEGP_WorldH world, AEGP_WorldType* type);
    A_Err (*AEGP_GetSize)(AEGP_WorldH world, A_long* width, A_long* height);
    A_Err (*AEGP_GetRowBytes)(AEGP_WorldH world, A_u_long* rowBytes);
    A_Err (*AEGP_GetBaseAddr8)(AEGP_WorldH world, PF_Pixel8** base);
    A_Err (*AEGP_GetBaseAddr16)(AEGP_WorldH world, PF_Pixel16** base);
    A_Err (*AEGP_GetBaseAddr32)(AEGP_WorldH world, PF_PixelFloat** base);
    A_Err (*AEGP_FillOutPFEffectWorld)(AEGP_WorldH world, PF_EffectWorld* view);
    void* slot_9_to_12[4];
};
static_assert(sizeof(AEGP_WorldSuite3) == 13 * sizeof(void*));
