#include "Library.h"
#include "Noise.h"
#include "Sky.h"

#include <algorithm>
#include <cstdio>

namespace content {

namespace {

constexpr int kHeight = 1024; // of a JPEG, half its width
constexpr int kQuality = 93;

// Above the knee the curve bends so that no light reaches 1 abruptly.
float Toned(float x) {
    constexpr float kKnee = 0.62f;
    return x < kKnee ? x : kKnee + (1 - kKnee) * (1 - std::exp(-(x - kKnee) / (1 - kKnee)));
}

// As shown on a display of gamma 2.2, with a grain below one step so that soft gradients have no bands.
Picture Developed(const Picture& scene, float exposure) {
    Picture shown = scene;
    for (int y = 0; y < shown.height; ++y)
        for (int x = 0; x < shown.width; ++x) {
            const float grain = (art::Random(x, y, 1) - 0.5f) / 255;
            const auto channel = [&](float v) {
                return std::pow(Toned(std::max(0.0f, v) * exposure), 1 / 2.2f) + grain;
            };
            Point3& p = shown.at(x, y);
            p = {channel(p.x), channel(p.y), channel(p.z)};
        }
    return shown;
}

} // namespace

bool MakeFolder(const std::filesystem::path& folder) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) std::fprintf(stderr, "%s cannot be made: %s\n", folder.c_str(), error.message().c_str());
    return !error;
}

bool MakeEnvironments(const std::filesystem::path& root, int shrink) {
    struct Row {
        const char* path; // below the library, without an extension
        std::function<Picture()> paint;
        float exposure; // of the JPEG
        bool hdr;
    };
    const auto sphere = [shrink](Radiance radiance, int height = kHeight) {
        return [radiance, height, shrink] { return Panorama(height / shrink, radiance); };
    };
    const Row rows[] = {
        {"Materials/Environment/Basic_2K/Basic_2K_03", sphere(ProductStudio), 1.05f, false},
        {"Materials/Material_Thumbnail_Env", sphere(ThumbnailStudio, 512), 0.75f, false},
        {"Materials/Environment/Studio/Soft_Boxes", sphere(SoftBoxStudio), 1.0f, true},
        {"Materials/Environment/Studio/Strip_Lights", sphere(StripLights), 0.7f, true},
        {"Materials/Environment/Interior/Window_Room", sphere(WindowRoom), 0.8f, true},
        {"Materials/Environment/Sky/Overcast", sphere(Overcast), 0.75f, true},
        {"Materials/Environment/Sky/Sunset", sphere(Sunset), 1.1f, true},
        {"Materials/Environment/City/Night_City", [shrink] { return NightCity(kHeight / shrink); }, 1.8f,
         true},
    };
    for (const Row& row : rows) {
        const std::filesystem::path base = root / row.path;
        if (!MakeFolder(base.parent_path())) return false;
        const Picture picture = row.paint();
        std::filesystem::path jpeg = base, hdr = base;
        if (!WriteJpeg(Developed(picture, row.exposure), jpeg += ".jpg", kQuality)) return false;
        if (row.hdr && !WriteHdr(Halved(picture), hdr += ".hdr")) return false;
    }
    return true;
}

} // namespace content
