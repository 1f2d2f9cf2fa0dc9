#include "model/DefaultModel.h"
#include "model/ModelRecord.h"

#include "FormatChecks.h"
#include "extrusion/Shapes.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace velorin;
using namespace velorin::test;

namespace {

Buffer Name(const std::string& text) {
    return U32(static_cast<std::uint32_t>(text.size())) + Text(text);
}

// One sample as a version stores it, with the values that SampleValues gives.
Buffer Sample(std::uint32_t version, std::uint32_t frame) {
    Buffer bytes = U32(frame) + F32({0, 0, 0, 1}) + F32({1, 2, 3}) + F32({4, 5, 6});
    if (version >= 8) bytes += F32({7, 8, 9});
    if (version == 9 || version == 10) bytes += U32(0xDEADBEEF);
    if (version >= 11) {
        bytes += U8({1, 0, 0, 0, 1, 0, 0, 0, 1});
        for (int channel = 0; channel < 3; ++channel) {
            bytes += F32({1, 2, 0}) + U32(0);
            for (int axis = 0; axis < 3; ++axis)
                bytes += F32({static_cast<float>(10 * channel + axis), 0.5f, 0.25f, 0.125f});
        }
    }
    return bytes;
}

// A record of two triangles in one mesh with every part that its version has.
Buffer Record(std::uint32_t version) {
    Buffer bytes = U32(version) + U32(777) + U32(4) + U32(2) + U32(1);
    bytes += F32({100}) + F32({0.5f, 0.25f, 0}) + F32({-1, -1, 0}) + F32({1, 1, 0});
    if (version >= 4) bytes += U8({1});
    if (version >= 6) bytes += U8({1});
    if (version >= 4) {
        bytes += U32(1);
        bytes += Name("walk") + U32(30) + U32(25) + U32(2) + U32(1); // end, rate, start, tracks
        bytes += Name("hip") + U32(2) + F32({0, 0, 0, 1, 5, 6, 7, 0, 1, 0, 0, 8, 9, 10}); // two keys
        Buffer matrix;
        for (int i = 0; i < 16; ++i) matrix += F32({static_cast<float>(i)});
        bytes += U32(1) + Name("hip") + Name("root") + matrix;
    }
    const float corners[4][2] = {{-1, -1}, {1, -1}, {-1, 1}, {1, 1}};
    for (const auto& c : corners)
        bytes += F32({c[0], c[1], 0, 0.5f, 0.25f, 0, 0, -1, 1, 0, 0, -1}); // position, uv, normal, tangent
    for (const char* name : {"red", "blue"}) {
        bytes += Name(name);
        if (version < 5) continue;
        for (int i = 0; i < 23; ++i) bytes += F32({static_cast<float>(i)});
        for (int slot = 0; slot < 7; ++slot)
            bytes += F32({0.5f, 2, 3, 4, 5, 6}) + Name(slot == 4 ? "maps/n.png" : "");
    }
    bytes += F32({0, 0.5f, 0});
    if (version >= 7) bytes += F32({-1, -1, 0}) + F32({1, 1, 0});
    bytes += U32(2) + U32(5);
    if (version >= 6) bytes += U32(version >= 11 ? 2 : 3);
    bytes += Text("plane");
    bytes += U32(1) + U32(2) + U32(0) + U32(1) + U32(2) + U32(1) + U32(3) + U32(2) + U32(0) + U32(0);
    if (version >= 6 && version <= 10)
        for (std::uint32_t frame : {0u, 5u, 9u}) bytes += Sample(version, frame);
    if (version >= 11) {
        bytes += U32(1) + F32({1, 1, 1}) + F32({2, 2, 2}) + F32({3, 3, 3}) + U32(6) + Sample(version, 4);
        bytes += U32(0) + F32({0, 0, 0}) + F32({1, 1, 1}) + F32({0, 0, 0}) + U32(0);
    }
    if (version >= 6) bytes += F32({11, 12, 13});
    return bytes;
}

void ExpectGeometry(const ModelData& model) {
    EXPECT_EQ(model.size, 100);
    EXPECT_EQ(model.center, (Point3{0.5f, 0.25f, 0}));
    EXPECT_EQ(model.boundsMin, (Point3{-1, -1, 0}));
    EXPECT_EQ(model.boundsMax, (Point3{1, 1, 0}));
    ASSERT_EQ(model.vertices.size(), 4u);
    EXPECT_EQ(model.vertices[2], (ModelVertex{{-1, 1, 0}, {0.5f, 0.25f}, {0, 0, -1}, {1, 0, 0, -1}}));
    ASSERT_EQ(model.materials.size(), 2u);
    EXPECT_EQ(model.materials[1].name, "blue");
    ASSERT_EQ(model.meshes.size(), 1u);
    const ModelMesh& mesh = model.meshes[0];
    EXPECT_EQ(mesh.name, "plane");
    ASSERT_EQ(mesh.groups.size(), 2u);
    EXPECT_EQ(mesh.groups[0].materialIndex, 1u);
    EXPECT_EQ(mesh.groups[0].triangles, (ModelTriangles{{0, 1, 2}, {1, 3, 2}}));
    EXPECT_TRUE(mesh.groups[1].triangles.empty());
    EXPECT_EQ(mesh.boundsMin, (Point3{-1, -1, 0}));
    EXPECT_EQ(mesh.boundsMax, (Point3{1, 1, 0}));
}

void ExpectAnimation(const ModelData& model) {
    EXPECT_TRUE(model.hasLayers);
    ASSERT_EQ(model.layers.size(), 1u);
    const AnimationLayer& layer = model.layers[0];
    EXPECT_EQ(layer.name, "walk");
    EXPECT_EQ(layer.endFrame, 30u);
    EXPECT_EQ(layer.frameRate, 25u);
    EXPECT_EQ(layer.startFrame, 2u);
    ASSERT_EQ(layer.tracks.count("hip"), 1u);
    EXPECT_EQ(layer.tracks.at("hip").at(1), (LayerKey{{0, 1, 0, 0}, {8, 9, 10}}));
    ASSERT_EQ(model.joints.size(), 1u);
    EXPECT_EQ(model.joints.front().parentName, "root");
    EXPECT_EQ(model.joints.front().matrix.m[14], 14);
}

void ExpectTracks(std::uint32_t version, const ModelData& model) {
    EXPECT_TRUE(model.hasMeshTracks);
    EXPECT_EQ(model.sourceOffset, (Point3{11, 12, 13}));
    const std::vector<MeshTrack>& tracks = model.meshes[0].tracks;
    ASSERT_EQ(tracks.size(), version >= 11 ? 2u : 1u);
    ASSERT_EQ(tracks[0].samples.size(), version >= 11 ? 1u : 3u);
    const TrackSample& last = tracks[0].samples.back();
    EXPECT_EQ(last.frame, version >= 11 ? 4u : 9u);
    EXPECT_EQ(last.position, (Point3{1, 2, 3}));
    EXPECT_EQ(last.scale, (Point3{4, 5, 6}));
    EXPECT_EQ(last.rotation, version >= 8 ? (Point3{7, 8, 9}) : Point3{});
    if (version < 11) return;
    EXPECT_EQ(tracks[0].scale, (Point3{2, 2, 2}));
    EXPECT_EQ(tracks[0].rotationOrder, 6u);
    EXPECT_EQ(last.hasKey[1][1], 1);
    EXPECT_EQ(last.hasKey[1][0], 0);
    EXPECT_EQ(last.channels[2].mode[1], 2);
    EXPECT_EQ(last.channels[2].tangent[1].valueLeft, 21);
    EXPECT_EQ(last.channels[2].tangent[1].timeRight, 0.125f);
}

} // namespace

TEST(ModelRecord, ReadsEveryVersion) {
    for (std::uint32_t version = 3; version <= 12; ++version) {
        SCOPED_TRACE(version);
        const Buffer bytes = Record(version);
        const Buffer firstVertex(bytes.begin() + 60, bytes.begin() + 64);
        EXPECT_EQ(firstVertex == F32({-1}), version == 3) << "where the head of version 3 ends";
        ModelData model;
        ASSERT_TRUE(ReadModelRecord(bytes, model));
        ExpectGeometry(model);
        // As stored, or computed from the triangles.
        EXPECT_EQ(model.meshes[0].center, version >= 7 ? (Point3{0, 0.5f, 0}) : Point3{});
        if (version >= 4) ExpectAnimation(model);
        if (version >= 5) {
            const ModelMaterial& material = model.materials[0];
            EXPECT_EQ(material.colour1, (Point3{0, 1, 2}));
            EXPECT_EQ(material.colour5, (Point3{12, 13, 14}));
            EXPECT_EQ(material.value6, 15);
            EXPECT_EQ(material.value13, 22);
            EXPECT_EQ(material.maps[4].path, "maps/n.png");
            EXPECT_EQ(material.maps[4].mmGain, 2);
            EXPECT_EQ(material.maps[4].offset, (Point2{3, 4}));
            EXPECT_EQ(material.maps[4].scale, (Point2{5, 6}));
        }
        if (version >= 6) ExpectTracks(version, model);
    }
}

TEST(ModelRecord, WritesTheNewestVersionByteForByte) {
    ModelData model;
    ASSERT_TRUE(ReadModelRecord(Record(12), model));
    EXPECT_EQ(WriteModelRecord(model, 777), Record(12));
    const auto head = ReadModelRecordHead(ByteStream(Record(12)));
    ASSERT_TRUE(head);
    EXPECT_EQ(head->version, 12u);
    EXPECT_EQ(head->sourceSize, 777u);
    EXPECT_FALSE(ReadModelRecordHead(ByteStream(Bytes(Record(12)).first(7))));

    // Newer versions are taken for the oldest.
    Buffer newer = Record(3);
    newer[0] = std::byte{13};
    ASSERT_TRUE(ReadModelRecord(newer, model));
    ExpectGeometry(model);
    // A model of nothing is all zeros.
    const Buffer nothing = WriteModelRecord(ModelData{}, 0);
    EXPECT_EQ(nothing, U32(12) + Buffer(62) + U32(0) + F32({0, 0, 0}));
    EXPECT_TRUE(ReadModelRecord(nothing, model));
    EXPECT_TRUE(model.vertices.empty() && model.meshes.empty() && model.materials.empty());
    // A mesh without triangles in an old record has no bounds.
    ASSERT_TRUE(ReadModelRecord(
        U32(3) + U32(0) + U32(0) + U32(0) + U32(1) + Buffer(40) + F32({9, 9, 9}) + U32(0) + U32(0), model));
    EXPECT_EQ(model.meshes.at(0).center, Point3{});
    EXPECT_EQ(model.meshes.at(0).boundsMin, Point3{});
}

TEST(ModelRecord, RefusesWhatIsCutShort) {
    for (std::uint32_t version = 3; version <= 12; ++version) {
        SCOPED_TRACE(version);
        ModelData model;
        ForEachTruncation(Record(version), [&](Bytes part) {
            EXPECT_FALSE(ReadModelRecord(part, model)) << part.size() << " bytes";
            EXPECT_TRUE(model.vertices.empty() && model.meshes.empty());
        });
        EXPECT_TRUE(ReadModelRecord(Record(version) + U8({1}), model)) << "a byte too many";
    }
}

TEST(ModelRecord, SurvivesWrongNumbers) {
    // Every 32-bit number of the record made huge, one after the other.
    for (const std::uint32_t version : {3u, 6u, 10u, 12u}) {
        const Buffer record = Record(version);
        for (std::size_t at = 0; at + 4 <= record.size(); ++at) {
            Buffer wrong = record;
            for (std::size_t i = 0; i < 4; ++i) wrong[at + i] = std::byte{0xFF};
            ModelData model;
            (void)ReadModelRecord(wrong, model);
            for (const ModelMesh& mesh : model.meshes)
                for (const ModelGroup& group : mesh.groups)
                    for (const Triangle& triangle : group.triangles)
                        for (const std::uint32_t index : triangle) ASSERT_LT(index, model.vertices.size());
        }
    }
    // A triangle whose vertex is not there is dropped, its neighbour stays.
    Buffer record = Record(7);
    const Buffer triangle = U32(1) + U32(3) + U32(2);
    const auto at = std::search(record.begin(), record.end(), triangle.begin(), triangle.end());
    ASSERT_NE(at, record.end());
    *at = std::byte{4};
    ModelData model;
    ASSERT_TRUE(ReadModelRecord(record, model));
    EXPECT_EQ(model.meshes[0].groups[0].triangles, (ModelTriangles{{0, 1, 2}}));
}

TEST(DefaultModel, IsAClosedTubeThatLooksOutward) {
    const Bytes record = DefaultModelRecord();
    EXPECT_EQ(record[0], std::byte{3});
    ModelData model;
    ASSERT_TRUE(ReadModelRecord(record, model));
    EXPECT_EQ(model.vertices.size(), 6600u);
    EXPECT_EQ(model.size, 100);
    ASSERT_EQ(model.meshes.size(), 1u);
    EXPECT_EQ(model.materials.size(), 1u);

    const shapes::Measures solid = shapes::Measure(model);
    EXPECT_EQ(solid.crowdedEdges, 0u);
    EXPECT_GT(solid.volume, 0);
    EXPECT_LT(solid.normalError, 0.3) << "the faces and their normals";
    for (const ModelVertex& vertex : model.vertices) {
        EXPECT_NEAR(Length(vertex.normal), 1, 1e-4f);
        EXPECT_NEAR(Length({vertex.tangent.x, vertex.tangent.y, vertex.tangent.z}), 1, 1e-4f);
        EXPECT_LE(std::max({std::fabs(vertex.position.x), std::fabs(vertex.position.y),
                            std::fabs(vertex.position.z)}),
                  1.0001f);
    }
}
