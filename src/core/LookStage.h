#pragma once

#include "core/FrameParams.h"
#include "core/Random.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace velorin {

// The first stage over all particles, in pieces: place, size and rotation from the shape's position and
// normal. Its arithmetic runs over arrays of one number a particle, so that compilers make vector code of it.
class LookStage {
public:
    static constexpr std::size_t kPiece = 256; // most particles of one call of Run: 16 KB

    LookStage(const GroupParams& group, Point3 cameraPosition);
    void Run(std::span<Particle> particles);

private:
    using Row = std::array<float, kPiece>;
    struct Vectors {
        Row x, y, z;
    };
    struct Quaternions {
        Row x, y, z, w;
    };

    // Draws of one particle, in their order.
    enum : std::size_t { kSizeDraw, kSpreadDraw, kRandomizeDraw = 4, kDraws = 7 };

    void Place(std::span<Particle> particles);
    void DrawSizes(std::span<Particle> particles);
    void Direct(std::span<const Particle> particles);
    void Look(std::size_t count);
    void Spread(std::size_t count);
    void Randomize(std::size_t count);
    void TurnBefore(std::size_t count);
    void TurnBefore(Quaternion q, std::size_t count);
    void TurnAfter(Quaternion q, std::size_t count);
    // Bits of draw number `draw` of the piece's particles.
    void Draws(std::size_t draw, std::size_t count, Row& bits) const;

    const GroupParams& group_;
    Point3 camera_;
    Matrix shape_;
    Point3 scale_;
    float baseSize_;
    bool hasSpread_, hasRandomize_, turns_, turnsWithShape_;
    std::uint32_t index_ = 0;
    Random random_;

    std::array<std::uint32_t, kPiece> states_{}; // of the generator before each particle
    Vectors direction_, angles_;
    Quaternions rotation_, turn_;
};

} // namespace velorin
