#include "host/AEPluginConnection.h"

#include "core/Velorin.h"
#include "host/CoreContext.h"
#include "host/FrameRows.h"
#include "host/HostCamera.h"
#include "host/HostMemory.h"
#include "host/InstanceList.h"
#include "host/JitterTables.h"
#include "render/gl/GLError.h"
#include "services/Profiler.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace velorin {
namespace {

constexpr std::string_view kSizeNotPossible =
    "Your video card does not support the selected configuration,\n please reduce the layer size.";

void SetMessage(PF_OutData& out, std::string_view text) {
    const std::size_t length = text.copy(out.return_msg, sizeof out.return_msg - 1);
    out.return_msg[length] = 0;
}

} // namespace

// One picture of all instances on the layer, drawn by the last of them.
class UnifiedFrame {
public:
    UnifiedFrame(AEPluginConnection& owner, PluginCall& call, InstanceList& list, SequenceRecord& own,
                 const FrameImages& images)
        : owner_(owner),
          call_(call),
          list_(list),
          own_(own),
          images_(images),
          core_(*owner.velorin_),
          startTime_(call.in_data->current_time) {}
    ~UnifiedFrame() {
        call_.in_data->current_time = startTime_;
        for (const Part& part : parts_) part.record->params->settings = nullptr; // they die with this
    }
    UnifiedFrame(const UnifiedFrame&) = delete;
    UnifiedFrame& operator=(const UnifiedFrame&) = delete;

    void Run();

private:
    enum class Outcome { Done, Stopped, Failed, Disturbed };

    struct Part { // an instance that is drawn
        const InstanceEntry* entry;
        SequenceRecord* record;
        bool own;
    };

    [[nodiscard]] bool Gather();
    [[nodiscard]] Outcome Attempt();
    [[nodiscard]] bool SetUp();
    void ReadCamera();
    [[nodiscard]] bool ReadPart(const Part& part);
    void BuildPart(const Part& part);
    [[nodiscard]] bool Captured(const Part& part) const;
    [[nodiscard]] Outcome RenderPasses();
    [[nodiscard]] bool Progress();
    void DrawPass(int pass, float weight);
    [[nodiscard]] bool Disturbed() const { return owner_.framesDrawn_ != framesBefore_; }

    AEPluginConnection& owner_;
    PluginCall& call_;
    InstanceList& list_;
    SequenceRecord& own_;
    const FrameImages& images_;
    Velorin& core_;
    A_long startTime_; // layer time of the frame

    std::vector<Part> parts_;
    std::vector<std::unique_ptr<HandleLock>> locks_;
    FrameRecord frame_; // of the main instance
    CameraState camera_;
    Lens lens_;
    double compAspect_ = 1;
    int passesDone_ = 0;
    std::uint64_t framesBefore_ = 0;
};

// Finds the records of the instances that are drawn and copies the main one's settings. False when there is
// nothing to draw.
bool UnifiedFrame::Gather() {
    const InstanceEntry* main = list_.main();
    if (!main) return false;
    const PF_UtilCallbacks* utils = call_.utils();
    SequenceRecord* mainRecord = nullptr;
    for (const InstanceEntry& entry : list_.entries()) {
        if (!entry.isUnified && &entry != main) continue;
        Part part{&entry, &own_, entry.handle == call_.in_data->sequence_data};
        if (!part.own) {
            locks_.push_back(std::make_unique<HandleLock>(utils, entry.handle));
            void* const memory = locks_.back()->memory();
            part.record = owner_.live_.Find(entry.handle, memory,
                                            memory ? utils->host_get_handle_size(entry.handle) : 0);
            if (!part.record) continue;
            // A sibling whose own frame came from the host's cache has read nothing yet.
            if (&entry == main && !ReadPart(part)) return false;
        }
        if (&entry == main) mainRecord = part.record;
        parts_.push_back(part);
    }
    if (!mainRecord) return false;
    frame_ = mainRecord->frame;
    frame_.settings.environment.overrideLayer =
        mainRecord->overrideLayer.texture.empty() ? nullptr : &mainRecord->overrideLayer.texture;
    return true;
}

void UnifiedFrame::Run() {
    if (!Gather()) return;
    compAspect_ = CompPixelAspect(call_);
    // Reading can make the host render an earlier instance, which then takes over the renderer. What it has
    // rendered stands in its cache afterwards, so that a second attempt is let alone.
    constexpr int kAttempts = 3;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        const Outcome outcome = Attempt();
        call_.in_data->current_time = startTime_;
        if (outcome == Outcome::Done || outcome == Outcome::Failed) return;
        core_.DropFrame();
        if (outcome == Outcome::Stopped) return;
    }
}

UnifiedFrame::Outcome UnifiedFrame::Attempt() {
    framesBefore_ = owner_.framesDrawn_;
    passesDone_ = 0;
    const int samples = frame_.motionBlurSamples;
    const A_long step = call_.in_data->local_time_step;
    for (int sample = 0; sample < samples; ++sample) {
        call_.in_data->current_time =
            startTime_ +
            static_cast<A_long>(static_cast<float>(step) *
                                (static_cast<float>(sample) * frame_.shutter / static_cast<float>(samples)));
        ReadCamera();
        for (const Part& part : parts_)
            if (!ReadPart(part)) return Outcome::Stopped;
        if (Disturbed()) return Outcome::Disturbed;
        if (sample == 0 && !SetUp()) return Outcome::Failed;
        for (const Part& part : parts_) BuildPart(part);
        const Outcome outcome = RenderPasses();
        if (outcome != Outcome::Done) return outcome;
    }
    VELORIN_PROFILE("AEPluginConnection::UnifiedRender", "EndRender");
    const CoreContext context(*core_.renderer);
    (void)core_.EndRender(); // a picture that could not be written was logged there
    gl::CheckGLError("AEPluginConnection::UnifiedRender", __LINE__);
    ++owner_.framesDrawn_;
    return Outcome::Done;
}

void UnifiedFrame::ReadCamera() {
    const PF_InData& in = *call_.in_data;
    camera_ = MakeCameraState(ReadHostCamera(call_, in.current_time), compAspect_, frame_.nearPlane,
                              frame_.farPlane);
    LensInput input;
    input.dofPopup = frame_.dofPopup;
    input.modePopup = frame_.dofModePopup;
    input.qualityPopup = frame_.dofSampleSet;
    input.radiusMultiplier = frame_.dofRadiusMultiplier;
    input.renderMode = frame_.settings.renderMode;
    input.output = frame_.settings.output;
    input.imageWidth = static_cast<float>(images_.output.width);
    lens_ = SetUpLens(camera_, input, frame_.settings.dof);
    frame_.settings.camera = camera_;
}

bool UnifiedFrame::SetUp() {
    const CoreContext context(*core_.renderer);
    core_.renderer->SetOutput(images_.output);
    if (core_.renderer->SetupRender(frame_.settings) == SetupResult::Done) return true;
    SetMessage(*call_.out_data, kSizeNotPossible);
    return false;
}

// The instance's rows at the sample's time. False when the host refuses or the user stopped.
bool UnifiedFrame::ReadPart(const Part& part) {
    VELORIN_PROFILE("AEPluginConnection::UnifiedRender", "ReadParams");
    if (part.own) {
        owner_.ReadSample(call_, *part.record);
        return true;
    }
    call_.err = list_.Ask(*part.entry, kGeneralRead, nullptr);
    return call_.err == PF_Err_NONE;
}

void UnifiedFrame::BuildPart(const Part& part) {
    VELORIN_PROFILE("AEPluginConnection::UnifiedRender", "ObjectCreation");
    SequenceRecord& record = *part.record;
    FrameParams& params = *record.params;
    params.scene = record.scene.get();
    params.settings = part.entry->isUnified ? nullptr : &frame_.settings;
    for (std::size_t i = 0; i < kLayerCount; ++i)
        params.layers[i] =
            record.customTextures[i].texture.empty() ? nullptr : &record.customTextures[i].texture;
    const CoreContext context(*core_.renderer);
    (void)core_.BuildFrame(params,
                           camera_.position); // a group that is too large was reported and stays empty
    if (Captured(part)) owner_.capture_.KeepParticles(params);
}

// The instance that was asked for; the calling one when that is not among them.
bool UnifiedFrame::Captured(const Part& part) const {
    const Capture& capture = owner_.capture_;
    if (!capture.armed()) return false;
    const auto wanted = [&](const Part& other) { return capture.instance() == other.entry->handle; };
    return std::any_of(parts_.begin(), parts_.end(), wanted) ? wanted(part) : part.own;
}

bool UnifiedFrame::Progress() {
    const PF_InData& in = *call_.in_data;
    call_.err = in.inter.progress(in.effect_ref, passesDone_, lens_.passes * frame_.motionBlurSamples);
    return call_.err == PF_Err_NONE;
}

UnifiedFrame::Outcome UnifiedFrame::RenderPasses() {
    for (int pass = 0; pass < lens_.passes; ++pass) {
        if (!Progress()) return Outcome::Stopped;
        if (Disturbed()) return Outcome::Disturbed;
        CameraState camera = camera_;
        if (lens_.passes > 1) {
            const Point2 jitter = JitterTable(frame_.dofSampleSet)[static_cast<std::size_t>(pass)];
            camera = MoveOnLens(camera_, (jitter.x - 0.5f) * lens_.radius, (jitter.y - 0.5f) * lens_.radius);
        }
        frame_.settings.camera = camera;
        DrawPass(pass, 1 / static_cast<float>(passesDone_ + 1));
        ++passesDone_;
    }
    return Outcome::Done;
}

void UnifiedFrame::DrawPass(int pass, float weight) {
    const CoreContext context(*core_.renderer);
    for (const Part& part : parts_)
        core_.SetRender(static_cast<std::uint32_t>(pass), *part.record->params,
                        frame_.settings.camera.position);
    if (owner_.capture_.armed()) owner_.capture_.KeepDraws(core_.drawList());
    if (core_.glReady()) core_.Render(frame_.settings, weight);
}

void AEPluginConnection::UnifiedRender(PluginCall& call, InstanceList& list, SequenceRecord& own,
                                       const FrameImages& images) {
    UnifiedFrame(*this, call, list, own, images).Run();
    statisticsAfter_ = velorin_->renderer->statistics();
    if (call.err == PF_Err_NONE) capture_.Disarm();
}

} // namespace velorin
