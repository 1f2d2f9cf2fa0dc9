#pragma once

#include "core/FrameParams.h"
#include "host/ParamAuxRows.h"
#include "host/ParamDeformRows.h"
#include "host/ParamGroupRows.h"
#include "host/ParamOutputRows.h"
#include "host/ParamRenderRows.h"
#include "host/ParamWorldRows.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

// The effect's parameters as the host sees them, made of the blocks of Param*Rows.h. Everything that names a
// parameter goes through this table: adding, reading, hiding, JSON.
namespace velorin {

inline constexpr std::size_t kMaxParamName = 31; // bytes, without the closing zero

// Disk id that the offsets of replicator group `group` (0 to 4) count from. The gap keeps groups 3 to 5 clear
// of the ids of the rows that stand once.
[[nodiscard]] constexpr std::uint32_t GroupBase(std::size_t group) {
    return 400u * static_cast<std::uint32_t>(group < 2 ? group : group + 5);
}
// The same for aux channel `channel` (0 to 9) of a group.
[[nodiscard]] constexpr std::uint32_t ChannelBase(std::size_t group, std::size_t channel) {
    const std::size_t base = channel < 5 ? GroupBase(group) : (group + 10) * 1000;
    return static_cast<std::uint32_t>(50 * channel + base);
}

// A row at its place in the host's list.
struct ParamRow {
    std::uint32_t diskId = 0;
    const Row* row = nullptr;
    std::int8_t group = -1;   // 0 to 4 in a replicator group
    std::int8_t channel = -1; // 0 to 9 in an aux channel
    enum class Naming : std::uint8_t { Plain, GroupPrefix, ChannelPrefix, GroupNumber, ChannelNumber };
    Naming naming = Naming::Plain;
};

// All rows in host order. The host's index of the first is 1: its index 0 is the input layer.
[[nodiscard]] std::span<const ParamRow> ParamTable();
// As the host shows it: prefixes of group ("1. ") and aux channel ("CH1. ") included; empty for an end.
[[nodiscard]] std::string ParamName(const ParamRow& row);
// Null for an id that no row has.
[[nodiscard]] const ParamRow* FindParam(std::uint32_t diskId);

namespace detail {

template <std::size_t... N>
consteval auto Join(const Row (&... parts)[N]) {
    std::array<Row, (N + ...)> all{};
    std::size_t at = 0;
    const auto append = [&](const auto& part) {
        for (const Row& row : part) all[at++] = row;
    };
    (append(parts), ...);
    return all;
}
inline constexpr auto kGlobal =
    Join(rows::kSceneRows, rows::kAnimationEngineRows, rows::kWorldTransformRows, rows::kCustomLayerRows,
         rows::kUtilityRows, rows::kRenderRows, rows::kOutputRows, rows::kRenderModeRows);
inline constexpr auto kGroup =
    Join(rows::kGroupReplicatorRows, rows::kGroupLookRows, rows::kDeformRows, rows::kGroupLookEndRows,
         rows::kAuxHeadRows, rows::kAuxEndRows, rows::kGroupRigRows, rows::kGroupEndRows);

// The one row whose name, with the names of the groups around it before it as far as `path` gives them, is
// `path`. Not a constant expression when there is none or more than one.
consteval const Row& FindRow(std::span<const Row> table, std::string_view path, bool groups) {
    // By position: GCC 12 takes no comparison with a null pointer as constant under its null sanitizer.
    std::size_t found = table.size();
    const Row* around[16] = {};
    int depth = 0;
    for (std::size_t i = 0; i < table.size(); ++i) {
        const Row& row = table[i];
        if (row.kind == RowKind::End) {
            --depth;
            continue;
        }
        if ((row.kind == RowKind::Group) == groups) {
            std::string_view rest = path;
            const Row* part = &row;
            for (int outer = depth;;) {
                const std::string_view name = part->name;
                if (!rest.ends_with(name)) break;
                rest.remove_suffix(name.size());
                if (rest.empty()) {
                    if (found != table.size()) throw "the path fits more than one row";
                    found = i;
                    break;
                }
                if (!rest.ends_with('/') || outer == 0) break;
                rest.remove_suffix(1);
                part = around[--outer];
            }
        }
        if (row.kind == RowKind::Group) around[depth++] = &row;
    }
    if (found == table.size()) throw "no row has this path";
    return table[found];
}

} // namespace detail

// Disk ids by name, checked when compiled. A name that stands more than once takes the group around it in
// front: "Fog/Enable Fog". RowId: rows that stand once; GroupRow and ChannelRow: offsets from GroupBase and
// ChannelBase. The ...Head forms find group starts.
consteval std::uint32_t RowId(std::string_view path) {
    return detail::FindRow(detail::kGlobal, path, false).id;
}
consteval std::uint32_t RowHead(std::string_view path) {
    return detail::FindRow(detail::kGlobal, path, true).id;
}
consteval std::uint32_t GroupRow(std::string_view path) {
    return detail::FindRow(detail::kGroup, path, false).id;
}
consteval std::uint32_t GroupRowHead(std::string_view path) {
    return detail::FindRow(detail::kGroup, path, true).id;
}
consteval std::uint32_t ChannelRow(std::string_view path) {
    return detail::FindRow(rows::kAuxChannelRows, path, false).id;
}

} // namespace velorin
