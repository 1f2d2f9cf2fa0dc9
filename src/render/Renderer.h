#pragma once

#include "render/ImageHeader.h"
#include "render/RenderStatistics.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace velorin {

struct LayerTexture;
struct RenderSettings;
class FrameBuffers;
class FixedPrograms;
class FullScreenQuad;
class TextDrawer;
class TextureManager;
class VelorinRenderer;

// What the GL driver is and can do.
struct DriverInfo {
    std::string vendor, make, version; // GL_VENDOR, GL_RENDERER, GL_VERSION
    int versionCode = 0;    // major * 256 + minor of `version`; 0 when it has two characters or fewer
    bool isAti = false;     // the vendor has "ATI " in it
    int maxTextureSize = 0; // pixels
    int maxViewportWidth = 0, maxViewportHeight = 0;
    int maxSamples = 0; // of a multisampled render buffer
    int maxColourTextureSamples = 0;
    float maxAnisotropy = 0;         // 0 without the extension
    bool textureMultisample = false; // GL_ARB_texture_multisample
    bool sampleShading = false;      // GL_ARB_sample_shading
    int videoMemoryTotalMB = 0;      // 0 until known
    int videoMemoryFreeMB = -1;      // -1 until known
};

// Results of InitGL. Everything but Done leaves rendering refused.
enum class InitError : int {
    Done = 0,
    NoWindow = 1,
    NoDevice = 2,
    OldVersion = 10,
    LoaderFailed = 12,
    NoContext = 13,
    LimitsFault = 100,
    ProgramsFault = 101,
    SeamlessFault = 102,
    NotInitialised = -1
};

// Results of SetupRender.
enum class SetupResult : int { Done = 0, SizeNotPossible = 1, FrameBufferFault = 2 };

// What stands under a pixel of the last frame rendered with RenderSettings::picking.
struct PickResult {
    float worldX = 0, worldY = 0, worldZ = 0;
    float normalX = 0, normalY = 0, normalZ = 0; // world space
    std::uint32_t objectId = 0;                  // index into VelorinRenderer::pickList()
};

// The GL context of the process and what all instances of the effect share in it: fixed full-screen programs,
// frame buffers, textures. It knows nothing of scenes. All calls but the constructor and Shutdown need
// initError() Done; all that draw begin with SetContext by their caller, who also gives the host its own
// context back afterwards. One thread at a time.
class Renderer {
public:
    Renderer();
    ~Renderer();
    Renderer(const Renderer&) = delete;
    Renderer& operator=(const Renderer&) = delete;

    // Shuts down what exists, makes the context and everything in it, and writes the report to the log. May
    // be called again.
    InitError Init();
    void Shutdown();
    [[nodiscard]] InitError initError() const { return initError_; }
    [[nodiscard]] bool ready() const { return initError_ == InitError::Done; }
    [[nodiscard]] const DriverInfo& driver() const { return driver_; }
    // One sentence for a person about a failed Init; empty after a good one.
    [[nodiscard]] std::string InitMessage() const;

    // Makes the context current on this thread and deletes the GL objects that died without it. False without
    // one.
    bool SetContext();

    // Where EndRender writes. Also sets the frame's size, by the target's width and height.
    void SetOutput(const OutputTarget& target);
    [[nodiscard]] const OutputTarget& output() const { return output_; }
    // The frame's size without a host world, for callers that read with ReadFrame.
    void SetFrameSize(int width, int height);
    [[nodiscard]] int width() const { return width_; }
    [[nodiscard]] int height() const { return height_; }

    // Sends a layer's pixels; an empty image clears the texture. The texture keeps its storage while the size
    // and the depth stay. False on a GL fault or a size over the driver's limit, and then the texture is
    // empty.
    [[nodiscard]] bool UploadTexture(const ImageHeader& image, LayerTexture& layer);

    // Once a frame, before the first time sample: frame buffers that fit the settings, and clear ones.
    [[nodiscard]] SetupResult SetupRender(const RenderSettings& settings);
    // Mixes the sample that VelorinRenderer::Render left into the mean: `weight` is 1/k for sample k counted
    // from 1.
    void BlendToFinal(float weight);
    // Once a frame: the steps on the mean, the final colours, and the pixels into the output's rectangle.
    // False when nothing was written.
    bool EndRender();
    // As EndRender, but to a float picture of the caller, `width() * height() * 4` values, RGBA (straight, or
    // as the background makes it), top row first.
    bool ReadFrame(float* rgba);

    // What is under pixel (x, y) of the last picking frame, counted from the top left. False outside and
    // where nothing is.
    [[nodiscard]] bool PickAt(int x, int y, PickResult& result) const;

    [[nodiscard]] const RenderStatistics& statistics() const { return statistics_; }

    // For the other classes of this room. Valid while ready().
    [[nodiscard]] RenderStatistics& count() { return statistics_; }
    [[nodiscard]] TextureManager& textures();
    [[nodiscard]] FrameBuffers& frameBuffers();
    [[nodiscard]] FixedPrograms& programs();
    [[nodiscard]] FullScreenQuad& quad();
    [[nodiscard]] TextDrawer& text();
    // The settings that the steps behind the image read: those of the last time sample.
    void SetFrameSettings(const RenderSettings& settings);

private:
    struct Context;
    struct Frame;

    InitError InitGL();
    InitError ReadLimits();
    void ReadVideoMemory();
    void LogReport() const;
    void KeepPickingData();
    [[nodiscard]] bool ReadBack(bool argb, const std::function<bool(const std::uint16_t*)>& use);

    InitError initError_ = InitError::NotInitialised;
    std::string contextReason_;
    DriverInfo driver_;
    OutputTarget output_;
    std::uint64_t layerRevisions_ = 0; // given out by UploadTexture
    int width_ = 0, height_ = 0;
    RenderStatistics statistics_;
    std::unique_ptr<Context> context_;
    std::unique_ptr<Frame> frame_;
};

} // namespace velorin
