#pragma once

#include "app/project/Project.h"

#include "host/api/AegpTypes.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

// The project as the host keeps it while it runs: a composition, its layers and their values over time.
namespace velorin::app {

struct HostComp;
struct HostLayer;
struct EffectInstance;

// A value over time behind a stream.
struct HostStream {
    AEGP_StreamType type = AEGP_StreamType_NO_DATA;
    AnimatedValue value; // colours 0 to 255, layers as their id
    bool interpolates = true;
    PF_ArbitraryH arbitrary = nullptr; // of an ARB stream; the instance frees it
    std::uint32_t revision = 0;        // raised by every change
    std::string expression;
    bool expressionOn = false;
    bool hidden = false;
    bool disabled = false;

    [[nodiscard]] bool timeVarying() const { return !value.keys.empty() || expressionOn; }
};

enum class LayerRole { Effect, Image, Text, Solid, Null, Camera, Light };

// What stands behind a layer; the comp itself is an item too.
struct HostItem {
    void* self = this; // an AEGP_ItemH is the address of this member
    HostComp* comp = nullptr;
    HostLayer* layer = nullptr; // null: the item of the comp
    int id = 0;
};

struct HostLayer {
    void* self = this; // an AEGP_LayerH is the address of this member
    HostComp* comp = nullptr;
    int id = 0;
    std::string name;
    LayerRole role = LayerRole::Null;
    AEGP_LayerFlags flags = AEGP_LayerFlag_VIDEO_ACTIVE;
    Layer source;              // of image, text, solid and null layers
    bool orthographic = false; // of a camera
    bool looksAtPoint = false; // of a camera or light
    LightKind light = LightKind::Parallel;
    double startTime = 0; // comp time at which layer time 0 lies, seconds
    double duration = 0;  // seconds
    HostItem item;
    std::map<AEGP_LayerStream, HostStream> streams;

    [[nodiscard]] AEGP_ObjectType objectType() const;
    [[nodiscard]] bool hasSourceItem() const;
    [[nodiscard]] Components ValueAt(AEGP_LayerStream which, double layerSeconds) const;
    [[nodiscard]] A_Matrix4 ToWorld(double compSeconds) const;
    [[nodiscard]] bool Covers(double compSeconds) const;
};

struct HostComp {
    void* self = this; // an AEGP_CompH is the address of this member
    HostItem item;
    Composition settings;
    bool renderCopy = false; // read-only: what renders see in two-copy mode
    A_long currentTime = 0;  // at which the user looks, units of the frame rate's scale
    int nextLayerId = 1;
    std::vector<std::unique_ptr<HostLayer>> layers; // topmost first
    HostLayer* effectLayer = nullptr;
    std::vector<std::unique_ptr<EffectInstance>> effects; // of the effect layer, first to last

    HostComp();
    ~HostComp();
    [[nodiscard]] HostLayer* LayerById(int id) const;
    [[nodiscard]] HostLayer* LayerByName(const std::string& name) const;
    [[nodiscard]] HostLayer* CameraAt(double compSeconds) const; // null: the default camera
    // With the next free id, when none is given.
    HostLayer& AddLayer(LayerRole role, const std::string& name, int id = 0);

    // Places the camera in use; its distance to the image plane in pixels.
    struct CameraView {
        A_Matrix4 matrix;
        double distance = 0;
    };
    [[nodiscard]] CameraView ViewAt(double compSeconds) const;
};

// The layers of a project, without effects.
[[nodiscard]] std::unique_ptr<HostComp> MakeComp(const Project& project);

} // namespace velorin::app
