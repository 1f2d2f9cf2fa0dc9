#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace velorin {

// What the models and materials of a scene share on the side of their files: the folder that relative paths
// are joined to, and the numbers of thumbnail jobs. Outlives the scene.
class AssetContext {
public:
    std::string dataFolder; // UTF-8, no closing slash; empty leaves relative paths to the working directory

    // A thumbnail job number, never 0; freed numbers are given out again. Any thread.
    [[nodiscard]] std::uint32_t TakePreviewId();
    void FreePreviewId(std::uint32_t id);

private:
    std::mutex mutex_;
    std::uint32_t lastPreviewId_ = 0;
    std::vector<std::uint32_t> freePreviewIds_;
};

} // namespace velorin
