#include "model/Bounds.h"
#include "model/ModelTools.h"

namespace velorin {

namespace {

void ScaleTrack(MeshTrack& track, float s) {
    track.position *= s;
    for (TrackSample& sample : track.samples) {
        sample.position *= s;
        for (TrackChannel::Tangent& tangent : sample.channels[0].tangent) {
            tangent.valueLeft *= s;
            tangent.valueRight *= s;
        }
    }
}

// Animation follows the vertices into their new units.
void ScaleAnimation(ModelData& model, float s) {
    for (AnimationLayer& layer : model.layers)
        for (auto& [name, keys] : layer.tracks)
            for (LayerKey& key : keys) key.position *= s;
    for (ModelJoint& joint : model.joints) {
        const Point3 moved = joint.matrix.translation() * s - model.center;
        joint.matrix.m[12] = moved.x;
        joint.matrix.m[13] = moved.y;
        joint.matrix.m[14] = moved.z;
    }
    if (!model.hasMeshTracks) return;
    for (ModelMesh& mesh : model.meshes)
        for (MeshTrack& track : mesh.tracks) ScaleTrack(track, s);
}

} // namespace

void NormaliseModel(ModelData& model) {
    if (model.vertices.empty()) return;
    Bounds bounds;
    for (const ModelVertex& vertex : model.vertices) bounds.Widen(vertex.position);
    const Point3 center = bounds.Center();
    const Point3 half = bounds.max - center;
    model.size = half.x;
    if (half.z > model.size) model.size = half.z;
    if (half.y > model.size) model.size = half.y;

    const float s = 1 / model.size;
    for (ModelVertex& vertex : model.vertices) vertex.position = (vertex.position - center) * s;
    model.center = center * s;
    model.boundsMin = bounds.min * s;
    model.boundsMax = bounds.max * s;
    for (ModelMesh& mesh : model.meshes) {
        mesh.center *= s;
        mesh.boundsMax *= s;
        mesh.boundsMin *= s;
    }
    ScaleAnimation(model, s);
}

} // namespace velorin
