#include "app/command/Ask.h"
#include "app/command/Commands.h"
#include "app/command/Interrupt.h"
#include "app/command/Table.h"
#include "app/project/NearestName.h"

#include <nlohmann/json.hpp>

#include <algorithm>
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
    // One thing that can be shown.
    struct Row {
        const char* name;
        enum class Input { None, Project, File } input; // opened in the host, or only handed on
        bool (Inspector::*show)();
    };
    [[nodiscard]] static std::span<const Row> Rows();

    Inspector(const Row& row, const Arguments& options, Console& console)
        : row_(row), options_(options), console_(console) {}

    int Run() {
        const bool good = Open() && Show();
        if (session_.host && !session_.Close(console_)) return kFailed;
        return good ? kDone : kFailed;
    }

private:
    bool Open() {
        if (!options_.input.empty() && row_.input != Row::Input::File)
            return OpenSession(options_.input, options_.session, console_, session_);
        session_.host = StartHost(options_.session, console_);
        return session_.host && session_.Tell(console_);
    }

    bool Show() { return (this->*row_.show)(); }

    bool ShowScene() { return Ask({{"do", "flatToScene"}, {"defaults", true}}, true); }
    bool ShowDevices() { return Ask({{"do", "devices"}}, false); }
    bool ShowLibrary() { return Ask({{"do", "library"}}, false); }

    bool ShowMesh() {
        ordered_json request{{"do", "mesh"}, {"prepared", options_.prepared}};
        if (!options_.model.empty()) request["model"] = options_.model;
        return GoToFrame() && Ask(request, true);
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
        auto reply = app::Ask(*session_.host, request, payload, Subject(), console_, Instance());
        if (reply) answer = std::move(*reply);
        return reply.has_value();
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
    bool ShowCaptured() {
        if (!GoToFrame()) return false;
        const std::string what = row_.name;
        ordered_json answer;
        if (!Answer({{"do", "capture"}, {"what", {what}}, {"group", std::max(options_.group, 1)}}, {},
                    answer))
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
        console_.Error(Subject() + ": " + reason);
        return false;
    }
    // What errors are about.
    [[nodiscard]] std::string Subject() const {
        return options_.input.empty() ? "inspect " + options_.what : options_.input;
    }

    const Row& row_;
    const Arguments& options_;
    Console& console_;
    Session session_;
};

std::span<const Inspector::Row> Inspector::Rows() {
    using Input = Row::Input;
    static constexpr Row kRows[] = {{"params", Input::None, &Inspector::ShowParameters},
                                    {"scene", Input::Project, &Inspector::ShowScene},
                                    {"particles", Input::Project, &Inspector::ShowCaptured},
                                    {"mesh", Input::Project, &Inspector::ShowMesh},
                                    {"draws", Input::Project, &Inspector::ShowCaptured},
                                    {"devices", Input::None, &Inspector::ShowDevices},
                                    {"preset", Input::File, &Inspector::ShowPreset},
                                    {"library", Input::None, &Inspector::ShowLibrary}};
    return kRows;
}

} // namespace

std::vector<std::string> InspectNames() {
    std::vector<std::string> names;
    for (const Inspector::Row& row : Inspector::Rows()) names.emplace_back(row.name);
    return names;
}

int RunInspect(const Arguments& options) {
    Console console(false);
    for (const Inspector::Row& row : Inspector::Rows()) {
        if (options.what != row.name) continue;
        if (options.input.empty() && row.input != Inspector::Row::Input::None) {
            console.Error("inspect " + options.what + " needs an INPUT");
            return kWrongUsage;
        }
        CatchInterrupts();
        return Inspector(row, options, console).Run();
    }
    console.Error("there is nothing called \"" + options.what + "\" to inspect" +
                  NearestHint(options.what, InspectNames()));
    return kWrongUsage;
}

} // namespace velorin::app
