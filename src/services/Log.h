#pragma once

namespace velorin {

// Formats one line by the rules of printf (cut at 49,152 bytes) and hands it, with a line feed, to the debug
// output: the file named by the environment variable VELORIN_LOG, or stderr when that is "-" or, in a debug
// build, unset. A release build without the variable is silent. Never fails, takes no lock.
[[gnu::format(printf, 1, 2)]] void Log(const char* format, ...);

// As Log, but also shown on stderr in a release build: for what went wrong and the user should know of.
[[gnu::format(printf, 1, 2)]] void LogError(const char* format, ...);

} // namespace velorin
