// What deriving textures costs on this machine's GL driver, each step waited for.

#include "platform/GLContext.h"
#include "render/FullScreenQuad.h"
#include "render/RenderStatistics.h"
#include "render/Renderer.h"
#include "render/TextureManager.h"

#include <GL/glew.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

namespace {

using namespace velorin;

// The second of two runs: the first one compiles the program.
void Row(const char* what, const std::function<void()>& work) {
    double milliseconds = 0;
    for (int run = 0; run < 2; ++run) {
        const auto before = std::chrono::steady_clock::now();
        work();
        glFinish();
        milliseconds =
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - before).count();
        gl::FlushDeletedObjects();
    }
    std::printf("%-44s %10.2f ms\n", what, milliseconds);
}

std::vector<float> Sky(std::uint32_t width, std::uint32_t height) {
    std::vector<float> pixels;
    for (std::uint32_t y = 0; y < height; ++y)
        for (std::uint32_t x = 0; x < width; ++x) {
            const float u = static_cast<float>(x) / static_cast<float>(width);
            const float v = static_cast<float>(y) / static_cast<float>(height);
            const float sun = 20 * std::exp(-200 * ((u - 0.3f) * (u - 0.3f) + (v - 0.3f) * (v - 0.3f)));
            pixels.insert(pixels.end(), {1 - v + sun, 1 - v + 0.8f * sun, 1.2f - v + 0.5f * sun, 1});
        }
    return pixels;
}

} // namespace

int main() {
    std::string reason;
    const auto context = GLContext::Create(reason);
    if (!context || !context->MakeCurrent()) {
        std::fprintf(stderr, "%s\n", reason.c_str());
        return 1;
    }
    glewExperimental = GL_TRUE;
    glewInit(); // knows no EGL, and says so after it has loaded everything
    std::printf("%s, %s\n", glGetString(GL_VENDOR), glGetString(GL_RENDERER));
    DriverInfo driver;
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &driver.maxTextureSize);
    RenderStatistics statistics;
    const FullScreenQuad quad;
    TextureManager manager(quad, driver, statistics);
    const std::vector<float> pixels = Sky(1024, 512);
    const std::vector<std::uint8_t> bytes(std::size_t{1024} * 1024 * 4, 99);
    const gl::Texture sky = manager.LoadFloatTexture(pixels.data(), 1024, 512);
    const gl::Texture cube = manager.EnvToCubeMap(sky.name());

    Row("upload 1024 x 1024", [&] { (void)manager.LoadTexture(bytes.data(), 1024, 1024, false); });
    Row("upload 1024 x 1024, compressed", [&] { (void)manager.LoadTexture(bytes.data(), 1024, 1024, true); });
    Row("upload 1024 x 512 floats", [&] { (void)manager.LoadFloatTexture(pixels.data(), 1024, 512); });
    Row("environment to a cube of 512 with its levels", [&] { (void)manager.EnvToCubeMap(sky.name()); });
    Row("levels of a cube of 512, quick", [&] { manager.FilterCubeMap(cube.name(), 512, GL_RGBA16F, true); });
    Row("levels of 1024 x 512 in texture space, quick",
        [&] { manager.FilterSphereMap(sky.name(), 1024, 512, true); });
    Row("normals of 1024 x 512", [&] { (void)manager.BumpToNormal(sky.name()); });
    Row("blur of 1024 x 512 by 20 on the sphere", [&] { (void)manager.BlurSphere(sky.name(), 20); });
    return 0;
}
