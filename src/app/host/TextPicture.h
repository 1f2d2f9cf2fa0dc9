#pragma once

#include "app/host/Outlines.h"
#include "app/host/World.h"
#include "app/images/Picture.h"

#include <vector>

namespace velorin::app {

// White letters with coverage as alpha, 8 bits. The rectangle in the outlines' pixels; empty when nothing is
// drawn.
[[nodiscard]] Rect DrawOutlines(const std::vector<Outline>& outlines, Picture& picture);

} // namespace velorin::app
