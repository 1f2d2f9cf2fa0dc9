#pragma once

namespace velorin::app {

// From now on Ctrl-C asks to stop; a second one ends the process at once. Also keeps a file-size limit from
// ending the process, so that a write fails instead.
void CatchInterrupts();
[[nodiscard]] bool InterruptAsked();

} // namespace velorin::app
