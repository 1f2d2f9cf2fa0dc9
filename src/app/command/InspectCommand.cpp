#include "app/command/Ask.h"
#include "app/command/Commands.h"
#include "app/command/Interrupt.h"
#include "app/command/Table.h"

#include <nlohmann/json.hpp>

#include <array>
#include <charconv>
#include <cstdio>
#include <filesystem>

namespace velorin::app {

namespace {

using nlohmann::ordered_json;

// The decimal that a float was written as.
double Decimal(float value) {
    std::array<char, 32> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
    double number = 0;
    std::from_chars(text.data(), end, number);
    return number;
}

ordered_json RowAsJson(const ParameterRow& row, const HostStream* stream) {
    const PF_ParamDefUnion& u = row.def.u;
    ordered_json json{
        {"index", row.index}, {"diskId", row.diskId}, {"kind", row.kindName()}, {"name", row.name}};
    switch (row.type()) {
    case PF_Param_FLOAT_SLIDER:
        json["min"] = Decimal(u.fs_d.valid_min), json["max"] = Decimal(u.fs_d.valid_max);
        json["sliderMin"] = Decimal(u.fs_d.slider_min), json["sliderMax"] = Decimal(u.fs_d.slider_max);
        json["default"] = Decimal(u.fs_d.dephault);
        json["precision"] = u.fs_d.precision;
        json["percent"] = (u.fs_d.display_flags & PF_ValueDisplayFlag_PERCENT) != 0;
        break;
    case PF_Param_ANGLE:
        json["default"] = u.ad.dephault / 65536.0;
        break;
    case PF_Param_CHECKBOX:
        json["default"] = u.bd.dephault != 0;
        break;
    case PF_Param_COLOR:
        json["default"] = {u.cd.dephault.red, u.cd.dephault.green, u.cd.dephault.blue};
        break;
    case PF_Param_POINT:
        json["default"] = {u.td.x_dephault / 65536.0, u.td.y_dephault / 65536.0};
        break;
    case PF_Param_POPUP:
        json["default"] = u.pd.dephault;
        json["choices"] = row.choices;
        break;
    case PF_Param_LAYER:
        json["default"] = u.ld.dephault;
        break;
    default:
        break;
    }
    json["flags"] = row.def.flags;
    json["uiFlags"] = row.def.ui_flags;
    json["uiWidth"] = row.def.ui_width;
    if (stream) json["hidden"] = stream->hidden;
    return json;
}

void Print(const ordered_json& json, bool asJson) {
    if (asJson)
        std::printf("%s\n", json.dump(2, ' ', false, ordered_json::error_handler_t::replace).c_str());
    else
        std::printf("%s", TableText(json).c_str());
}

class Inspector {
public:
    Inspector(const InspectOptions& options, Console& console) : options_(options), console_(console) {}

    int Run() {
        const bool good = Open() && Show();
        if (session_.host && !session_.Close(console_)) return kFailed;
        return good ? kDone : kFailed;
    }

private:
    bool Open() {
        if (!options_.input.empty() && options_.what != "preset")
            return OpenSession(options_.input, options_.session, console_, session_);
        session_.host = StartHost(options_.session, console_);
        return session_.host && session_.Tell(console_);
    }

    bool Show() {
        if (options_.what == "params") return ShowParameters();
        if (options_.what == "scene") return Ask({{"do", "flatToScene"}, {"defaults", true}}, true);
        if (options_.what == "mesh") {
            ordered_json request{{"do", "mesh"}, {"prepared", options_.prepared}};
            if (!options_.model.empty()) request["model"] = options_.model;
            return GoToFrame() && Ask(request, true);
        }
        if (options_.what == "devices") return Ask({{"do", "devices"}}, false);
        if (options_.what == "library") return Ask({{"do", "library"}}, false);
        if (options_.what == "preset") return ShowPreset();
        return ShowCaptured(options_.what);
    }

    bool ShowPreset() {
        std::error_code ignored;
        const std::string file =
            std::filesystem::absolute(options_.input, ignored).lexically_normal().string();
        const auto preset =
            app::Ask(*session_.host, {{"do", "readPreset"}, {"file", file}}, {}, {}, console_);
        if (preset) Print(*preset, options_.json);
        return preset.has_value();
    }

    bool ShowParameters() {
        ordered_json rows = ordered_json::array();
        for (const ParameterRow& row : session_.host->rows().rows())
            rows.push_back(RowAsJson(row, Instance() ? &Instance()->rows[static_cast<std::size_t>(row.index)]
                                                     : nullptr));
        Print(rows, options_.json);
        return true;
    }

    // The first effect, when a project is open and has one.
    EffectInstance* Instance() {
        const auto comps = session_.host->comps();
        return comps.empty() || comps.front()->effects.empty() ? nullptr
                                                               : comps.front()->effects.front().get();
    }

    // One request, with the first effect's scene when it is about one, and its answer printed.
    bool Ask(const ordered_json& request, bool withScene) {
        std::string flat;
        if (withScene) {
            const ParameterRow* row = session_.host->arbitraryRow();
            if (!Instance() || !row || !session_.host->FlatArbitrary(*Instance(), *row, flat))
                return Fail("the project has no scene");
        }
        ordered_json answer;
        if (!Answer(request, std::as_bytes(std::span(flat)), answer)) return false;
        Print(answer, options_.json);
        return true;
    }

    bool Answer(const ordered_json& request, Bytes payload, ordered_json& answer) {
        std::string reason;
        const auto text = session_.host->Introspect(
            Instance(), request.dump(-1, ' ', false, ordered_json::error_handler_t::replace), payload,
            reason);
        if (!text) return Fail(reason);
        answer = ordered_json::parse(*text, nullptr, false);
        if (answer.is_discarded()) return Fail("the plug-in's answer cannot be read");
        if (answer.is_object() && answer.contains("error"))
            return Fail(answer["error"].is_string() ? answer["error"].get<std::string>()
                                                    : "the request is refused");
        return true;
    }

    // Looks at the frame that was asked for.
    bool GoToFrame() {
        if (!Instance()) return Fail("the project has no effect");
        const Composition& comp = session_.project.composition;
        if (options_.frame >= comp.frameCount())
            return Fail("the composition has " + std::to_string(comp.frameCount()) +
                        " frames, counted from 0");
        Instance()->comp->currentTime = options_.frame * comp.frameRate.step;
        return true;
    }

    // Renders a frame and shows what the plug-in kept of it.
    bool ShowCaptured(const std::string& what) {
        if (!GoToFrame()) return false;
        ordered_json answer;
        if (!Answer({{"do", "capture"}, {"what", {what}}, {"group", options_.group}}, {}, answer))
            return false;
        Picture picture;
        session_.host->interrupted = InterruptAsked;
        const HostResult result = session_.host->RenderFrame(options_.frame, 8, picture);
        if (!result.good()) return Fail(result.text);
        if (!Answer({{"do", "captured"}}, {}, answer)) return false;
        if (!answer.is_object() || !answer.contains(what))
            return Fail("the plug-in kept nothing of the frame");
        Print(answer[what], options_.json);
        ordered_json facts;
        if (Answer({{"do", "frame"}}, {}, facts) && facts.is_object() && facts.contains("warnings"))
            for (const auto& warning : facts["warnings"])
                if (warning.is_string()) console_.Warn(warning.get<std::string>());
        return true;
    }

    bool Fail(const std::string& reason) {
        console_.Error((options_.input.empty() ? "inspect " + options_.what : options_.input) + ": " +
                       reason);
        return false;
    }

    const InspectOptions& options_;
    Console& console_;
    Session session_;
};

} // namespace

int RunInspect(const InspectOptions& options) {
    Console console(false);
    if (options.input.empty() && options.what != "params" && options.what != "devices" &&
        options.what != "library") {
        console.Error("inspect " + options.what + " needs an INPUT");
        return kWrongUsage;
    }
    CatchInterrupts();
    return Inspector(options, console).Run();
}

} // namespace velorin::app
