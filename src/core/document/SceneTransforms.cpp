#include "core/document/Scene.h"
#include "core/document/SceneModel.h"

#include <algorithm>
#include <cmath>

namespace velorin {

namespace {

// The document's y axis is negated against that of the matrices.
Point3 Flipped(Point3 p) {
    return {p.x, -p.y, p.z};
}

Matrix RotationOf(Point3 orientationDegrees) {
    const Point3 angle = orientationDegrees * kRadiansPerDegree;
    return ToMatrix(QuaternionFromEuler(angle.x, angle.y, angle.z));
}

Matrix OwnMatrix(Point3 position, Point3 orientation, Point3 scale, Point3 anchor) {
    const Point3 pivot = Flipped(anchor);
    return Matrix::Translation(-pivot) * Matrix::Scale(scale) * RotationOf(orientation) *
           Matrix::Translation(pivot + Flipped(position));
}

// Angles in degrees such that RotationOf gives `r`, whose rows are of length 1. The matrix of angles x, y, z
// has -sin y in its lower left corner; where cos y vanishes, x and z turn about the same axis and x is taken
// as 0.
Point3 OrientationOf(const Matrix& r) {
    // Both, since the arc sine alone is too coarse near a right angle.
    const float sinY = -r(2, 0), cosY = std::hypot(r(2, 1), r(2, 2));
    Point3 angle{0, std::atan2(sinY, cosY), 0};
    if (cosY > 1e-6f) {
        angle.x = std::atan2(r(2, 1), r(2, 2));
        angle.z = std::atan2(r(1, 0), r(0, 0));
    } else {
        angle.z = std::atan2(-r(0, 1), r(1, 1));
    }
    return angle * (1 / kRadiansPerDegree);
}

void SetDepths(SceneModel& model, std::uint32_t depth) {
    model.depth = depth;
    for (const Ref<SceneModel>& child : model.children) SetDepths(*child, depth + 1);
}

using Siblings = std::vector<Ref<SceneModel>>;

void InsertAt(Siblings& list, Ref<SceneModel> model, int index) {
    const auto position = index < 0 ? list.size() : std::min(static_cast<std::size_t>(index), list.size());
    list.insert(list.begin() + static_cast<std::ptrdiff_t>(position), std::move(model));
}

// The reference that `list` held, or null when the model is not in it.
Ref<SceneModel> TakeFrom(Siblings& list, const SceneModel& model) {
    const auto found = std::find(list.begin(), list.end(), &model);
    if (found == list.end()) return {};
    Ref<SceneModel> taken = std::move(*found);
    list.erase(found);
    return taken;
}

// Out of its folder or the top level of `scene`; a model that stands nowhere gets a new reference.
Ref<SceneModel> TakeOut(SceneModel& model, Scene* scene) {
    Ref<SceneModel> taken;
    if (model.parent)
        taken = TakeFrom(model.parent->children, model);
    else if (scene)
        taken = TakeFrom(scene->models, model);
    model.parent = nullptr;
    return taken ? taken : Ref<SceneModel>(&model);
}

} // namespace

Matrix SceneMesh::LocalMatrix() const {
    return OwnMatrix(position, orientation, scale, anchor);
}

Matrix SceneModel::LocalMatrix() const {
    Matrix matrix = OwnMatrix(position, orientation, scale, anchor);
    for (const SceneModel* folder = parent; folder; folder = folder->parent)
        matrix = matrix * OwnMatrix(folder->position, folder->orientation, folder->scale, folder->anchor);
    return matrix;
}

void SceneModel::SetLocalMatrix(const Matrix& world) {
    const Matrix own = parent ? world * Inverse(parent->LocalMatrix()) : world;
    // Rows of scale times rotation. Gram and Schmidt drop a shear.
    Point3 x{own(0, 0), own(0, 1), own(0, 2)};
    Point3 y{own(1, 0), own(1, 1), own(1, 2)};
    Point3 z{own(2, 0), own(2, 1), own(2, 2)};
    const Point3 lengths{Length(x), Length(y), Length(z)};
    x = Normalized(x);
    y = Normalized(y - x * Dot(x, y));
    z = Normalized(z - x * Dot(x, z) - y * Dot(y, z));
    const bool degenerate = LengthSquared(x) == 0 || LengthSquared(y) == 0 || LengthSquared(z) == 0;
    // Keep the signs that the scale has; a mirroring that they do not make falls on z.
    Point3 sign{std::copysign(1.0f, scale.x), std::copysign(1.0f, scale.y), std::copysign(1.0f, scale.z)};
    if (Dot(Cross(x, y), z) * sign.x * sign.y * sign.z < 0) sign.z = -sign.z;
    scale = lengths * sign;
    if (!degenerate) {
        Matrix rotation;
        const Point3 rows[] = {x * sign.x, y * sign.y, z * sign.z};
        for (int i = 0; i < 3; ++i)
            rotation(i, 0) = rows[i].x, rotation(i, 1) = rows[i].y, rotation(i, 2) = rows[i].z;
        orientation = OrientationOf(rotation);
    }
    // own.translation is a + p - a S R, with the pivot a.
    const Point3 pivot = Flipped(anchor);
    position = Flipped(own.translation() - pivot + TransformDirection(pivot, own));
}

bool SceneModel::Attach(SceneModel& child, Scene* scene, bool keepWorld, int index) {
    if (child.Contains(*this)) return false;
    const Matrix world = keepWorld ? child.LocalMatrix() : Matrix{};
    InsertAt(children, TakeOut(child, scene), index);
    child.parent = this;
    SetDepths(child, depth + 1);
    if (keepWorld) child.SetLocalMatrix(world);
    return true;
}

void Scene::AttachTop(SceneModel& model, bool keepWorld, int index) {
    const Matrix world = keepWorld ? model.LocalMatrix() : Matrix{};
    InsertAt(models, TakeOut(model, this), index);
    SetDepths(model, 0);
    if (keepWorld) model.SetLocalMatrix(world);
}

Ref<SceneModel> Scene::Detach(SceneModel& model) {
    Ref<SceneModel> taken = TakeOut(model, this);
    SetDepths(model, 0);
    return taken;
}

} // namespace velorin
