#include "app/command/Commands.h"
#include "app/command/Interrupt.h"
#include "app/command/SaveProject.h"

#include "platform/Clock.h"
#include "platform/Process.h"
#include "services/CrashReport.h"
#include "services/StringConversion.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <filesystem>

namespace velorin::app {

namespace {

using nlohmann::ordered_json;

enum class PictureFormat { Png, Exr };

std::optional<PictureFormat> FormatOf(const std::string& output) {
    const std::string extension = SmallExtension(output);
    if (extension == ".png") return PictureFormat::Png;
    if (extension == ".exr") return PictureFormat::Exr;
    return std::nullopt;
}

// What can be said of the arguments alone, before any file is opened. False with a sentence.
bool CheckArguments(const Arguments& options, Console& console) {
    if (!FormatOf(options.output))
        return console.Error("-o " + options.output + ": the output is a .png or .exr file"), false;
    if (!options.save.empty() && KindOfInput(options.save) != InputKind::Project)
        return console.Error("--save " + options.save + ": a project is a .json file"), false;
    if (!options.frames.empty() && !ParseFrameRange(options.frames))
        return console.Error("--frames " + options.frames + ": expected A, A-B or A-B/STEP, counted from 0"),
               false;
    if (!options.size.empty() && !ParseSize(options.size))
        return console.Error("--size " + options.size + ": expected WxH, each from 1 to 30000"), false;
    if (options.depth != 0 && options.depth != 8 && options.depth != 16 && options.depth != 32)
        return console.Error("--depth " + std::to_string(options.depth) + ": expected 8, 16 or 32"), false;
    for (const std::string& setting : options.session.settings)
        if (const std::size_t equal = setting.find('='); equal == 0 || equal == std::string::npos)
            return console.Error("--set " + setting + ": expected KEY=VALUE"), false;
    if (const auto range = ParseFrameRange(options.frames);
        range && range->first + range->step <= range->last && !NumberedName(options.output, 0))
        return console.Error("-o " + options.output +
                             ": several frames need #### in the name, where the frame's number goes"),
               false;
    return true;
}

// The frames to render; nothing, with a sentence, when the composition has not got them.
std::optional<std::vector<int>> FrameList(const Arguments& options, const Composition& comp,
                                          Console& console) {
    const int count = comp.frameCount();
    FrameRange range;
    if (!options.frames.empty())
        range = *ParseFrameRange(options.frames);
    else if (NumberedName(options.output, 0))
        range.last = count - 1;
    if (range.last >= count) {
        console.Error("--frames " + options.frames + ": the composition has " + std::to_string(count) +
                      (count == 1 ? " frame, number 0" : " frames, 0 to " + std::to_string(count - 1)));
        return std::nullopt;
    }
    std::vector<int> frames;
    for (int frame = range.first; frame <= range.last; frame += range.step) frames.push_back(frame);
    return frames;
}

class Renderer {
public:
    Renderer(const Arguments& options, Console& console) : options_(options), console_(console) {}

    int Run() {
        const int status = Render();
        if (session_.host && !session_.Close(console_)) return Finish(kFailed);
        return Finish(status);
    }

private:
    int Render() {
        if (!OpenSession(options_.input, options_.session, console_, session_)) return kFailed;
        const Composition& comp = session_.project.composition;
        if (session_.project.effects.empty()) {
            console_.Error(options_.input + ": the project has no effect to render");
            return kFailed;
        }
        const auto frames = FrameList(options_, comp, console_);
        if (!frames) return kWrongUsage;
        if (!CheckDevices()) return kFailed;
        Host& host = *session_.host;
        int done = 0;
        const int total = static_cast<int>(frames->size());
        host.interrupted = InterruptAsked;
        host.onProgress = [&](int current, int of) {
            console_.Progress(done, total, static_cast<double>(current) / of);
        };
        for (const int frame : *frames) {
            console_.Progress(done, total, 0);
            if (!RenderOne(frame)) return kFailed;
            ++done;
        }
        console_.EndProgress();
        if (!options_.save.empty() && !SaveProject(session_, options_.save, console_)) return kFailed;
        return kDone;
    }

    // Without OpenGL the plug-in renders nothing, and says why when asked.
    bool CheckDevices() {
        devices_ = DeviceNames();
        const ordered_json gl = devices_.is_object() ? devices_.value("gl", ordered_json()) : ordered_json();
        if (!gl.is_object()) return true;
        // The module has its own copy of the services; a crash report of this process should name the driver
        // too.
        SetCrashReportGL(gl.value("vendor", std::string()).c_str(),
                         gl.value("renderer", std::string()).c_str(),
                         gl.value("version", std::string()).c_str());
        if (gl.value("ready", true)) return true;
        console_.Error(gl.value("reason", std::string("OpenGL does not start")));
        return false;
    }

    bool RenderOne(int frame) {
        Host& host = *session_.host;
        const double start = MonotonicSeconds();
        Picture picture;
        const HostResult result = host.RenderFrame(frame, session_.project.composition.depth, picture);
        if (result.code == PF_Interrupt_CANCEL || (result.good() && InterruptAsked())) {
            console_.Error("frame " + std::to_string(frame) + ": stopped by the user");
            return false;
        }
        ordered_json facts = TakeFacts();
        if (!result.good()) {
            console_.Error(options_.input + ": frame " + std::to_string(frame) + ": " + result.text);
            return false;
        }
        if (!session_.Tell(console_)) return false;
        const std::string file = NumberedName(options_.output, frame).value_or(options_.output);
        std::string error;
        const bool written = FormatOf(options_.output) == PictureFormat::Png ? WritePng(file, picture, error)
                                                                             : WriteExr(file, picture, error);
        if (!written) {
            console_.Error(error);
            return false;
        }
        ordered_json entry{{"frame", frame}, {"file", file}};
        entry["milliseconds"] = (MonotonicSeconds() - start) * 1000;
        entry["stages"] = facts.value("stages", ordered_json::object());
        for (const char* key : {"uploads", "programs", "models"})
            if (facts.contains(key)) entry[key] = facts[key];
        frames_.push_back(std::move(entry));
        return true;
    }

    // What the plug-in measured, and its warnings.
    ordered_json TakeFacts() {
        std::string reason;
        const auto answer = session_.host->Introspect(nullptr, R"({"do":"frame"})", {}, reason);
        ordered_json facts = answer ? ordered_json::parse(*answer, nullptr, false) : ordered_json();
        if (!facts.is_object()) return ordered_json::object();
        if (const auto warnings = facts.find("warnings"); warnings != facts.end() && warnings->is_array())
            for (const auto& warning : *warnings)
                if (warning.is_string()) console_.Warn(warning.get<std::string>());
        return facts;
    }

    ordered_json DeviceNames() {
        if (!session_.host) return nullptr;
        std::string reason;
        const auto answer = session_.host->Introspect(nullptr, R"({"do":"devices"})", {}, reason);
        ordered_json devices = answer ? ordered_json::parse(*answer, nullptr, false) : ordered_json();
        return devices.is_object() && !devices.contains("error") ? devices : ordered_json();
    }

    int Finish(int status) {
        if (!options_.json) return status;
        ordered_json report;
        report["frames"] = frames_;
        report["gl"] = devices_.is_object() ? devices_.value("gl", ordered_json()) : ordered_json();
        report["cl"] =
            devices_.is_object() ? devices_.value("cl", ordered_json::array()) : ordered_json::array();
        report["peakMemory"] = PeakMemory();
        report["warnings"] = console_.warnings();
        report["errors"] = console_.errors();
        std::printf("%s\n", report.dump(2, ' ', false, ordered_json::error_handler_t::replace).c_str());
        return status;
    }

    const Arguments& options_;
    Console& console_;
    Session session_;
    ordered_json frames_ = ordered_json::array();
    ordered_json devices_;
};

} // namespace

int RunRender(const Arguments& arguments) {
    Console console(arguments.quiet);
    if (!CheckArguments(arguments, console)) return kWrongUsage;
    Arguments options = arguments;
    if (!options.size.empty()) options.session.size = *ParseSize(options.size);
    // A float file is for what does not fit into the others.
    options.session.depth = options.depth != 0                               ? options.depth
                            : FormatOf(options.output) == PictureFormat::Exr ? 32
                                                                             : 0;
    CatchInterrupts();
    return Renderer(options, console).Run();
}

} // namespace velorin::app
