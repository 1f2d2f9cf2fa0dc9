#include "host/ParamTable.h"
#include "host/api/HostApi.h"
#include "host/introspection/Request.h"

#include <utility>

namespace velorin {
namespace {

const char* KindName(RowKind kind) {
    switch (kind) {
    case RowKind::Float:
        return "float";
    case RowKind::Popup:
        return "popup";
    case RowKind::Point:
        return "point";
    case RowKind::Angle:
        return "angle";
    case RowKind::Check:
        return "check";
    case RowKind::Color:
        return "color";
    case RowKind::Layer:
        return "layer";
    case RowKind::Group:
        return "group";
    case RowKind::End:
        return "end";
    case RowKind::Control:
        return "control";
    case RowKind::Arbitrary:
        return "arbitrary";
    }
    return "";
}

Json Choices(const char* text) {
    Json choices = Json::array();
    for (std::string rest = text;;) {
        const std::size_t bar = rest.find('|');
        choices.push_back(rest.substr(0, bar));
        if (bar == std::string::npos) return choices;
        rest.erase(0, bar + 1);
    }
}

// A float of the table as the decimal that it was written as.
Json Number(float value) {
    return Json::parse(Json(value).dump());
}

PF_ParamFlags FlagsOf(const Row& row) {
    switch (row.kind) {
    case RowKind::Angle:
        return PF_ParamFlag_COLLAPSE_TWIRLY;
    case RowKind::Group:
        return row.collapsed ? PF_ParamFlag_START_COLLAPSED : 0;
    case RowKind::Control:
        return PF_ParamFlag_SUPERVISE;
    case RowKind::Popup:
        return row.supervised ? PF_ParamFlag_SUPERVISE : 0;
    case RowKind::Arbitrary:
        return PF_ParamFlag_CANNOT_TIME_VARY;
    default:
        return 0;
    }
}

void AddValues(const Row& row, Json& json) {
    switch (row.kind) {
    case RowKind::Float:
        json["min"] = Number(row.minimum);
        json["max"] = Number(row.maximum);
        json["sliderMin"] = Number(row.sliderMinimum());
        json["sliderMax"] = Number(row.sliderMaximum());
        json["default"] = Number(row.value);
        json["precision"] = row.precision;
        json["percent"] = row.percent;
        break;
    case RowKind::Popup:
        json["default"] = static_cast<int>(row.value);
        json["choices"] = Choices(row.choices);
        break;
    case RowKind::Point:
        json["default"] = {Number(row.value), Number(row.valueY)};
        break;
    case RowKind::Angle:
        json["default"] = 0;
        break;
    case RowKind::Check:
        json["default"] = row.value != 0;
        break;
    case RowKind::Color:
        json["default"] = {row.red, row.green, row.blue};
        break;
    case RowKind::Control:
        json["uiWidth"] = row.width;
        break;
    default:
        break;
    }
}

} // namespace

std::string AnswerParams(const Request&) {
    Json rows = Json::array();
    int index = 0;
    for (const ParamRow& param : ParamTable()) {
        Json row;
        row["index"] = ++index;
        row["diskId"] = param.diskId;
        row["kind"] = KindName(param.row->kind);
        row["name"] = ParamName(param);
        AddValues(*param.row, row);
        row["flags"] = FlagsOf(*param.row);
        row["uiFlags"] = param.row->kind == RowKind::Control     ? PF_PUI_CONTROL
                         : param.row->kind == RowKind::Arbitrary ? PF_PUI_NO_ECW_UI
                                                                 : 0;
        rows.push_back(std::move(row));
    }
    return DumpJson(rows);
}

} // namespace velorin
