#include "TextureFixture.h"
#include "render/GuestState.h"
#include "render/ShadingReference.h"

#include "render/SampleRows.h"
#include "render/gl/GLStateScope.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <vector>

namespace velorin {
namespace {

using namespace test;

GLenum Face(int face) {
    return GL_TEXTURE_CUBE_MAP_POSITIVE_X + static_cast<GLenum>(face);
}

// A cube in memory: its texels with their directions and solid angles.
struct Cube {
    int side = 0;
    std::vector<Point3> colour, direction;
    std::vector<double> solidAngle;
};

Point3 TexelDirection(int face, int x, int y, int side) {
    const auto at = [side](int i) { return (static_cast<float>(i) + 0.5f) / static_cast<float>(side); };
    return reference::CubeDirection(face, at(x), at(y));
}

class TextureFiltersTest : public TextureTest {
protected:
    static Cube ReadCube(gl::Name texture, int level) {
        Cube cube;
        for (int face = 0; face < 6; ++face) {
            const auto texels = Read(texture, level, Face(face));
            cube.side = static_cast<int>(std::lround(std::sqrt(static_cast<double>(texels.size()) / 4)));
            for (int y = 0; y < cube.side; ++y)
                for (int x = 0; x < cube.side; ++x) {
                    const std::size_t i = 4 * static_cast<std::size_t>(y * cube.side + x);
                    cube.colour.push_back({texels[i], texels[i + 1], texels[i + 2]});
                    cube.direction.push_back(TexelDirection(face, x, y, cube.side));
                    // Of a texel: its area on the face by the cube of the distance.
                    const double s = (2.0 * x + 1) / cube.side - 1, t = (2.0 * y + 1) / cube.side - 1;
                    cube.solidAngle.push_back(4.0 / (cube.side * cube.side) /
                                              std::pow(1 + s * s + t * t, 1.5));
                }
        }
        return cube;
    }

    // A cube whose level 0 is painted with `colour(direction)`.
    template <class Colour>
    static gl::Texture PaintCube(int side, Colour colour) {
        gl::Texture cube = gl::Texture::New();
        glBindTexture(GL_TEXTURE_CUBE_MAP, cube.name());
        for (int face = 0; face < 6; ++face) {
            std::vector<float> texels;
            for (int y = 0; y < side; ++y)
                for (int x = 0; x < side; ++x) {
                    const Point3 c = colour(TexelDirection(face, x, y, side));
                    texels.insert(texels.end(), {c.x, c.y, c.z, 1});
                }
            glTexImage2D(Face(face), 0, GL_RGBA16F, side, side, 0, GL_RGBA, GL_FLOAT, texels.data());
        }
        glTexParameteri(GL_TEXTURE_CUBE_MAP, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
        glBindTexture(GL_TEXTURE_CUBE_MAP, 0);
        return cube;
    }
};

// A sky with a bright soft sun, a horizon and a coloured ground; y points down.
Point3 Sky(Point3 d) {
    const float sun = std::exp(20 * (Dot(d, Normalized({0.5f, -0.6f, 0.4f})) - 1));
    const float up = 0.5f - 0.5f * d.y;
    return {0.2f + 0.5f * up + 6 * sun, 0.15f + 0.4f * up * up + 5 * sun + 0.1f * d.x,
            0.3f * up + 0.2f + 4 * sun + 0.1f * d.z};
}

TEST(SampleRows, FollowTheGgxDistribution) {
    const std::vector<float> rows = MakeSampleRows();
    ASSERT_EQ(rows.size(), 512u * 24 * 4);
    const auto sample = [&](int row, int i) {
        const float* s = &rows[(static_cast<std::size_t>(row) * 512 + static_cast<std::size_t>(i)) * 4];
        return Point3{s[0], s[1], s[2]};
    };
    for (int row = 0; row < 12; ++row) {
        SCOPED_TRACE(row);
        const int samples = row < 6 ? 512 : 128;
        const double roughness = std::pow((row % 6 + 1) / 6.0, 2.8);
        for (const double limit : {0.2, 0.6, 1.2}) {
            int inside = 0;
            Point3 balance;
            for (int i = 0; i < samples; ++i) {
                EXPECT_NEAR(Length(sample(row, i)), 1, 1e-5);
                inside += sample(row, i).z > std::cos(limit);
                balance += sample(row, i) * (1 / static_cast<float>(samples));
            }
            EXPECT_NEAR(static_cast<double>(inside) / samples, reference::ShareWithin(limit, roughness),
                        1.5 / samples + 1e-3);
            EXPECT_NEAR(balance.x, 0, 0.02);
            EXPECT_NEAR(balance.y, 0, 0.02);
        }
        for (int i = samples; i < 512; ++i) EXPECT_EQ(sample(row, i).z, 0);
    }
    for (int row = 12; row < 24; ++row) {
        float least = 2, most = -1;
        for (int i = 0; i < (row < 18 ? 196 : 512); ++i)
            least = std::min(least, sample(row, i).z), most = std::max(most, sample(row, i).z);
        EXPECT_NEAR(least, 0, 1e-6) << row;
        EXPECT_NEAR(most, 1, 1e-6) << row;
    }
}

// The picture holds its own directions, so that each texel of the cube must hold the direction that it lies
// in.
TEST_F(TextureFiltersTest, CubeFacesLookWhereTheyShould) {
    const gl::Texture environment = Paint(512, 256, [](float u, float v) {
        const float longitude = (u - 0.5f) * 6.2831853f, latitude = (v - 0.5f) * 3.1415927f;
        return std::array<float, 4>{std::cos(latitude) * std::sin(longitude), std::sin(latitude),
                                    std::cos(latitude) * std::cos(longitude), 1};
    });
    const gl::Texture cube = manager().EnvToCubeMap(environment.name());
    ASSERT_TRUE(cube);
    EXPECT_EQ(LevelValue(cube.name(), 0, GL_TEXTURE_WIDTH, Face(3)), 512);
    EXPECT_EQ(LevelValue(cube.name(), 0, GL_TEXTURE_INTERNAL_FORMAT, Face(3)), GL_RGBA16F);
    EXPECT_EQ(LevelValue(cube.name(), 6, GL_TEXTURE_WIDTH, Face(3)), 8);
    EXPECT_EQ(Parameter(cube.name(), GL_TEXTURE_MAX_LEVEL, GL_TEXTURE_CUBE_MAP), 6);
    EXPECT_EQ(Parameter(environment.name(), GL_TEXTURE_WRAP_T), GL_REPEAT) << "put back";
    const Cube texels = ReadCube(cube.name(), 0);
    float worst = 0, sum = 0;
    for (std::size_t i = 0; i < texels.colour.size(); ++i) {
        const float off = Length(texels.colour[i] - texels.direction[i]);
        worst = std::max(worst, off), sum += off;
    }
    // Also at the poles, whose rows must not mix with those of the other, and at the seam.
    EXPECT_LT(worst, 0.04f);
    EXPECT_LT(sum / static_cast<float>(texels.colour.size()), 0.004f);
}

TEST_F(TextureFiltersTest, OnePixelGivesAConstantCube) {
    for (const bool floats : {true, false}) {
        const float colour[4] = {0.25f, 0.5f, 8, 1};
        const std::uint8_t bytes[4] = {51, 102, 255, 255};
        const gl::Texture pixel =
            floats ? manager().LoadFloatTexture(colour, 1, 1) : manager().LoadTexture(bytes, 1, 1, false);
        // The host's layers are stored as alpha, red, green, blue, and put in order by the sampler.
        glBindTexture(GL_TEXTURE_2D, pixel.name());
        const GLint order[4] = {GL_GREEN, GL_BLUE, GL_ALPHA, GL_RED};
        if (floats) glTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_SWIZZLE_RGBA, order);
        const gl::Texture cube = manager().EnvToCubeMap(pixel.name());
        ASSERT_TRUE(cube);
        for (int level = 0; level <= 6; ++level)
            for (int face = 0; face < 6; ++face) {
                const auto texels = Read(cube.name(), level, Face(face));
                ASSERT_EQ(texels.size(), std::size_t{4} * (512u >> level) * (512u >> level));
                for (std::size_t c = 0; c < 4; ++c) {
                    const double expected = floats ? colour[(c + 1) % 4] : bytes[c] / 255.0;
                    ASSERT_NEAR(texels[c], expected, 1e-3) << level;
                    ASSERT_NEAR(texels[texels.size() - 4 + c], expected, 1e-3) << level;
                }
            }
    }
}

// What a level must hold: the level above, seen through the GGX lobe with N = V = R, by quadrature over all
// its texels. A weight of D(h) / 4 * (n.l) a solid angle, since dh = dl / (4 h.v) and D is distributed by
// cos(h) = h.v.
Point3 BruteForce(const Cube& source, Point3 n, double roughness) {
    const double a2 = roughness * roughness;
    Point3 sum;
    double total = 0;
    for (std::size_t i = 0; i < source.colour.size(); ++i) {
        const double nl = Dot(n, source.direction[i]);
        if (nl <= 0) continue;
        const double denominator = (1 + nl) / 2 * (a2 - 1) + 1; // of half the angle
        const double weight = a2 / (denominator * denominator) * nl * source.solidAngle[i];
        sum += source.colour[i] * static_cast<float>(weight);
        total += weight;
    }
    return sum * static_cast<float>(1 / total);
}

TEST_F(TextureFiltersTest, FilteredLevelsAreGgxConvolutions) {
    const gl::Texture cube = PaintCube(128, Sky);
    manager().FilterCubeMap(cube.name(), 128, GL_RGBA16F, false);
    Cube above = ReadCube(cube.name(), 0);
    for (int level = 1; level <= 6; ++level) {
        const Cube here = ReadCube(cube.name(), level);
        ASSERT_EQ(here.side, 128 >> level);
        // The lobe of the first level is narrower than a texel of the quadrature: it shows the level above.
        const double roughness = std::max(0.02, std::pow(level / 6.0, 2.8));
        float error = 0, scale = 0;
        const std::size_t stride = std::max<std::size_t>(here.colour.size() / 300, 1); // to save time
        for (std::size_t i = 0; i < here.colour.size(); i += stride) {
            const Point3 expected = BruteForce(above, here.direction[i], roughness);
            error += Length(here.colour[i] - expected), scale += Length(expected);
        }
        EXPECT_LT(error / scale, 0.03f) << "level " << level;
        above = here;
    }
}

TEST_F(TextureFiltersTest, QuickLevelsEndWithTheRoughest) {
    const gl::Texture cube = PaintCube(256, Sky);
    manager().FilterCubeMap(cube.name(), 256, GL_RGBA16F, true);
    EXPECT_EQ(Parameter(cube.name(), GL_TEXTURE_MAX_LEVEL, GL_TEXTURE_CUBE_MAP), 6);
    EXPECT_EQ(Parameter(cube.name(), GL_TEXTURE_BASE_LEVEL, GL_TEXTURE_CUBE_MAP), 0);
    float last = 1e9f;
    for (int level = 0; level <= 6; ++level) {
        const Cube cells = ReadCube(cube.name(), level);
        ASSERT_EQ(cells.side, 256 >> level);
        float least = 1e9f, most = 0;
        double mean = 0, solid = 0;
        for (std::size_t i = 0; i < cells.colour.size(); ++i) {
            least = std::min(least, cells.colour[i].x), most = std::max(most, cells.colour[i].x);
            mean += cells.colour[i].x * cells.solidAngle[i], solid += cells.solidAngle[i];
        }
        EXPECT_LT(most - least, last * 1.02f) << "no level is sharper than the one above: " << level;
        EXPECT_NEAR(mean / solid, 0.71, 0.15) << level;
        last = most - least;
    }
    EXPECT_LT(last, 0.6f); // it looks all around: the sun of 6 is a glow of less than half a unit
}

TEST_F(TextureFiltersTest, SmallCubesEndWhereTheirLevelsEnd) {
    for (const int side : {1, 2, 32, 64})
        for (const bool quick : {false, true}) {
            const gl::Texture cube = PaintCube(side, [](Point3) { return Point3{0.25f, 0.5f, 4}; });
            manager().FilterCubeMap(cube.name(), static_cast<std::uint32_t>(side), GL_RGBA16F, quick);
            for (int level = 0; side >> level > 0; ++level) {
                const Cube cells = ReadCube(cube.name(), level);
                ASSERT_EQ(cells.side, side >> level);
                for (const Point3 c : cells.colour) ASSERT_NEAR(c.z, 4, 4e-3) << side << " " << level;
            }
        }
}

TEST_F(TextureFiltersTest, SphereLevelsKeepFlatColoursAndCompressBrightOnes) {
    const gl::Texture flat = Paint(64, 32, [](float, float) { return std::array<float, 4>{0.5f, 1, 4, 1}; });
    manager().FilterSphereMap(flat.name(), 64, 32, false);
    double bright = 4;
    for (int level = 1; level <= 6; ++level) {
        bright = 1 + std::log2(bright);
        const auto texels = Read(flat.name(), level);
        ASSERT_EQ(texels.size(), 4u * std::max(64u >> level, 1u) * std::max(32u >> level, 1u));
        EXPECT_NEAR(texels[0], 0.5, 1e-3) << level;
        EXPECT_NEAR(texels[1], 1, 1e-3) << level;
        EXPECT_NEAR(texels[2], bright, 0.01) << level;
    }
}

TEST_F(TextureFiltersTest, NormalsLeanAgainstTheSlope) {
    // Heights rise by 0.5 over the width and fall by 0.25 over the height: a Sobel kernel gives 8 times the
    // step of a texel.
    constexpr std::uint32_t width = 40, height = 20;
    const gl::Texture bump = Paint(width, height, [](float u, float v) {
        const float h = 0.25f + 0.5f * u - 0.25f * v;
        return std::array<float, 4>{h * 1.5f, h, h * 0.5f, 1}; // the mean is h
    });
    const gl::Texture normals = manager().BumpToNormal(bump.name());
    ASSERT_TRUE(normals);
    const auto texels = Read(normals.name());
    ASSERT_EQ(texels.size(), 4u * width * height);
    const double x = -8 * 0.5 / width, y = 8 * 0.25 / height, z = 0.5;
    const double length = std::sqrt(x * x + y * y + z * z);
    for (std::uint32_t row = 1; row + 1 < height; ++row)
        for (std::uint32_t column = 1; column + 1 < width; ++column) {
            const float* n = &texels[4 * (row * width + column)];
            ASSERT_NEAR(n[0], (x / length + 1) / 2, 3e-3);
            ASSERT_NEAR(n[1], (y / length + 1) / 2, 3e-3);
            ASSERT_NEAR(n[2], (z / length + 1) / 2, 3e-3);
            ASSERT_EQ(n[3], 1);
        }
    EXPECT_EQ(LevelValue(normals.name(), 5, GL_TEXTURE_WIDTH), 1) << "mip levels are there";
}

TEST_F(TextureFiltersTest, SphereBlurStaysInPlaceAndCrossesPoles) {
    constexpr std::uint32_t width = 64, height = 32;
    // One texel of light, blurred.
    const auto blurred = [&](std::uint32_t px, std::uint32_t py) {
        const gl::Texture dot = Paint(width, height, [=](float u, float v) {
            const float on =
                static_cast<std::uint32_t>(u * width) == px && static_cast<std::uint32_t>(v * height) == py;
            return std::array<float, 4>{on, on, on, 1};
        });
        return Read(manager().BlurSphere(dot.name(), 5).name());
    };
    const auto value = [](const std::vector<float>& texels, std::uint32_t x, std::uint32_t y) {
        return texels[4 * (y * width + x % width)];
    };
    for (const std::uint32_t x : {20u, 63u}) { // both sides are alike, beside the seam as well
        const auto texels = blurred(x, 16);
        for (std::uint32_t d = 1; d < 5; ++d) {
            EXPECT_NEAR(value(texels, x + d, 16), value(texels, x + width - d, 16), 2e-3) << d;
            EXPECT_NEAR(value(texels, x, 16 + d), value(texels, x, 16 - d), 2e-3) << d;
            EXPECT_LT(value(texels, x + d, 16), value(texels, x + d - 1, 16));
        }
        EXPECT_EQ(value(texels, x, 16 + 7), 0);
    }
    // At a pole it reaches the other side of the sphere.
    EXPECT_GT(value(blurred(10, 1), 10 + width / 2, 2), 0);
    EXPECT_GT(value(blurred(10, height - 2), 10 + width / 2, height - 3), 0);
    // A flat picture stays flat, also with a radius larger than the picture.
    const gl::Texture flat = Paint(width, height, [](float, float) {
        return std::array<float, 4>{2, 2, 2, 2};
    });
    for (const float radius : {0.0f, 3.0f, 1000.0f})
        for (const float v : Read(manager().BlurSphere(flat.name(), radius).name())) ASSERT_NEAR(v, 2, 4e-3);
}

// What a caller has set must stand afterwards, and does not reach the pictures.
TEST_F(TextureFiltersTest, TheStateOfTheCallerStays) {
    const gl::GLStateScope clean;
    const gl::Texture a = Paint(8, 8, [](float u, float v) { return std::array<float, 4>{u, v, 0, 1}; });
    const gl::Texture small = PaintCube(128, Sky);
    const gl::Buffer buffer = gl::Buffer::New();
    SetOddState(a.name(), buffer.name());
    const auto before = StateNow();
    const std::uint8_t pixel[4] = {1, 2, 3, 4};
    gl::Texture plain, cube, normals, blurred;
    const std::function<void()> steps[] = {
        [&] { plain = manager().LoadTexture(pixel, 1, 1, true); },
        [&] { cube = manager().EnvToCubeMap(plain.name()); },
        [&] { manager().FilterCubeMap(small.name(), 128, GL_RGBA16F, true); },
        [&] { manager().FilterSphereMap(a.name(), 8, 8, true); },
        [&] { normals = manager().BumpToNormal(a.name()); },
        [&] { blurred = manager().BlurSphere(a.name(), 2); }};
    for (const auto& step : steps) {
        step();
        EXPECT_EQ(StateNow(), before) << &step - steps;
    }
    const auto texels = Read(normals.name());
    EXPECT_NEAR(texels[4 * 9 + 3], 1, 1e-6);
    EXPECT_GT(texels[4 * 9 + 2], 0.5f);
}

} // namespace
} // namespace velorin
