#pragma once

namespace velorin {

inline constexpr char kProductName[] = "Velorin";
inline constexpr char kMakerName[] = "Quenmarworks";
inline constexpr int kVersionMajor = 2;
inline constexpr int kVersionMinor = 2;
inline constexpr int kVersionBuild = 2160;
inline constexpr char kVersionStage[] = "hotfix";

} // namespace velorin
