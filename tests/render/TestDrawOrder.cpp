#include "core/document/SceneMaterial.h"
#include "core/document/SceneModel.h"
#include "render/DrawGroups.h"
#include "render/DrawRecord.h"
#include "render/MeshBuffers.h"
#include "render/ModelDrawer.h"
#include "render/PostEffects.h"
#include "render/RenderSettings.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>

namespace velorin {
namespace {

class DrawOrder : public testing::Test {
protected:
    // One letter a record, by model; distances beside them.
    void Fill(const std::string& letters, const std::vector<float>& distances) {
        list.Clear();
        for (std::size_t i = 0; i < letters.size(); ++i) {
            DrawRecord record;
            record.model = letters[i] == 'a' ? &a : letters[i] == 'b' ? &b : nullptr;
            record.geometry = &mesh;
            record.distance = distances[i];
            list.records.push_back(record);
        }
    }
    // Record numbers by group: "024|13".
    std::string Built(bool sorted) {
        groups.Build(list, sorted);
        std::string text;
        for (const DrawGroup& group : groups.groups()) {
            if (!text.empty()) text += '|';
            for (const std::uint32_t record : groups.recordsOf(group))
                text += static_cast<char>('0' + record);
        }
        return text;
    }

    SceneModel a, b;
    MeshBuffers mesh{PreparedMesh{}};
    DrawList list;
    DrawGroups groups;
};

TEST_F(DrawOrder, GroupsByModelOrByDepth) {
    Fill("abaab", {1, 5, 3, 2, 4});
    EXPECT_EQ(Built(false), "023|14");
    EXPECT_EQ(Built(true), "14|230");
    Fill("aba", {1, 2, 3}); // another item sorts between two of one model
    EXPECT_EQ(Built(true), "2|1|0");
    EXPECT_EQ(Built(false), "02|1");
    Fill("aaaa", {7, 7, 9, 7}); // equal distances keep their order
    EXPECT_EQ(Built(true), "2013");
    Fill("", {});
    EXPECT_EQ(Built(true), "");
    Fill("x", {1}); // without a model
    EXPECT_EQ(Built(false), "");
}

TEST_F(DrawOrder, WhatDiffersInAnyKeyIsAGroupOfItsOwn) {
    MeshBuffers other{PreparedMesh{}};
    Fill("aaaaa", {1, 1, 1, 1, 1});
    list.records[1].finishModel = &b;
    list.records[2].layerSet = 1;
    list.records[3].geometry = &other;
    for (const bool sorted : {false, true}) EXPECT_EQ(Built(sorted), sorted ? "0|1|2|3|4" : "04|1|2|3");
    list.records.erase(list.records.begin() + 1);
    EXPECT_EQ(Built(true), "0|1|2|3"); // neighbours by nothing but the set of layers
}

TEST_F(DrawOrder, SortsManyRecordsAsTheLibraryDoes) {
    std::vector<std::uint32_t> expected(1000);
    std::vector<float> distances;
    for (std::uint32_t i = 0; i < 1000; ++i) {
        expected[i] = i;
        distances.push_back(static_cast<float>((i * 7919) % 97));
    }
    Fill(std::string(1000, 'a'), distances);
    std::ranges::stable_sort(expected, std::greater(), [&](std::uint32_t i) { return distances[i]; });
    groups.Build(list, true);
    ASSERT_EQ(groups.groups().size(), 1u);
    EXPECT_TRUE(std::ranges::equal(groups.recordsOf(groups.groups()[0]), expected));
}

// Which walk draws a material, as one letter a walk: o opaque, t translucent, a additive, s screen, 1 the
// single pass of a data output, p property, h shadow, m mirror.
std::string Walks(const MaterialSettings& material, const MaterialSettings* second = nullptr,
                  float opacity = 1) {
    const auto draws = [&](PassFlags flags) {
        return !HoldsBack(material, second, flags) && !HoldsBackInstance(opacity, second != nullptr, flags);
    };
    PassFlags solid;
    solid.filterByBlend = solid.cameraOnly = true;
    PassFlags translucent = solid;
    translucent.translucentPass = translucent.onlyTranslucent = true;
    PassFlags additive = solid, screen = solid, single = solid;
    additive.additiveStep = additive.hasAdditive = true;
    screen.screenStep = screen.hasScreen = true;
    single.additiveStep = single.screenStep = true;
    PassFlags property;
    property.translucentPass = property.propertyPass = property.cameraOnly = property.ignoreUnseen = true;
    PassFlags shadow, mirror;
    shadow.shadowPass = true;
    mirror.mirrorPass = true;
    mirror.filterByBlend = true;
    std::string text;
    for (const auto& [letter, flags] :
         {std::pair{'o', solid}, std::pair{'t', translucent}, std::pair{'a', additive},
          std::pair{'s', screen}, std::pair{'1', single}, std::pair{'p', property}, std::pair{'h', shadow},
          std::pair{'m', mirror}})
        if (draws(flags)) text += letter;
    return text;
}

TEST(Walks, FollowTheMaterial) {
    const MaterialSettings plain;
    const auto with = [&](auto member, auto value) {
        MaterialSettings changed = plain;
        changed.*member = value;
        return changed;
    };
    using M = MaterialSettings;
    const M add = with(&M::blendMode, MaterialBlend::Add), clear = with(&M::forceOpacity, 0.0f);
    EXPECT_EQ(Walks(plain), "o1phm");
    EXPECT_EQ(Walks(plain, nullptr, 0.5f), "t1ph"); // a mirror has a translucent step of its own
    EXPECT_EQ(Walks(add), "a1ph");
    EXPECT_EQ(Walks(with(&M::blendMode, MaterialBlend::Screen)), "s1ph");
    EXPECT_EQ(Walks(plain, &add), "a1p"); // the higher mode; no shadow: layers wait for a blending step
    EXPECT_EQ(Walks(plain, &plain), "t1p");
    EXPECT_EQ(Walks(with(&M::visibleToCamera, false)), "hm");
    EXPECT_EQ(Walks(with(&M::castShadow, false)), "o1pm");
    EXPECT_EQ(Walks(with(&M::visibleToReflections, false)), "o1ph");
    EXPECT_EQ(Walks(with(&M::invisibleToAOGlow, true)), "o1hm");
    EXPECT_EQ(Walks(clear), "");
    EXPECT_EQ(Walks(clear, &plain), "t1p"); // the other layer is still there
}

TEST(MattePlane, FadesWithTheAngleOfTheCamera) {
    CameraState camera;
    camera.position = {0, 0, -100};
    camera.view = Matrix::Translation({0, 0, 100}) * Matrix::Scale({1, 1, -1});
    struct Row {
        float rotationY;
        bool faceCamera, invertFromBack;
        float clip;
    };
    // Turned by 15 degrees: half of a fade of 30, also when seen from its back.
    for (const Row& row : {Row{0, false, false, 1}, Row{0, true, false, 1}, Row{15, false, true, 0.5f},
                           Row{165, false, true, 0.5f}}) {
        MatteSettings matte;
        matte.position = row.faceCamera ? Point3{30, 0, 20} : Point3{};
        matte.rotationY = row.rotationY;
        matte.faceCamera = row.faceCamera, matte.invertFromBack = row.invertFromBack;
        const MattePlane plane = ComputeMattePlane(matte, camera);
        EXPECT_NEAR(plane.clipValue, row.clip, 0.002f) << row.rotationY;
        EXPECT_NEAR(plane.direction.z, std::cos(kPi / 12 * (row.rotationY > 0 ? 1.0f : 0.0f)), 1e-4f);
        EXPECT_NEAR(plane.position.z, matte.position.z, 1e-4f);
        EXPECT_NEAR(plane.position.x, 0, 1e-4f); // straight ahead of a camera that it faces
    }
}

} // namespace
} // namespace velorin
