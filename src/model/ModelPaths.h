#pragma once

#include <string>
#include <string_view>

// Paths as model files write them: with "/" or "\", relative to a folder.
namespace velorin {

// Up to the last "/", without it; empty for a path without one.
[[nodiscard]] std::string FolderOf(const std::string& path);

// `path` behind `folder`; backslashes become slashes. An absolute path (from "/" or a drive letter on) and a
// path behind an empty folder stay by themselves.
[[nodiscard]] std::string JoinPath(const std::string& folder, std::string_view path);

} // namespace velorin
