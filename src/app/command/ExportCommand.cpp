#include "app/command/Commands.h"
#include "app/command/Interrupt.h"

#include "services/StringConversion.h"

#include <nlohmann/json.hpp>

#include <filesystem>

namespace velorin::app {

namespace {

using nlohmann::ordered_json;

class Exporter {
public:
    Exporter(const Arguments& options, Console& console) : options_(options), console_(console) {}

    int Run() {
        const bool good = OpenSession(options_.input, options_.session, console_, session_) && Export();
        if (session_.host && !session_.Close(console_)) return kFailed;
        return good ? kDone : kFailed;
    }

private:
    bool Export() {
        const auto comps = session_.host->comps();
        if (comps.empty() || comps.front()->effects.empty()) return Fail("the project has no effect");
        const int count = session_.project.composition.frameCount();
        if (options_.frame >= count)
            return Fail("the composition has " + std::to_string(count) + " frames, counted from 0");
        // The host hands out the pixels of layers while a frame is rendered, and only then.
        Picture picture;
        session_.host->interrupted = InterruptAsked;
        const HostResult result = session_.host->RenderFrame(options_.frame, 8, picture);
        if (!result.good()) return Fail(result.text);
        for (const auto& effect : comps.front()->effects)
            if (effect->enabled) return Ask(*effect);
        return Fail("the project's effects are switched off");
    }

    bool Ask(EffectInstance& effect) {
        ordered_json answer;
        const bool written = Answer(&effect,
                                    {{"do", "export"},
                                     {"group", options_.group},
                                     {"path", std::filesystem::absolute(options_.output).string()}},
                                    answer);
        ordered_json facts;
        if (Answer(nullptr, {{"do", "frame"}}, facts) && facts.contains("warnings"))
            for (const auto& warning : facts["warnings"])
                if (warning.is_string()) console_.Warn(warning.get<std::string>());
        if (!written) console_.Error(answer.value("error", std::string("the plug-in does not answer")));
        return written && session_.Tell(console_);
    }

    bool Answer(EffectInstance* effect, const ordered_json& request, ordered_json& answer) {
        std::string reason;
        const auto text = session_.host->Introspect(
            effect, request.dump(-1, ' ', false, ordered_json::error_handler_t::replace), {}, reason);
        answer = text ? ordered_json::parse(*text, nullptr, false) : ordered_json{{"error", reason}};
        if (!answer.is_object()) answer = {{"error", "the plug-in's answer cannot be read"}};
        return !answer.contains("error");
    }

    bool Fail(const std::string& reason) {
        console_.Error(options_.input + ": " + reason);
        return false;
    }

    const Arguments& options_;
    Console& console_;
    Session session_;
};

} // namespace

int RunExport(const Arguments& options) {
    Console console(false);
    if (SmallExtension(options.output) != ".obj") {
        console.Error("-o " + options.output + ": an export is a .obj file");
        return kWrongUsage;
    }
    CatchInterrupts();
    return Exporter(options, console).Run();
}

} // namespace velorin::app
