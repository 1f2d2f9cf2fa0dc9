#include "render/MaterialHarness.h"

#include "render/ShadingReference.h"
#include "render/Surroundings.h"

#include <GL/glew.h>

#include <cmath>

namespace velorin::test {

namespace {

const void* Offset(std::size_t bytes) {
    return reinterpret_cast<const void*>(bytes);
}

RenderManager& SharedManager() {
    static RenderStatistics statistics;
    static RenderManager manager(statistics);
    return manager;
}

void SetSampling(GLenum target, GLint filter, GLint minFilter) {
    glTexParameteri(target, GL_TEXTURE_MIN_FILTER, minFilter);
    glTexParameteri(target, GL_TEXTURE_MAG_FILTER, filter);
}

} // namespace

Surface Wall(float halfWidth, float halfHeight, float z) {
    // Counter-clockwise as the viewer sees them. The bitangent is along growing v.
    const Point3 normal{0, 0, -1}, along{1, 0, 0};
    const float side = Cross(normal, along).y > 0 ? 1.0f : -1.0f;
    Surface wall;
    for (const auto& [x, y] : {std::pair{-1.0f, -1.0f}, {-1.0f, 1.0f}, {1.0f, 1.0f}, {1.0f, -1.0f}})
        wall.vertices.push_back({{x * halfWidth, y * halfHeight, z},
                                 {x * 0.5f + 0.5f, y * 0.5f + 0.5f},
                                 normal,
                                 {along.x, along.y, along.z, side}});
    wall.triangles = {{0, 1, 2}, {0, 2, 3}};
    return wall;
}

Surface Ball(float radius) {
    PreparedMesh sphere = MakeSphere();
    for (ModelVertex& vertex : sphere.vertices) vertex.position = vertex.position * radius;
    return {std::move(sphere.vertices), std::move(sphere.triangles)};
}

MaterialHarness::MaterialHarness(int width, int height)
    : manager(SharedManager()),
      width_(width),
      height_(height),
      depth_(gl::Renderbuffer::New()),
      framebuffer_(gl::Framebuffer::New()),
      array_(gl::VertexArray::New()),
      vertices_(gl::Buffer::New()),
      indices_(gl::Buffer::New()) {
    manager.state() = {};
    material.type = MaterialType::Standard;
    view = Matrix::Translation({0, 0, kEyeDistance}) * Matrix::Scale({1, 1, -1});
    const float nearPlane = 10, farPlane = 10000, depth = farPlane - nearPlane;
    projection(0, 0) = 2 * kEyeDistance / static_cast<float>(width);
    projection(1, 1) = 2 * kEyeDistance / static_cast<float>(height);
    projection(2, 2) = -(farPlane + nearPlane) / depth;
    projection(2, 3) = -1;
    projection(3, 2) = -2 * farPlane * nearPlane / depth;
    projection(3, 3) = 0;

    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer_.name());
    for (int i = 0; i < 2; ++i) {
        targets_[i] = gl::Texture::New();
        glBindTexture(GL_TEXTURE_2D, targets_[i].name());
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA32F, width, height, 0, GL_RGBA, GL_FLOAT, nullptr);
        SetSampling(GL_TEXTURE_2D, GL_NEAREST, GL_NEAREST);
        glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0 + static_cast<GLenum>(i), GL_TEXTURE_2D,
                               targets_[i].name(), 0);
    }
    glBindRenderbuffer(GL_RENDERBUFFER, depth_.name());
    glRenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH_COMPONENT24, width, height);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_RENDERBUFFER, depth_.name());

    using enum TextureUnit;
    for (const TextureUnit unit :
         {Diffuse, Specular, Occlusion, Emissive, Reflect, TextureUnit::AmbientOcclusion})
        SetTexture(unit, 1, 1, {{1, 1, 1, 1}});
    SetTexture(Normal, 1, 1, {{0.5f, 0.5f, 1, 1}});
    SetTexture(Environment, 1, 1, {{0, 0, 0, 1}});
    SetTexture(ReflectionPlane, 1, 1, {{0, 0, 0, 0}});
    SetArray(ShadowMaps, 1, 1, 1, {{1, 1, 1, 1}});
    SetArray(RayShadows, 1, 1, 1, {{1, 0, 1, 0}});
    for (const TextureUnit unit : {ReflectionCube, Ibl, PointShadows})
        SetCube(unit, 1, 1, [&](Point3, int) {
            return unit == PointShadows ? Point4{1, 1, 1, 1} : Point4{0, 0, 0, 0};
        });
}

MaterialHarness::~MaterialHarness() {
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    glBindVertexArray(0);
    for (GLuint unit = 0; unit < 17; ++unit) {
        glActiveTexture(GL_TEXTURE0 + unit);
        for (const GLenum target : {GL_TEXTURE_2D, GL_TEXTURE_2D_ARRAY, GL_TEXTURE_CUBE_MAP})
            glBindTexture(target, 0);
    }
    glActiveTexture(GL_TEXTURE0);
}

void MaterialHarness::Bind(TextureUnit unit, unsigned target, gl::Name texture) {
    glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(unit));
    glBindTexture(target, texture);
}

void MaterialHarness::SetTexture(TextureUnit unit, int w, int h, const std::vector<Point4>& pixels,
                                 bool linear) {
    textures_.push_back(gl::Texture::New());
    Bind(unit, GL_TEXTURE_2D, textures_.back().name());
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA32F, w, h, 0, GL_RGBA, GL_FLOAT, pixels.data());
    SetSampling(GL_TEXTURE_2D, linear ? GL_LINEAR : GL_NEAREST, linear ? GL_LINEAR : GL_NEAREST);
}

void MaterialHarness::SetArray(TextureUnit unit, int w, int h, int layers,
                               const std::vector<Point4>& pixels) {
    textures_.push_back(gl::Texture::New());
    Bind(unit, GL_TEXTURE_2D_ARRAY, textures_.back().name());
    glTexImage3D(GL_TEXTURE_2D_ARRAY, 0, GL_RGBA32F, w, h, layers, 0, GL_RGBA, GL_FLOAT, pixels.data());
    SetSampling(GL_TEXTURE_2D_ARRAY, GL_NEAREST, GL_NEAREST);
}

void MaterialHarness::SetCube(TextureUnit unit, int side, int levels,
                              const std::function<Point4(Point3, int)>& colour) {
    textures_.push_back(gl::Texture::New());
    Bind(unit, GL_TEXTURE_CUBE_MAP, textures_.back().name());
    for (int level = 0; level < levels; ++level) {
        const int n = std::max(1, side >> level);
        for (int face = 0; face < 6; ++face) {
            std::vector<Point4> pixels;
            for (int y = 0; y < n; ++y)
                for (int x = 0; x < n; ++x)
                    pixels.push_back(colour(
                        reference::CubeDirection(face, (static_cast<float>(x) + 0.5f) / static_cast<float>(n),
                                                 (static_cast<float>(y) + 0.5f) / static_cast<float>(n)),
                        level));
            glTexImage2D(GL_TEXTURE_CUBE_MAP_POSITIVE_X + static_cast<GLenum>(face), level, GL_RGBA32F, n, n,
                         0, GL_RGBA, GL_FLOAT, pixels.data());
        }
    }
    glTexParameteri(GL_TEXTURE_CUBE_MAP, GL_TEXTURE_MAX_LEVEL, levels - 1);
    SetSampling(GL_TEXTURE_CUBE_MAP, GL_LINEAR, levels > 1 ? GL_LINEAR_MIPMAP_LINEAR : GL_LINEAR);
}

void MaterialHarness::Upload(const Surface& surface) {
    glBindVertexArray(array_.name());
    glBindBuffer(GL_ARRAY_BUFFER, vertices_.name());
    glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(surface.vertices.size() * sizeof(ModelVertex)),
                 surface.vertices.data(), GL_STREAM_DRAW);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, indices_.name());
    glBufferData(GL_ELEMENT_ARRAY_BUFFER,
                 static_cast<GLsizeiptr>(surface.triangles.size() * sizeof(Triangle)),
                 surface.triangles.data(), GL_STREAM_DRAW);
    const std::pair<GLint, std::size_t> attributes[] = {{3, 0}, {2, 12}, {3, 20}, {4, 32}};
    for (GLuint i = 0; i < 4; ++i) {
        glEnableVertexAttribArray(i);
        glVertexAttribPointer(i, attributes[i].first, GL_FLOAT, GL_FALSE, sizeof(ModelVertex),
                              Offset(attributes[i].second));
    }
}

Written MaterialHarness::Draw(MaterialPass pass, const Surface& surface) {
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer_.name());
    const GLenum buffers[] = {GL_COLOR_ATTACHMENT0, GL_COLOR_ATTACHMENT1};
    glDrawBuffers(2, buffers);
    glViewport(0, 0, width_, height_);
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    glDepthMask(GL_TRUE);
    glEnable(GL_DEPTH_TEST);
    glDisable(GL_BLEND);
    glEnable(GL_TEXTURE_CUBE_MAP_SEAMLESS);
    glFrontFace(GL_CW);
    glCullFace(mirrored ? GL_FRONT : GL_BACK);
    cull ? glEnable(GL_CULL_FACE) : glDisable(GL_CULL_FACE);
    glClearColor(0, 0, 0, 0);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);

    Upload(surface);
    manager.BindBuffers();
    manager.SetFrame(settings);
    manager.SetCamera(view, projection, eye, viewportScale, viewportOffset);
    RenderManager::UploadModel(modelBuffer_, FillModel(model));
    RenderManager::UploadMaterial(materialBuffer_, FillMaterial(material, fill));
    RenderManager::BindModel(modelBuffer_);
    RenderManager::BindMaterial(materialBuffer_);
    manager.SetPass(pass);
    manager.SetMaterialKind(material.type == MaterialType::Physical, material.wireEnable);
    manager.SetModelMatrices(modelMatrix, baseMatrix);
    manager.state().frameBufferSize = {static_cast<float>(width_), static_cast<float>(height_)};
    manager.state().viewportSize = manager.state().frameBufferSize;
    Written written{width_, height_, {}};
    if (manager.ApplyShaderState())
        glDrawElements(GL_TRIANGLES, static_cast<GLsizei>(3 * surface.triangles.size()), GL_UNSIGNED_INT,
                       nullptr);
    else
        ADD_FAILURE() << "no program for pass " << static_cast<int>(pass);
    glBindVertexArray(0);
    glUseProgram(0);
    for (std::size_t i = 0; i < 2; ++i) {
        written.colour[i].resize(static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_));
        glReadBuffer(GL_COLOR_ATTACHMENT0 + static_cast<GLenum>(i));
        glReadPixels(0, 0, width_, height_, GL_RGBA, GL_FLOAT, written.colour[i].data());
    }
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_CULL_FACE);
    return written;
}

void MaterialTest::SetUp() {
    RendererTest::SetUp();
    h = std::make_unique<MaterialHarness>(kSide, kSide);
    h->settings.gamma = 1;
    h->fill.gamma = 1;
}

void MaterialTest::TearDown() {
    h.reset();
    RendererTest::TearDown();
}

std::vector<MaterialTest::Point> MaterialTest::Points(MaterialPass pass, const Surface& surface) {
    const Written positions = h->Draw(MaterialPass::WorldPosition, surface);
    const Written normals = h->Draw(MaterialPass::Property, surface);
    const Written drawn = h->Draw(pass, surface);
    std::vector<Point> points;
    for (std::size_t i = 0; i < positions.colour[0].size(); ++i) {
        const Point4 p = positions.colour[0][i], n = normals.colour[0][i], c = drawn.colour[0][i];
        const Point3 position{p.x, p.y, p.z};
        if (p.w != 0)
            points.push_back({position, {n.x, n.y, n.z}, Normalized(h->eye - position), {c.x, c.y, c.z}});
    }
    EXPECT_GT(points.size(), 500u);
    return points;
}

void ExpectColour(Point3 got, Point3 want, float tolerance) {
    EXPECT_NEAR(got.x, want.x, tolerance);
    EXPECT_NEAR(got.y, want.y, tolerance);
    EXPECT_NEAR(got.z, want.z, tolerance);
}

} // namespace velorin::test
