#include "host/FrameRows.h"
#include "host/ParamTable.h"

#include <algorithm>
#include <cmath>

namespace velorin {
namespace {

// Rows of one replicator group, or of one of its aux channels, by their offsets.
struct Rows {
    const ParamReader& rows;
    std::uint32_t base;

    [[nodiscard]] bool On(std::uint32_t id) const { return rows.Check(base + id); }
    [[nodiscard]] float Float(std::uint32_t id) const { return rows.Float(base + id); }
    [[nodiscard]] float Percent(std::uint32_t id) const { return rows.Percent(base + id); }
    [[nodiscard]] float Angle(std::uint32_t id) const { return rows.Angle(base + id); }
    [[nodiscard]] std::uint32_t Whole(std::uint32_t id) const {
        return RoundedUnsigned(rows.Float(base + id));
    }
    // Popup value less `first`, inside 0 to `last`.
    [[nodiscard]] std::uint32_t Choice(std::uint32_t id, int first, int last) const {
        return static_cast<std::uint32_t>(std::clamp(rows.Popup(base + id) - first, 0, last));
    }
    [[nodiscard]] Point3 Floats(std::uint32_t x, std::uint32_t y, std::uint32_t z) const {
        return {Float(x), Float(y), Float(z)};
    }
    [[nodiscard]] Point3 Percents(std::uint32_t x, std::uint32_t y, std::uint32_t z) const {
        return {Percent(x), Percent(y), Percent(z)};
    }
    [[nodiscard]] Point3 Angles(std::uint32_t x, std::uint32_t y, std::uint32_t z) const {
        return {Angle(x), Angle(y), Angle(z)};
    }
    [[nodiscard]] Point3 Turns(std::uint32_t x, std::uint32_t y, std::uint32_t z) const {
        return {rows.Turn(base + x), rows.Turn(base + y), rows.Turn(base + z)};
    }
    [[nodiscard]] Point3 Position(std::uint32_t xy, std::uint32_t z) const {
        const Point2 p = rows.PointXY(base + xy);
        return {p.x, p.y, Float(z)};
    }
};

constexpr Point3 operator+(Point3 a, float b) {
    return {a.x + b, a.y + b, a.z + b};
}

void ReadReplicator(const Rows& r, GroupParams& g) {
    g.enabled = r.On(GroupRow("Group/Enable"));
    g.particleCount = r.Whole(GroupRow("Particle Count"));
    g.objectPercentage = r.Percent(GroupRow("3D Object Percentage"));
    g.gridX = r.Whole(GroupRow("Grid X"));
    g.gridY = r.Whole(GroupRow("Grid Y"));
    g.gridZ = r.Whole(GroupRow("Grid Z"));
    g.shape = static_cast<ReplicatorShape>(r.Choice(GroupRow("Replicator Shape"), 1, 7));
    g.position = r.Position(GroupRow("Position XY"), GroupRow("Particle Replicator/Position Z"));
    g.shapeScale = r.Float(GroupRow("Shape Scale"));
    g.scale = r.Floats(GroupRow("X Scale"), GroupRow("Y Scale"), GroupRow("Z Scale"));
    g.rotation =
        ReadRotation(r.Turns(GroupRow("X Rotation"), GroupRow("Y Rotation"), GroupRow("Z Rotation")));
    g.order = static_cast<ParticleOrder>(r.Choice(GroupRow("Particle Order"), 1, 3));
    g.particleRepeat = r.Whole(GroupRow("Particle Repeat"));
    g.particleOffset = RoundedAway(r.Float(GroupRow("Particle Offset")));
    g.layers = r.Whole(GroupRow("Layers"));
    g.layersOffset = r.Float(GroupRow("Layers Offset"));
    g.layersDistribution = r.Float(GroupRow("Layers Distribution"));
    g.distribution = static_cast<Distribution>(r.Choice(GroupRow("Distribution"), 1, 1) + 1);
    g.rows = r.Whole(GroupRow("Rows"));
    g.automaticBias = RoundedSigned(r.Float(GroupRow("Automatic Bias")));
    g.surfaceOffset = r.Float(GroupRow("Surface Offset/Surface Offset"));
    g.surfaceOffsetRandom = r.Percent(GroupRow("Surface Offset Random"));
    g.scatter = r.Floats(GroupRow("X Scatter"), GroupRow("Y Scatter"), GroupRow("Z Scatter")) +
                r.Float(GroupRow("Scatter/Scatter"));
    g.positionNoiseEvolution = r.Angle(GroupRow("Position Noise/Noise Evolution"));
    g.positionNoiseAmount =
        r.Floats(GroupRow("Noise Amount X"), GroupRow("Noise Amount Y"), GroupRow("Noise Amount Z")) +
        r.Float(GroupRow("Position Noise/Noise Amount"));
    g.positionNoiseScale = r.Float(GroupRow("Position Noise/Noise Scale"));
    g.randomSeed = r.Whole(GroupRow("Particle Replicator/Random Seed"));
}

void ReadLook(const Rows& r, GroupParams& g) {
    g.particleSize = r.Float(GroupRow("Particle Size"));
    g.particleSizeRandom = r.Percent(GroupRow("Particle Size Random"));
    g.sizeAxes = r.Floats(GroupRow("X Size"), GroupRow("Y Size"), GroupRow("Z Size"));
    g.orientation = static_cast<Orientation>(r.Choice(GroupRow("Orientation"), 1, 2) + 1);
    g.particleRotation = ReadRotation(r.Turns(
        GroupRow("X Rotation Particle"), GroupRow("Y Rotation Particle"), GroupRow("Z Rotation Particle")));
    g.rotationRandom = r.Angles(GroupRow("X Rotation Random"), GroupRow("Y Rotation Random"),
                                GroupRow("Z Rotation Random")) +
                       r.Angle(GroupRow("Rotation Random"));
    g.rotationRandomize = r.Angles(GroupRow("X Rotation Randomize"), GroupRow("Y Rotation Randomize"),
                                   GroupRow("Z Rotation Randomize"));
    g.rotationNoiseEvolution = r.Angle(GroupRow("Rotation Noise/Noise Evolution"));
    g.rotationNoiseAmount = r.Float(GroupRow("Rotation Noise/Noise Amount"));
    g.rotationNoiseScale = r.Float(GroupRow("Rotation Noise/Noise Scale"));
    g.colourTint = r.rows.Color(r.base + GroupRow("Color Tint"));
    g.opacity = r.Percent(GroupRow("Force Opacity"));
    g.lookSeed = r.Whole(GroupRow("Particle Look/Random Seed"));
    g.baked.loopMode = static_cast<LoopMode>(r.Choice(GroupRow("Loop Mode"), 1, 3));
    g.baked.frameOffset = r.Float(GroupRow("Frame Offset"));
    g.baked.frameOffsetRandom = r.Float(GroupRow("Frame Offset Random"));
    g.baked.randomSeed = r.Whole(GroupRow("Baked Animation/Random Seed"));
}

void ReadMulti(const Rows& r, MultiObjectParams& m) {
    m.enabled = r.On(GroupRow("Enable Multi-Object"));
    m.size = r.Float(GroupRow("Multi-Object/Size"));
    m.sizeRandom = r.Percent(GroupRow("Multi-Object/Size Random"));
    m.rotation = ReadRotation(
        r.Turns(GroupRow("X Rotation Multi"), GroupRow("Y Rotation Multi"), GroupRow("Z Rotation Multi")),
        static_cast<RotationOrder>(r.Choice(GroupRow("Rotation Order"), 1, 5)));
    m.rotationRandom = r.Angle(GroupRow("Rotation Random Multi"));
    m.displace = r.Floats(GroupRow("X Displace"), GroupRow("Y Displace"), GroupRow("Z Displace")) +
                 r.Float(GroupRow("Multi-Object/Displace"));
    m.displaceRandom = r.Percent(GroupRow("Displace Random"));
    constexpr float kScatterUnit = 1.0f / 150;
    m.scatter =
        (r.Floats(GroupRow("X Scatter Multi"), GroupRow("Y Scatter Multi"), GroupRow("Z Scatter Multi")) +
         r.Float(GroupRow("Scatter Multi"))) *
        kScatterUnit;
    m.noiseEvolution = r.Angle(GroupRow("Noise Evolution Multi"));
    m.noiseAmount = r.Floats(GroupRow("Noise Amount Multi X"), GroupRow("Noise Amount Multi Y"),
                             GroupRow("Noise Amount Multi Z")) +
                    r.Float(GroupRow("Noise Amount Multi"));
    m.noiseScale = r.Float(GroupRow("Noise Scale Multi"));
    m.randomSeed = r.Whole(GroupRow("Multi-Object/Random Seed"));
}

void ReadDeform(const Rows& r, DeformParameters& d) {
    d.enabled = r.On(GroupRow("Deform/Enable"));
    d.taper.enabled = r.On(GroupRow("Taper/Enable"));
    d.taper.amount = r.Float(GroupRow("Taper/Amount"));
    d.taper.curve = r.Float(GroupRow("Taper/Curve"));
    d.taper.symmetrical = r.On(GroupRow("Taper/Symmetrical"));
    d.taper.origin = {r.Angles(GroupRow("Taper/Origin/Orientation X"), GroupRow("Taper/Origin/Orientation Y"),
                               GroupRow("Taper/Origin/Orientation Z")),
                      r.Floats(GroupRow("Taper/Origin/Offset X"), GroupRow("Taper/Origin/Offset Y"),
                               GroupRow("Taper/Origin/Offset Z"))};
    d.twist.enabled = r.On(GroupRow("Twist/Enable"));
    d.twist.rotation = r.Angles(GroupRow("Twist X"), GroupRow("Twist Y"), GroupRow("Twist Z"));
    d.twist.phase = r.Angles(GroupRow("Phase X"), GroupRow("Phase Y"), GroupRow("Phase Z"));
    d.twist.origin = {r.Angles(GroupRow("Twist/Origin/Orientation X"), GroupRow("Twist/Origin/Orientation Y"),
                               GroupRow("Twist/Origin/Orientation Z")),
                      r.Floats(GroupRow("Twist/Origin/Offset X"), GroupRow("Twist/Origin/Offset Y"),
                               GroupRow("Twist/Origin/Offset Z"))};
    d.bend.enabled = r.On(GroupRow("Bend/Enable"));
    d.bend.axis = static_cast<int>(r.Choice(GroupRow("Bend Axis"), 1, 2));
    d.bend.angle = r.Angle(GroupRow("Bend Angle"));
    d.bend.direction = r.Angle(GroupRow("Bend Direction"));
    d.bend.center = r.On(GroupRow("Bend/Center"));
    d.bend.origin = {r.Angles(GroupRow("Bend/Origin/Orientation X"), GroupRow("Bend/Origin/Orientation Y"),
                              GroupRow("Bend/Origin/Orientation Z")),
                     r.Floats(GroupRow("Bend/Origin/Offset X"), GroupRow("Bend/Origin/Offset Y"),
                              GroupRow("Bend/Origin/Offset Z"))};
    d.noise.enabled = r.On(GroupRow("Noise/Enable"));
    d.noise.method = static_cast<int>(r.Choice(GroupRow("Noise/Method"), 1, 2));
    d.noise.intensity = r.Percent(GroupRow("Noise/Intensity"));
    d.noise.distort = r.Percent(GroupRow("Noise/Distort"));
    d.noise.scale = r.Percent(GroupRow("Noise/Scale"));
    d.noise.offset = r.Float(GroupRow("Noise/Advanced/Offset"));
    d.noise.exponent = r.Float(GroupRow("Exponent"));
    d.noise.clampMin = r.Percent(GroupRow("Clamp Min"));
    d.noise.clampMax = r.Percent(GroupRow("Clamp Max"));
    d.noise.axisIntensity =
        r.Percents(GroupRow("X Intensity"), GroupRow("Y Intensity"), GroupRow("Z Intensity"));
    d.noise.evolution = r.Angle(GroupRow("Noise/Evolution"));
    d.noise.seed = r.Whole(GroupRow("Noise/Random Seed"));
    d.noise.randomize = r.On(GroupRow("Noise/Randomize"));
    d.offset = r.Floats(GroupRow("Deform Offset/Offset X"), GroupRow("Deform Offset/Offset Y"),
                        GroupRow("Deform Offset/Offset Z"));
}

void ReadAux(const Rows& r, AuxChannel& a) {
    a.position = r.Floats(ChannelRow("Position X"), ChannelRow("Position Y"), ChannelRow("Position Z"));
    a.scale = r.Float(ChannelRow("Scale"));
    a.rotation = r.Angles(ChannelRow("Rotation X"), ChannelRow("Rotation Y"), ChannelRow("Rotation Z"));
    a.opacity = r.Percent(ChannelRow("Force Opacity"));
    a.uvOffset = {r.Float(ChannelRow("UV Offset U")), r.Float(ChannelRow("UV Offset V"))};
}

// Rig rows lie side by side; the turbine is an angle, of which a turn is all of the way.
void ReadRig(const Rows& r, std::array<float, kRigChannelCount>& rig) {
    constexpr std::uint32_t kFirst = GroupRow("Exhaust/Intake Doors"), kTurbine = GroupRow("Turbine");
    for (std::uint32_t channel = 0; channel < kRigChannelCount; ++channel) {
        const std::uint32_t row = kFirst + channel;
        rig[channel] = row == kTurbine ? r.Angle(row) / (2 * kPi) * 100 : r.Float(row);
    }
}

// The playback speed summed over the frames up to the current one. The sums are kept while the host's receipt
// for the row over all time stays the same.
float Playback(PluginCall& call, ParamReader& rows, std::uint32_t row, PlaybackSums& kept) {
    const PF_InData& in = *call.in_data;
    const A_long step = in.local_time_step > 0 ? in.local_time_step : std::max(in.time_step, A_long{1});
    const double frames = static_cast<double>(in.current_time) / step;
    const auto whole = static_cast<A_long>(std::floor(frames));
    if (whole < 0) return static_cast<float>(frames * rows.Float(row) * 0.01);

    const auto* utils = call.suites.Get<PF_ParamUtilsSuite3>();
    PF_State state{};
    A_Boolean same = 0;
    const bool receipt = utils && utils->PF_GetCurrentState(in.effect_ref, rows.Index(row), nullptr, nullptr,
                                                            &state) == PF_Err_NONE;
    if (!receipt || !kept.known ||
        utils->PF_AreStatesIdentical(in.effect_ref, &kept.state, &state, &same) != PF_Err_NONE || !same)
        kept.sums.assign(1, 0);
    kept.state = state;
    kept.known = receipt;
    while (kept.sums.size() <= static_cast<std::size_t>(whole)) {
        rows.SetTime(static_cast<A_long>(kept.sums.size() - 1) * step);
        kept.sums.push_back(kept.sums.back() + rows.Float(row));
    }
    rows.SetTime(whole * step);
    const double current = rows.Float(row);
    rows.SetTime(in.current_time);
    return static_cast<float>((kept.sums[static_cast<std::size_t>(whole)] + (frames - whole) * current) *
                              0.01);
}

void ReadEngine(const ParamReader& reader, AnimationEngineParams& e) {
    const Rows r{reader, 0};
    e.enabled = r.On(RowId("Animation Engine/Enable"));
    e.startGroup = r.Choice(RowId("Start Group"), 1, 4);
    e.finishGroup = r.Choice(RowId("Finish Group"), 1, 4);
    e.animation = r.Percent(RowId("Animation Engine/Animation"));
    e.smoothness = r.Percent(RowId("Smoothness"));
    e.randomness = r.Percent(RowId("Randomness"));
    e.ease = static_cast<Ease>(r.Choice(RowId("Ease Type"), 1, 3));
    e.backwards = reader.Popup(RowId("Group Direction")) == 2;
    e.countFromFinish = reader.Popup(RowId("Particle Count From")) == 2;
    e.deformFrom = static_cast<DeformFrom>(r.Choice(RowId("Deform From"), 1, 2));
    e.disconnectMulti = r.On(RowId("Disconnect Multi-Object"));
    e.seed = r.Whole(RowId("Seed"));

    e.block.type = static_cast<AnimationBlock::Type>(r.Choice(RowId("Animation Type"), 1, 4));
    e.block.direction =
        SweepDirection(r.Angle(RowId("Animation Engine/Directional Options/Yaw (Horizontal)")),
                       r.Angle(RowId("Animation Engine/Directional Options/Pitch (Vertical)")));
    e.block.radialMode = reader.Popup(RowId("Animation Engine/Radial Options/Direction"));
    e.block.center = r.Position(RowId("Animation Engine/Radial Options/Position XY"),
                                RowId("Animation Engine/Radial Options/Position Z"));
    e.block.shapeOrderOffset = RoundedAway(r.Float(RowId("Animation Engine/Shape Order Offset")));

    const int dual = reader.Popup(RowId("Dual Animation Type"));
    e.dual = e.block;
    if (dual < 2) return;
    e.dual.type = static_cast<AnimationBlock::Type>(std::min(dual - 2, 4));
    e.dual.direction =
        SweepDirection(r.Angle(RowId("Dual Animation Mode/Directional Options/Yaw (Horizontal)")),
                       r.Angle(RowId("Dual Animation Mode/Directional Options/Pitch (Vertical)")));
    e.dual.radialMode = reader.Popup(RowId("Dual Animation Mode/Radial Options/Direction"));
    e.dual.center = r.Position(RowId("Dual Animation Mode/Radial Options/Position XY"),
                               RowId("Dual Animation Mode/Radial Options/Position Z"));
    e.dual.shapeOrderOffset = RoundedAway(r.Float(RowId("Dual Animation Mode/Shape Order Offset")));
}

void ReadTimings(const ParamReader& reader, AnimationEngineParams& e) {
    const auto timing = [&](std::uint32_t duration, std::uint32_t offset) {
        return ReadChannelTiming(reader.Float(duration), reader.Float(offset));
    };
    e.channels = {
        timing(RowId("Time Delay/Position Duration"), RowId("Time Delay/Position Offset")),
        timing(RowId("Time Delay/Rotation Duration"), RowId("Time Delay/Rotation Offset")),
        timing(RowId("Time Delay/Scale Duration"), RowId("Time Delay/Scale Offset")),
        timing(RowId("Material Duration"), RowId("Material Offset")),
        timing(RowId("Multi-Object/Position Duration"), RowId("Multi-Object/Position Offset")),
        timing(RowId("Multi-Object/Rotation Duration"), RowId("Multi-Object/Rotation Offset")),
        timing(RowId("Multi-Object/Scale Duration"), RowId("Multi-Object/Scale Offset")),
    };
}

void ReadWorld(const ParamReader& reader, WorldTransform& w) {
    const Rows r{reader, 0};
    w.position = r.Position(RowId("World Position XY"), RowId("World Position Z"));
    w.anchor = r.Position(RowId("World Anchor Point XY"), RowId("World Anchor Point Z"));
    w.scale = r.Float(RowId("World Scale"));
    w.rotation = ReadRotation(
        r.Turns(RowId("X Rotation World"), RowId("Y Rotation World"), RowId("Z Rotation World")));
    constexpr std::uint32_t kFirst = RowId("Exclude Groups/Group 1");
    static_assert(RowId("Exclude Groups/Group 5") == kFirst + 4);
    for (std::uint32_t group = 0; group < kGroupCount; ++group) w.exclude[group] = r.On(kFirst + group);
}

} // namespace

void ReadInstance(PluginCall& call, ParamReader& rows, SequenceRecord& record) {
    FrameParams& params = *record.params;
    for (std::size_t group = 0; group < kGroupCount; ++group) {
        GroupParams& g = params.groups[group];
        const Rows r{rows, GroupBase(group)};
        ReadReplicator(r, g);
        g.customLayer = record.groupLayers[group].image;
        ReadLook(r, g);
        ReadMulti(r, g.multi);
        ReadDeform(r, g.deform);
        for (std::size_t channel = 0; channel < kAuxChannelCount; ++channel)
            ReadAux({rows, ChannelBase(group, channel)}, g.aux[channel]);
        ReadRig(r, g.rig);
        if (g.enabled)
            g.baked.playback =
                Playback(call, rows, GroupBase(group) + GroupRow("Playback Speed"), record.playback[group]);
    }
    ReadEngine(rows, params.engine);
    ReadTimings(rows, params.engine);
    ReadWorld(rows, params.world);
}

} // namespace velorin
