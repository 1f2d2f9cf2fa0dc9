#pragma once

#include "app/host/Objects.h"
#include "app/project/Project.h"

#include "host/api/PfSuites.h"

#include <string>
#include <vector>

namespace velorin::app {

// One closed or open path of cubic segments, layer pixels. A closed path ends with a copy of its first
// vertex. Tangents are points (absolute).
struct Outline {
    bool open = false;
    std::vector<PF_PathVertex> vertices;
    [[nodiscard]] int segments() const {
        return vertices.empty() ? 0 : static_cast<int>(vertices.size()) - 1;
    }
};

// The outlines of a text layer: its letters set from the baseline start of the first line, which is the
// layer's origin, y downward. The font is a fontconfig pattern ("DejaVu Sans:bold"). False with a sentence
// when no font can be had; true with one when another font stands in.
[[nodiscard]] bool MakeTextOutlines(const Layer& layer, const TextStyle& style,
                                    std::vector<Outline>& outlines, std::string& reason);

// A mask at a time (seconds of the layer).
[[nodiscard]] Outline MaskOutlineAt(const Mask& mask, double seconds);

} // namespace velorin::app
