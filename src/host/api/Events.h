#pragma once

#include "host/api/Types.h"

// Events of custom controls in the effect's panel.

struct _DRAWBOT_Draw;
using DRAWBOT_DrawRef = _DRAWBOT_Draw*;

using PF_EventType = A_long;
enum : PF_EventType {
    PF_Event_NONE = -1,
    PF_Event_NEW_CONTEXT = 0,
    PF_Event_ACTIVATE = 1,
    PF_Event_DO_CLICK = 2,
    PF_Event_DRAG = 3,
    PF_Event_DRAW = 4,
    PF_Event_DEACTIVATE = 5,
    PF_Event_CLOSE_CONTEXT = 6,
    PF_Event_IDLE = 7,
    PF_Event_KEYDOWN_OBSOLETE = 8,
    PF_Event_ADJUST_CURSOR = 9,
    PF_Event_KEYDOWN = 10,
    PF_Event_MOUSE_EXITED = 11,
};
using PF_EventInFlags = A_long;
enum : PF_EventInFlags { PF_EI_NONE = 0, PF_EI_DONT_DRAW = 1 };
using PF_EventOutFlags = A_long;
enum : PF_EventOutFlags {
    PF_EO_NONE = 0,
    PF_EO_HANDLED_EVENT = 1,
    PF_EO_ALWAYS_UPDATE = 2,
    PF_EO_NEVER_UPDATE = 4,
    PF_EO_UPDATE_NOW = 8,
};
using PF_Modifiers = A_long;
enum : PF_Modifiers {
    PF_Mod_NONE = 0,
    PF_Mod_CMD_CTRL_KEY = 0x100,
    PF_Mod_SHIFT_KEY = 0x200,
    PF_Mod_CAPS_LOCK_KEY = 0x400,
    PF_Mod_OPT_ALT_KEY = 0x800,
    PF_Mod_MAC_CONTROL_KEY = 0x1000,
};
using PF_CursorType = A_long;
enum : PF_CursorType {
    PF_Cursor_NONE = 0,
    PF_Cursor_CUSTOM = 1,
    PF_Cursor_ARROW = 2,
    PF_Cursor_FINGER_POINTER = 23,
};
using PF_WindowType = A_long;
enum : PF_WindowType {
    PF_Window_NONE = -1,
    PF_Window_COMP = 0,
    PF_Window_LAYER = 1,
    PF_Window_EFFECT = 2,
    PF_Window_PREVIEW = 3,
};
using PF_EffectArea = A_long;
enum : PF_EffectArea { PF_EA_NONE = 0, PF_EA_PARAM_TITLE = 1, PF_EA_CONTROL = 2 };

struct PF_Context {
    A_u_long magic;
    PF_WindowType w_type;
    void* reserved_flt;
    A_intptr_t plugin_state[4]; // the plug-in's own, a context
    DRAWBOT_DrawRef reserved_drawref;
    void* reserved_1;
    void* reserved_2;
};
using PF_ContextPtr = PF_Context*;
using PF_ContextH = PF_Context**;

struct PF_DoClickEventInfo {
    A_u_long when;
    PF_Point screen_point;
    A_long num_clicks;
    PF_Modifiers modifiers;
    A_intptr_t continue_refcon[4]; // kept by the host from the click to the last drag
    PF_Boolean send_drag;
    PF_Boolean last_time;
};
struct PF_DrawEventInfo {
    PF_UnionableRect update_rect;
    A_long depth;
};
struct PF_KeyDownEvent {
    A_u_long when;
    PF_Point screen_point;
    A_long keycode;
    PF_Modifiers modifiers;
};
struct PF_AdjustCursorEventInfo {
    PF_Point screen_point;
    PF_Modifiers modifiers;
    PF_CursorType set_cursor;
};
union PF_EventUnion {
    PF_DoClickEventInfo do_click;
    PF_DrawEventInfo draw;
    PF_KeyDownEvent key_down;
    PF_AdjustCursorEventInfo adjust_cursor;
};
struct PF_EffectWindowInfo {
    PF_ParamIndex index;
    PF_EffectArea area;
    PF_UnionableRect current_frame;
    PF_UnionableRect param_title_frame;
    A_long horiz_offset;
};
struct PF_EventCallbacks {
    void* refcon;
    void* functions[8];
};
struct PF_EventExtra {
    PF_ContextH contextH;
    PF_EventType e_type;
    PF_EventUnion u;
    PF_EffectWindowInfo effect_win;
    PF_EventCallbacks cbs;
    PF_EventInFlags evt_in_flags;
    PF_EventOutFlags evt_out_flags;
};
static_assert(sizeof(PF_EventExtra) == 208 && offsetof(PF_EventExtra, e_type) == 8 &&
              offsetof(PF_EventExtra, u) == 16 && offsetof(PF_EventExtra, effect_win) == 80 &&
              offsetof(PF_EventExtra, cbs) == 128 && offsetof(PF_EventExtra, evt_in_flags) == 200 &&
              offsetof(PF_EventExtra, evt_out_flags) == 204);
static_assert(sizeof(PF_DoClickEventInfo) == 64 && offsetof(PF_DoClickEventInfo, continue_refcon) == 24 &&
              offsetof(PF_DoClickEventInfo, send_drag) == 56 &&
              offsetof(PF_DoClickEventInfo, last_time) == 57);
static_assert(sizeof(PF_Context) == 72 && offsetof(PF_Context, plugin_state) == 16 &&
              offsetof(PF_Context, reserved_drawref) == 48);
