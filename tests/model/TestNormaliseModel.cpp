#include "model/ModelTools.h"

#include <cmath>
#include <gtest/gtest.h>

namespace velorin {
namespace {

ModelData WithPositions(std::initializer_list<Point3> positions) {
    ModelData model;
    for (const Point3 p : positions) model.vertices.push_back({p, {}, {}, {}});
    return model;
}

TEST(NormaliseModel, FillsTheCube) {
    ModelData model = WithPositions({{1, 10, -2}, {5, 30, 2}, {3, 20, 0}});
    NormaliseModel(model);
    // Half of the y extent, which is the largest.
    EXPECT_EQ(model.size, 10);
    EXPECT_EQ(model.center, (Point3{0.3f, 2, 0})) << "the source's offset, in units of size";
    EXPECT_EQ(model.boundsMin, (Point3{0.1f, 1, -0.2f}));
    EXPECT_EQ(model.boundsMax, (Point3{0.5f, 3, 0.2f}));
    EXPECT_EQ(model.vertices[0].position, (Point3{-0.2f, -1, -0.2f}));
    EXPECT_EQ(model.vertices[1].position, (Point3{0.2f, 1, 0.2f}));
    EXPECT_EQ(model.vertices[2].position, (Point3{0, 0, 0}));
}

TEST(NormaliseModel, AnimationFollows) {
    ModelData model = WithPositions({{0, 0, 0}, {20, 4, 4}}); // size 10, centre (1, 0.2, 0.2) afterwards
    model.hasMeshTracks = true;
    ModelMesh& mesh = model.meshes.emplace_back();
    mesh.center = {10, 0, 0};
    mesh.boundsMax = {20, 0, 0};
    MeshTrack& track = mesh.tracks.emplace_back();
    track.position = {10, 20, 30};
    track.scale = {1, 2, 3};
    TrackSample& sample = track.samples.emplace_back();
    sample.position = {40, 50, 60};
    sample.scale = {4, 5, 6};
    sample.channels[0].tangent[1] = {10, 20, 30, 40};
    sample.channels[1].tangent[1] = {10, 20, 30, 40};
    model.layers.emplace_back().tracks["t"] = {{{0, 0, 0, 1}, {10, 20, 30}}};
    model.joints.push_back({"j", "", Matrix::Translation({10, 20, 30})});
    NormaliseModel(model);
    EXPECT_EQ(mesh.center, (Point3{1, 0, 0}));
    EXPECT_EQ(mesh.boundsMax, (Point3{2, 0, 0}));
    EXPECT_EQ(track.position, (Point3{1, 2, 3}));
    EXPECT_EQ(track.scale, (Point3{1, 2, 3}));
    EXPECT_EQ(sample.position, (Point3{4, 5, 6}));
    EXPECT_EQ(sample.scale, (Point3{4, 5, 6}));
    EXPECT_EQ(sample.channels[0].tangent[1].valueLeft, 1);
    EXPECT_EQ(sample.channels[0].tangent[1].valueRight, 2);
    EXPECT_EQ(sample.channels[0].tangent[1].timeLeft, 30);
    EXPECT_EQ(sample.channels[1].tangent[1].valueLeft, 10) << "the rotation channel stays";
    EXPECT_EQ(model.layers[0].tracks["t"][0].position, (Point3{1, 2, 3}));
    EXPECT_LT(Length(model.joints.front().matrix.translation() - Point3{0, 1.8f, 2.8f}), 1e-6f);
}

TEST(NormaliseModel, OddModels) {
    ModelData none;
    none.size = 7;
    NormaliseModel(none);
    EXPECT_EQ(none.size, 7) << "nothing happens";
    ModelData point = WithPositions({{1, 2, 3}});
    NormaliseModel(point);
    EXPECT_EQ(point.size, 0);
    EXPECT_TRUE(std::isnan(point.vertices[0].position.x)) << "not guarded";
    ModelData broken = WithPositions({{0, 0, 0}, {2, std::nanf(""), 0}});
    NormaliseModel(broken);
    EXPECT_EQ(broken.size, 1);
    EXPECT_EQ(broken.vertices[0].position.x, -1) << "one bad number leaves the others";
}

} // namespace
} // namespace velorin
