#include "model/primitives/PrimitiveMesh.h"

#include "model/ModelTools.h"

#include <algorithm>
#include <cmath>

namespace velorin {

int Count(float value, int least, int most) {
    return static_cast<int>(Limit(value, static_cast<float>(least), static_cast<float>(most)));
}

float Limit(float value, float least, float most) {
    return value > least ? std::min(value, most) : least;
}

Turn::Turn(int steps, float start) {
    for (int i = 0; i < steps; ++i) {
        const float angle = start + kFullTurn * static_cast<float>(i) / static_cast<float>(steps);
        cosine.push_back(std::cos(angle));
        sine.push_back(std::sin(angle));
    }
    cosine.push_back(cosine.front());
    sine.push_back(sine.front());
}

Quarter::Quarter(int steps) {
    for (int i = 0; i <= steps; ++i) {
        const float angle = kQuarterTurn * static_cast<float>(i) / static_cast<float>(steps);
        cosine.push_back(i == steps ? 0 : std::cos(angle));
        sine.push_back(i == steps ? 1 : std::sin(angle));
    }
}

void PrimitiveMesh::AddTriangle(const Triangle& triangle) {
    const Point3 a = model_.vertices[triangle[0]].position, b = model_.vertices[triangle[1]].position,
                 c = model_.vertices[triangle[2]].position;
    if (!(a == b || b == c || c == a)) triangles_.push_back(triangle);
}

std::uint32_t PrimitiveMesh::AddVertex(const ModelVertex& vertex) {
    model_.vertices.push_back(vertex);
    return static_cast<std::uint32_t>(model_.vertices.size() - 1);
}

void PrimitiveMesh::Reverse(std::size_t count) {
    for (std::size_t i = triangles_.size() - count; i < triangles_.size(); ++i)
        std::swap(triangles_[i][1], triangles_[i][2]);
}

void PrimitiveMesh::MakeFlat() {
    ModelVertices vertices;
    vertices.reserve(3 * triangles_.size());
    for (Triangle& triangle : triangles_) {
        ModelVertex corners[3];
        for (std::size_t i = 0; i < 3; ++i) corners[i] = model_.vertices[triangle[i]];
        const Point3 normal = Normalized(Cross(Normalized(corners[1].position - corners[0].position),
                                               Normalized(corners[2].position - corners[0].position)));
        for (std::size_t i = 0; i < 3; ++i) {
            // A sliver without a plane keeps what the surface says.
            if (LengthSquared(normal) > 0) corners[i].normal = normal;
            triangle[i] = static_cast<std::uint32_t>(vertices.size());
            vertices.push_back(corners[i]);
        }
    }
    model_.vertices = std::move(vertices);
}

void PrimitiveMesh::Finish(bool flat) {
    if (flat) MakeFlat();
    NormaliseModel(model_);
    ModelMesh& mesh = model_.meshes.emplace_back();
    mesh.name = "Parametric Mesh";
    mesh.groups.push_back({0, false, std::move(triangles_)});
    mesh.center = model_.center;
    mesh.boundsMin = model_.boundsMin;
    mesh.boundsMax = model_.boundsMax;
    ComputeTangents(model_);
    model_.materials.emplace_back().name = "Default";
}

void Revolve(PrimitiveMesh& mesh, const Turn& turn, const std::vector<ProfilePoint>& profile,
             ProfileMapping mapping, float diameter) {
    const int sides = static_cast<int>(turn.cosine.size()) - 1;
    mesh.Grid(static_cast<int>(profile.size()), sides + 1, [&](int row, int column) {
        const ProfilePoint& p = profile[static_cast<std::size_t>(row)];
        const float c = turn.cosine[static_cast<std::size_t>(column)],
                    s = turn.sine[static_cast<std::size_t>(column)];
        ModelVertex vertex;
        vertex.position = {p.radius * c, p.y, p.radius * s};
        vertex.normal = {p.normalRadius * c, p.normalY, p.normalRadius * s};
        if (mapping == ProfileMapping::Cap) {
            vertex.texCoord = {Inset(0.5f + vertex.position.x / diameter),
                               Inset(0.5f + vertex.position.z / diameter)};
        } else {
            // At a pole each column has its own vertex, in the middle of its triangle.
            const float step = p.radius == 0 && column < sides ? 0.5f : 0;
            vertex.texCoord = {Inset((static_cast<float>(column) + step) / static_cast<float>(sides)),
                               Inset(p.v)};
        }
        return vertex;
    });
}

} // namespace velorin
