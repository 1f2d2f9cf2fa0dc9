#pragma once

#include <string>
#include <vector>

// What the user should know of though work goes on: a missing model, an unreadable texture. One list per
// process, safe from any thread.
namespace velorin {

// Adds one sentence that names the file and the reason, and logs it as an error. A sentence that was reported
// before, also before the last TakeWarnings, is dropped, so that a fault that shows in every frame is told
// once.
void ReportWarning(const std::string& sentence);

// The sentences since the last call, in order; empties the list.
[[nodiscard]] std::vector<std::string> TakeWarnings();

// Forgets everything, also what was told; for a new project and for tests.
void ResetWarnings();

} // namespace velorin
