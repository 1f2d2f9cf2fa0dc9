#include "host/ParamsSetup.h"

#include "host/ParamTable.h"
#include "host/SceneValue.h"

namespace velorin {
namespace {

constexpr A_short kControlHeight = 24; // pixels
constexpr A_short kSceneArbitraryId = 4;

A_long Fixed(float value) {
    return static_cast<A_long>(value * 65536);
}

void FillFloat(const Row& row, PF_FloatSliderDef& def) {
    def.valid_min = row.minimum;
    def.valid_max = row.maximum;
    def.slider_min = row.sliderMinimum();
    def.slider_max = row.sliderMaximum();
    def.value = row.value;
    def.dephault = row.value;
    def.precision = row.precision;
    def.display_flags = row.percent ? PF_ValueDisplayFlag_PERCENT : PF_ValueDisplayFlag_NONE;
}

PF_Err FillArbitrary(const PF_InData& in, AssetContext* assets, PF_ParamDef& def) {
    def.ui_flags = PF_PUI_NO_ECW_UI;
    def.flags = PF_ParamFlag_CANNOT_TIME_VARY;
    def.u.arb_d.id = kSceneArbitraryId;
    def.u.arb_d.refconPV = reinterpret_cast<void*>(std::uintptr_t{1});
    def.u.arb_d.dephault = NewSceneValue(*in.utils, assets); // passes to the host
    return def.u.arb_d.dephault ? PF_Err_NONE : PF_Err_OUT_OF_MEMORY;
}

// `label` outlives the definition: the host copies it when the row is added.
PF_Err Fill(const PF_InData& in, AssetContext* assets, const Row& row, const std::string& label,
            PF_ParamDef& def) {
    switch (row.kind) {
    case RowKind::Float:
        def.param_type = PF_Param_FLOAT_SLIDER;
        FillFloat(row, def.u.fs_d);
        break;
    case RowKind::Popup:
        def.param_type = PF_Param_POPUP;
        def.flags = row.supervised ? PF_ParamFlag_SUPERVISE : 0;
        def.u.pd.num_choices = static_cast<A_short>(row.choiceCount());
        def.u.pd.dephault = static_cast<A_short>(row.value);
        def.u.pd.value = def.u.pd.dephault;
        def.u.pd.u.PF_DEF_NAMESPTR = row.choices;
        break;
    case RowKind::Point:
        def.param_type = PF_Param_POINT;
        def.u.td.x_dephault = def.u.td.x_value = Fixed(row.value);
        def.u.td.y_dephault = def.u.td.y_value = Fixed(row.valueY);
        break;
    case RowKind::Angle:
        def.param_type = PF_Param_ANGLE;
        def.flags = PF_ParamFlag_COLLAPSE_TWIRLY;
        break;
    case RowKind::Check:
        def.param_type = PF_Param_CHECKBOX;
        def.u.bd.dephault = static_cast<PF_Boolean>(row.value);
        def.u.bd.value = def.u.bd.dephault;
        def.u.bd.u.PF_DEF_NAMEPTR = row.labelled ? label.c_str() : "";
        break;
    case RowKind::Color:
        def.param_type = PF_Param_COLOR;
        def.u.cd.dephault = def.u.cd.value = {255, row.red, row.green, row.blue};
        break;
    case RowKind::Layer:
        def.param_type = PF_Param_LAYER;
        def.u.ld.dephault = PF_LayerDefault_NONE;
        break;
    case RowKind::Group:
        def.param_type = PF_Param_GROUP_START;
        def.flags = row.collapsed ? PF_ParamFlag_START_COLLAPSED : 0;
        break;
    case RowKind::End:
        def.param_type = PF_Param_GROUP_END;
        break;
    case RowKind::Control:
        def.param_type = PF_Param_NO_DATA;
        def.ui_flags = PF_PUI_CONTROL;
        def.ui_width = static_cast<A_short>(row.width);
        def.ui_height = kControlHeight;
        def.flags = PF_ParamFlag_SUPERVISE;
        break;
    case RowKind::Arbitrary:
        def.param_type = PF_Param_ARBITRARY_DATA;
        return FillArbitrary(in, assets, def);
    }
    return PF_Err_NONE;
}

PF_Err RegisterControl(const PF_InData& in) {
    PF_CustomUIInfo info{};
    info.events = PF_CustomEFlag_EFFECT;
    return in.inter.register_ui(in.effect_ref, &info);
}

} // namespace

PF_Err AddParams(const PF_InData& in, AssetContext* assets, std::vector<std::uint32_t>& paramIndex,
                 A_long& count) {
    for (const ParamRow& row : ParamTable()) {
        const std::string name = ParamName(row);
        PF_ParamDef def{};
        def.uu.id = static_cast<A_long>(row.diskId);
        name.copy(def.PF_DEF_NAME, kMaxParamName);
        PF_Err error = Fill(in, assets, *row.row, name, def);
        if (error == PF_Err_NONE) error = in.inter.add_param(in.effect_ref, PF_ParamIndex_NONE, &def);
        if (error == PF_Err_NONE && row.row->kind == RowKind::Control) error = RegisterControl(in);
        if (error != PF_Err_NONE) return error;
        ++count;
        if (paramIndex.size() <= row.diskId) paramIndex.resize(row.diskId + 1);
        paramIndex[row.diskId] = static_cast<std::uint32_t>(count);
    }
    return PF_Err_NONE;
}

} // namespace velorin
