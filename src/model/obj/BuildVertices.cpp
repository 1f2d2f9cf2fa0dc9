#include "model/obj/ByteMasks.h"
#include "model/obj/ObjText.h"
#include "services/Log.h"

#include <algorithm>

namespace velorin::obj {

namespace {

// Indices of vertices have 32 bits, and a triangle takes three of its own.
constexpr std::size_t kMaximumTriangles = 0xffffffffu / 3;

class Builder {
public:
    Builder(const ObjText& text, std::vector<std::uint32_t>& triangleCounts)
        : text_(text), counts_(triangleCounts), hasFaces_(text.groups.size(), false) {
        counts_.assign(text.groups.size(), 0);
        vertices_.reserve(3 * std::min(text.faceEstimate, kMaximumTriangles));
    }

    ModelVertices Run() {
        for (const FaceRun& run : text_.runs) ReadRun(run);
        if (dropped_ > 0)
            Log("Obj: %zu faces refer outside the lists of the file and are left out", dropped_);
        return std::move(vertices_);
    }
    [[nodiscard]] bool HasFaces(std::size_t group) const { return hasFaces_[group]; }

private:
    void ReadRun(const FaceRun& run) {
        const char* p = reinterpret_cast<const char*>(run.text.data());
        const char* const end = p + run.text.size();
        bool hasFaces = false;
        std::size_t triangles = 0;
        while (p < end) {
            if (IsLineEnd(*p)) {
                ++p;
                continue;
            }
            const char* const limit = end - p > kLineLength ? p + kLineLength : end;
            ++p; // the keyword
            const auto corners = reader_.Read(p, limit, end - limit >= kFarBytes, run.lengths);
            if (corners.size() < 3) continue;
            hasFaces = true;
            triangles += AddFace(corners);
        }
        counts_[run.group] += static_cast<std::uint32_t>(triangles);
        if (hasFaces) hasFaces_[run.group] = true;
    }

    // As a fan around the first corner. Returns the number of triangles.
    std::size_t AddFace(std::span<const Corner> corners) {
        const std::size_t triangles = corners.size() - 2;
        if (!std::all_of(corners.begin(), corners.end(), [this](const Corner& c) { return IsValid(c); }) ||
            vertices_.size() / 3 + triangles > kMaximumTriangles) {
            ++dropped_;
            return 0;
        }
        const ModelVertex first = Vertex(corners[0]);
        ModelVertex before = Vertex(corners[1]);
        for (const Corner& corner : corners.subspan(2)) {
            vertices_.push_back(first);
            vertices_.push_back(before);
            vertices_.push_back(before = Vertex(corner));
        }
        return triangles;
    }
    // An index of 0 wraps round to a very large one.
    [[nodiscard]] bool IsValid(const Corner& corner) const {
        return Place(corner.position) < text_.positions.size() &&
               Place(corner.texCoord) < text_.texCoords.size() && Place(corner.normal) < text_.normals.size();
    }
    [[nodiscard]] ModelVertex Vertex(const Corner& corner) const {
        return {text_.positions[Place(corner.position)],
                text_.texCoords[Place(corner.texCoord)],
                text_.normals[Place(corner.normal)],
                {0, 0, 0, 0}};
    }
    static std::uint32_t Place(std::int32_t index) { return static_cast<std::uint32_t>(index) - 1; }

    const ObjText& text_;
    std::vector<std::uint32_t>& counts_;
    std::vector<bool> hasFaces_; // whole or broken
    ModelVertices vertices_;
    FaceLineReader reader_;
    std::size_t dropped_ = 0;
};

} // namespace

ModelVertices BuildVertices(ObjText& text, std::vector<std::uint32_t>& triangleCounts) {
    if (text.texCoords.empty()) text.texCoords.push_back({0, 1}); // (0, 0) of the file
    if (text.normals.empty()) text.normals.push_back({0, 0, 0});
    Builder builder(text, triangleCounts);
    ModelVertices vertices = builder.Run();
    if (!text.groups.empty() && text.meshes.back().groupCount > 0 &&
        !builder.HasFaces(text.groups.size() - 1)) {
        text.groups.pop_back();
        triangleCounts.pop_back();
        --text.meshes.back().groupCount;
    }
    text.positions.Clear();
    text.texCoords.Clear();
    text.normals.Clear();
    text.runs.clear();
    return vertices;
}

} // namespace velorin::obj
