#pragma once

#include "services/NxMath.h"

#include <vector>

namespace velorin {

class FrameBuffers;
struct CameraState;
struct PickResult;

// The property pass of the last picking frame in memory, so that clicks are answered without a render.
class PickingData {
public:
    // Copies normals, positions and object numbers of the frame. The context is current.
    void Read(FrameBuffers& buffers, const CameraState& camera);
    // Pixel (x, y) from the top left. False outside the frame and where nothing was drawn.
    [[nodiscard]] bool PickAt(int x, int y, PickResult& result) const;

private:
    int width_ = 0, height_ = 0;
    Matrix inverseView_;
    std::vector<float> positions_; // object id, view position; width * height * 4
    std::vector<float> normals_;   // world normal, -1 / view z
};

} // namespace velorin
