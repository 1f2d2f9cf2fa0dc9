#include "core/AnimationEngine.h"
#include "core/CoreSamples.h"
#include "core/MultiObject.h"
#include "core/Noise.h"
#include "core/Random.h"

#include <gtest/gtest.h>

#include <cmath>

namespace velorin {
namespace {

using test::ExpectNear;
using test::Turned;

SweepKeys Keys(const AnimationEngineParams& engine, std::uint32_t side,
               const std::vector<float>& particleKeys, const std::vector<std::uint32_t>& meshes,
               const std::vector<Point3>& centers = {}) {
    std::vector<Particle> particles(particleKeys.size());
    for (std::size_t i = 0; i < particles.size(); ++i) particles[i].animationKey = particleKeys[i];
    SweepKeys keys;
    MakeSweepKeys(engine, side, {particles, meshes, centers}, keys);
    return keys;
}

TEST(SweepKeys, AreThoseOfTheParticlesWithinZeroToOne) {
    AnimationEngineParams engine;
    const SweepKeys keys = Keys(engine, 0, {10, 30, 20}, {1, 2, 0});
    EXPECT_EQ(keys.keys, (std::vector<float>{0, 1, 1, 0.5f}));
    EXPECT_EQ(keys.of(1).size(), 2u);
    EXPECT_EQ(keys.of(2).size(), 1u) << "a particle without meshes has one";
    EXPECT_EQ(Keys(engine, 0, {4, 4}, {1, 1}).keys, (std::vector<float>{0, 0}));
    EXPECT_EQ(Keys(engine, 1, {4, 4}, {1, 1}).keys, (std::vector<float>{1, 1}));
}

TEST(SweepKeys, OfMeshesComeFromTheirCenters) {
    AnimationEngineParams engine;
    engine.block.direction = {0, 1, 0};
    // The tie break of a hundredth is small against the spread.
    const auto swept = Keys(engine, 0, {0, 0}, {1, 2}, {{0, 100, 0}, {0, 300, 0}, {0, -100, 0}}).keys;
    EXPECT_NEAR(swept[0], 0.5f, 1e-4);
    EXPECT_NEAR(swept[1], 1, 1e-4);
    EXPECT_NEAR(swept[2], 0, 1e-4);
    engine.block.type = AnimationBlock::ShapeOrder;
    engine.block.shapeOrderOffset = -1;
    EXPECT_EQ(Keys(engine, 0, {0, 0}, {1, 2}, {{}, {}, {}}).keys, (std::vector<float>{1, 0, 0.5f}));
    engine.dual.type = AnimationBlock::Uniform;
    EXPECT_EQ(Keys(engine, 1, {0, 0}, {1, 2}, {{}, {}, {}}).keys, (std::vector<float>{1, 1, 1}));
}

TEST(SweepKeys, ShapeOrderShiftsByWholePlaces) {
    AnimationEngineParams engine;
    engine.block.type = AnimationBlock::ShapeOrder;
    engine.block.shapeOrderOffset = 3;
    // Places 0 to 3 with their tie break, by 3 modulo 4: 3, 0, 1, 2.
    EXPECT_EQ(Keys(engine, 0, {0.004f, 1.009f, 2.001f, 3}, {1, 1, 1, 1}).keys,
              (std::vector<float>{1, 0, 1.0f / 3, 2.0f / 3}));
}

TEST(SweepKeys, RandomnessMixesInDraws) {
    AnimationEngineParams engine;
    engine.seed = 4;
    engine.randomness = 0.25f;
    const auto keys = Keys(engine, 1, {0, 1}, {1, 1}).keys;
    Random random(4 + 13587);
    EXPECT_FLOAT_EQ(keys[0], random.Draw01() * 0.25f);
    EXPECT_FLOAT_EQ(keys[1], random.Draw01() * 0.25f + 0.75f);
}

TEST(MeshProgress, RunsFromTheStartToTheFinish) {
    AnimationEngineParams engine;
    for (const float smoothness : {0.0f, 0.3f, 1.0f})
        for (const float a : {0.0f, 0.5f, 1.0f})
            for (const float b : {0.0f, 0.7f, 1.0f}) {
                engine.smoothness = smoothness;
                engine.animation = 0;
                EXPECT_EQ(MeshProgress(engine, 50, a, b), 0) << smoothness;
                engine.animation = 1;
                EXPECT_EQ(MeshProgress(engine, 50, a, b), 1) << smoothness << " " << a << " " << b;
                engine.animation = std::nextafter(1.0f, 0.0f); // no jump at the end
                EXPECT_NEAR(MeshProgress(engine, 50, a, b), 1, 2e-5) << smoothness << " " << a << " " << b;
            }
    // All at once.
    engine.smoothness = 1;
    engine.animation = 0.4f;
    EXPECT_FLOAT_EQ(MeshProgress(engine, 50, 0.9f, 0.2f), 0.4f);
    // A single one: N is 1.
    engine.smoothness = 0.2f;
    EXPECT_FLOAT_EQ(MeshProgress(engine, 1, 1, 1), 0.4f);
    // By hand: N = 4, s = 0.5: c = 0.375. a = 0.1875, b = 0.375:
    // (0.4 - 0.1875) / (0.5 * 0.1875 + 0.5 * 0.375 + 0.625 - 0.1875) = 0.2125 / 0.71875.
    engine.smoothness = 0.5f;
    EXPECT_NEAR(MeshProgress(engine, 4, 0.5f, 1), 0.2125 / 0.71875, 1e-6);
}

TEST(Channels, AreEasedInTheirShareOfTheTime) {
    EXPECT_FLOAT_EQ(Eased(Ease::Off, 0.25f), 0.25f);
    EXPECT_NEAR(Eased(Ease::Ease, 0.5f), 0.5, 1e-6);
    EXPECT_NEAR(Eased(Ease::Ease, 0.25f), 0.5 - std::sqrt(0.5) / 2, 1e-6);
    EXPECT_FLOAT_EQ(Eased(Ease::EaseIn, 0.5f), 0.25f);
    EXPECT_FLOAT_EQ(Eased(Ease::EaseOut, 0.5f), 0.75f);
    for (const Ease ease : {Ease::Off, Ease::Ease, Ease::EaseIn, Ease::EaseOut}) {
        EXPECT_EQ(Eased(ease, 0), 0);
        EXPECT_EQ(Eased(ease, 1), 1);
    }
    AnimationEngineParams engine;
    engine.ease = Ease::Off;
    engine.channels[kScaleChannel] = ReadChannelTiming(50, 100); // the second half: d = 0.4995
    engine.channels[kMaterialChannel] = ReadChannelTiming(0, 50);
    const ChannelValues values = ChannelsAt(engine, 0.75f);
    EXPECT_FLOAT_EQ(values[kPositionChannel], 0.75f);
    EXPECT_NEAR(values[kScaleChannel], (0.75 - 0.4995) / 0.5005, 1e-5);
    EXPECT_EQ(values[kMaterialChannel], 1) << "jumps at its offset";
    EXPECT_EQ(ChannelsAt(engine, 0.4f)[kMaterialChannel], 0);
    EXPECT_EQ(ChannelsAt(engine, 0.4f)[kScaleChannel], 0);
    for (int duration = 0; duration <= 100; ++duration) { // each share ends with the animation
        engine.channels[kScaleChannel] = ReadChannelTiming(static_cast<float>(duration), 100);
        EXPECT_EQ(ChannelsAt(engine, 1)[kScaleChannel], 1) << duration;
    }
}

TEST(Blending, MixesEachPropertyByItsChannel) {
    Particle a, b;
    a.position = {0, 0, 0}, b.position = {100, 0, 0};
    a.size = {1, 1, 1}, b.size = {3, 5, 7};
    b.rotation = ReadRotation({0, 0, kPi / 2});
    ChannelValues channels{};
    channels[kPositionChannel] = 0.25f, channels[kScaleChannel] = 0.5f, channels[kRotationChannel] = 0.5f;
    const Particle c = BlendParticles(a, b, channels);
    ExpectNear(c.position, {25, 0, 0}, 1e-4f, "position");
    ExpectNear(c.size, {2, 3, 4}, 1e-5f, "size");
    ExpectNear(Turned({1, 0, 0}, c.rotation), {std::sqrt(0.5f), std::sqrt(0.5f), 0}, 1e-5f, "half the turn");
}

TEST(Blending, TheWorldFadesTowardsTheExcludedSide) {
    WorldTransform world;
    world.position = {10, 0, 0};
    world.anchor = {100, 50, 0};
    world.scale = 3;
    world.rotation = ReadRotation({0, 0, kPi / 2});
    const Point3 p{101, 50, 0}; // one right of the anchor: turned to one down, tripled
    ExpectNear(TransformPoint(p, world.matrix()), {110, 53, 0}, 1e-4f, "whole");
    ExpectNear(TransformPoint(p, BlendedWorld(world, false, false, 0.3f)), {110, 53, 0}, 1e-4f, "neither");
    EXPECT_EQ(BlendedWorld(world, true, true, 0.3f), Matrix{});
    for (const bool start : {false, true}) {
        ExpectNear(TransformPoint(p, BlendedWorld(world, start, !start, start ? 1.0f : 0.0f)), {110, 53, 0},
                   1e-4f, "all of it");
        ExpectNear(TransformPoint(p, BlendedWorld(world, start, !start, start ? 0.0f : 1.0f)), p, 1e-4f,
                   "nothing");
    }
    const float h = std::sqrt(0.5f) * 2;
    ExpectNear(TransformPoint(p, BlendedWorld(world, true, false, 0.5f)), {105 + h, 50 + h, 0}, 1e-4f,
               "half");
}

TEST(Blending, TransformsMeetTheirEndsAndKeepTheirShape) {
    const Matrix a =
        Matrix::Scale({2, 1, 1}) * ToMatrix(ReadRotation({0.3f, 0, 1})) * Matrix::Translation({1, 2, 3});
    const Matrix b =
        Matrix::Scale({2, 1, 1}) * ToMatrix(ReadRotation({0, 2, 0})) * Matrix::Translation({5, 2, 3});
    EXPECT_EQ(BlendTransforms(a, b, 0, 0, 0), a);
    EXPECT_EQ(BlendTransforms(a, b, 1, 1, 1), b);
    for (const float t : {0.001f, 0.3f, 0.5f, 0.999f}) {
        const Matrix m = BlendTransforms(a, b, t, t, t);
        EXPECT_NEAR(Determinant3(m), 2, 1e-4) << "no collapse on the way";
        ExpectNear(m.translation(), {1 + 4 * t, 2, 3}, 1e-5f, "translation");
    }
    const Matrix near = BlendTransforms(a, b, 1e-4f, 1e-4f, 1e-4f);
    for (std::size_t i = 0; i < 16; ++i) EXPECT_NEAR(near.m[i], a.m[i], 2e-3);
    const Matrix mirror = Matrix::Scale({-1, 1, 1});
    EXPECT_NEAR(Determinant3(BlendTransforms(mirror, mirror * b, 0.5f, 0.5f, 0.5f)), -1.5, 0.2);
}

TEST(Blending, DeformersFadeInWhereOnlyOneSideHasThem) {
    DeformParameters a, b;
    b.twist.enabled = true;
    b.twist.rotation = {0, 2, 0};
    b.twist.origin.offset = {1, 0, 0};
    b.noise.intensity = 3; // but off
    a.bend.enabled = true;
    a.bend.angle = 1;
    const DeformParameters c = BlendDeformers(a, b, 0.25f);
    EXPECT_TRUE(c.twist.enabled);
    EXPECT_TRUE(c.bend.enabled);
    EXPECT_FALSE(c.noise.enabled);
    EXPECT_FLOAT_EQ(c.twist.rotation.y, 0.5f);
    EXPECT_FLOAT_EQ(c.twist.origin.offset.x, 0.25f);
    EXPECT_FLOAT_EQ(c.bend.angle, 0.75f);
    EXPECT_EQ(c.noise.intensity, 0);
    a.enabled = false;
    EXPECT_EQ(BlendDeformers(a, b, 0.25f).bend.angle, 0) << "the group's switch counts";
}

TEST(MultiObject, TurnsAndScalesAroundTheMeshAndDisplacesAlongItsPlace) {
    MultiObjectParams params;
    params.enabled = true;
    params.size = 0.5f;
    params.rotation = ReadRotation({0, 0, kPi / 2});
    params.displace = {2, 0, 1};
    Random random(1);
    const Point3 center{3, 4, 5};
    const auto multi = MakeMultiObject(params, center, Matrix{}, random);
    ExpectNear(TransformPoint(center, multi.matrix()), {9, 4, 10}, 1e-4f, "the centre only moves");
    ExpectNear(TransformPoint(center + Point3{1, 0, 0}, multi.matrix()), {9, 4.5f, 10}, 1e-4f,
               "turned and halved");
    Random tenSteps(1);
    tenSteps.Skip(10);
    EXPECT_EQ(random.Bits(), tenSteps.Bits()) << "ten draws";

    // With a model turned a quarter about z its own x axis lies along y: only y moves.
    params.displace = {1, 0, 0};
    const auto turned = MakeMultiObject(params, center, ToMatrix(ReadRotation({0, 0, kPi / 2})), random);
    ExpectNear(turned.offset, {0, 4, 0}, 1e-4f, "in the model's axes");
}

TEST(MultiObject, DrawsInItsOrder) {
    MultiObjectParams params;
    params.sizeRandom = 0.5f;
    params.displace = {1, 1, 1};
    params.displaceRandom = 0.25f;
    params.scatter = {0.1f, 0.2f, 0.3f};
    params.noiseAmount = {1, 0, 2};
    params.noiseScale = 0.5f;
    params.noiseEvolution = 1;
    params.rotationRandom = kPi;
    Random random(99), expected(99);
    const auto multi = MakeMultiObject(params, {1, 0, 0}, Matrix{}, random);
    float r[10];
    for (float& value : r) value = expected.Draw01();
    EXPECT_FLOAT_EQ(multi.size, 1 - r[5] * 0.5f);
    const float a = r[6] - 0.5f, b = r[7] - 0.5f, c = r[8] - 0.5f;
    const float n1 = Noise3(50 * a, 50 * b, 50 * c) * r[9];
    const float n3 = Noise3(50 * a + 250.6f, 50 * b - 634.8f, 50 * c + 152) * 2 * r[9];
    ExpectNear(multi.offset,
               {r[4] * 0.25f + 0.75f - 25 * (a * 0.1f + n1), -25 * b * 0.2f, -25 * (c * 0.3f + n3)}, 1e-3f,
               "offset");
    // Half a turn over a whole one: half the way to the random rotation.
    const Quaternion q = multi.rotation;
    EXPECT_NEAR(q.x * q.x + q.y * q.y + q.z * q.z + q.w * q.w, 1, 1e-5);
    const double s1 = std::sqrt(1.0 - static_cast<double>(r[0])), s2 = std::sqrt(static_cast<double>(r[0]));
    const double w = std::cos(2 * 3.14159265 * static_cast<double>(r[2])) * s2;
    // The angle halves; the shorter arc is taken.
    EXPECT_NEAR(std::acos(static_cast<double>(std::fabs(q.w))), std::acos(std::fabs(w)) / 2, 1e-3);
    EXPECT_NEAR(static_cast<double>(q.x) / static_cast<double>(q.y),
                std::tan(2 * 3.14159265 * static_cast<double>(r[1])), 1e-2)
        << s1;
    EXPECT_EQ(MultiObjectSeed(2, 5000, 3), (2u * 12320 + 5000 + 3 * 896) * 214013u + 2531011u);
}

TEST(MultiObject, BlendsBetweenTwoTransforms) {
    MultiObjectTransform a, b;
    b.pivot = {2, 0, 0};
    b.offset = {0, 8, 0};
    b.size = 3;
    b.rotation = ReadRotation({0, kPi / 2, 0});
    const auto c = BlendMultiObject(a, b, 0.25f, 1, 0.5f);
    ExpectNear(c.offset, {0, 2, 0}, 1e-6f, "offset");
    ExpectNear(c.pivot, {0.5f, 0, 0}, 1e-6f, "pivot");
    EXPECT_FLOAT_EQ(c.size, 2);
    ExpectNear(Turned({0, 0, 1}, c.rotation), {1, 0, 0}, 1e-6f, "rotation");
}

} // namespace
} // namespace velorin
