// What the renderer costs beside GL itself: submission of many draws, the way from the last target to the
// host's world, and the making of an environment. Times are CPU times of the calling thread where GL works on
// others.

#include "core/document/SceneMaterial.h"
#include "core/document/SceneModel.h"
#include "render/DrawRecord.h"
#include "render/EnvironmentMap.h"
#include "render/FrameBuffers.h"
#include "render/MeshBuffers.h"
#include "render/PixelConversion.h"
#include "render/ReadBack.h"
#include "render/RenderSettings.h"
#include "render/Renderer.h"
#include "render/TextureManager.h"
#include "render/VelorinRenderer.h"

#include <GL/glew.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <functional>
#include <vector>

namespace velorin {
namespace {

constexpr std::uint32_t kDraws = 10000;

double ThreadSeconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

double WallSeconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

double Best(int runs, double (*clock)(), const std::function<void()>& work) {
    double best = 1e9;
    for (int i = 0; i < runs; ++i) {
        const double start = clock();
        work();
        best = std::min(best, clock() - start);
    }
    return best;
}

// 12 triangles.
PreparedMesh Box() {
    PreparedMesh mesh;
    for (int i = 0; i < 8; ++i)
        mesh.vertices.push_back({{i & 1 ? 1.0f : -1.0f, i & 2 ? 1.0f : -1.0f, i & 4 ? 1.0f : -1.0f},
                                 {0, 0},
                                 {0, 0, -1},
                                 {1, 0, 0, 1}});
    constexpr std::array<std::array<std::uint32_t, 4>, 6> kFaces{
        {{0, 2, 3, 1}, {4, 5, 7, 6}, {0, 1, 5, 4}, {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}}};
    for (const auto& f : kFaces) {
        mesh.triangles.push_back({f[0], f[1], f[2]});
        mesh.triangles.push_back({f[0], f[2], f[3]});
    }
    MeshRange range;
    range.groups.push_back({0, 0, 12});
    mesh.meshes.push_back(range);
    return mesh;
}

struct Scene {
    SceneMaterial material;
    SceneModel model;
    MeshBuffers box{Box()};
    DrawList list;
    RenderSettings settings;

    Scene() {
        material.type = MaterialType::Standard;
        model.bindings.push_back({&material, 0, true});
        settings.sampleCount = 0;
        settings.renderMode = RenderMode::Draft;
        settings.camera.projection(2, 3) = -1;
        for (std::uint32_t i = 0; i < kDraws; ++i) {
            DrawRecord record;
            record.model = &model;
            record.geometry = &box;
            record.firstInstance = i;
            record.instanceCount = 1;
            list.records.push_back(record);
            // Behind the camera: GL sets up each call and rasterises nothing.
            list.instances.emplace_back().modelMatrix =
                Matrix::Translation({0, 0, 100.0f + static_cast<float>(i)});
        }
    }
};

// The same calls a draw without the system: 752 bytes of state and the draw itself.
void SubmitPlainly(Renderer& renderer, const Scene& scene, GLuint vertexArray, GLuint uniforms) {
    std::array<std::byte, 752> state{};
    glBindFramebuffer(GL_FRAMEBUFFER, renderer.frameBuffers().imageFramebuffer.name());
    glBindVertexArray(vertexArray);
    glBindBuffer(GL_ARRAY_BUFFER, scene.box.vertexBuffer());
    glEnableVertexAttribArray(0);
    glVertexAttribPointer(0, 3, GL_FLOAT, GL_FALSE, 48, nullptr);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, scene.box.indexBuffer());
    glBindBuffer(GL_UNIFORM_BUFFER, uniforms);
    for (std::uint32_t i = 0; i < kDraws; ++i) {
        state[0] = static_cast<std::byte>(i);
        glBufferSubData(GL_UNIFORM_BUFFER, 0, static_cast<GLsizeiptr>(state.size()), state.data());
        glDrawElements(GL_TRIANGLES, 36, GL_UNSIGNED_INT, nullptr);
    }
    glFlush();
}

void BenchSubmission(Renderer& renderer) {
    Scene scene;
    renderer.SetFrameSize(16, 16);
    VelorinRenderer velorin(renderer);
    if (!velorin.Initialize() || renderer.SetupRender(scene.settings) != SetupResult::Done) return;
    velorin.Render(scene.settings, scene.list, true);
    const std::uint64_t drawn = renderer.statistics().draws;
    if (drawn < kDraws) std::printf("only %llu draws\n", static_cast<unsigned long long>(drawn));
    const double ours = Best(7, ThreadSeconds, [&] { velorin.Render(scene.settings, scene.list, true); });

    // The peer draws with the program and the blocks that the frame has left bound by name.
    const gl::VertexArray array = gl::VertexArray::New();
    const gl::Buffer uniforms = gl::Buffer::New();
    glBindBuffer(GL_UNIFORM_BUFFER, uniforms.name());
    glBufferData(GL_UNIFORM_BUFFER, 752, nullptr, GL_DYNAMIC_DRAW);
    const GLuint vertex = glCreateShader(GL_VERTEX_SHADER), fragment = glCreateShader(GL_FRAGMENT_SHADER);
    const char* vertexText = "#version 150 core\nin vec3 p; uniform S { mat4 m[11]; };\n"
                             "void main() { gl_Position = m[0] * vec4(p, 1.0) + vec4(9.0, 9.0, 9.0, 1.0); }";
    const char* fragmentText = "#version 150 core\nout vec4 c; void main() { c = vec4(1.0); }";
    glShaderSource(vertex, 1, &vertexText, nullptr);
    glShaderSource(fragment, 1, &fragmentText, nullptr);
    glCompileShader(vertex);
    glCompileShader(fragment);
    const gl::Program program = gl::Program::New();
    glAttachShader(program.name(), vertex);
    glAttachShader(program.name(), fragment);
    glBindAttribLocation(program.name(), 0, "p");
    glLinkProgram(program.name());
    glUniformBlockBinding(program.name(), 0, 3);
    glUseProgram(program.name());
    glBindBufferBase(GL_UNIFORM_BUFFER, 3, uniforms.name());
    const double plain =
        Best(7, ThreadSeconds, [&] { SubmitPlainly(renderer, scene, array.name(), uniforms.name()); });
    glUseProgram(0);
    glDeleteShader(vertex);
    glDeleteShader(fragment);
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    std::printf("%-44s %9.3f us\n", "draw, whole frame", ours * 1e6 / kDraws);
    std::printf("%-44s %9.3f us\n", "draw, the GL calls alone", plain * 1e6 / kDraws);
    std::printf("%-44s %9.3f us\n", "draw, beside GL", (ours - plain) * 1e6 / kDraws);
}

void BenchReadBack(Renderer& renderer) {
    constexpr int kWidth = 1920, kHeight = 1080;
    RenderSettings settings;
    settings.sampleCount = 0;
    std::vector<std::byte> world(std::size_t{16} * kWidth * kHeight);
    renderer.SetFrameSize(kWidth, kHeight);
    if (renderer.SetupRender(settings) != SetupResult::Done) return;
    renderer.BlendToFinal(1);
    glFinish();
    std::vector<float> pixels(std::size_t{4} * kWidth * kHeight);
    const auto read = [&](GLenum type) {
        glBindFramebuffer(GL_READ_FRAMEBUFFER, renderer.frameBuffers().resultFramebuffer.name());
        glReadPixels(0, 0, kWidth, kHeight, GL_RGBA, type, pixels.data());
    };
    const double plain = Best(15, WallSeconds, [&] { read(GL_FLOAT); });
    std::printf("%-44s %9.3f ms\n", "1080p glReadPixels alone, floats", plain * 1e3);
    std::printf("%-44s %9.3f ms\n", "1080p glReadPixels alone, halves",
                Best(15, WallSeconds, [&] { read(GL_HALF_FLOAT); }) * 1e3);
    for (const std::uint32_t depth : {1u, 2u, 4u}) {
        OutputTarget target;
        target.image = {kWidth, kHeight, depth, static_cast<std::int32_t>(4 * depth * kWidth), world.data()};
        target.width = kWidth;
        target.height = kHeight;
        const auto deliver = [&](const std::uint16_t* argb) {
            return WritePicture(argb, kWidth, kHeight, target);
        };
        const double ours =
            Best(15, WallSeconds, [&] { (void)ReadResult(renderer.frameBuffers(), deliver); });
        std::printf("1080p read-back and conversion, %2u bits %*s %9.3f ms  x %.2f\n", 8 * depth, 5, "",
                    ours * 1e3, ours / plain);
    }
    OutputTarget target;
    target.image = {kWidth, kHeight, 1, 4 * kWidth, world.data()};
    target.width = kWidth;
    target.height = kHeight;
    renderer.SetOutput(target);
    std::printf("%-44s %9.3f ms\n", "1080p with the final colours, 8 bits",
                Best(7, WallSeconds, [&] { (void)renderer.EndRender(); }) * 1e3);
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
}

void BenchEnvironment(Renderer& renderer) {
    const std::vector<float> studio = StudioPicture(1024, 512);
    const gl::Texture flat = renderer.textures().LoadFloatTexture(studio.data(), 1024, 512);
    const double cube = Best(1, WallSeconds, [&] {
        const gl::Texture made = renderer.textures().EnvToCubeMap(flat.name());
        glFinish();
    });
    std::printf("%-44s %9.3f ms\n", "environment to a filtered cube", cube * 1e3);
}

int Run() {
    Renderer renderer;
    if (renderer.Init() != InitError::Done || !renderer.SetContext()) {
        std::fprintf(stderr, "%s\n", renderer.InitMessage().c_str());
        return 1;
    }
    std::printf("%s, %s\n", renderer.driver().make.c_str(), renderer.driver().version.c_str());
    BenchSubmission(renderer);
    BenchReadBack(renderer);
    BenchEnvironment(renderer);
    return 0;
}

} // namespace
} // namespace velorin

int main() {
    return velorin::Run();
}
