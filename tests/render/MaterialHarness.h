#pragma once

#include "core/document/SceneMaterial.h"
#include "core/document/SceneModel.h"
#include "model/ModelData.h"
#include "render/RenderManager.h"
#include "render/RenderSettings.h"
#include "render/RenderStatistics.h"
#include "render/RendererFixture.h"
#include "render/gl/Handles.h"

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace velorin::test {

// Triangles as the material programs take them, in world space unless a matrix says otherwise.
struct Surface {
    ModelVertices vertices;
    ModelTriangles triangles;
};

// A rectangle around the origin in a plane of constant z that faces the viewer (-z); u grows with x, v with
// y.
[[nodiscard]] Surface Wall(float halfWidth, float halfHeight, float z = 0);
// A sphere around the origin with exact normals; u runs once around y, v from up (-y) to down.
[[nodiscard]] Surface Ball(float radius);

// What one pass wrote: two pictures of floats, row 0 on top; alpha 0 where nothing was drawn (the second one
// is only of the property pass).
struct Written {
    int width = 0, height = 0;
    std::array<std::vector<Point4>, 2> colour;
    [[nodiscard]] Point4 at(int x, int y, std::size_t output = 0) const {
        return colour[output][static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                              static_cast<std::size_t>(x)];
    }
};

// Draws a surface by one material program into a float frame buffer, with the blocks that scene records give.
// Nothing of the draw loop, the passes or the texture cache is between.
class MaterialHarness {
public:
    MaterialHarness(int width, int height);
    ~MaterialHarness();

    // Eye at (0, 0, -distance), looking along +z, so that the plane z = 0 is seen with 1 unit a pixel and the
    // origin in the middle.
    static constexpr float kEyeDistance = 1000;

    // Fills what is read by `unit` with a picture of w * h pixels; floats, repeating, nearest texel.
    void SetTexture(TextureUnit unit, int w, int h, const std::vector<Point4>& pixels, bool linear = false);
    void SetArray(TextureUnit unit, int w, int h, int layers, const std::vector<Point4>& pixels);
    // A cube of `side`, the same in all of `levels` levels: `colour` of each direction.
    void SetCube(TextureUnit unit, int side, int levels,
                 const std::function<Point4(Point3, int level)>& colour);
    // Binds a texture made elsewhere.
    void Bind(TextureUnit unit, unsigned target, gl::Name texture);

    [[nodiscard]] Written Draw(MaterialPass pass, const Surface& surface);

    RenderSettings settings;
    SceneMaterial material;
    SceneModel model;
    MaterialFill fill;
    Matrix modelMatrix, baseMatrix;
    Matrix view, projection;
    Point3 eye{0, 0, -kEyeDistance};
    Point2 viewportScale{1, 1}, viewportOffset;
    RenderManager& manager; // one for all harnesses: its programs take long to compile in software
    bool cull = false;
    bool mirrored = false; // the culled face is swapped, as for a mirroring matrix

private:
    void Upload(const Surface& surface);

    int width_, height_;
    gl::Texture targets_[2];
    gl::Renderbuffer depth_;
    gl::Framebuffer framebuffer_;
    gl::VertexArray array_;
    gl::Buffer vertices_, indices_, modelBuffer_, materialBuffer_;
    std::vector<gl::Texture> textures_;
};

// A picture of 48 by 48 pixels of one surface under one program.
class MaterialTest : public RendererTest {
protected:
    static constexpr int kSide = 48, kMiddle = kSide / 2;
    void SetUp() override;
    void TearDown() override;

    // What a pixel shows and of which point, world space.
    struct Point {
        Point3 position, normal, eye; // eye: the direction to it
        Point3 colour;
    };
    // Every pixel that the surface covers. Positions and normals come from the programs that write them; what
    // is compared is what they are used for.
    std::vector<Point> Points(MaterialPass pass, const Surface& surface);
    RenderStateBlock& state() { return h->manager.state().renderState; }

    std::unique_ptr<MaterialHarness> h; // gamma 1, Standard
};

void ExpectColour(Point3 got, Point3 want, float tolerance);

} // namespace velorin::test
