#include "app/host/Host.h"

namespace velorin::app {

namespace {

// A panel of one control, with its context.
struct Panel {
    PF_Context context{};
    PF_Context* self = &context;
    PF_Rect frame{};
    int control = 0;

    Panel(const ParameterRow& row, void* drawing) : control(row.index) {
        constexpr A_long kLeft = 200, kTop = 40;
        context.w_type = PF_Window_EFFECT;
        context.reserved_drawref = static_cast<DRAWBOT_DrawRef>(drawing);
        frame = {kLeft, kTop, kLeft + row.def.ui_width, kTop + row.def.ui_height};
    }
    [[nodiscard]] PF_EventExtra Event(PF_EventType type) {
        PF_EventExtra extra{};
        extra.contextH = &self;
        extra.e_type = type;
        extra.effect_win.index = control;
        extra.effect_win.area = PF_EA_CONTROL;
        extra.effect_win.current_frame = frame;
        return extra;
    }
};

} // namespace

// Hover, press, drag with the last move, and a draw wherever one was asked for.
HostResult Host::Click(EffectInstance& instance, const ParameterRow& row, int x) {
    Panel panel(row, &panelMark_);
    const PF_Point point{panel.frame.left + x, panel.frame.top + 1};
    const auto draw = [&](const PF_EventExtra& after) -> HostResult {
        if (!(after.evt_out_flags & PF_EO_UPDATE_NOW)) return {};
        PF_EventExtra extra = panel.Event(PF_Event_DRAW);
        extra.u.draw.update_rect = panel.frame;
        extra.u.draw.depth = 32;
        return SendEvent(instance, extra);
    };
    PF_EventExtra hover = panel.Event(PF_Event_ADJUST_CURSOR);
    hover.u.adjust_cursor.screen_point = point;
    if (HostResult result = SendEvent(instance, hover); !result.good()) return result;
    PF_EventExtra press = panel.Event(PF_Event_DO_CLICK);
    press.u.do_click.screen_point = point;
    press.u.do_click.num_clicks = 1;
    if (HostResult result = SendEvent(instance, press); !result.good()) return result;
    if (HostResult result = draw(press); !result.good()) return result;
    if (!press.u.do_click.send_drag) return {};
    PF_EventExtra drag = panel.Event(PF_Event_DRAG);
    drag.u.do_click = press.u.do_click;
    drag.u.do_click.send_drag = 0;
    drag.u.do_click.last_time = 1;
    if (HostResult result = SendEvent(instance, drag); !result.good()) return result;
    if (HostResult result = draw(drag); !result.good()) return result;
    return UpdateParameterUI(instance);
}

} // namespace velorin::app
