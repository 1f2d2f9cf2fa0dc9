#include "model/ModelPreset.h"

#include <cstdint>
#include <cstdlib>

using namespace velorin;

namespace {

void CheckTree(const SceneModel& model) {
    for (const Ref<SceneModel>& child : model.children) {
        if (child->parent != &model || child->depth != model.depth + 1) std::abort();
        CheckTree(*child);
    }
}

} // namespace

// Whatever the bytes: the tree hangs together and a picture has the size that it says.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    SceneModel root;
    std::vector<Ref<SceneMaterial>> materials;
    PresetPicture picture;
    if (!LoadModelPresetBytes(std::as_bytes(std::span(data, size)), root, materials, &picture)) return 0;
    if (root.depth != 0 || root.references() != 1) std::abort();
    CheckTree(root);
    if (picture.pixels.size() != std::uint64_t{picture.width} * picture.height * 4) std::abort();
    return 0;
}
