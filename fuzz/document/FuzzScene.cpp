#include "core/document/Scene.h"
#include "core/document/SceneJson.h"

#include <cstdint>
#include <cstdlib>
#include <string>

using namespace velorin;

namespace {

bool HasKnownTypes(const Scene& scene) {
    for (const SceneModel* model : scene.Flatten())
        if (model->type > ModelType::Folder) return false;
    return true;
}

} // namespace

// A document that was read is written and read again without a change, and its JSON is taken back.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Scene scene;
    if (!scene.Read(std::as_bytes(std::span(data, size)))) return 0;
    const std::vector<std::byte> flat = scene.Flat();
    if (scene.Write(nullptr, 0) != flat.size()) std::abort();
    Scene again;
    if (!again.Read(flat) || !again.HasContent(flat)) std::abort();
    for (const SceneModel* model : again.Flatten()) {
        (void)model->LocalMatrix();
        (void)model->IsVisible();
    }
    Scene copy;
    copy.DeepCopyFrom(again);
    if (!copy.HasContent(flat)) std::abort();
    SceneJsonError error;
    const std::string text = SceneToJsonText(again, size % 2 == 0);
    if (!SceneFromJsonText(text, "", copy, error) && HasKnownTypes(again)) std::abort();
    return 0;
}
