#pragma once

#include "core/document/AssetContext.h"
#include "host/AEPlugin.h"
#include "host/Capture.h"
#include "host/SequenceRecord.h"
#include "render/ImageHeader.h"
#include "render/RenderStatistics.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace velorin {

class InstanceList;
class ParamReader;
class Velorin;
struct IntrospectionRequest;

// Reply of the general command of type 0.
struct InstanceReply {
    bool isUnified = false;           // "Render Mode" is "Unified": drawn by the instance that is last
    PF_Handle sequenceData = nullptr; // of that instance
};
inline constexpr std::uint64_t kGeneralDescribe = 0; // fill an InstanceReply
inline constexpr std::uint64_t kGeneralRead = 1;     // read the instance's rows into its sequence data

// Pictures of one frame in the host's memory, valid until the end of the command.
struct FrameImages {
    ImageHeader input; // empty when the host could not give it
    OutputTarget output;
};

// The effect. All of an instance is in its sequence data and in the value of "Scene Settings".
class AEPluginConnection : public AEPlugin {
public:
    AEPluginConnection();
    ~AEPluginConnection() override;

    [[nodiscard]] const LiveRecords& liveRecords() const { return live_; }

    // What "Export Obj" does: writes what a group (0 to 4), or all of them (negative), shows at the call's
    // time (Velorin::ExportObj). Layers that shape particles are those of the instance's last frame. False
    // with one sentence when no file was written.
    [[nodiscard]] bool ExportObj(PluginCall& call, int group, const std::string& path, std::string& error);

protected:
    [[nodiscard]] std::unique_ptr<Plugin> CreatePlugin() override;
    void GlobalSetup(PluginCall& call) override;
    void GlobalSetdown(PluginCall& call) override;
    void ParamsSetup(PluginCall& call) override;
    void UpdateParamsUI(PluginCall& call) override;
    [[nodiscard]] PF_Handle SequenceSetup(PluginCall& call) override;
    void SequenceSetdown(PluginCall& call, PF_Handle handle) override;
    [[nodiscard]] PF_Handle SequenceFlatten(PluginCall& call, PF_Handle handle) override;
    [[nodiscard]] PF_Handle SequenceResetup(PluginCall& call, PF_Handle handle) override;
    void CompletelyGeneral(PluginCall& call) override;
    void Event(PluginCall& call) override;
    void UserChangedParam(PluginCall& call) override;
    void ArbitraryCallback(PluginCall& call) override;
    void QueryDynamicFlags(PluginCall& call) override;
    void SmartPreRender(PluginCall& call) override;
    void SmartRender(PluginCall& call) override;

private:
    // Sequence data (SequenceOperations.cpp).
    [[nodiscard]] PF_Handle NewRecord(PluginCall& call, SequenceRecord*& record,
                                      std::unique_ptr<class HandleLock>& lock);
    void DestroyRecord(PF_Handle handle, SequenceRecord& record);

    // One frame (SmartRender.cpp, UnifiedRender.cpp).
    [[nodiscard]] ParamReader Rows(PluginCall& call) const;
    void RefreshPathLayers(PluginCall& call);
    [[nodiscard]] PF_Err TakeImages(PluginCall& call, FrameImages& images);
    void FetchLayers(PluginCall& call, const ParamReader& rows, SequenceRecord& record);
    void RefreshScene(PluginCall& call, const ParamReader& rows, SequenceRecord& record);
    void ReadForFrame(PluginCall& call, SequenceRecord& record);
    // The instance's rows and the outlines of its path layers, at the call's time.
    void ReadSample(PluginCall& call, SequenceRecord& record);
    void RenderFrame(PluginCall& call, PF_Handle ownHandle, SequenceRecord& own, const FrameImages& images);
    void UnifiedRender(PluginCall& call, InstanceList& list, SequenceRecord& own, const FrameImages& images);

    // Introspection.cpp.
    void Introspect(PluginCall& call, IntrospectionRequest& request);
    [[nodiscard]] std::string Answer(PluginCall& call, const IntrospectionRequest& request);

    friend class UnifiedFrame;

    AssetContext assets_;        // of all scenes; outlives them
    Velorin* velorin_ = nullptr; // the same object as `plugin`
    // Guards the core and its GL context. Its owner may take it again: the host renders earlier instances on
    // the same thread while this one waits for its layers.
    std::recursive_mutex renderMutex_;
    LiveRecords live_;
    std::int64_t processStamp_ = 0; // seconds since 1970 at the start: names this process in flat data
    std::uint64_t framesDrawn_ = 0; // tells a frame that another one was drawn in its midst
    int renderDepth_ = 0;           // frames that are under way, one inside the other
    Capture capture_;
    RenderStatistics statisticsBefore_, statisticsAfter_; // of the last frame
};

} // namespace velorin
