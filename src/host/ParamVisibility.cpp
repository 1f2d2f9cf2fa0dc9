#include "host/ParamVisibility.h"

#include "host/ParamTable.h"

#include <initializer_list>
#include <span>
#include <string_view>
#include <unordered_map>

namespace velorin {
namespace {

// Sets of popup values as bits: bit v for value v.
constexpr std::uint32_t Values(std::initializer_list<int> values) {
    std::uint32_t bits = 0;
    for (const int value : values) bits |= 1u << value;
    return bits;
}
constexpr std::uint32_t Not(std::initializer_list<int> values) {
    return ~Values(values);
}

// Rows that are hidden while the controlling row has one of the values. A row that several rules name is
// shown when none of them hides it.
struct Rule {
    std::uint32_t control;
    std::uint32_t hidingValues;
    std::initializer_list<std::uint32_t> rows;
    bool wholeGroup = false; // the one row is a group start: everything to its end
};

constexpr std::uint32_t kAoMode = RowId("AO Mode"), kShow = RowId("Output/Show"),
                        kDofMode = RowId("DOF Mode");

const Rule kGlobalRules[] = {
    {RowId("Render Mode"), Values({4}), {RowHead("Render Settings"), RowHead("Output")}},
    {kAoMode,
     Values({2}),
     {RowHead("SSAO"),
      RowId("SSAO Quality Preset"),
      RowId("SSAO Color"),
      RowId("SSAO Color Mode"),
      RowId("SSAO Intensity"),
      RowId("SSAO Samples"),
      RowId("SSAO Radius"),
      RowId("SSAO Gamma"),
      RowId("SSAO Contrast"),
      RowId("AO Depth Influence"),
      RowHead("SSAO Adaptive Blur"),
      RowId("SSAO Blur Intensity"),
      RowId("SSAO Blur Blend"),
      RowId("SSAO Z Threshold"),
      RowId("SSAO Darken Pass"),
      RowId("SSAO Normal Threshold"),
      RowId("SSAO Distribution"),
      RowId("SSAO FXAA"),
      RowId("SSAO Multisampling"),
      RowId("SSAO Mask Multisampling"),
      RowId("Cut-off")}},
    {kAoMode,
     Not({2}),
     {RowHead("Ray-Traced AO"), RowId("RTAO Color"), RowId("RTAO Color Mode"), RowId("RTAO Intensity"),
      RowId("RTAO Samples"), RowId("RTAO Spread"), RowId("RTAO Max Distance"), RowId("RTAO Gamma"),
      RowId("RTAO Contrast"), RowHead("RTAO Adaptive Blur"), RowId("RTAO Blur Blend"),
      RowId("RTAO Z Threshold"), RowId("RTAO Normal Threshold"), RowId("RTAO FXAA"),
      RowId("RTAO Multisampling"), RowId("RTAO Bias")}},
    {RowId("Shadow Mode"), Values({2}), {RowHead("Shadow Maps")}, true},
    {RowId("Shadow Mode"), Not({2}), {RowHead("Ray-Traced Shadows")}, true},
    {RowId("Motion Blur/Motion Blur"), Not({2}), {RowId("Shutter Angle")}},
    {RowId("Animation Type"), Not({2}), {RowHead("Animation Engine/Directional Options")}},
    {RowId("Animation Type"), Not({3}), {RowHead("Animation Engine/Radial Options")}},
    {RowId("Animation Type"), Not({5}), {RowId("Animation Engine/Shape Order Offset")}},
    {RowId("Dual Animation Type"), Not({3}), {RowHead("Dual Animation Mode/Directional Options")}},
    {RowId("Dual Animation Type"), Not({4}), {RowHead("Dual Animation Mode/Radial Options")}},
    {RowId("Dual Animation Type"), Not({6}), {RowId("Dual Animation Mode/Shape Order Offset")}},
    {kShow, Not({2, 3}), {RowHead("Z Depth Output")}},
    {kShow, Not({14}), {RowHead("World Position Output")}},
    {RowId("Polygon Mode"), Not({2}), {RowId("Wireframe Width")}},
    {RowId("Polygon Mode"), Not({3}), {RowId("Point Size")}},
    {kDofMode, Not({4}), {RowId("DOF Quality")}},
    {kDofMode, Not({1, 4}), {RowId("DOF Depth Threshold")}},
    {kDofMode, Not({1, 2, 4}), {RowId("DOF Preview Samples")}},
    {kDofMode, Not({3}), {RowId("DOF Max Radius")}},
};

constexpr std::uint32_t kNeedMultisampleTextures[] = {RowId("SSAO Multisampling"),
                                                      RowId("SSAO Mask Multisampling")};

// Offsets from the group's base.
constexpr std::uint32_t kMethod = GroupRow("Noise/Method"), kShape = GroupRow("Replicator Shape"),
                        kDistribution = GroupRow("Distribution"), kMulti = GroupRow("Enable Multi-Object");

constexpr std::uint32_t kSurfaceOffsetEnd = 197;

const Rule kGroupRules[] = {
    {kMethod, Values({1, 4}), {GroupRow("Distort")}},
    {kMethod, Values({4}), {GroupRow("Clamp Min"), GroupRow("Clamp Max"), GroupRow("Advanced/Offset")}},
    {kShape, Values({2, 7, 8}), {GroupRow("Particle Count")}},
    {kShape, Not({7}), {GroupRow("3D Object Percentage")}},
    {kShape, Not({2, 8}), {GroupRow("Grid X"), GroupRow("Grid Y")}},
    {kShape, Not({2}), {GroupRow("Grid Z")}},
    {kShape, Values({1}), {GroupRowHead("Scale XYZ"), GroupRow("Shape Scale")}},
    {kShape,
     Values({1, 2}),
     {GroupRowHead("Surface Offset"), GroupRow("Surface Offset/Surface Offset"),
      GroupRow("Surface Offset Random"), kSurfaceOffsetEnd}},
    {kShape, Not({6, 8}), {GroupRow("Custom Layer")}},
    {kShape, Values({1, 2, 5, 7, 8}), {kDistribution, GroupRow("Rows"), GroupRow("Automatic Bias")}},
    {kDistribution, Not({2}), {GroupRow("Rows")}},
    {kDistribution, Not({1}), {GroupRow("Automatic Bias")}},
    {kShape,
     Values({1, 2, 7, 8}),
     {GroupRow("Layers"), GroupRow("Layers Offset"), GroupRow("Layers Distribution")}},
    {kMulti,
     Values({0}),
     {GroupRow("Multi-Object/Size"), GroupRow("Multi-Object/Size Random"), GroupRow("Scatter Multi"),
      GroupRowHead("Multi-Object/Scatter XYZ"), GroupRow("Rotation Random Multi"),
      GroupRowHead("Multi-Object/Rotation"), GroupRow("Multi-Object/Displace"), GroupRow("Displace Random"),
      GroupRowHead("Displace XYZ"), GroupRow("Multi-Object/Random Seed"),
      GroupRowHead("Multi-Object/Position Noise"), GroupRow("Noise Amount Multi"),
      GroupRow("Noise Evolution Multi"), GroupRow("Noise Scale Multi")}},
};

constexpr std::uint32_t kRigHead = GroupRowHead("Aircraft Rig"),
                        kFirstRigRow = GroupRow("Exhaust/Intake Doors");
static_assert(kFirstRigRow == 252);

class Evaluation {
public:
    explicit Evaluation(const VisibilityInput& input) : input_(input) {}

    void Apply(std::span<const Rule> rules, std::uint32_t base) {
        for (const Rule& rule : rules) {
            const int value = input_.value(base + rule.control);
            const bool hides = value >= 0 && value < 32 && (rule.hidingValues >> value & 1u);
            for (const std::uint32_t row : rule.rows) {
                if (rule.wholeGroup) {
                    SetGroup(base + row, hides);
                } else {
                    Set(base + row, hides);
                }
            }
        }
    }
    void Set(std::uint32_t diskId, bool hidden) { hidden_[diskId] |= hidden; }

    [[nodiscard]] std::vector<RowVisibility> Result() const {
        std::vector<RowVisibility> rows;
        rows.reserve(hidden_.size());
        for (const ParamRow& row : ParamTable())
            if (const auto found = hidden_.find(row.diskId); found != hidden_.end())
                rows.push_back({row.diskId, found->second});
        return rows;
    }

private:
    // A group start and everything up to its end.
    void SetGroup(std::uint32_t head, bool hidden) {
        int depth = 0;
        for (const ParamRow* row = FindParam(head);; ++row) {
            Set(row->diskId, hidden);
            depth += row->row->kind == RowKind::Group ? 1 : row->row->kind == RowKind::End ? -1 : 0;
            if (depth == 0) return;
        }
    }

    const VisibilityInput& input_;
    std::unordered_map<std::uint32_t, bool> hidden_;
};

} // namespace

std::vector<RowVisibility> EvaluateVisibility(const VisibilityInput& input) {
    Evaluation evaluation(input);
    evaluation.Apply(kGlobalRules, 0);
    for (const std::uint32_t row : kNeedMultisampleTextures) evaluation.Set(row, !input.textureMultisample);
    for (std::size_t group = 0; group < kGroupCount; ++group) {
        const std::uint32_t base = GroupBase(group);
        evaluation.Apply(kGroupRules, base);
        evaluation.Set(base + kRigHead, !input.hasRig[group]);
        for (std::uint32_t channel = 0; channel < kRigChannelCount; ++channel)
            evaluation.Set(base + kFirstRigRow + channel, !input.rig[group][channel]);
    }
    return evaluation.Result();
}

} // namespace velorin
