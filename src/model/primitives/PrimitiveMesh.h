#pragma once

#include "core/document/Primitives.h"
#include "model/ModelData.h"

#include <cstdint>
#include <vector>

// What the generators share.
namespace velorin {

// Texture coordinates are pulled in from the borders of the texture, away from bilinear filtering across
// them.
[[nodiscard]] constexpr float Inset(float share) {
    return share * 0.9982f + 0.0009f;
}
inline constexpr float kFullTurn = 6.2831855f;
inline constexpr float kQuarterTurn = 1.5707964f;

// A count that a control holds as a float: cut to a whole number within its range.
[[nodiscard]] int Count(float value, int least, int most);
// A length or share within its range; not-a-number is the least.
[[nodiscard]] float Limit(float value, float least, float most);

// Cosines and sines of `steps` equal angles of a full turn, and the first again behind the last, so that a
// ring closes on the same bits.
struct Turn {
    explicit Turn(int steps, float start = 0);
    std::vector<float> cosine, sine; // steps + 1
};
// The same for a quarter turn, exact at its ends.
struct Quarter {
    explicit Quarter(int steps);
    std::vector<float> cosine, sine; // steps + 1
};

// Collects the surfaces of a primitive.
class PrimitiveMesh {
public:
    explicit PrimitiveMesh(ModelData& model) : model_(model) {}

    // A surface of rows by columns of vertices, `vertex(row, column)` a ModelVertex. Corner a of a quad has b
    // in the next column and c in the next row; (b - a) x (c - a) is to point outward. A triangle with two
    // corners at one place, as at a pole, is left out.
    template <class Vertex>
    void Grid(int rows, int columns, Vertex&& vertex) {
        const auto first = static_cast<std::uint32_t>(model_.vertices.size());
        for (int row = 0; row < rows; ++row)
            for (int column = 0; column < columns; ++column) model_.vertices.push_back(vertex(row, column));
        for (int row = 0; row + 1 < rows; ++row) {
            for (int column = 0; column + 1 < columns; ++column) {
                const auto a = first + static_cast<std::uint32_t>(row * columns + column);
                const std::uint32_t b = a + 1, c = a + static_cast<std::uint32_t>(columns), d = c + 1;
                AddTriangle({a, b, c});
                AddTriangle({b, d, c});
            }
        }
    }
    void AddTriangle(const Triangle& triangle);
    std::uint32_t AddVertex(const ModelVertex& vertex);
    // Turns the last `count` triangles round.
    void Reverse(std::size_t count);
    [[nodiscard]] std::size_t triangleCount() const { return triangles_.size(); }

    // Ends the collection: with `flat` each triangle gets vertices of its own with its plane's normal. Then
    // the tail that all primitives share: the model is normalised and gets its mesh, bounds, tangents and
    // material.
    void Finish(bool flat);

private:
    void MakeFlat();

    ModelData& model_;
    ModelTriangles triangles_;
};

// A surface of revolution around y. The profile runs such that its left side is outward when x is the radius
// and y down: from the bottom's centre outward, up the wall, and inward on the top.
struct ProfilePoint {
    float radius = 0, y = 0;
    float normalRadius = 0, normalY = 0; // unit
    float v = 0;                         // 0 to 1
};
enum class ProfileMapping { Wall, Cap }; // u from the angle and v from the profile, or both from x and z
void Revolve(PrimitiveMesh& mesh, const Turn& turn, const std::vector<ProfilePoint>& profile,
             ProfileMapping mapping, float diameter);

// One generator each.
void BuildBox(ModelData& model, const BoxParameters& p);
void BuildSphere(ModelData& model, const SphereParameters& p);
void BuildCylinder(ModelData& model, const CylinderParameters& p);
void BuildTube(ModelData& model, const TubeParameters& p);
void BuildTorus(ModelData& model, const TorusParameters& p);
void BuildCone(ModelData& model, const ConeParameters& p);
void BuildPlane(ModelData& model, const PlaneParameters& p);
void BuildCapsule(ModelData& model, const CapsuleParameters& p);
void BuildStar(ModelData& model, const StarParameters& p);
void BuildGear(ModelData& model, const GearParameters& p);

} // namespace velorin
