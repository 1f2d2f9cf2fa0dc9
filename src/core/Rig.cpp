#include "core/Rig.h"

#include "services/Library.h"
#include "services/StringConversion.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace velorin {
namespace {

constexpr std::size_t kTurbine = 18;     // an angle: behind a full turn it starts again
constexpr std::size_t kMaxParents = 256; // a longer chain of joints is a circle

// What one layer at `percent` does to a joint: rotation, then translation; nothing when the layer leaves it
// alone.
Matrix LayerMotion(const AnimationLayer& layer, const std::string& joint, float percent) {
    if (!std::isfinite(percent) || (layer.startFrame == layer.endFrame && percent == 0)) return {};
    const auto track = layer.tracks.find(joint);
    if (track == layer.tracks.end() || track->second.empty()) return {};
    const LayerKeys& keys = track->second;
    const float last = static_cast<float>(keys.size() - 1);
    const float place = std::min(std::fabs(percent) / 100 * last, last);
    const auto first = static_cast<std::size_t>(place);
    const std::size_t second = std::min(first + 1, keys.size() - 1);
    const float fraction = place - static_cast<float>(first);
    Quaternion rotation = Slerp(keys[first].quaternion, keys[second].quaternion, fraction);
    Point3 position = Mix(keys[first].position, keys[second].position, fraction);
    if (percent < 0) {
        // The motion from the first pose, the other way round.
        const Quaternion rest = keys[0].quaternion;
        const Quaternion conjugate{-rotation.x, -rotation.y, -rotation.z, rotation.w};
        rotation = rest * conjugate * rest;
        position = keys[0].position * 2 - position;
    }
    return ToMatrix(rotation) * Matrix::Translation(position);
}

const ModelJoint* FindJoint(const std::list<ModelJoint>& joints, const std::string& name) {
    const auto found = std::find_if(joints.begin(), joints.end(),
                                    [&](const ModelJoint& joint) { return joint.name == name; });
    return found == joints.end() ? nullptr : &*found;
}

std::string_view Trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t\r");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

// The numbers behind the colon; false when something else stands there or there are too many.
bool ReadNumbers(std::string_view text, RigTable& table) {
    table.fill(-1);
    std::size_t channel = 0;
    while (true) {
        const std::size_t first = text.find_first_not_of(" \t\r,");
        if (first == std::string_view::npos) return channel > 0;
        text.remove_prefix(first);
        if (channel == table.size()) return false;
        const auto read = std::from_chars(text.data(), text.data() + text.size(), table[channel++]);
        if (read.ec != std::errc()) return false;
        text.remove_prefix(static_cast<std::size_t>(read.ptr - text.data()));
        if (!text.empty() && text.find_first_of(" \t\r,") != 0) return false;
    }
}

} // namespace

const RigTable& DefaultRigTable() {
    static const RigTable table = [] {
        RigTable t;
        t.fill(-1);
        for (std::int32_t layer = 0; layer <= 10; ++layer) t[static_cast<std::size_t>(19 + layer)] = layer;
        return t;
    }();
    return table;
}

std::string RigKey(std::string_view path) {
    if (const auto place = SplitBundlePath(std::string(path))) return SmallLetters(place->entry);
    return SmallLetters(path.substr(path.find_last_of("/\\") + 1));
}

std::size_t ReadRigTables(std::string_view text, RigTables& tables) {
    std::size_t unread = 0;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        line = Trimmed(line.substr(0, line.find('#')));
        if (line.empty()) continue;
        const std::size_t colon = line.rfind(':');
        const std::string_view name =
            colon == std::string_view::npos ? std::string_view{} : Trimmed(line.substr(0, colon));
        RigTable table;
        if (name.empty() || !ReadNumbers(line.substr(colon + 1), table)) {
            ++unread;
            continue;
        }
        tables[RigKey(name)] = table;
    }
    return unread;
}

Matrix RigMatrix(std::span<const AnimationLayer> layers, const std::list<ModelJoint>& joints,
                 const std::string& mesh, const RigTable& table,
                 const std::array<float, kRigChannelCount>& values) {
    Matrix result;
    std::string name = mesh;
    for (std::size_t depth = 0; depth < kMaxParents && !name.empty(); ++depth) {
        Matrix motion;
        for (std::size_t channel = 0; channel < kRigChannelCount; ++channel) {
            const std::int32_t layer = table[channel];
            if (layer < 0 || static_cast<std::size_t>(layer) >= layers.size()) continue;
            const float value = channel == kTurbine ? std::fmod(values[channel], 100.0f) : values[channel];
            motion = motion * LayerMotion(layers[static_cast<std::size_t>(layer)], name, value);
        }
        const ModelJoint* const joint = FindJoint(joints, name);
        if (!joint) return result * motion;
        result = result * Inverse(joint->matrix) * motion * joint->matrix;
        name = joint->parentName;
    }
    return result;
}

} // namespace velorin
