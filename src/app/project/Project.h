#pragma once

#include "app/project/Keyframes.h"

#include <compare>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

// What a project file says, as plain values. Positions in pixels of the composition (x right, y down, z away
// from the viewer), angles in degrees, times in seconds, colours 0 to 255, percentages as numbers (50 for 50
// %).
namespace velorin::app {

struct JsonDocument;
struct JsonNode;

// A rate of frames as the fraction that it stands for: scale / step frames a second.
struct FrameRate {
    int scale = 24000;
    int step = 1000;
    [[nodiscard]] double perSecond() const { return static_cast<double>(scale) / step; }
    friend bool operator==(const FrameRate&, const FrameRate&) = default;
};
// 29.97 and its like become the fraction over 1001. The step is at least 1000 units, so that times between
// frames can be told as whole units.
[[nodiscard]] FrameRate FrameRateFromNumber(double perSecond);

struct Composition {
    int width = 1280;
    int height = 720;
    double pixelAspect = 1;
    FrameRate frameRate;
    double duration = 5; // seconds
    int downsampleX = 1, downsampleY = 1;
    int depth = 8; // bits of a channel: 8, 16 or 32
    bool motionBlur = false;
    double shutterAngle = 180;
    double shutterPhase = -90;

    [[nodiscard]] int frameCount() const;
    // Of the host's default camera.
    [[nodiscard]] double defaultZoom() const { return width * 50.0 / 36.0; }
};

struct Camera {
    int id = 0; // as the host counts layers; 0: a free one
    bool orthographic = false;
    AnimatedValue position;
    std::optional<AnimatedValue> pointOfInterest; // none: the camera looks along its own axis
    AnimatedValue orientation{0, 0, 0};
    AnimatedValue rotation{0, 0, 0};
    AnimatedValue zoom;
    bool depthOfField = false;
    AnimatedValue focusDistance;
    AnimatedValue aperture{17.7};
    AnimatedValue blurLevel{100};
};

enum class LightKind { Parallel, Spot, Point, Ambient };

struct Light {
    int id = 0;
    std::string name;
    LightKind kind = LightKind::Parallel;
    AnimatedValue position;
    AnimatedValue pointOfInterest;
    AnimatedValue intensity{100};
    AnimatedValue color{255, 255, 255};
    AnimatedValue coneAngle{90};
    AnimatedValue coneFeather{50};
    bool castsShadows = false;
    AnimatedValue shadowDarkness{100};
    AnimatedValue shadowDiffusion{0};
};

struct MaskVertex { // tangents relative to the vertex
    AnimatedValue position{0, 0, 0}, in{0, 0, 0}, out{0, 0, 0};
};
struct Mask {
    bool closed = true;
    std::vector<MaskVertex> vertices;
};

enum class LayerKind { Image, Text, Solid, Null };
enum class TextAlignment { Left, Center, Right };

struct Layer {
    int id = 0;
    std::string name;
    LayerKind kind = LayerKind::Solid;
    std::string file; // Image, absolute
    std::string text; // Text, and how it is set
    std::string font = "DejaVu Sans";
    AnimatedValue size{72};
    TextAlignment alignment = TextAlignment::Left;
    AnimatedValue tracking; // thousandths of the size between letters
    AnimatedValue leading;  // pixels from line to line; 0 is 1.2 times the size
    AnimatedValue color{255, 255, 255};
    int width = 0, height = 0; // Solid; 0 is the composition's
    AnimatedValue position, anchorPoint{0, 0, 0}, scale{100, 100, 100}, rotation{0, 0, 0},
        orientation{0, 0, 0};
    AnimatedValue opacity{100};
    std::vector<Mask> masks;
};

// How a text layer is set at a moment.
struct TextStyle {
    double size = 72;    // pixels of the em square
    double tracking = 0; // pixels between letters
    double leading = 0;  // pixels from line to line
    friend auto operator<=>(const TextStyle&, const TextStyle&) = default;
};
// At a time of the layer, seconds.
[[nodiscard]] TextStyle TextStyleAt(const Layer& layer, double seconds);

// One entry of "parameters" or one --set, read against the rows once the module is loaded.
struct ParameterSetting {
    std::string key;
    std::string source; // "scene.json", or "--set"
    std::shared_ptr<const JsonDocument> document;
    std::size_t keyOffset = 0;
    const JsonNode* value = nullptr; // in `document`
};

struct Effect {
    bool enabled = true;
    std::vector<ParameterSetting> parameters;
    const JsonNode* scene = nullptr; // in the project's document
    std::string sceneFile;           // absolute; in place of `scene`
    // What a save kept as bytes: flat sequence data ("" for none at all), and the flat scene, for where there
    // is no readable one.
    std::optional<std::string> storedSequence, storedScene;
};

struct Project {
    std::string path;   // as the user gave it
    std::string folder; // absolute; base of relative paths
    std::shared_ptr<const JsonDocument> document;
    Composition composition;
    std::optional<Camera> camera;
    std::vector<Light> lights;
    std::vector<Layer> layers;
    std::vector<Effect> effects;
};

} // namespace velorin::app
