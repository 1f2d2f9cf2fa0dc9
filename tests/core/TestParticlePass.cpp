#include "core/CoreSamples.h"
#include "core/Noise.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

namespace velorin {
namespace {

using test::ExpectNear;
using test::Particles;
using test::PlainGroup;
using test::Turned;

// The generator, written out.
struct Draws {
    std::uint32_t state;
    std::uint32_t bits() {
        state = state * 214013u + 2531011u;
        return (state >> 16) & 32767u;
    }
    float unit() { return static_cast<float>(bits()) * 3.051851e-5f; }
};

TEST(LookRotation, TurnsForwardToTheDirection) {
    const Point3 directions[] = {{0, 0, 1},
                                 {1, 0, 0},
                                 {-1, 0, 0},
                                 {0, 0, -1},
                                 {0.6f, 0, 0.8f},
                                 {0.48f, 0.6f, 0.64f},
                                 {-0.48f, -0.6f, -0.64f},
                                 {0.6f, 0.8f, 0},
                                 {0, 1, 0},
                                 {0, -1, 0}};
    for (const Point3 d : directions) {
        const Quaternion q = LookRotation(d);
        const std::string name = std::to_string(d.x) + " " + std::to_string(d.y) + " " + std::to_string(d.z);
        ExpectNear(Turned({0, 0, 1}, q), d, 1e-5f, name);
        // The side axis stays level: it is Y x direction; straight up and down it stays x.
        const Point3 side = d.x == 0 && d.z == 0 ? Point3{1, 0, 0} : Normalized(Cross({0, 1, 0}, d));
        ExpectNear(Turned({1, 0, 0}, q), side, 1e-5f, name);
        EXPECT_NEAR(q.x * q.x + q.y * q.y + q.z * q.z + q.w * q.w, 1, 1e-5) << name;
    }
    for (const Point3 d : {Point3{}, Point3{0, 0, 1}}) EXPECT_EQ(LookRotation(d), Quaternion{});
}

TEST(Conversions, RoundTheWayEachRowDoes) {
    struct Row {
        float value;
        std::uint32_t plain;
        std::int32_t withSign, away; // RoundedSigned adds a half and goes towards zero
    };
    constexpr auto least = std::numeric_limits<std::int32_t>::min();
    const Row rows[] = {{2.5f, 3, 3, 3},          {2.4f, 2, 2, 2},    {-2.4f, 0, -1, -2},
                        {-2.5f, 0, -2, -3},       {-2.6f, 0, -2, -3}, {std::nanf(""), 0, 0, 0},
                        {-1e30f, 0, least, least}};
    for (const Row& row : rows) {
        EXPECT_EQ(RoundedUnsigned(row.value), row.plain) << row.value;
        EXPECT_EQ(RoundedSigned(row.value), row.withSign) << row.value;
        EXPECT_EQ(RoundedAway(row.value), row.away) << row.value;
    }
    EXPECT_GE(RoundedUnsigned(1e20f), 4294967040u);
    // A duration of 0: d = 0.999.
    const ChannelTiming jump = ReadChannelTiming(0, 50);
    EXPECT_NEAR(jump.offset, 0.4995, 1e-6);
    EXPECT_NEAR(jump.scale, 1000, 1);
    const ChannelTiming whole = ReadChannelTiming(100, 50);
    EXPECT_EQ(whole.offset, 0);
    EXPECT_EQ(whole.scale, 1);
}

TEST(Conversions, RotationsTurnByTheAngleThatIsShown) {
    // A quarter turn about z of the host's frame (x right, y down) takes x to y.
    ExpectNear(Turned({1, 0, 0}, ReadRotation({0, 0, kPi / 2})), {0, 1, 0}, 1e-6f, "z");
    ExpectNear(Turned({0, 1, 0}, ReadRotation({kPi / 2, 0, 0})), {0, 0, 1}, 1e-6f, "x");
    ExpectNear(Turned({0, 0, 1}, ReadRotation({0, kPi / 2, 0})), {1, 0, 0}, 1e-6f, "y");
    // In an order, the first letter acts first: x takes y to z, then y takes z to x.
    const Point3 quarter{kPi / 2, kPi / 2, 0};
    ExpectNear(Turned({0, 1, 0}, ReadRotation(quarter, RotationOrder::XYZ)), {1, 0, 0}, 1e-6f, "xyz");
    ExpectNear(Turned({0, 1, 0}, ReadRotation(quarter, RotationOrder::YXZ)), {0, 0, 1}, 1e-6f, "yxz");
    const Point3 zFirst{kPi / 2, 0, kPi / 2};
    ExpectNear(Turned({1, 0, 0}, ReadRotation(zFirst, RotationOrder::ZXY)), {0, 0, 1}, 1e-6f, "zxy");
    ExpectNear(Turned({1, 0, 0}, ReadRotation(zFirst, RotationOrder::XZY)), {0, 1, 0}, 1e-6f, "xzy");
    ExpectNear(SweepDirection(kPi / 2, 0), {0, 1, 0}, 1e-6f, "yaw");
    ExpectNear(SweepDirection(0, kPi / 2), {0, 0, 1}, 1e-6f, "pitch");
}

TEST(ParticlePass, PositionIsScaledTurnedAndMoved) {
    GroupParams group = PlainGroup(ReplicatorShape::Ring, 4); // starts at (-R, 0, 0)
    group.shapeScale = 2;
    group.scale = {3, 1, 1};
    group.rotation = ReadRotation({0, 0, kPi / 2});
    group.position = {100, 200, 300};
    const float r = 25.01f * 6;
    ExpectNear(Particles(group)[0].position, {100, 200 - r, 300}, 1e-3f, "-x turned to -y");
}

TEST(ParticlePass, SizesAndAnglesTakeTheirDrawsInOrder) {
    GroupParams group = PlainGroup(ReplicatorShape::Point, 4);
    group.lookSeed = 321;
    group.particleSize = 8;
    group.particleSizeRandom = 0.5f;
    group.sizeAxes = {1, 2, 3};
    group.rotationRandom = {0.3f, 0.6f, 0.9f};
    group.rotationRandomize = {0, kPi / 2, 0};
    group.particleRotation = ReadRotation({0.1f, 0, 0});
    group.rotation = ReadRotation({0, 0, 0.2f});
    const auto particles = Particles(group);
    // The draws are made whatever the amounts are: those behind keep theirs.
    GroupParams without = group;
    without.rotationRandom = {};
    const auto calm = Particles(without);
    Draws draws{321};
    for (const Particle& particle : particles) {
        EXPECT_EQ(particle.size, calm[particle.index].size);
        const float f = (1 - draws.unit() * 0.5f) * 25 * 8;
        ExpectNear(particle.size, {f, 2 * f, 3 * f}, 1e-3f, "size");
        float angles[3];
        for (float& angle : angles) angle = (draws.unit() - 0.5f) * 2;
        float steps[3];
        for (float& step : steps) step = static_cast<float>(draws.bits() % 3600);
        // Acting in turn on a row vector: particle rotation, the multiple of 90 degrees, the spread, the
        // shape.
        Point3 v{0.2f, 0.5f, 0.8f};
        v = Turned(v, group.particleRotation);
        v = Turned(v, QuaternionFromEuler(0, steps[1] * (kPi / 2), 0));
        v = Turned(v, QuaternionFromEuler(angles[0] * 0.3f, angles[1] * 0.6f, angles[2] * 0.9f));
        v = Turned(v, group.rotation);
        ExpectNear(Turned({0.2f, 0.5f, 0.8f}, particle.rotation), v, 2e-4f, "rotation");
    }
}

TEST(ParticlePass, OrientationChoosesTheDirection) {
    GroupParams group = PlainGroup(ReplicatorShape::Ring, 4);
    group.rotation = ReadRotation({0, 0, kPi / 2});
    // Along Surface: inward, from (-1, 0, 0) that is +x, then the shape's quarter turn takes it to +y.
    ExpectNear(Turned({0, 0, 1}, Particles(group)[0].rotation), {0, 1, 0}, 1e-5f, "surface");
    group.orientation = Orientation::Fixed;
    EXPECT_EQ(Particles(group)[0].rotation, group.rotation);
    // Face Camera: away from the eye, whatever the shape's rotation is.
    group.orientation = Orientation::FaceCamera;
    const Point3 camera{10, 20, -500};
    const auto particles = Particles(group, camera);
    for (const Particle& particle : particles)
        ExpectNear(Turned({0, 0, 1}, particle.rotation), Normalized(particle.position - camera), 1e-5f,
                   "camera");
}

TEST(ParticlePass, ScatterIsDrawnFromItsOwnSeed) {
    GroupParams group = PlainGroup(ReplicatorShape::Point, 3);
    group.randomSeed = 70;
    group.scatter = {4, 0, 8};
    Draws draws{1070};
    for (const Particle& particle : Particles(group)) {
        const float x = draws.unit() - 0.5f;
        draws.bits();
        const float z = draws.unit() - 0.5f;
        ExpectNear(particle.position, {x * 100, 0, z * 200}, 1e-3f, "scatter");
    }
}

TEST(ParticlePass, SurfaceOffsetGoesAgainstTheNormal) {
    GroupParams ring = PlainGroup(ReplicatorShape::Ring, 4);
    ring.surfaceOffset = 2;
    ExpectNear(Particles(ring)[0].position, {-25.01f - 50, 0, 0}, 1e-3f, "outward");
    // A plane's normal (0, 0, 1), negated and turned by the quarter about x: (0, 1, 0).
    GroupParams plane = PlainGroup(ReplicatorShape::Plane, 1);
    plane.surfaceOffset = 2;
    const Point3 before = Point3{-0.5f, 0, -0.5f} * 25.01f;
    ExpectNear(Particles(plane)[0].position, before + Point3{0, 50, 0}, 1e-3f, "plane");
    plane.rotation = ReadRotation({0, 0, kPi / 2}); // y to -x
    ExpectNear(Particles(plane)[0].position, {-50, -12.505f, -12.505f}, 1e-3f, "turned");
    plane.surfaceOffsetRandom = 1;
    plane.randomSeed = 9;
    const float amount = Draws{5009}.unit() * 50;
    ExpectNear(Particles(plane)[0].position, {-amount, -12.505f, -12.505f}, 1e-3f, "random");
}

TEST(ParticlePass, NoisesTakeTheirPlaceFromThePosition) {
    GroupParams group = PlainGroup(ReplicatorShape::Point, 1);
    group.position = {30, 70, -20};
    group.positionNoiseAmount = {5, 6, 7};
    group.positionNoiseScale = 2;
    group.positionNoiseEvolution = 0.4f;
    group.randomSeed = 12;
    Draws draws{10012};
    draws.bits();
    const float r = draws.unit() * 500;
    const float u = (r + 10) * 0.01f * 2, v = (r + 50) * 0.01f * 2 + 0.4f;
    ExpectNear(
        Particles(group)[0].position,
        {30 + 5 * Noise2(u, v), 70 + 6 * Noise2(u + 500, v + 500), -20 + 7 * Noise2(u + 1000, v + 1000)},
        1e-3f, "position");

    GroupParams turning = PlainGroup(ReplicatorShape::Point, 1);
    turning.position = group.position;
    turning.rotationNoiseAmount = 3;
    turning.rotationNoiseEvolution = 0.25f;
    turning.lookSeed = 12;
    const float a = (r + 10) * 0.1f, b = (r + 50) * 0.1f + 0.25f;
    const Quaternion expected =
        QuaternionFromEuler(Noise2(a + 665, b + 665) * 0.15f, Noise2(a + 385, b + 385) * 0.15f,
                            Noise2(a + 1610, b + 1610) * 0.15f);
    const Quaternion actual = Particles(turning)[0].rotation;
    EXPECT_NEAR(actual.x, expected.x, 2e-3);
    EXPECT_NEAR(actual.y, expected.y, 2e-3);
    EXPECT_NEAR(actual.z, expected.z, 2e-3);
}

TEST(AnimationKeys, FollowTheirBlock) {
    std::vector<Particle> particles(5);
    for (std::size_t i = 0; i < 5; ++i) particles[i].position = {static_cast<float>(i), 0, 3};
    const auto keys = [&](AnimationBlock block, std::uint32_t side) {
        KeyStage(block, 40, side, particles.size()).Run(particles);
        std::vector<float> result;
        for (const Particle& particle : particles) result.push_back(particle.animationKey);
        return result;
    };
    AnimationBlock block;
    const auto tie = [](Draws& draws) { return draws.unit() * 0.01f; };

    block.type = AnimationBlock::ShapeOrder;
    block.shapeOrderOffset = -2;
    Draws plain{500};
    const float places[] = {3, 4, 0, 1, 2};
    const auto ordered = keys(block, 0);
    for (std::size_t i = 0; i < 5; ++i) EXPECT_NEAR(ordered[i], places[i] + tie(plain), 1e-6);

    block.type = AnimationBlock::Uniform;
    EXPECT_EQ(keys(block, 1), (std::vector<float>(5, 0)));

    block.type = AnimationBlock::Directional;
    block.direction = {-1, 0, 1};
    Draws directional{500};
    const auto swept = keys(block, 1);
    for (std::size_t i = 0; i < 5; ++i)
        EXPECT_NEAR(swept[i], 3 - static_cast<float>(i) + tie(directional), 1e-5);

    block.type = AnimationBlock::Radial;
    block.center = {0, 4, 3};
    block.radialMode = 2;
    Draws radial{500};
    const auto inward = keys(block, 0);
    for (std::size_t i = 0; i < 5; ++i)
        EXPECT_NEAR(inward[i], -std::sqrt(static_cast<float>(i * i) + 16) + tie(radial), 1e-5);

    block.type = AnimationBlock::Random;
    Draws random{40 + 1235};
    const auto drawn = keys(block, 1);
    for (std::size_t i = 0; i < 5; ++i) {
        const auto bits = static_cast<float>(random.bits());
        EXPECT_NEAR(drawn[i], bits + tie(random), 1e-2);
    }
}

TEST(BuildParticles, TheEngineEvensCountsAndMatchesInKeyOrder) {
    FrameParams params;
    params.engine.enabled = true;
    params.engine.block.type = AnimationBlock::Directional;
    params.engine.block.direction = {1, 0, 0};
    params.engine.dual = params.engine.block;
    params.engine.dual.direction = {-1, 0, 0};
    params.groups[0] = PlainGroup(ReplicatorShape::Ring, 6);
    params.groups[1] = PlainGroup(ReplicatorShape::Sphere, 99);
    params.groups[1].distribution = Distribution::SetRows;
    params.groups[1].rows = 1;
    test::FakeSurfaces none;
    test::Build(params, none);
    ASSERT_EQ(params.particles[0].size(), 6u);
    ASSERT_EQ(params.particles[1].size(), 6u);
    const std::vector<Particle> calm = params.particles[0];
    params.groups[0].scatter = {1000, 0, 0};
    test::Build(params, none);
    for (std::size_t i = 0; i < 6; ++i) { // keys come before scatter
        EXPECT_EQ(params.particles[0][i].animationKey, calm[i].animationKey);
        EXPECT_NE(params.particles[0][i].position.x, calm[i].position.x);
    }
    // Left to right against right to left.
    std::vector<int> hit(6, 0);
    for (const Particle& a : params.particles[0]) {
        ++hit[a.target];
        for (const Particle& b : params.particles[0])
            if (a.animationKey < b.animationKey) {
                EXPECT_LE(params.particles[1][a.target].animationKey,
                          params.particles[1][b.target].animationKey);
            }
    }
    EXPECT_EQ(hit, std::vector<int>(6, 1)) << "each finish particle once";

    params.engine.countFromFinish = true;
    test::Build(params, none);
    EXPECT_EQ(params.particles[0].size(), 99u);

    params.engine.dual.type = AnimationBlock::Uniform;
    test::Build(params, none);
    for (const Particle& a : params.particles[0]) EXPECT_EQ(a.target, a.index);

    // Backwards: the counts follow the groups as chosen, then the second is the start.
    params.engine.dual = params.engine.block;
    params.engine.countFromFinish = false;
    params.engine.backwards = true;
    test::Build(params, none);
    EXPECT_EQ(params.particles[1].size(), 6u);
    std::vector<int> fromSecond(6, 0);
    for (const Particle& a : params.particles[1]) ++fromSecond[a.target];
    EXPECT_EQ(fromSecond, std::vector<int>(6, 1));
}

TEST(BuildParticles, EqualKeysKeepTheParticlesOrder) {
    FrameParams params;
    params.engine.enabled = true;
    params.engine.startGroup = 0, params.engine.finishGroup = 1;
    params.particles[0].resize(4);
    params.particles[1].resize(4);
    const float keys[] = {1, 0, 1, std::nanf("")};
    for (std::uint32_t i = 0; i < 4; ++i) {
        params.particles[0][i].index = params.particles[1][i].index = i;
        params.particles[0][i].animationKey = keys[i];
        params.particles[1][i].animationKey = 5;
    }
    MatchParticles(params);
    EXPECT_EQ(params.particles[0][1].target, 0u);
    EXPECT_EQ(params.particles[0][0].target, 1u);
    EXPECT_EQ(params.particles[0][2].target, 2u);
    EXPECT_EQ(params.particles[0][3].target, 3u);
}

// 200 settings from a small generator of the test's own: shapes with everything switched on and off.
GroupParams RandomGroup(Draws& draws, const ImageHeader& layer) {
    const ReplicatorShape shapes[] = {
        ReplicatorShape::Point, ReplicatorShape::Grid3D, ReplicatorShape::Plane,    ReplicatorShape::Sphere,
        ReplicatorShape::Ring,  ReplicatorShape::Layer,  ReplicatorShape::LayerGrid};
    const ReplicatorShape shape = shapes[draws.bits() % 7];
    GroupParams group = PlainGroup(shape, draws.bits() % 300);
    const auto some = [&](float range) { return draws.bits() % 2 ? (draws.unit() - 0.5f) * range : 0; };
    const auto vector = [&](float range) { return Point3{some(range), some(range), some(range)}; };
    group.customLayer = layer;
    group.gridX = 1 + draws.bits() % 9, group.gridY = 1 + draws.bits() % 9,
    group.gridZ = 1 + draws.bits() % 5;
    group.position = vector(2000);
    group.shapeScale = 10 + some(20);
    group.scale = {1 + some(2), 1 + some(2), 1 + some(2)};
    group.rotation = ReadRotation(vector(6));
    group.layers = 1 + draws.bits() % 12;
    group.layersOffset = some(4);
    group.layersDistribution = 1 + some(2);
    group.distribution = draws.bits() % 2 ? Distribution::Automatic : Distribution::SetRows;
    group.rows = 1 + draws.bits() % 20;
    group.automaticBias = static_cast<std::int32_t>(draws.bits() % 11) - 5;
    group.surfaceOffset = some(10);
    group.surfaceOffsetRandom = draws.unit();
    group.scatter = vector(100);
    group.positionNoiseAmount = vector(50);
    group.positionNoiseScale = draws.unit() * 4;
    group.randomSeed = draws.bits();
    group.lookSeed = draws.bits();
    group.particleSizeRandom = draws.unit();
    group.orientation = static_cast<Orientation>(1 + draws.bits() % 3);
    group.particleRotation = ReadRotation(vector(6));
    group.rotationRandom = vector(3);
    group.rotationRandomize = vector(3);
    group.rotationNoiseAmount = some(5);
    return group;
}

std::uint64_t HashOfSettings() {
    test::MaskLayer layer({"##..##", "#....#", "..##..", "......", "######"}, 1);
    Draws draws{1};
    std::uint64_t hash = 0xcbf29ce484222325u; // FNV-1a
    for (int setting = 0; setting < 200; ++setting)
        for (const Particle& particle : Particles(RandomGroup(draws, layer.header()))) {
            const auto* bytes = reinterpret_cast<const unsigned char*>(&particle);
            for (std::size_t i = 0; i < sizeof particle; ++i) hash = (hash ^ bytes[i]) * 0x100000001b3u;
        }
    return hash;
}

TEST(BuildParticles, TheSameSettingsGiveTheSameBytes) {
    const std::uint64_t hash = HashOfSettings();
    EXPECT_EQ(hash, HashOfSettings());
    // The bytes that every compiler and every optimisation has to give.
    EXPECT_EQ(hash, 0x98b6a62613838102u) << "0x" << std::hex << hash;
}

} // namespace
} // namespace velorin
