#pragma once

#include "model/primitives/BuildPrimitive.h"

// Small models for the tests of what works on them.
namespace velorin::test {

inline ModelData Primitive(PrimitiveKind kind, const PrimitiveParameters& parameters = {}) {
    ModelData model;
    BuildPrimitive(model, kind, parameters);
    return model;
}

// 24 vertices, 12 triangles.
inline ModelData Cube() {
    PrimitiveParameters parameters;
    parameters.box.chamfer = 0;
    return Primitive(PrimitiveKind::Box, parameters);
}

inline ModelTriangles& TrianglesOf(ModelData& model) {
    return model.meshes.at(0).groups.at(0).triangles;
}
inline const ModelTriangles& TrianglesOf(const ModelData& model) {
    return model.meshes.at(0).groups.at(0).triangles;
}

// Across the triangle, as long as twice its area.
inline Point3 FaceOf(const ModelVertices& vertices, const Triangle& t) {
    return Cross(vertices[t[1]].position - vertices[t[0]].position,
                 vertices[t[2]].position - vertices[t[0]].position);
}

} // namespace velorin::test
