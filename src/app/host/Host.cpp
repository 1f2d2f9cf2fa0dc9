#include "app/host/Host.h"

#include "app/host/Callbacks.h"

#include "platform/GLContext.h"
#include "platform/SharedLibrary.h"

#include "services/Log.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace velorin::app {

namespace {

Host* currentHost = nullptr;

struct CommandText {
    PF_Cmd command;
    const char* name;
};
constexpr CommandText kCommandNames[] = {
    {PF_Cmd_ABOUT, "ABOUT"},
    {PF_Cmd_GLOBAL_SETUP, "GLOBAL_SETUP"},
    {PF_Cmd_GLOBAL_SETDOWN, "GLOBAL_SETDOWN"},
    {PF_Cmd_PARAMS_SETUP, "PARAMS_SETUP"},
    {PF_Cmd_SEQUENCE_SETUP, "SEQUENCE_SETUP"},
    {PF_Cmd_SEQUENCE_RESETUP, "SEQUENCE_RESETUP"},
    {PF_Cmd_SEQUENCE_FLATTEN, "SEQUENCE_FLATTEN"},
    {PF_Cmd_SEQUENCE_SETDOWN, "SEQUENCE_SETDOWN"},
    {PF_Cmd_USER_CHANGED_PARAM, "USER_CHANGED_PARAM"},
    {PF_Cmd_UPDATE_PARAMS_UI, "UPDATE_PARAMS_UI"},
    {PF_Cmd_EVENT, "EVENT"},
    {PF_Cmd_COMPLETELY_GENERAL, "COMPLETELY_GENERAL"},
    {PF_Cmd_QUERY_DYNAMIC_FLAGS, "QUERY_DYNAMIC_FLAGS"},
    {PF_Cmd_ARBITRARY_CALLBACK, "ARBITRARY_CALLBACK"},
    {PF_Cmd_SMART_PRE_RENDER, "SMART_PRE_RENDER"},
    {PF_Cmd_SMART_RENDER, "SMART_RENDER"},
};

void ReportHandleFault(void* context, const std::string& sentence) {
    static_cast<Host*>(context)->Fault(sentence);
}

void ReportPixelWarning(void* context, const std::string& sentence) {
    static_cast<Host*>(context)->Warn(sentence);
}

std::string Joined(const std::vector<std::string>& sentences) {
    std::string text;
    for (const std::string& sentence : sentences) text += (text.empty() ? "" : "; ") + sentence;
    return text;
}

} // namespace

std::string CommandName(PF_Cmd command) {
    for (const CommandText& text : kCommandNames)
        if (text.command == command) return text.name;
    return "command " + std::to_string(command);
}

Host* Host::current() {
    return currentHost;
}

Host::Host(const std::string& path, const HostOptions& hostOptions)
    : history(*this),
      options(hostOptions),
      handles(ReportHandleFault, this),
      pixels(ReportPixelWarning, this),
      modulePath(path),
      utilities_(UtilityCallbacks()),
      basicSuite_(BasicSuite()) {
    currentHost = this;
}

std::unique_ptr<Host> Host::Start(const std::string& modulePath, const HostOptions& options,
                                  std::string& error) {
    std::unique_ptr<Host> host(new Host(modulePath, options));
    const HostResult result = host->Load();
    if (result.good()) return host;
    error = modulePath + ": " + result.text;
    return nullptr;
}

Host::~Host() {
    Quit();
    currentHost = nullptr;
}

HostResult Host::Load() {
    const std::optional<PiplFacts> pipl = ReadPipl(modulePath);
    std::string reason;
    std::optional<SharedLibrary> library = SharedLibrary::Open(modulePath, reason);
    if (!library) return {A_Err_GENERIC, "the plug-in module cannot be loaded: " + reason};
    library_ = std::make_unique<SharedLibrary>(std::move(*library));
    if (pipl) facts = *pipl;
    entry_ = reinterpret_cast<PluginEntry>(library_->Symbol(facts.entryPoint.c_str()));
    if (!entry_) return {A_Err_GENERIC, "the module exports no function \"" + facts.entryPoint + "\""};
    if (options.strict) {
        context_ = GLContext::Create(reason);
        if (context_ && !context_->MakeCurrent()) context_.reset();
    }

    const HostResult result = Call(PF_Cmd_GLOBAL_SETUP, nullptr, 0);
    if (!result.good()) return result;
    setUp_ = true;
    if (pipl && (version_ != facts.version || outFlags_ != facts.outFlags || outFlags2_ != facts.outFlags2))
        return {A_Err_GENERIC, "its version and flags at set-up differ from those that its file declares"};
    return SetUpParameters();
}

HostResult Host::SetUpParameters() {
    HostResult result = Call(PF_Cmd_PARAMS_SETUP, nullptr, 0);
    if (!result.good()) return result;
    std::vector<std::string> faults, warnings;
    rows_.Finish(declaredParameters_, faults, warnings);
    // Of interest to who made the plug-in, not to who uses it.
    for (const std::string& warning : warnings) {
        if (options.strict)
            Warn(warning);
        else
            Log("host: %s", warning.c_str());
    }
    if (!faults.empty()) return {A_Err_GENERIC, "its parameters are refused: " + Joined(faults)};
    return {};
}

void Host::Quit() {
    if (!setUp_) return;
    CloseProject();
    for (const ParameterRow& row : rows_.rows())
        if (row.type() == PF_Param_ARBITRARY_DATA && row.def.u.arb_d.dephault)
            DisposeArbitrary(row.def.u.arb_d.dephault, nullptr);
    const HostResult result = Call(PF_Cmd_GLOBAL_SETDOWN, nullptr, 0);
    setUp_ = false;
    if (!result.good()) reports.Fault(result.text);
    if (handles.count() != 0)
        reports.Fault("after GLOBAL_SETDOWN " + std::to_string(handles.count()) + " handles are left");
    if (const int images = objects.Count(ObjectKind::Image); images != 0)
        reports.Fault("after GLOBAL_SETDOWN " + std::to_string(images) + " drawing images are left");
}

void Host::Fault(const std::string& sentence) {
    if (runs_.empty()) {
        reports.Fault(sentence);
        return;
    }
    const CommandRun& run = *runs_.back();
    reports.Fault(CommandName(run.command) +
                  (run.instance ? " of effect " + std::to_string(run.instance->number) : "") + ": " +
                  sentence);
}

double Host::Seconds(A_long time, A_u_long scale) const {
    return static_cast<double>(time) / static_cast<double>(std::max<A_u_long>(scale, 1));
}

A_Time Host::TimeFromSeconds(double seconds) const {
    const auto scale = static_cast<A_u_long>(comp_->settings.frameRate.scale);
    return {static_cast<A_long>(std::lround(seconds * scale)), scale};
}

std::vector<HostComp*> Host::comps() const {
    std::vector<HostComp*> all;
    for (HostComp* comp : {comp_.get(), renderComp_.get()})
        if (comp) all.push_back(comp);
    return all;
}

EffectInstance* Host::InstanceOf(PF_ProgPtr reference) {
    auto* wanted = reinterpret_cast<EffectInstance*>(reference);
    for (const HostComp* comp : comps())
        for (const auto& effect : comp->effects)
            if (effect.get() == wanted) return wanted;
    Fault(reference ? "a callback got an effect reference that is none"
                    : "a callback got no effect reference");
    return nullptr;
}

bool Host::IsCancelled() {
    const int call = cancelCalls++;
    return call == options.cancelAt || (interrupted && interrupted());
}

bool Host::Record(Change change, const std::string& name) {
    if (running() && run().renderSide()) {
        Fault("the project was changed from the render side");
        return false;
    }
    ProjectChanged();
    if (running() && run().undoDepth > 0) {
        run().undoGroup.changes.push_back(std::move(change));
    } else {
        UndoStep step{name, {}};
        step.changes.push_back(std::move(change));
        history.Add(std::move(step));
    }
    return true;
}

bool Host::RecordStream(HostStream& stream, EffectInstance* instance, const std::string& name) {
    StreamChange change{&stream, instance, stream};
    change.other.arbitrary = nullptr;
    if (running() && run().renderSide()) return Record(std::move(change), name); // tells, and refuses
    if (stream.arbitrary) change.other.arbitrary = CopyArbitrary(stream.arbitrary, instance);
    return Record(std::move(change), name);
}

const ParameterRow* Host::arbitraryRow() const {
    for (const ParameterRow& row : rows_.rows())
        if (row.type() == PF_Param_ARBITRARY_DATA) return &row;
    return nullptr;
}

} // namespace velorin::app
