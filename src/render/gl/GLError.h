#pragma once

namespace velorin::gl {

// Reads one GL error and logs it as "GL ERROR (name:line) - 0xCODE". `name` is the qualified name of the
// function that checks. Returns the code, 0 for none.
unsigned CheckGLError(const char* name, int line);

// Reads errors until there are none (at most 1000), so that a stale one does not count against what follows.
void DrainGLErrors();

} // namespace velorin::gl
