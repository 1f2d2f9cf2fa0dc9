#include "render/Surroundings.h"

#include "render/CubeFaces.h"
#include "render/DrawRecord.h"
#include "render/FixedPrograms.h"
#include "render/FrameBuffers.h"
#include "render/FullScreenQuad.h"
#include "render/RenderSettings.h"
#include "render/Renderer.h"
#include "render/VelorinRendererState.h"
#include "render/gl/GLError.h"
#include "render/gl/Sampling.h"
#include "services/Profiler.h"

#include <GL/glew.h>

#include <array>
#include <cmath>

namespace velorin {

namespace {

constexpr std::uint32_t kSphereColumns = 96, kSphereRows = 48;

constexpr Point3 WorldOfCube(Point3 c) {
    return {c.z, -c.y, c.x};
}

// Small, around the eye. Where all rays are parallel it must be as wide as the view; at the image plane's
// distance it then shows nearly what a perspective camera has in the same place.
float RadiusOfBackground(const CameraState& camera) {
    if (!camera.orthographic) return 2 * camera.nearPlane;
    const float corner = 0.51f * std::hypot(camera.viewWidth, camera.viewHeight); // and a little more
    return std::hypot(camera.imagePlaneDistance, corner);
}

} // namespace

PreparedMesh MakeSphere() {
    PreparedMesh mesh;
    for (std::uint32_t row = 0; row <= kSphereRows; ++row) {
        const float v = static_cast<float>(row) / kSphereRows;
        for (std::uint32_t column = 0; column <= kSphereColumns; ++column) {
            const float u = static_cast<float>(column) / kSphereColumns;
            const float longitude = (u - 0.5f) * 2 * kPi, latitude = (v - 0.5f) * kPi;
            const Point3 direction{std::cos(latitude) * std::sin(longitude), std::sin(latitude),
                                   std::cos(latitude) * std::cos(longitude)};
            mesh.vertices.push_back(
                {direction, {u, v}, direction, {std::cos(longitude), 0, -std::sin(longitude), 1}});
        }
    }
    for (std::uint32_t row = 0; row < kSphereRows; ++row) {
        for (std::uint32_t column = 0; column < kSphereColumns; ++column) {
            const std::uint32_t a = row * (kSphereColumns + 1) + column, b = a + kSphereColumns + 1;
            mesh.triangles.push_back({a, a + 1, b});
            mesh.triangles.push_back({a + 1, b + 1, b});
        }
    }
    MeshRange range;
    range.name = "Sphere";
    range.groups.push_back({0, 0, static_cast<std::uint32_t>(mesh.triangles.size())});
    mesh.meshes.push_back(range);
    mesh.size = 1;
    return mesh;
}

CubeFaceView ViewOfCubeFace(int face, Point3 eyeWorld) {
    const CubeFace& axes = kCubeFaces[static_cast<std::size_t>(face)];
    const Point3 forward = WorldOfCube(axes.forward);
    const Point3 across = WorldOfCube(axes.across);
    const Point3 down = WorldOfCube(axes.down);
    CubeFaceView result;
    Matrix& m = result.view;
    const std::array<Point3, 3> columns{across, down, -forward};
    for (int c = 0; c < 3; ++c) {
        const Point3 axis = columns[static_cast<std::size_t>(c)];
        m(0, c) = axis.x;
        m(1, c) = axis.y;
        m(2, c) = axis.z;
        m(3, c) = -Dot(axis, eyeWorld);
    }
    // Right and down span the way ahead in a view that does not mirror.
    result.mirrored = Dot(Cross(across, down), forward) < 0;
    return result;
}

Matrix CubeFaceProjection(float nearPlane, float farPlane) {
    Matrix m;
    m(2, 2) = -(farPlane + nearPlane) / (farPlane - nearPlane);
    m(2, 3) = -1;
    m(3, 2) = -2 * farPlane * nearPlane / (farPlane - nearPlane);
    m(3, 3) = 0;
    return m;
}

void VelorinRenderer::State::DrawBackground(const RenderSettings& settings, const SceneView& view) {
    if (!backgroundSphere.Upload(renderer.count())) return;
    const MaterialPass pass = manager.pass();
    manager.SetPass(MaterialPass::Image);
    glDisable(GL_DEPTH_TEST);
    glDepthMask(GL_FALSE);
    glEnable(GL_DEPTH_CLAMP);
    glEnable(GL_BLEND);
    // Only what is still empty is filled.
    glBlendFuncSeparate(GL_ONE_MINUS_DST_ALPHA, GL_DST_ALPHA, GL_ONE_MINUS_DST_ALPHA, GL_ONE);
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL); // also behind a cloud of points
    // Only the inside: parallel rays meet the half behind the eye from without.
    glFrontFace(view.mirrored ? GL_CCW : GL_CW);
    glEnable(GL_CULL_FACE);
    glCullFace(GL_FRONT);
    const float radius = RadiusOfBackground(settings.camera);
    const Matrix place = Matrix::Scale({radius, radius, radius}) * Matrix::Translation(view.eyeWorld);
    drawer.DrawPlain(backgroundSphere, place, backgroundModel, materials.Background());
    glCullFace(GL_BACK);
    glPolygonMode(GL_FRONT_AND_BACK, settings.polygonMode == PolygonMode::Points ? GL_POINT : GL_FILL);
    glDisable(GL_BLEND);
    glDisable(GL_DEPTH_CLAMP);
    glDepthMask(GL_TRUE);
    glEnable(GL_DEPTH_TEST);
    manager.SetPass(pass);
}

void VelorinRenderer::State::DrawEquirectangular(const RenderSettings& settings, const DrawList& list) {
    VELORIN_PROFILE("VelorinRenderer", "RenderEquirectangularImage");
    const FrameBufferKey& key = buffers().key();
    const GLsizei side = key.height;
    const gl::Texture cube = gl::Texture::New();
    glActiveTexture(GL_TEXTURE0);
    glBindTexture(GL_TEXTURE_CUBE_MAP, cube.name());
    for (GLenum face = 0; face < 6; ++face)
        glTexImage2D(GL_TEXTURE_CUBE_MAP_POSITIVE_X + face, 0, GL_RGBA16F, side, side, 0, GL_RGBA, GL_FLOAT,
                     nullptr);
    gl::SetSampling(GL_TEXTURE_CUBE_MAP, GL_LINEAR, GL_LINEAR, GL_CLAMP_TO_EDGE);

    const Matrix projection = CubeFaceProjection(settings.camera.nearPlane, settings.camera.farPlane);
    const gl::Framebuffer faceBuffer = gl::Framebuffer::New();
    for (int face = 0; face < 6; ++face) {
        const CubeFaceView view = ViewOfCubeFace(face, settings.camera.position);
        DrawImage(settings, list, {view.view, projection, settings.camera.position, view.mirrored});
        glBindFramebuffer(GL_READ_FRAMEBUFFER, buffers().resultFramebuffer.name());
        glReadBuffer(GL_COLOR_ATTACHMENT0);
        glBindFramebuffer(GL_DRAW_FRAMEBUFFER, faceBuffer.name());
        glFramebufferTexture2D(GL_DRAW_FRAMEBUFFER, GL_COLOR_ATTACHMENT0,
                               GL_TEXTURE_CUBE_MAP_POSITIVE_X + static_cast<GLenum>(face), cube.name(), 0);
        glBlitFramebuffer(0, 0, key.width, key.height, 0, 0, side, side, GL_COLOR_BUFFER_BIT, GL_LINEAR);
    }
    glBindFramebuffer(GL_FRAMEBUFFER, buffers().resultFramebuffer.name());
    glDrawBuffer(GL_COLOR_ATTACHMENT0);
    glViewport(0, 0, key.width, key.height);
    glClearColor(0, 0, 1, 1); // plain to see, should the next draw fail
    glClear(GL_COLOR_BUFFER_BIT);
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_CULL_FACE);
    glDisable(GL_BLEND);
    glActiveTexture(GL_TEXTURE0);
    glBindTexture(GL_TEXTURE_CUBE_MAP, cube.name());
    if (const BoundPass pass = renderer.programs().Use(PassProgram::Equirectangular)) renderer.quad().Draw();
    glBindTexture(GL_TEXTURE_CUBE_MAP, 0);
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    gl::CheckGLError("VelorinRenderer::RenderEquirectangularImage", __LINE__);
}

} // namespace velorin
