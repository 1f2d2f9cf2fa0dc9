#pragma once

#include "host/api/Effect.h"
#include "host/api/Events.h"

// Suites of the effect side. Functions that nothing here calls keep their slots as plain pointers.

#define VELORIN_SUITE_SLOT(Record, member, slot)                                                             \
    static_assert(offsetof(Record, member) == (slot) * sizeof(void*))

inline constexpr char kPFPointParamSuite[] = "PF PointParamSuite";
inline constexpr char kPFAngleParamSuite[] = "PF AngleParamSuite";
inline constexpr char kPFAppSuite[] = "PF AE App Suite";
inline constexpr char kPFParamUtilsSuite[] = "PF Param Utils Suite";
inline constexpr char kPFPathDataSuite[] = "PF Path Data Suite";
inline constexpr char kPFEffectCustomUISuite[] = "PF Effect Custom UI Suite";
inline constexpr char kPFWorldSuite[] = "PF World Suite";
inline constexpr char kPFHandleSuite[] = "PF Handle Suite";
// The number to ask for is not the number in the record's name.
inline constexpr std::int32_t kPFPointParamSuiteVersion1 = 1;
inline constexpr std::int32_t kPFAngleParamSuiteVersion1 = 1;
inline constexpr std::int32_t kPFAppSuiteVersion4 = 6;
inline constexpr std::int32_t kPFParamUtilsSuiteVersion3 = 3;
inline constexpr std::int32_t kPFPathDataSuiteVersion1 = 1;
inline constexpr std::int32_t kPFEffectCustomUISuiteVersion1 = 1;
inline constexpr std::int32_t kPFWorldSuiteVersion2 = 2;
inline constexpr std::int32_t kPFHandleSuiteVersion1 = 2;

struct PF_PointParamSuite1 { // pixels as doubles
    PF_Err (*PF_GetFloatingPointValueFromPointDef)(PF_ProgPtr effect_ref, const PF_ParamDef* def,
                                                   A_FloatPoint* out);
};
struct PF_AngleParamSuite1 { // degrees
    PF_Err (*PF_GetFloatingPointValueFromAngleDef)(PF_ProgPtr effect_ref, const PF_ParamDef* def,
                                                   A_FpLong* out);
};

struct PFAppSuite4 {
    void* slot_0_to_3[4];
    PF_Err (*PF_SetCursor)(PF_CursorType cursor);
    PF_Err (*PF_IsRenderEngine)(PF_Boolean* isRenderEngine);
    void* slot_6;
    PF_Err (*PF_GetMouse)(PF_Point* point);
    PF_Err (*PF_InvalidateRect)(const PF_ContextH context, const PF_Rect* rect); // null: the whole pane
    void* slot_9_to_10[2];
};
VELORIN_SUITE_SLOT(PFAppSuite4, PF_IsRenderEngine, 5);
VELORIN_SUITE_SLOT(PFAppSuite4, PF_InvalidateRect, 8);

struct PF_State { // a receipt; compared only by PF_AreStatesIdentical
    A_long reserved[4];
};
static_assert(sizeof(PF_State) == 16);

struct PF_ParamUtilsSuite3 {
    PF_Err (*PF_UpdateParamUI)(PF_ProgPtr effect_ref, PF_ParamIndex index, const PF_ParamDef* def);
    // Both times null: all time.
    PF_Err (*PF_GetCurrentState)(PF_ProgPtr effect_ref, PF_ParamIndex index, const A_Time* start,
                                 const A_Time* duration, PF_State* state);
    PF_Err (*PF_AreStatesIdentical)(PF_ProgPtr effect_ref, const PF_State* a, const PF_State* b,
                                    A_Boolean* same);
    void* slot_3_to_8[6];
};

struct PF_PathOutline;
using PF_PathOutlinePtr = PF_PathOutline*;
struct PF_PathVertex { // layer coordinates
    PF_FpLong x, y, tan_in_x, tan_in_y, tan_out_x, tan_out_y;
};
static_assert(sizeof(PF_PathVertex) == 48);

// N segments, vertices 0 to N; in a closed path vertex N equals vertex 0. Tangents are points here.
struct PF_PathDataSuite1 {
    PF_Err (*PF_PathIsOpen)(PF_ProgPtr effect_ref, PF_PathOutlinePtr path, PF_Boolean* open);
    PF_Err (*PF_PathNumSegments)(PF_ProgPtr effect_ref, PF_PathOutlinePtr path, A_long* count);
    PF_Err (*PF_PathVertexInfo)(PF_ProgPtr effect_ref, PF_PathOutlinePtr path, A_long which,
                                PF_PathVertex* vertex);
    void* slot_3_to_10[8];
};

struct PF_EffectCustomUISuite1 {
    PF_Err (*PF_GetDrawingReference)(const PF_ContextH context, DRAWBOT_DrawRef* out);
};

struct PF_WorldSuite2 {
    PF_Err (*PF_NewWorld)(PF_ProgPtr effect_ref, A_long width, A_long height, PF_Boolean clear,
                          PF_PixelFormat format, PF_EffectWorld* world);
    PF_Err (*PF_DisposeWorld)(PF_ProgPtr effect_ref, PF_EffectWorld* world);
    PF_Err (*PF_GetPixelFormat)(const PF_EffectWorld* world, PF_PixelFormat* format);
};

struct PF_HandleSuite1 {
    PF_Handle (*host_new_handle)(A_HandleSize size);
    void* (*host_lock_handle)(PF_Handle handle);
    void (*host_unlock_handle)(PF_Handle handle);
    void (*host_dispose_handle)(PF_Handle handle);
    A_HandleSize (*host_get_handle_size)(PF_Handle handle);
    PF_Err (*host_resize_handle)(A_HandleSize new_size, PF_Handle* handle);
};
