#include "Sheet.h"

#include <cmath>
#include <cstdio>
#include <vector>

namespace velorin::bench {

bool WriteSheet(const std::string& path, int side) {
    std::FILE* file = std::fopen(path.c_str(), "w");
    if (!file) return false;
    std::vector<char> buffer(1 << 20);
    std::setvbuf(file, buffer.data(), _IOFBF, buffer.size());
    std::fprintf(file, "o sheet\n");
    const auto each = [&](auto&& write) {
        for (int y = 0; y <= side; ++y)
            for (int x = 0; x <= side; ++x) write(double(x) / side, double(y) / side);
    };
    each([&](double u, double v) {
        std::fprintf(file, "v %.6f %.6f %.6f\n", 20 * u - 10, 20 * v - 10,
                     std::sin(40 * u) * std::cos(30 * v));
    });
    each([&](double u, double v) { std::fprintf(file, "vt %.6f %.6f\n", u, v); });
    each([&](double u, double v) {
        const double nx = -2 * std::cos(40 * u) * std::cos(30 * v),
                     ny = 1.5 * std::sin(40 * u) * std::sin(30 * v);
        const double length = std::sqrt(nx * nx + ny * ny + 1);
        std::fprintf(file, "vn %.6f %.6f %.6f\n", nx / length, ny / length, 1 / length);
    });
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            const int a = y * (side + 1) + x + 1, b = a + 1, c = a + side + 1, d = c + 1;
            std::fprintf(file, "f %d/%d/%d %d/%d/%d %d/%d/%d\n", a, a, a, b, b, b, c, c, c);
            std::fprintf(file, "f %d/%d/%d %d/%d/%d %d/%d/%d\n", b, b, b, d, d, d, c, c, c);
        }
    }
    return std::fclose(file) == 0;
}

} // namespace velorin::bench
