#include "core/ModelMatrices.h"

#include "core/document/SceneModel.h"

#include <algorithm>

namespace velorin {
namespace {

// File units that make one unit of a model's space.
constexpr float kStandardHalfSize = 100;

constexpr float kDegreesPerRadian = 57.29577951f;

// The channel that a record names, null for none.
const AuxChannel* Channel(std::uint32_t auxChannel, const GroupParams* aux) {
    if (!aux || auxChannel == 0 || auxChannel > kAuxChannelCount) return nullptr;
    return &aux->aux[auxChannel - 1];
}

// The transform of a model or mesh under a channel, without folders. A mesh record does the arithmetic for
// both.
template <class Record>
Matrix LocalWithAux(const Record& record, const AuxChannel& channel, Point3 flip) {
    const float ratio = record.auxRatio;
    SceneMesh moved;
    moved.anchor = record.anchor;
    moved.position = record.position + channel.position * flip * ratio;
    moved.orientation = record.orientation + channel.rotation * (kDegreesPerRadian * ratio);
    moved.scale = record.scale * (1 - ratio) + record.scale * (channel.scale * ratio);
    return moved.LocalMatrix();
}

// The transform of a model without its folders.
Matrix OwnMatrix(const SceneModel& model) {
    SceneMesh own;
    own.anchor = model.anchor;
    own.position = model.position;
    own.orientation = model.orientation;
    own.scale = model.scale;
    return own.LocalMatrix();
}

} // namespace

Point3 FlipSigns(const SceneModel& model) {
    return {model.flip[0] ? -1.0f : 1.0f, model.flip[1] ? -1.0f : 1.0f, model.flip[2] ? -1.0f : 1.0f};
}

Matrix FitMatrix(const SceneModel& model, const GeometryFacts& facts) {
    const Point3 half = (facts.boundsMax - facts.boundsMin) * 0.5f;
    Point3 offset;
    switch (model.alignment) {
    case Alignment::ModelCenter:
        break;
    case Alignment::FromModel:
        offset = facts.center * FlipSigns(model);
        break;
    case Alignment::Top:
        offset.y = half.y;
        break;
    case Alignment::Bottom:
        offset.y = -half.y;
        break;
    case Alignment::Front:
        offset.z = half.z;
        break;
    case Alignment::Back:
        offset.z = -half.z;
        break;
    case Alignment::Left:
        offset.x = half.x;
        break;
    case Alignment::Right:
        offset.x = -half.x;
        break;
    }
    const float scale = model.normalizeSize ? 1 : facts.size / kStandardHalfSize;
    return Matrix::Translation(offset) * Matrix::Scale({scale, scale, scale});
}

Matrix ModelMatrix(const SceneModel& model, const GroupParams* aux) {
    if (!aux) return model.LocalMatrix();
    Matrix result;
    for (const SceneModel* at = &model; at; at = at->parent) {
        const AuxChannel* const channel = Channel(at->auxChannel, aux);
        result = result * (channel ? LocalWithAux(*at, *channel, FlipSigns(*at)) : OwnMatrix(*at));
    }
    return result;
}

const SceneMesh* FindSceneMesh(const SceneModel& model, std::uint32_t mesh) {
    for (const auto& candidate : model.meshes)
        if (std::find(candidate->parts.begin(), candidate->parts.end(), mesh) != candidate->parts.end())
            return candidate.get();
    if (mesh < model.meshes.size() && model.meshes[mesh]->parts.empty()) return model.meshes[mesh].get();
    return nullptr;
}

Matrix MeshMatrix(const SceneModel& model, std::uint32_t mesh, const GroupParams* aux) {
    const SceneMesh* const settings = FindSceneMesh(model, mesh);
    if (!settings) return {};
    const AuxChannel* const channel = Channel(settings->auxChannel, aux);
    return channel ? LocalWithAux(*settings, *channel, FlipSigns(model)) : settings->LocalMatrix();
}

} // namespace velorin
