#include "core/document/Scene.h"
#include "core/document/SceneJson.h"

#include <cstdint>
#include <cstdlib>
#include <string>

using namespace velorin;

// A scene that was taken from JSON gives JSON that makes the same document; a refused one says why.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Scene scene;
    SceneJsonError error;
    const std::string text(reinterpret_cast<const char*>(data), size);
    if (!SceneFromJsonText(text, "", scene, error)) {
        if (error.message.empty() || !scene.models.empty()) std::abort();
        return 0;
    }
    Scene again;
    if (!SceneFromJsonText(SceneToJsonText(scene, size % 2 == 0), "", again, error)) std::abort();
    if (!again.HasContent(scene.Flat())) std::abort();
    return 0;
}
