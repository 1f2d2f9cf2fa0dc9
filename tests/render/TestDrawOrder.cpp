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
    Fill("aaa", {1, 1, 1});
    list.records[1].finishModel = &b;
    list.records[2].layerSet = 1;
    EXPECT_EQ(Built(false), "0|1|2");
}

TEST_F(DrawOrder, SortsManyRecordsAsTheLibraryDoes) {
    std::vector<std::uint32_t> expected;
    for (std::uint32_t i = 0; i < 1000; ++i) {
        DrawRecord record;
        record.model = &a;
        record.geometry = &mesh;
        record.distance = static_cast<float>((i * 7919) % 97);
        list.records.push_back(record);
        expected.push_back(i);
    }
    std::stable_sort(expected.begin(), expected.end(), [&](std::uint32_t x, std::uint32_t y) {
        return list.records[x].distance > list.records[y].distance;
    });
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
    MaterialSettings plain;
    EXPECT_EQ(Walks(plain), "o1phm");
    EXPECT_EQ(Walks(plain, nullptr, 0.5f), "t1ph"); // a mirror has a translucent step of its own
    MaterialSettings add = plain, screen = plain;
    add.blendMode = MaterialBlend::Add;
    screen.blendMode = MaterialBlend::Screen;
    EXPECT_EQ(Walks(add), "a1ph");
    EXPECT_EQ(Walks(screen), "s1ph");
    EXPECT_EQ(Walks(plain, &add), "a1p"); // the higher mode; no shadow: layers wait for a blending step
    EXPECT_EQ(Walks(plain, &plain), "t1p");
    MaterialSettings unseen = plain;
    unseen.visibleToCamera = false;
    EXPECT_EQ(Walks(unseen), "hm");
    MaterialSettings shadowless = plain;
    shadowless.castShadow = false;
    EXPECT_EQ(Walks(shadowless), "o1pm");
    MaterialSettings mirrorless = plain;
    mirrorless.visibleToReflections = false;
    EXPECT_EQ(Walks(mirrorless), "o1ph");
    MaterialSettings noGlow = plain;
    noGlow.invisibleToAOGlow = true;
    EXPECT_EQ(Walks(noGlow), "o1hm");
    MaterialSettings clear = plain;
    clear.forceOpacity = 0;
    EXPECT_EQ(Walks(clear), "");
    EXPECT_EQ(Walks(clear, &plain), "t1p"); // the other layer is still there
}

TEST(MattePlane, FadesWithTheAngleOfTheCamera) {
    CameraState camera;
    camera.position = {0, 0, -100};
    camera.view = Matrix::Translation({0, 0, 100}) * Matrix::Scale({1, 1, -1});
    MatteSettings matte;
    MattePlane plane = ComputeMattePlane(matte, camera);
    EXPECT_NEAR(plane.direction.z, 1, 1e-6f);
    EXPECT_EQ(plane.clipValue, 1);

    matte.faceCamera = true;
    matte.position = {30, 0, 20};
    plane = ComputeMattePlane(matte, camera);
    EXPECT_NEAR(plane.direction.z, 1, 1e-6f); // the way the camera looks
    EXPECT_NEAR(plane.position.z, 20, 1e-4f);

    // The plane turned by 15 degrees: half of a fade of 30.
    matte = {};
    matte.rotationY = 15;
    matte.invertFromBack = true;
    plane = ComputeMattePlane(matte, camera);
    EXPECT_NEAR(plane.clipValue, 0.5f, 0.002f);
    matte.rotationY = 165; // seen from its back, turned to face on
    EXPECT_NEAR(ComputeMattePlane(matte, camera).clipValue, 0.5f, 0.002f);
}

} // namespace
} // namespace velorin
