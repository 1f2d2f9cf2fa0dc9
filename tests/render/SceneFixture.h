#pragma once

#include "core/document/SceneMaterial.h"
#include "core/document/SceneModel.h"
#include "render/DrawRecord.h"
#include "render/MeshBuffers.h"
#include "render/RendererFixture.h"
#include "render/VelorinRenderer.h"

#include <deque>
#include <vector>

namespace velorin::test {

// A float picture, RGBA, row 0 on top.
struct Picture {
    int width = 0, height = 0;
    std::vector<float> rgba;
    [[nodiscard]] Point4 at(int x, int y) const {
        const float* p = &rgba[4 * (static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                                    static_cast<std::size_t>(x))];
        return {p[0], p[1], p[2], p[3]};
    }
};

void ExpectColour(Point4 got, Point4 want, float tolerance = 0.002f);

// The host's camera of a composition without one: 1 unit of the plane z = 0 is one pixel, world (0, 0, 0) is
// the picture's top left corner.
[[nodiscard]] CameraState CompCamera(int width, int height);

// Where the ray through the middle of a pixel of CompCamera meets a plane through `point`.
[[nodiscard]] Point3 PointUnder(const CameraState& camera, int x, int y, Point3 point, Point3 normal);

// A flat quad through four corners, clockwise as seen in the picture from its front, with one normal.
[[nodiscard]] PreparedMesh QuadMesh(Point3 a, Point3 b, Point3 c, Point3 d);
// A rectangle of the plane z, facing the viewer of CompCamera.
[[nodiscard]] PreparedMesh RectMesh(float left, float top, float right, float bottom, float z = 0);
// A box with edges along the axes.
[[nodiscard]] PreparedMesh BoxMesh(Point3 low, Point3 high);

// A scene of a few models, drawn through the whole chain to float pixels.
class SceneTest : public RendererTest {
protected:
    void SetUp() override;
    void TearDown() override;

    // Adds a model with its material; both live until the test ends. The instance may be changed afterwards.
    SceneMaterial& Add(PreparedMesh mesh, const Matrix& place = {});
    InstanceRecord& instance(std::size_t i) { return list.instances[i]; }
    SceneModel& model(std::size_t i) { return models[i]; }

    // Frame by SetupRender, Render, BlendToFinal(1), ReadFrame.
    Picture Draw(int width, int height);

    RenderSettings settings; // camera and size are set by Draw unless `ownCamera`
    bool ownCamera = false;
    DrawList list;
    std::deque<SceneMaterial> materials;
    std::deque<SceneModel> models;
    std::deque<MeshBuffers> meshes;
    VelorinRenderer* scene = nullptr;
};

// A Standard material that only shows its own colour under ambient light 1: nothing reflects.
void MakeMatte(SceneMaterial& material, Colour colour);

} // namespace velorin::test
