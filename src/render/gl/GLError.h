#pragma once

namespace velorin::gl {

// Reads one GL error and logs it as "GL ERROR (name:line) - 0xCODE". `name` is the qualified name of the
// function that checks. Returns the code, 0 for none.
unsigned CheckGLError(const char* name, int line);

// Reads errors until there are none (at most 1000), so that a stale one does not count against what follows.
void DrainGLErrors();

// With the environment variable VELORIN_GL_DEBUG, which also asks for a debug context: every message of high
// severity that the driver has for the current context goes to the log as "GL: text" and is counted.
// With the value "fatal" it also ends the process: for programs that load the module or are started by a test.
void WatchDriver();
// How many there were in this process.
[[nodiscard]] unsigned SevereMessages();

} // namespace velorin::gl
