#pragma once

namespace velorin::gl {

// How samplers read the texture bound to `target` of the active unit: GL's names of the filters, and one way
// to wrap for all axes.
void SetSampling(unsigned target, int minFilter, int magFilter, int wrap);

} // namespace velorin::gl
