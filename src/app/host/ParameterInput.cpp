#include "app/host/ParameterInput.h"

#include "app/host/Comp.h"
#include "app/project/NearestName.h"

#include <algorithm>
#include <cctype>

namespace velorin::app {

namespace {

constexpr double kLargestAngle = 32767; // degrees that 16.16 holds

struct Input {
    const TextSource& source;
    const ParameterRow& row;
    const HostComp& comp;
};

bool SameText(const std::string& a, const std::string& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
        return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
    });
}

bool Refuse(const Input& input, const JsonNode& node, const std::string& place, const std::string& wanted) {
    input.source.Error(node.begin, place + ": expected " + wanted + ", found " + JsonKindName(node.kind));
    return false;
}

bool ReadChoice(const Input& input, const JsonNode& node, const std::string& place, Components& value) {
    const std::vector<std::string>& choices = input.row.choices;
    if (node.kind == JsonKind::Number) {
        const ValueForm form{1, false, {1, static_cast<double>(choices.size())}};
        if (node.number != static_cast<double>(static_cast<long long>(node.number)))
            return Refuse(input, node, place, "the number of a choice, which is whole");
        return ReadComponents(input.source, node, place, form, value);
    }
    if (node.kind != JsonKind::String) return Refuse(input, node, place, "a choice by its text or number");
    for (const bool exact : {true, false})
        for (std::size_t i = 0; i < choices.size(); ++i)
            if (exact ? choices[i] == node.text : SameText(choices[i], node.text)) {
                value[0] = static_cast<double>(i + 1);
                return true;
            }
    input.source.Error(node.begin,
                       place + ": \"" + node.text + "\" is no choice" + NearestHint(node.text, choices));
    return false;
}

bool ReadLayerName(const Input& input, const JsonNode& node, const std::string& place, Components& value) {
    if (node.kind == JsonKind::Null) {
        value[0] = 0;
        return true;
    }
    if (node.kind != JsonKind::String) return Refuse(input, node, place, "the name of a layer, or null");
    std::vector<std::string> names;
    for (const auto& layer : input.comp.layers) {
        if (layer->objectType() == AEGP_ObjectType_CAMERA || layer->objectType() == AEGP_ObjectType_LIGHT)
            continue;
        if (layer->name == node.text) {
            value[0] = layer->id;
            return true;
        }
        names.push_back(layer->name);
    }
    input.source.Error(node.begin,
                       place + ": no layer is called \"" + node.text + "\"" + NearestHint(node.text, names));
    return false;
}

bool ReadOne(void* context, const JsonNode& node, const std::string& place, Components& value) {
    const Input& input = *static_cast<const Input*>(context);
    const PF_ParamDefUnion& u = input.row.def.u;
    ValueForm form;
    switch (input.row.type()) {
    case PF_Param_FLOAT_SLIDER:
        form.range = {static_cast<double>(u.fs_d.valid_min), static_cast<double>(u.fs_d.valid_max)};
        break;
    case PF_Param_ANGLE:
        form.range = {-kLargestAngle, kLargestAngle};
        break;
    case PF_Param_CHECKBOX:
        if (node.kind != JsonKind::Bool) return Refuse(input, node, place, "true or false");
        value[0] = node.boolean ? 1 : 0;
        return true;
    case PF_Param_COLOR:
        form.size = 3, form.color = true;
        break;
    case PF_Param_POINT:
        form.size = 2;
        break;
    case PF_Param_POPUP:
        return ReadChoice(input, node, place, value);
    case PF_Param_LAYER:
        return ReadLayerName(input, node, place, value);
    default:
        return Refuse(input, node, place, "nothing: the row has no value to set");
    }
    return ReadComponents(input.source, node, place, form, value);
}

} // namespace

AnimatedValue DefaultValue(const ParameterRow& row, const HostComp& comp) {
    const PF_ParamDefUnion& u = row.def.u;
    switch (row.type()) {
    case PF_Param_FLOAT_SLIDER:
        return AnimatedValue(static_cast<double>(u.fs_d.dephault));
    case PF_Param_ANGLE:
        return AnimatedValue(u.ad.dephault / 65536.0);
    case PF_Param_CHECKBOX:
        return AnimatedValue(u.bd.dephault != 0 ? 1 : 0);
    case PF_Param_POPUP:
        return AnimatedValue(u.pd.dephault);
    case PF_Param_COLOR:
        return AnimatedValue(u.cd.dephault.red, u.cd.dephault.green, u.cd.dephault.blue);
    case PF_Param_POINT: { // percent of the layer
        AnimatedValue point(u.td.x_dephault / 65536.0 / 100 * comp.settings.width,
                            u.td.y_dephault / 65536.0 / 100 * comp.settings.height, 0);
        point.size = 2;
        return point;
    }
    case PF_Param_LAYER:
        return AnimatedValue(u.ld.dephault == PF_LayerDefault_MYSELF ? comp.effectLayer->id : 0);
    default:
        return AnimatedValue(0);
    }
}

bool ReadParameterValue(const TextSource& source, const ParameterRow& row, const JsonNode& node,
                        const HostComp& comp, AnimatedValue& value) {
    const std::string place = '"' + row.name + '"';
    if (row.type() == PF_Param_ARBITRARY_DATA) {
        source.Error(node.begin, place + ": the scene is set by \"scene\" or \"sceneFile\"");
        return false;
    }
    if (node.kind == JsonKind::Object && (row.def.flags & PF_ParamFlag_CANNOT_TIME_VARY)) {
        source.Error(node.begin, place + ": this parameter cannot have keyframes");
        return false;
    }
    value.size = row.type() == PF_Param_COLOR ? 3 : row.type() == PF_Param_POINT ? 2 : 1;
    Input input{source, row, comp};
    return ReadAnimated(source, node, place, {comp.settings.frameRate.perSecond()}, ReadOne, &input, value);
}

} // namespace velorin::app
