#include "host/FrameRows.h"

#include "host/FakeHost.h"
#include "host/ParamsSetup.h"
#include "render/Renderer.h"

#include <gtest/gtest.h>

namespace velorin {
namespace {

class FrameRows : public ::testing::Test {
protected:
    void SetUp() override {
        A_long count = 0;
        ASSERT_EQ(AddParams(host.in, nullptr, index, count), PF_Err_NONE);
        driver.textureMultisample = true;
        driver.maxColourTextureSamples = 4;
    }
    FrameRecord Read() {
        PluginCall call(&host.in, &host.out, nullptr, nullptr);
        const FrameRecord frame = ReadFrameRecord(call, ParamReader(call, index), driver);
        EXPECT_EQ(host.checkedOut, 0);
        return frame;
    }
    void ReadGroups() {
        PluginCall call(&host.in, &host.out, nullptr, nullptr);
        ParamReader rows(call, index);
        ReadInstance(call, rows, record);
        EXPECT_EQ(host.checkedOut, 0);
    }
    void SetFloat(std::uint32_t id, double value) { host.Row(id).u.fs_d.value = value; }
    void SetPopup(std::uint32_t id, A_long value) { host.Row(id).u.pd.value = value; }
    void SetCheck(std::uint32_t id, bool on) { host.Row(id).u.bd.value = on; }
    void SetAngle(std::uint32_t id, double degrees) {
        host.Row(id).u.ad.value = static_cast<PF_Fixed>(degrees * 65536);
    }

    FakeHost host;
    std::vector<std::uint32_t> index;
    DriverInfo driver;
    SequenceRecord record{nullptr};
};

// Whether these members are equal in both.
template <class Record, class... Member>
void ExpectSame(const Record& a, const Record& b, Member... members) {
    int place = 0;
    const auto same = [&](double x, double y) {
        EXPECT_NEAR(x, y, 1e-6) << "member " << place;
        ++place;
    };
    (same(static_cast<double>(a.*members), static_cast<double>(b.*members)), ...);
}

// The renderer's own defaults are those of the rows; a row that is read into the wrong field shows here.
TEST_F(FrameRows, DefaultsAreTheRenderersDefaults) {
    const FrameRecord frame = Read();
    using S = RenderSettings;
    const S& s = frame.settings;
    const S d;
    EXPECT_EQ(s.output, d.output);
    ExpectSame(s, d, &S::supersampling, &S::gamma, &S::textureGamma, &S::specularCompression,
               &S::wireframeWidth, &S::pointSize, &S::compressTextures);
    using Environment = decltype(d.environment);
    ExpectSame(s.environment, d.environment, &Environment::exposure, &Environment::lightingInfluence);
    EXPECT_EQ(s.environment.rotation, d.environment.rotation);
    using Fog = decltype(d.fog);
    ExpectSame(s.fog, d.fog, &Fog::start, &Fog::range, &Fog::opacity);
    using Shadow = decltype(d.shadow);
    ExpectSame(s.shadow, d.shadow, &Shadow::mapSize, &Shadow::samples, &Shadow::shadowSize,
               &Shadow::rayMultisampling, &Shadow::blurScale);
    using Scatter = decltype(d.subSurface);
    ExpectSame(s.subSurface, d.subSurface, &Scatter::samples, &Scatter::lightColourTint);
    using Ao = decltype(d.ao);
    ExpectSame(s.ao, d.ao, &Ao::samples, &Ao::blurSteps, &Ao::blurBlend);
    using Glow = decltype(d.glow);
    ExpectSame(s.glow, d.glow, &Glow::radiusX, &Glow::quality);
    EXPECT_EQ(s.reflection.mapSize, d.reflection.mapSize);
    EXPECT_EQ(s.depthOutput.end, d.depthOutput.end);
    EXPECT_EQ(s.matte.feather, d.matte.feather);
    EXPECT_EQ(s.rayTracer.transparency, d.rayTracer.transparency);
    EXPECT_EQ(s.matte.position, (Point3{80, 45, 0}));
    EXPECT_TRUE(s.sampleCount == 8 && s.ao.amount == 0 && s.mixer.subSurface == 1 && s.glow.tintMode == 0);
    EXPECT_TRUE(frame.motionBlurSamples == 1 && frame.nearPlane == 10 && frame.farPlane == 50000);
    EXPECT_FALSE(s.lights.empty()) << "no comp lights, and none added: the rig of a comp without lights";
}

TEST_F(FrameRows, ValuesAreScaledAndRounded) {
    SetFloat(5120, 40);  // Lighting Influence, percent
    SetFloat(1103, 7.5); // Motion Blur Samples, rounded
    SetPopup(1102, 2);
    SetFloat(1104, 90);
    SetPopup(1454, 3); // Z Depth no AA
    SetPopup(1465, 3); // Supersampling 4
    SetFloat(1464, 3); // Point Size
    SetFloat(6104, 12);
    SetFloat(6116, 50);   // chromatic intensity
    SetFloat(6118, 0.5);  // soften
    SetAngle(1555, 30);   // X Rotation Matte
    SetPopup(5103, 6);    // Map Size
    SetCheck(1252, true); // AO
    SetPopup(1281, 4);    // 64 samples
    SetPopup(1266, 6);    // 16: above Multisampling's 8, and the driver gives 4
    SetFloat(1255, 2);    // SSAO Radius
    host.in.downsample_x = host.in.downsample_y = {1, 2};
    const FrameRecord frame = Read();
    const RenderSettings& s = frame.settings;
    EXPECT_FLOAT_EQ(s.environment.lightingInfluence, 0.4f);
    EXPECT_EQ(frame.motionBlurSamples, 8);
    EXPECT_FLOAT_EQ(frame.shutter, 0.25f);
    EXPECT_EQ(s.output, Output::ZDepth);
    EXPECT_EQ(s.sampleCount, 0);
    EXPECT_EQ(s.supersampling, 3);
    EXPECT_FLOAT_EQ(s.pointSize, 6); // 3 / 2, times 4
    EXPECT_FLOAT_EQ(s.glow.radiusX, 5 + 0.5f * 4 * 50 * 0.01f);
    EXPECT_NEAR(s.matte.rotationX, 30, 1e-4);
    EXPECT_EQ(s.shadow.mapSize, 8192);
    EXPECT_EQ(s.ao.samples, 64);
    EXPECT_EQ(s.ao.sampleCount, 4);
    EXPECT_FLOAT_EQ(s.ao.radius, 4);
    EXPECT_EQ(s.ao.amount, 2);
    // The host gives points in pixels of the reduced picture.
    EXPECT_EQ(s.matte.position, (Point3{160, 90, 0}));
}

TEST_F(FrameRows, ShowMapsToOutputs) {
    const std::pair<int, Output> cases[] = {{1, Output::Composite}, {2, Output::ZDepth},
                                            {3, Output::ZDepth},    {4, Output::Normals},
                                            {12, Output::Focus},    {14, Output::WorldPosition},
                                            {15, Output::Shadows},  {20, Output::DynamicReflection}};
    SetCheck(1527, true); // Show in BG
    for (const auto& [popup, output] : cases) {
        SetPopup(1454, popup);
        const FrameRecord frame = Read();
        EXPECT_EQ(frame.settings.output, output) << popup;
        EXPECT_EQ(frame.settings.environment.showBackground, popup == 1) << popup;
        EXPECT_EQ(frame.settings.sampleCount, popup == 3 || popup == 14 ? 0 : 8) << popup;
    }
}

TEST_F(FrameRows, AddedLightingFollowsThePopup) {
    SetCheck(1052, false); // Use Comp Lights
    EXPECT_TRUE(Read().settings.lights.empty());
    SetPopup(1060, 20); // 100 Ambient
    SetFloat(1068, 50);
    const FrameRecord frame = Read();
    ASSERT_EQ(frame.settings.lights.size(), 1u);
    EXPECT_EQ(frame.settings.lights[0].type, LightType::Ambient);
    EXPECT_FLOAT_EQ(frame.settings.lights[0].intensity, 0.5f);
}

TEST_F(FrameRows, GroupsReadTheirOwnRows) {
    SetFloat(117, 12.6);        // group 1: Particle Count
    SetFloat(2917, 5);          // group 3
    SetFloat(188, 2);           // Scatter, added to each axis
    SetFloat(353, 3);           // Y Scatter
    SetAngle(206, 90);          // Z Rotation
    SetAngle(3005, -720);       // group 3: Y Rotation, two whole turns
    SetAngle(2992, 720);        // and Rotation Random, an amount
    SetPopup(2904, 5);          // group 3: Ring
    SetCheck(529, false);       // group 2: Enable
    SetFloat(303, 15);          // Scatter Multi
    SetFloat(10046, 1.5);       // taper origin, y
    SetFloat(3600 + 10076, 50); // group 5: noise intensity
    SetFloat(18254, 7);         // group 1, channel 6: Position X
    SetAngle(270, 180);         // Turbine
    SetFloat(281, 25);          // Rig Control 10
    SetFloat(1902, 50);         // Multi-Object: Position Duration
    SetPopup(53, 4);
    SetPopup(64, 6);
    SetFloat(1909, -2.6);
    SetCheck(1754, true);
    ReadGroups();
    const FrameParams& p = *record.params;
    EXPECT_EQ(p.groups[0].particleCount, 13u);
    EXPECT_EQ(p.groups[2].particleCount, 5u);
    EXPECT_EQ(p.groups[0].scatter, (Point3{2, 5, 2}));
    EXPECT_EQ(p.groups[2].shape, ReplicatorShape::Ring);
    EXPECT_TRUE(p.groups[0].enabled);
    EXPECT_FALSE(p.groups[1].enabled);
    EXPECT_FLOAT_EQ(p.groups[0].multi.scatter.x, 0.1f);
    EXPECT_EQ(p.groups[0].deform.taper.origin.offset, (Point3{0, 1.5f, 0}));
    EXPECT_FLOAT_EQ(p.groups[4].deform.noise.intensity, 0.5f);
    EXPECT_EQ(p.groups[0].aux[5].position.x, 7);
    EXPECT_EQ(p.groups[0].aux[5].scale, 1);
    EXPECT_NEAR(p.groups[0].rig[18], 50, 1e-4);
    EXPECT_EQ(p.groups[0].rig[29], 25);
    EXPECT_EQ(p.groups[0].position, (Point3{80, 45, 0}));
    EXPECT_EQ(p.groups[0].randomSeed, 5000u);
    EXPECT_EQ(p.groups[0].sizeAxes, (Point3{1, 1, 1}));
    // A quarter turn about z, the angle negated: x goes to -y or y, never anywhere else.
    EXPECT_NEAR(std::abs(TransformDirection({1, 0, 0}, ToMatrix(p.groups[0].rotation)).y), 1, 1e-5);
    EXPECT_EQ(p.groups[2].rotation, Quaternion{}) << "no turn at all, to the last bit";
    EXPECT_FLOAT_EQ(p.groups[2].rotationRandom.x, 4 * kPi);
    EXPECT_EQ(p.groups[2].objectPercentage, 0.1f);
    EXPECT_EQ(p.engine.finishGroup, 3u);
    EXPECT_EQ(p.engine.dual.type, AnimationBlock::ShapeOrder);
    EXPECT_EQ(p.engine.dual.shapeOrderOffset, -3);
    EXPECT_EQ(p.engine.block.type, AnimationBlock::Directional);
    EXPECT_FALSE(p.world.exclude[0]);
    EXPECT_TRUE(p.world.exclude[2]);
    EXPECT_EQ(p.world.position, (Point3{0, 0, 0}));
}

// Frames 0 to 3 play at 100, 200, 0 and 50 percent: at frame 3.5 that is 1 + 2 + 0 + 0.5 * 0.5 frames.
TEST_F(FrameRows, PlaybackSpeedAddsUpOverTime) {
    host.OfferReceipts();
    host.in.local_time_step = 2;
    auto& values = host.floatsAtTime[host.Index(166)];
    values = {{0, 100}, {2, 200}, {4, 0}, {6, 50}};
    host.in.current_time = 7;
    ReadGroups();
    EXPECT_FLOAT_EQ(record.params->groups[0].baked.playback, 3.25f);
    const int readsBefore = host.floatReads;
    host.in.current_time = 6;
    ReadGroups();
    EXPECT_FLOAT_EQ(record.params->groups[0].baked.playback, 3);
    EXPECT_LE(host.floatReads - readsBefore, 2); // the sums were kept
    values[0] = 300;
    host.receipt = 2;
    ReadGroups();
    EXPECT_FLOAT_EQ(record.params->groups[0].baked.playback, 5);
}

} // namespace
} // namespace velorin
