#include "core/BakedAnimation.h"
#include "core/CoreSamples.h"
#include "core/ModelAssignment.h"
#include "core/Random.h"
#include "core/SequencePath.h"
#include "core/document/SceneModel.h"
#include "services/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cmath>

namespace velorin {
namespace {

// Numbers counted from 1, as the tree shows the models.
std::vector<std::uint32_t> Choice(ParticleOrder order, std::size_t models, std::uint32_t repeat,
                                  std::int32_t offset, std::size_t count) {
    GroupParams group;
    group.order = order;
    group.particleRepeat = repeat;
    group.particleOffset = offset;
    auto chosen = ChooseModels(group, models, count);
    for (std::uint32_t& model : chosen) ++model;
    return chosen;
}

TEST(ChooseModels, FollowsTheOrder) {
    using Numbers = std::vector<std::uint32_t>;
    EXPECT_EQ(Choice(ParticleOrder::Forward, 2, 2, 0, 8), (Numbers{2, 2, 1, 1, 2, 2, 1, 1}));
    EXPECT_EQ(Choice(ParticleOrder::Forward, 3, 1, 1, 5), (Numbers{2, 1, 3, 2, 1}));
    EXPECT_EQ(Choice(ParticleOrder::Forward, 3, 1, -1, 4), (Numbers{1, 3, 2, 1}));
    EXPECT_EQ(Choice(ParticleOrder::Backwards, 3, 1, 0, 5), (Numbers{1, 2, 3, 1, 2}));
    EXPECT_EQ(Choice(ParticleOrder::Backwards, 3, 1, -100000, 3), (Numbers{3, 1, 2}));
    EXPECT_EQ(Choice(ParticleOrder::Mirror, 3, 1, 0, 9), (Numbers{3, 2, 1, 1, 2, 3, 3, 2, 1}));
    EXPECT_EQ(Choice(ParticleOrder::Mirror, 3, 1, -6, 3), (Numbers{3, 2, 1}));
    EXPECT_EQ(Choice(ParticleOrder::Mirror, 3, 1, -1, 3), (Numbers{3, 3, 2}));
    EXPECT_EQ(Choice(ParticleOrder::Random, 1, 1, 0, 3), (Numbers{1, 1, 1}));
}

TEST(ChooseModels, RandomIsSteppedByTheOffset) {
    GroupParams group;
    group.order = ParticleOrder::Random;
    group.randomSeed = 99;
    const auto plain = ChooseModels(group, 5, 20);
    group.particleOffset = 7;
    const auto shifted = ChooseModels(group, 5, 13);
    EXPECT_EQ(shifted, std::vector<std::uint32_t>(plain.begin() + 7, plain.end()));
    std::uint32_t state = 99;
    for (const std::uint32_t model : plain) {
        state = state * 214013u + 2531011u;
        EXPECT_EQ(model, ((state >> 16) & 32767u) % 5);
    }
}

TEST(AssignModels, ListsATreeBreadthFirst) {
    Scene scene;
    const auto add = [](std::vector<Ref<SceneModel>>& list, SceneModel* parent, const char* name,
                        ModelType type) {
        list.push_back(Ref<SceneModel>::Make(type));
        list.back()->name = name;
        list.back()->parent = parent;
        return list.back().get();
    };
    SceneModel* folder = add(scene.models, nullptr, "folder", ModelType::Folder);
    SceneModel* inner = add(folder->children, folder, "inner", ModelType::Folder);
    add(inner->children, inner, "deep", ModelType::File);
    SceneModel* leaf = add(folder->children, folder, "leaf", ModelType::File);
    leaf->groups = {false, false, true, false, false}; // of no account below a folder
    add(scene.models, nullptr, "source", ModelType::File)->replicatorSource = true;
    add(scene.models, nullptr, "other", ModelType::File)->groups = {false, true, false, false, false};

    FrameParams params;
    params.scene = &scene;
    const auto models = GroupModels(params, 0);
    ASSERT_EQ(models.size(), 1u);
    GroupSlots slots;
    EXPECT_EQ(AssignModels(params.groups[0], models, 2, 1 << 20, slots), 0u);
    for (std::size_t p = 0; p < 2; ++p) {
        std::vector<std::string> names;
        for (const SlotModel& slot : slots.of(p)) names.push_back(slot.model->name);
        EXPECT_EQ(names, (std::vector<std::string>{"folder", "inner", "leaf", "deep"}));
    }
    EXPECT_EQ(GroupModels(params, 1).size(), 2u - 1);
    EXPECT_EQ(GroupModels(params, 2).size(), 0u);
    EXPECT_EQ(AssignModels(params.groups[0], {}, 3, 1 << 20, slots), 0u);
    EXPECT_EQ(slots.particles(), 3u);
    EXPECT_TRUE(slots.of(2).empty());
    // 1000 particles of 4 entries of 16 bytes, and 1001 numbers.
    EXPECT_EQ(AssignModels(params.groups[0], models, 1000, 100, slots), 4000 * sizeof(SlotModel) + 4004);
    EXPECT_EQ(slots.particles(), 0u);
}

struct Loop {
    LoopMode mode;
    float start, end, offset;
    std::uint32_t frames;
    std::vector<std::uint32_t> expected; // for a playback of 0, 1, 2 ...
};

TEST(BakedFrame, LoopsInItsRange) {
    const Loop loops[] = {
        {LoopMode::Loop, 1, 3, 0, 3, {0, 1, 2, 0, 1}},
        {LoopMode::Mirror, 1, 3, 0, 3, {0, 1, 2, 2, 1, 0, 0, 1}},
        {LoopMode::FreezeAtEnd, 1, 3, 0, 3, {0, 1, 2, 2, 2}},
        {LoopMode::Loop, 3, 5, 0, 10, {2, 3, 4, 2}},
        {LoopMode::Loop, 1, 4, 1, 4, {1, 2, 3, 0}},
        {LoopMode::Loop, 1, 4, -1, 4, {3, 0, 1, 2}},
        {LoopMode::Loop, 1, 100, 0, 2, {0, 1, 0, 1}}, // the end beyond the last frame
        {LoopMode::Loop, 2, 1, 0, 5, {1, 1, 1}},      // an end before the start: one frame
        {LoopMode::Loop, -10, 1, 0, 4, {0, 0, 0, 0}}, // a start before the first
    };
    for (const Loop& loop : loops) {
        SceneModel model;
        model.frameCount = loop.frames;
        model.startFrame = loop.start, model.endFrame = loop.end, model.frameOffset = loop.offset;
        BakedParams group;
        group.loopMode = loop.mode;
        for (std::size_t i = 0; i < loop.expected.size(); ++i) {
            group.playback = static_cast<float>(i) + 0.5f; // truncated
            Random random(1);
            EXPECT_EQ(BakedFrame(model, group, random), loop.expected[i])
                << static_cast<int>(loop.mode) << " start " << loop.start << " at " << i;
        }
    }
}

TEST(BakedFrame, DrawsOnlyForWhatMoves) {
    SceneModel still, moving;
    moving.frameCount = 100, moving.endFrame = 100;
    BakedParams group;
    Random random(7), untouched(7);
    EXPECT_EQ(BakedFrame(still, group, random), 0u);
    EXPECT_EQ(random.Bits(), untouched.Bits());
    // Rounded half away from zero; 7 mod 100, with a draw of R mod 20 minus 10.
    group.frameOffset = 49.5f;
    group.frameOffsetRandom = 10;
    Random expected(7);
    const std::uint32_t draw = expected.Draw();
    EXPECT_EQ(BakedFrame(moving, group, random), 50 + draw % 20 - 10);
    EXPECT_EQ(random.Bits(), expected.Bits()) << "one draw";
    group.frameOffsetRandom = 0;
    group.loopMode = LoopMode::RandomLoop;
    Random second(7);
    second.Step();
    const std::uint32_t jump = second.Draw();
    Random again(7);
    EXPECT_EQ(BakedFrame(moving, group, again), (50 + jump) % 100);
    for (const float odd : {std::nanf(""), 1e38f, -1e38f}) {
        group.playback = group.frameOffset = group.frameOffsetRandom = odd;
        EXPECT_LT(BakedFrame(moving, group, again), 100u);
    }
}

TEST(SequencePath, CountsInTheWidthOfTheFirstFile) {
    EXPECT_EQ(SequenceFramePath("run/walk007.obj", 3), "run/walk010.obj");
    EXPECT_EQ(SequenceFramePath("walk998.obj", 2), "walk1000.obj");
    EXPECT_EQ(SequenceFramePath("a1b2.obj", 0), "a1b2.obj");
    EXPECT_EQ(SequenceFramePath("12.obj", 1), "13.obj");
    EXPECT_EQ(SequenceFramePath("take.3/still.obj", 5), "take.3/still.obj");
    EXPECT_EQ(SequenceFramePath("take.3/still9", 1), "take.3/still10");
    EXPECT_EQ(SequenceFramePath("big99999999999999999999999.obj", 1), "big99999999999999999999999.obj");
    EXPECT_FALSE(ParseSequenceName("").valid);

    const test::TemporaryFolder folder;
    for (const char* name : {"a098.obj", "a099.obj", "a100.obj", "a102.obj", "b9.obj", "b10.obj", "c.obj"})
        folder.Put(name, "");
    const std::pair<const char*, std::uint32_t> inARow[] = {
        {"a098.obj", 3}, {"a099.obj", 2}, {"a102.obj", 1}, {"b9.obj", 2}, {"c.obj", 1}, {"none1.obj", 1}};
    for (const auto& [first, count] : inARow) EXPECT_EQ(CountSequence(folder.file(first)), count) << first;
}

// A track that moves in x with two linear keys and in y with one.
MeshTrack SampleTrack(float mode) {
    MeshTrack track;
    track.position = {0, 5, 7};
    track.scale = {1, 1, 1};
    track.rotationOrder = 0;
    for (const std::uint32_t frame : {10u, 20u}) {
        TrackSample sample;
        sample.frame = frame;
        sample.position = {frame == 10 ? 1.0f : 3.0f, 9, 0};
        sample.hasKey[0] = {1, static_cast<std::uint8_t>(frame == 20), 0};
        sample.channels[0].mode = {mode, mode, mode};
        track.samples.push_back(sample);
    }
    return track;
}

TEST(TrackPlayback, InterpolatesAxisByAxis) {
    const MeshTrack linear = SampleTrack(2);
    EXPECT_FLOAT_EQ(EvaluateTrack(linear, 15, 30).position.x, 2);
    EXPECT_FLOAT_EQ(EvaluateTrack(linear, 12.5f, 30).position.x, 1.5f);
    EXPECT_FLOAT_EQ(EvaluateTrack(linear, 15, 30).position.y, 9) << "one key holds everywhere";
    EXPECT_FLOAT_EQ(EvaluateTrack(linear, 15, 30).position.z, 7) << "at rest without keys";
    EXPECT_EQ(EvaluateTrack(linear, 15, 30).scale, (Point3{1, 1, 1}));
    EXPECT_FLOAT_EQ(EvaluateTrack(SampleTrack(3), 19, 30).position.x, 1) << "stepped";
    // Flat tangents: smooth step. With slopes of 3 a second over a third of a second, h10 = h11' = 1/8 at the
    // middle.
    MeshTrack cubic = SampleTrack(1);
    EXPECT_FLOAT_EQ(EvaluateTrack(cubic, 12.5f, 30).position.x, 1 + 2 * 0.15625f);
    cubic.samples[0].channels[0].tangent[0] = {0, 6, 0, 2};
    EXPECT_NEAR(EvaluateTrack(cubic, 15, 30).position.x, 2 + 0.125f * 3 / 3, 1e-5);
    const Matrix moved = TrackMatrix(linear, 20, 30);
    test::ExpectNear(TransformPoint({0, 0, 0}, moved), {2, 0, 0}, 1e-5f, "relative to the first frame");
}

TEST(TrackPlayback, TimeWrapsLikeTheLoopMode) {
    const MeshTrack track = SampleTrack(2); // frames 10 to 20
    SceneModel model;
    BakedParams group;
    struct Row {
        LoopMode mode;
        float playback, time;
    };
    const Row rows[] = {
        {LoopMode::Loop, 12.25f, 12.25f}, {LoopMode::Loop, 21, 10},        {LoopMode::Loop, 9, 20},
        {LoopMode::FreezeAtEnd, 100, 20}, {LoopMode::FreezeAtEnd, -3, 10}, {LoopMode::Mirror, 23, 17},
        {LoopMode::Mirror, 31, 11},
    };
    for (const Row& row : rows) {
        group.loopMode = row.mode;
        group.playback = row.playback;
        EXPECT_FLOAT_EQ(TrackTime(track, model, group, 0), row.time) << row.playback;
    }
    group.loopMode = LoopMode::FreezeAtEnd;
    group.playback = 15;
    group.frameOffsetRandom = 3;
    group.randomSeed = 8;
    std::uint32_t state = (2 * 123 + 8) * 214013u + 2531011u;
    EXPECT_FLOAT_EQ(TrackTime(track, model, group, 2),
                    15 + static_cast<float>(((state >> 16) & 32767u) % 6) - 3);
}

} // namespace
} // namespace velorin
