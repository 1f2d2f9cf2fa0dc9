#pragma once

#include "app/host/Comp.h"
#include "app/host/HandleStore.h"
#include "app/host/History.h"
#include "app/host/HostReports.h"
#include "app/host/Instance.h"
#include "app/host/LayerPixels.h"
#include "app/host/Objects.h"
#include "app/host/Outlines.h"
#include "app/host/ParameterRows.h"
#include "app/host/Pipl.h"
#include "app/host/World.h"

#include "host/api/HostApi.h"
#include "host/api/Introspection.h"

#include "services/ByteReader.h"

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace velorin {
class GLContext;
class SharedLibrary;
} // namespace velorin

namespace velorin::app {

struct SmartFrame;

struct HostOptions {
    // Renders see a read-only copy of the project, made anew after each edit, with sequence data of its own.
    bool twoCopies = false;
    // More checks at more cost: a GL context of the host's own around each command, checksums of inputs,
    // commands at odd moments.
    bool strict = false;
    bool renderEngine = false;              // what the host says it is
    int cancelAt = -1;                      // the call of progress or abort, from 0, that says "stop"
    std::vector<std::string> missingSuites; // names that are refused
};

// A checkout_param that waits for its check-in.
struct ParameterCheckout {
    const PF_ParamDef* def = nullptr;
    int row = 0;
    double seconds = 0;
    std::shared_ptr<const WorldBuffer> pixels;
};

// One run of one command, from the host's call to its return; runs nest.
struct CommandRun {
    std::size_t number = 0;
    PF_Cmd command = 0;
    EffectInstance* instance = nullptr;
    A_long time = 0; // layer time, units
    std::vector<ParameterCheckout> checkouts;
    std::map<std::pair<std::string, int>, int> suites;
    int streamValues = 0; // out
    int undoDepth = 0;
    UndoStep undoGroup; // while undoDepth is not 0
    SmartFrame* frame = nullptr;
    bool drawing = false; // inside a draw event
    // The writable and effect-only suites are refused then.
    [[nodiscard]] bool renderSide() const { return instance && instance->comp->renderCopy; }
};

// How a host call ended: 0, or the code and what to tell.
struct HostResult {
    PF_Err code = PF_Err_NONE;
    std::string text; // for the user; set when the code is not 0
    [[nodiscard]] bool good() const { return code == PF_Err_NONE; }
};

// What a project's file keeps of an effect beside its values, as bytes.
struct StoredEffect {
    std::string sequence; // flat; empty when the plug-in keeps nothing
    std::string scene;    // flat value of the arbitrary row
};

// The host around one plug-in module. One at a time in a process, used from one thread; the suites reach it
// as `Host::current()`, since their functions carry no context.
class Host {
public:
    // Loads the module, sets it up and asks for its parameters. Null with a sentence otherwise.
    [[nodiscard]] static std::unique_ptr<Host> Start(const std::string& modulePath,
                                                     const HostOptions& options, std::string& error);
    // Ends all instances and sets the plug-in down; what that reports is lost, so call Quit first.
    ~Host();
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;
    void Quit();

    [[nodiscard]] static Host* current();

    // ---- what is open

    // Takes the project's layers and applies its effects, without their values; those that a save wrote are
    // set up from their stored sequence data.
    [[nodiscard]] HostResult Open(const Project& project);
    void CloseProject();
    [[nodiscard]] HostComp& comp() { return *comp_; }
    [[nodiscard]] const ParameterRows& rows() const { return rows_; }
    [[nodiscard]] EffectInstance& instance(std::size_t index) { return *comp_->effects[index]; }
    // Sets a value as the project has it, without an undo step; the arbitrary row takes flat bytes.
    void SetValue(EffectInstance& instance, const ParameterRow& row, const AnimatedValue& value);
    [[nodiscard]] HostResult SetArbitrary(EffectInstance& instance, const ParameterRow& row, Bytes flat);
    [[nodiscard]] bool FlatArbitrary(EffectInstance& instance, const ParameterRow& row, std::string& bytes);
    // Row number of the first arbitrary-data row; null when there is none.
    [[nodiscard]] const ParameterRow* arbitraryRow() const;

    // ---- commands in the order of a session

    [[nodiscard]] HostResult UpdateParameterUI(EffectInstance& instance);
    [[nodiscard]] HostResult QueryDynamicFlags(EffectInstance& instance);
    [[nodiscard]] HostResult UserChanged(EffectInstance& instance, const ParameterRow& row);
    // Flattens and sets up again, as a save does; `stored` gets what the project's file keeps, an entry an
    // effect.
    [[nodiscard]] HostResult Save(std::vector<StoredEffect>* stored = nullptr);

    // ---- what the user does with effects; each is one undo step

    [[nodiscard]] HostResult Apply();
    // As the user's Duplicate: a further instance behind the last.
    [[nodiscard]] HostResult Duplicate(EffectInstance& instance);
    // No step: the clipboard outlives the project.
    [[nodiscard]] HostResult Copy(EffectInstance& instance);
    [[nodiscard]] HostResult Paste(); // behind the last; nothing copied is an error
    // The effect stays in the history until its step is forgotten.
    [[nodiscard]] HostResult Remove(EffectInstance& instance);
    void SetEnabled(EffectInstance& instance, bool enabled);
    // A value typed into a row, with the commands that follow it.
    [[nodiscard]] HostResult Edit(EffectInstance& instance, const ParameterRow& row,
                                  const AnimatedValue& value);
    // The scene as its editor hands it back.
    [[nodiscard]] HostResult EditArbitrary(EffectInstance& instance, const ParameterRow& row, Bytes flat);
    History history;

    // A private call through the general command; `instance` may be null. Nothing with a reason when it
    // fails.
    [[nodiscard]] std::optional<std::string> Introspect(EffectInstance* instance, const std::string& request,
                                                        Bytes payload, std::string& reason);
    // Renders frame `number` (from 0) of the composition. `picture` has the downsampled size.
    [[nodiscard]] HostResult RenderFrame(int number, int depth, Picture& picture);
    // Presses and releases the mouse over a custom control at `x` pixels from its left edge.
    [[nodiscard]] HostResult Click(EffectInstance& instance, const ParameterRow& row, int x);

    // Asked at every progress and abort; true stops the render.
    std::function<bool()> interrupted;
    std::function<void(int current, int total)> onProgress;
    int cancelCalls = 0; // progress and abort calls so far

    // ---- for the suites and callbacks

    [[nodiscard]] CommandRun& run() { return *runs_.back(); }
    [[nodiscard]] bool running() const { return !runs_.empty(); }
    void Fault(const std::string& sentence); // prefixed with the running command
    void Warn(const std::string& sentence) { reports.Message(sentence); }
    [[nodiscard]] bool IsCancelled();
    [[nodiscard]] std::vector<HostComp*> comps() const; // the project, and the render copy when there is one
    [[nodiscard]] EffectInstance* InstanceOf(PF_ProgPtr reference); // null, reported, for one that is none
    // Keeps what a change is about to replace, for the running command's undo group or a step of its own;
    // false (nothing done) on the render side. The change itself follows.
    [[nodiscard]] bool Record(Change change, const std::string& name = {});
    [[nodiscard]] bool RecordStream(HostStream& stream, EffectInstance* instance,
                                    const std::string& name = {});
    // For the history: takes an effect out of its comp with its sequence data flat, and back again.
    [[nodiscard]] HostResult TakeAway(EffectInstance& instance, std::unique_ptr<EffectInstance>& away,
                                      std::size_t& place);
    [[nodiscard]] HostResult PutBack(std::unique_ptr<EffectInstance> effect, std::size_t place);
    void EndInstance(EffectInstance& instance);
    void ProjectChanged() { renderCopyStale_ = true; } // the renders' copy is no longer the project
    [[nodiscard]] HostResult Call(PF_Cmd command, EffectInstance* instance, A_long time,
                                  void* extra = nullptr, PF_InFlags flags = PF_InFlag_NONE);

    void FillDefinition(EffectInstance& instance, int row, double seconds, PF_ParamDef& def);
    [[nodiscard]] PF_ArbitraryH CopyArbitrary(PF_ArbitraryH source, EffectInstance* instance);
    void DisposeArbitrary(PF_ArbitraryH handle, EffectInstance* instance);
    [[nodiscard]] double Seconds(A_long time, A_u_long scale) const;
    [[nodiscard]] A_Time TimeFromSeconds(double seconds) const;

    // Smart render, one file.
    [[nodiscard]] HostResult PreRender(EffectInstance& instance, Rect request, A_long time, int depth,
                                       std::unique_ptr<SmartFrame>& frame);
    [[nodiscard]] HostResult Render(SmartFrame& frame);

    HostOptions options;
    HostReports reports;
    HandleStore handles;
    ObjectStore objects;
    LayerPixels pixels;
    PiplFacts facts;
    std::string modulePath;
    // By layer id and style. Those of another style go once none of the layer's are out.
    std::map<std::pair<int, TextStyle>, std::vector<Outline>> textOutlines;

private:
    Host(const std::string& path, const HostOptions& hostOptions);
    [[nodiscard]] HostResult Load();
    [[nodiscard]] HostResult SetUpParameters();
    EffectInstance& AddInstance(bool enabled);
    [[nodiscard]] HostResult SetUpNew(EffectInstance& instance);
    [[nodiscard]] HostResult SetUpStored(EffectInstance& instance, const std::string& flat);
    [[nodiscard]] HostResult Flatten(EffectInstance& instance);
    [[nodiscard]] HostResult SetUpAgain(EffectInstance& instance, PF_InFlags flags = PF_InFlag_NONE);
    [[nodiscard]] HostResult ShowPanel(EffectInstance& instance);
    void NumberEffects();
    void InitialiseRows(EffectInstance& instance);
    [[nodiscard]] HostResult MakeRenderCopy();
    void FillInData(PF_InData& in, EffectInstance* instance, A_long time);
    void MakeParams(EffectInstance& instance, A_long time);
    void TakeChangedValues(EffectInstance& instance);
    void TakeResults(const CommandRun& run, const PF_OutData& out);
    void CheckAfter(CommandRun& run);
    [[nodiscard]] HostResult SendEvent(EffectInstance& instance, PF_EventExtra& extra);

    SmartFrame* pendingFrame_ = nullptr; // of the render command about to be sent
    std::string lastMessage_;            // of the last command that succeeded
    std::unique_ptr<SharedLibrary> library_;
    PluginEntry entry_ = nullptr;
    std::unique_ptr<GLContext> context_;
    ParameterRows rows_;
    std::unique_ptr<HostComp> comp_, renderComp_;
    bool renderCopyStale_ = true;
    // What Copy took: rows without arbitrary values, and the flat stores.
    struct Clipboard {
        bool enabled = true;
        std::vector<HostStream> rows;
        StoredEffect stores;
    };
    std::optional<Clipboard> clipboard_;
    PF_Handle globalData_ = nullptr;
    PF_OutFlags outFlags_ = 0;
    PF_OutFlags2 outFlags2_ = 0;
    A_u_long version_ = 0;
    int declaredParameters_ = 0;
    int panelMark_ = 0; // its address stands for what controls are drawn on
    bool setUp_ = false;
    std::size_t runCount_ = 0;
    std::vector<std::unique_ptr<CommandRun>> runs_;
    std::vector<PF_ParamDef> paramStorage_;
    std::vector<PF_ParamDef*> params_;
    PF_UtilCallbacks utilities_{};
    SPBasicSuite basicSuite_{};
    friend struct HostCallbacks;
    friend struct DefinitionSource;
};

// The name of a command for messages: "SMART_RENDER".
[[nodiscard]] std::string CommandName(PF_Cmd command);

} // namespace velorin::app
