#pragma once

#include "core/FrameParams.h"
#include "core/Replicator.h"
#include "core/Velorin.h"
#include "core/document/AssetContext.h"
#include "core/document/Scene.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace velorin::test {

// Surfaces by path, in place of loaded geometry; counts how often each was read.
class FakeSurfaces : public SurfaceSource {
public:
    std::map<std::string, Vertices> byPath;
    std::map<std::string, int> reads;

    [[nodiscard]] std::string SurfaceKey(const SceneModel&, const std::string& path) override { return path; }
    [[nodiscard]] Vertices ReadSurface(const SceneModel&, const std::string& path) override {
        ++reads[path];
        return byPath[path];
    }
    // A geometry of the cube of half-edge 1 with one mesh, all normals up (0, -1, 0).
    void Put(const std::string& path, const std::vector<Point3>& positions);
};

// An enabled group of a shape at the origin, one unit large: "Shape Scale" 1 and "Particle Size" 1.
[[nodiscard]] GroupParams PlainGroup(ReplicatorShape shape, std::uint32_t count);

// The particles of group 1 with this block, without an engine.
[[nodiscard]] std::vector<Particle> Particles(const GroupParams& group, Point3 camera = {0, 0, -1000});

// BuildParticles for an eye at the origin; what it refuses.
std::string Build(FrameParams& params, SurfaceSource& surfaces, std::uint64_t memory = 1u << 20,
                  int group = -1);

// A core without a context that shows one scene in one instance: one particle of group 1, no engine.
class CoreFrames : public ::testing::Test {
protected:
    CoreFrames();
    const DrawList& Frame(Point3 camera = {0, 0, -1000});

    AssetContext assets;
    Scene scene;
    FrameParams params;
    Velorin core;
};

// Pixels of an alpha mask in rows of text, '#' set; channels in the depth asked for, rows padded by 16 bytes.
class MaskLayer {
public:
    MaskLayer(const std::vector<std::string>& rows, std::uint32_t bytesPerChannel);
    [[nodiscard]] ImageHeader header();

private:
    std::vector<std::byte> bytes_;
    ImageHeader header_;
};

// Rotation of a row vector by a quaternion from the definition: conj(q) * (v, 0) * q, that is q* v q.
[[nodiscard]] Point3 Turned(Point3 v, Quaternion q);

// Calls of operator new so far.
[[nodiscard]] std::size_t Allocations();

void ExpectNear(Point3 actual, Point3 expected, float tolerance, const std::string& what);

} // namespace velorin::test
