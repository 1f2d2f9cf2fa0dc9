#include "host/ParamTable.h"

namespace velorin {
namespace {

constexpr std::size_t kChannelRows = std::size(rows::kAuxChannelRows);
constexpr std::size_t kGroupRows = detail::kGroup.size() + kAuxChannelCount * kChannelRows;
constexpr std::size_t kRows = detail::kGlobal.size() + kGroupCount * kGroupRows;
static_assert(kGroupRows == 409 && detail::kGlobal.size() == 382 && kRows == 2427);

using Naming = ParamRow::Naming;

struct Builder {
    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

    std::array<ParamRow, kRows> table{};
    std::size_t count = 0;

    constexpr void Add(const Row& row, std::uint32_t base, std::size_t group, std::size_t channel,
                       Naming naming) {
        table[count++] = {base + row.id, &row, static_cast<std::int8_t>(group),
                          static_cast<std::int8_t>(channel), naming};
    }
    template <std::size_t N>
    constexpr void Global(const Row (&block)[N]) {
        for (const Row& row : block) Add(row, 0, kNone, kNone, Naming::Plain);
    }
    // Group starts keep their names; all other rows say which group they are of.
    template <std::size_t N>
    constexpr void Template(const Row (&block)[N], std::size_t group) {
        for (const Row& row : block) {
            const bool named = row.kind != RowKind::Group && row.kind != RowKind::End;
            Add(row, GroupBase(group), group, kNone, named ? Naming::GroupPrefix : Naming::Plain);
        }
    }
    template <std::size_t N>
    constexpr void Plain(const Row (&block)[N], std::size_t group) {
        for (const Row& row : block) Add(row, GroupBase(group), group, kNone, Naming::Plain);
    }
    constexpr void Channel(std::size_t group, std::size_t channel) {
        for (const Row& row : rows::kAuxChannelRows) {
            const bool head = &row == &rows::kAuxChannelRows[0];
            const Naming naming = head                       ? Naming::ChannelNumber
                                  : row.kind == RowKind::End ? Naming::Plain
                                                             : Naming::ChannelPrefix;
            Add(row, ChannelBase(group, channel), group, channel, naming);
        }
    }
    constexpr void ReplicatorGroup(std::size_t group) {
        const std::size_t head = count;
        Template(rows::kGroupReplicatorRows, group);
        table[head].naming = Naming::GroupNumber;
        Template(rows::kGroupLookRows, group);
        Plain(rows::kDeformRows, group);
        Template(rows::kGroupLookEndRows, group);
        Plain(rows::kAuxHeadRows, group);
        for (std::size_t channel = 0; channel < kAuxChannelCount; ++channel) Channel(group, channel);
        Plain(rows::kAuxEndRows, group);
        Plain(rows::kGroupRigRows, group);
        Template(rows::kGroupEndRows, group);
    }
};

constexpr std::array<ParamRow, kRows> Build() {
    Builder build;
    build.Global(rows::kSceneRows);
    for (std::size_t group = 0; group < kGroupCount; ++group) build.ReplicatorGroup(group);
    build.Global(rows::kAnimationEngineRows);
    build.Global(rows::kWorldTransformRows);
    build.Global(rows::kCustomLayerRows);
    build.Global(rows::kUtilityRows);
    build.Global(rows::kRenderRows);
    build.Global(rows::kOutputRows);
    build.Global(rows::kRenderModeRows);
    return build.table;
}

constexpr std::array<ParamRow, kRows> kTable = Build();

constexpr std::uint32_t HighestId() {
    std::uint32_t highest = 0;
    for (const ParamRow& row : kTable) highest = row.diskId > highest ? row.diskId : highest;
    return highest;
}
constexpr std::uint32_t kHighestId = HighestId();

// Position in the table by disk id; the table's size where there is no such row.
constexpr std::array<std::uint16_t, kHighestId + 1> BuildIndex() {
    std::array<std::uint16_t, kHighestId + 1> index{};
    index.fill(static_cast<std::uint16_t>(kRows));
    for (std::size_t i = 0; i < kRows; ++i) {
        if (index[kTable[i].diskId] != kRows) throw "two rows share a disk id";
        index[kTable[i].diskId] = static_cast<std::uint16_t>(i);
    }
    return index;
}
constexpr auto kIndex = BuildIndex();

constexpr std::size_t PrefixLength(Naming naming) {
    switch (naming) {
    case Naming::GroupPrefix:
        return std::string_view("1. ").size();
    case Naming::ChannelPrefix:
        return std::string_view("CH10. ").size();
    case Naming::GroupNumber:
        return std::string_view(" 1").size();
    case Naming::ChannelNumber:
        return std::string_view(" 10").size();
    case Naming::Plain:
        break;
    }
    return 0;
}

// The host refuses a list whose groups do not nest, and cuts names that are too long.
constexpr bool WellFormed() {
    int depth = 0;
    for (const ParamRow& row : kTable) {
        if (row.row->kind == RowKind::Group) ++depth;
        if (row.row->kind == RowKind::End && --depth < 0) return false;
        if (std::string_view(row.row->name).size() + PrefixLength(row.naming) > kMaxParamName) return false;
        if (row.row->kind == RowKind::Float &&
            (row.row->value < row.row->minimum || row.row->value > row.row->maximum))
            return false;
    }
    return depth == 0;
}
static_assert(WellFormed());

} // namespace

std::span<const ParamRow> ParamTable() {
    return kTable;
}

std::string ParamName(const ParamRow& row) {
    const std::string name = row.row->name;
    switch (row.naming) {
    case Naming::GroupPrefix:
        return std::to_string(row.group + 1) + ". " + name;
    case Naming::ChannelPrefix:
        return "CH" + std::to_string(row.channel + 1) + ". " + name;
    case Naming::GroupNumber:
        return name + " " + std::to_string(row.group + 1);
    case Naming::ChannelNumber:
        return name + " " + std::to_string(row.channel + 1);
    case Naming::Plain:
        break;
    }
    return name;
}

const ParamRow* FindParam(std::uint32_t diskId) {
    if (diskId > kHighestId || kIndex[diskId] == kRows) return nullptr;
    return &kTable[kIndex[diskId]];
}

} // namespace velorin
