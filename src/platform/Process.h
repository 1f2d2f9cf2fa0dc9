#pragma once

#include <cstdint>
#include <string>

namespace velorin {

[[nodiscard]] long CurrentProcessId();
[[nodiscard]] long CurrentThreadId();

// The most memory that the process has held at once, in bytes; 0 when the system does not tell.
[[nodiscard]] std::uint64_t PeakMemory();

// How much more memory the process can have without another having to give way, in bytes: the least of what
// the machine has free and what the limits on the process leave. All ones when the system does not tell.
[[nodiscard]] std::uint64_t AvailableMemory();

// Absolute path of the running program, and of the module (program or shared library) that holds this code.
[[nodiscard]] std::string ExecutablePath();
[[nodiscard]] std::string ModulePath();

// Whether what is written to stderr is read by a person at a terminal.
[[nodiscard]] bool StderrIsTerminal();

} // namespace velorin
