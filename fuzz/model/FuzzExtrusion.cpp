// Extrusion of any outlines with any settings: whatever comes out is finite, counts in threes and keeps to
// the names of its materials.

#include "model/extrusion/BuildExtrusion.h"
#include "services/ByteReader.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>

namespace {

using namespace velorin;

// A number of the input, within the range that the documents' reader lets through.
float Take(ByteReader& in, float low, float high) {
    const float value = in.Read<float>().value_or(0);
    return std::isfinite(value) ? std::clamp(value, low, high) : low;
}

ExtrusionOptions TakeOptions(ByteReader& in) {
    ExtrusionOptions options;
    const auto bits = in.Read<std::uint32_t>().value_or(0);
    options.bevelCopies = bits % 8;
    options.pathResolution = static_cast<PathResolution>(bits / 8 % 8);
    options.offsetMode = bits & 64 ? OffsetMode::Relative : OffsetMode::Absolute;
    options.separateObjects = bits & 128;
    options.separationMode = bits & 256 ? SeparationMode::ByGeometry : SeparationMode::ByBoundingBox;
    options.autoPresetScale = bits & 512;
    options.autoPathOrientation = bits & 1024;
    options.reversePathWinding = bits & 2048;
    options.fixHoles = bits & 4096;
    options.realWorldScale = bits & 8192;
    options.depthSegments = bits >> 14 & 15;
    options.bevelScale = Take(in, 0, 100);
    options.pathExpand = Take(in, -100, 100);
    options.spikeFilter = Take(in, 0, 1);
    for (BevelSettings& bevel : options.bevels) {
        bevel.extrude = Take(in, 0, 100);
        bevel.expandEdges = Take(in, -100, 100);
        bevel.bevelSize = Take(in, 0, 100);
        bevel.bevelDepth = Take(in, -100, 100);
        bevel.bevelCurve = Take(in, -1, 1);
        bevel.bevelSegments = Take(in, 0, 32);
        bevel.outlineWidth = Take(in, 0, 100);
        bevel.outlineEnable = bits >> 20 & 1;
        bevel.bevelBackside = bits >> 21 & 1;
    }
    return options;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ByteReader in(std::as_bytes(std::span(data, size)));
    const ExtrusionOptions options = TakeOptions(in);
    PathSet set;
    set.isPlain = in.Read<std::uint8_t>().value_or(0) % 2 == 1;
    set.scale = in.Read<float>().value_or(1);
    set.paths.emplace_back();
    // Small coordinates on a grid touch and overlap more often than numbers of any size; both occur.
    while (in.remaining() > 0) {
        const auto kind = in.Read<std::uint8_t>().value_or(0);
        if (kind == 0) {
            set.paths.emplace_back();
            continue;
        }
        const auto next = [&]() -> float {
            if (kind % 2 == 1) return in.Read<std::int8_t>().value_or(0);
            return in.Read<float>().value_or(0);
        };
        PathPoint p;
        p.position = {next(), next()};
        if (kind % 4 >= 2) p.tangentIn = {next(), next()}, p.tangentOut = {next(), next()};
        set.paths.back().push_back(p);
    }
    ModelData model;
    BuildExtrusion(model, set, options, {1, 1, 1});
    std::size_t triangles = 0;
    for (const ModelMesh& mesh : model.meshes)
        for (const ModelGroup& group : mesh.groups) {
            if (group.materialIndex >= model.materials.size()) std::abort();
            triangles += group.triangles.size();
        }
    if (3 * triangles != model.vertices.size()) std::abort();
    for (const ModelVertex& v : model.vertices)
        if (!std::isfinite(v.position.x + v.position.y + v.position.z) ||
            !std::isfinite(v.normal.x + v.normal.y + v.normal.z + v.texCoord.x + v.texCoord.y))
            std::abort();
    return 0;
}
