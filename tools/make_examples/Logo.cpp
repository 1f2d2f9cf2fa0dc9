#include "Scenes.h"

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

namespace examples {

namespace {

// A page of filled shapes, in points with y upward.
class PdfPage {
public:
    PdfPage(int width, int height) : width_(width), height_(height) {}

    void moveTo(double x, double y) { add({x, y}, "m"); }
    void lineTo(double x, double y) { add({x, y}, "l"); }
    void curveTo(double x1, double y1, double x2, double y2, double x, double y) {
        add({x1, y1, x2, y2, x, y}, "c");
    }
    void close() { add({}, "h"); }
    void circle(double x, double y, double r) {
        const double k = r * 0.5522847498; // four cubic quarters
        moveTo(x + r, y);
        curveTo(x + r, y + k, x + k, y + r, x, y + r);
        curveTo(x - k, y + r, x - r, y + k, x - r, y);
        curveTo(x - r, y - k, x - k, y - r, x, y - r);
        curveTo(x + k, y - r, x + r, y - k, x + r, y);
        close();
    }
    void color(double r, double g, double b) { add({r, g, b}, "rg"); }
    void fill() { add({}, "f*"); } // even-odd

    [[nodiscard]] bool write(const std::filesystem::path& path) const {
        const std::string box = std::to_string(width_) + " " + std::to_string(height_);
        const std::vector<std::string> objects = {
            "<< /Type /Catalog /Pages 2 0 R >>",
            "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
            "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 " + box + "] /Resources << >> /Contents 4 0 R >>",
            "<< /Length " + std::to_string(content_.size()) + " >>\nstream\n" + content_ + "endstream",
        };
        std::string file = "%PDF-1.4\n";
        std::vector<std::size_t> offsets;
        for (std::size_t i = 0; i < objects.size(); ++i) {
            offsets.push_back(file.size());
            file += std::to_string(i + 1) + " 0 obj\n" + objects[i] + "\nendobj\n";
        }
        const std::size_t table = file.size();
        const std::string count = std::to_string(objects.size() + 1);
        file += "xref\n0 " + count + "\n0000000000 65535 f \n";
        for (const std::size_t offset : offsets) {
            char entry[24];
            std::snprintf(entry, sizeof entry, "%010zu 00000 n \n", offset);
            file += entry;
        }
        file += "trailer\n<< /Size " + count + " /Root 1 0 R >>\nstartxref\n" + std::to_string(table) +
                "\n%%EOF\n";
        std::ofstream out(path, std::ios::binary);
        if (out << file << std::flush) return true;
        std::fprintf(stderr, "%s cannot be written\n", path.c_str());
        return false;
    }

private:
    void add(std::initializer_list<double> numbers, const char* name) {
        for (const double number : numbers) {
            char text[32];
            std::snprintf(text, sizeof text, "%.6g ", number);
            content_ += text;
        }
        content_ += name;
        content_ += '\n';
    }

    int width_, height_;
    std::string content_;
};

} // namespace

// A badge: a ring, a V of two blades and a star between them.
bool MakeLogo(const std::filesystem::path& folder) {
    PdfPage page(400, 400);
    page.color(0.1, 0.2, 0.5);
    page.circle(200, 200, 184);
    page.circle(200, 200, 152);
    page.fill();
    page.color(0.7, 0.1, 0.15);
    for (const double side : {-1.0, 1.0}) {
        const auto x = [side](double from) { return 200 + side * from; };
        page.moveTo(x(102), 284);
        page.curveTo(x(78), 212, x(52), 142, x(8), 84);
        page.lineTo(x(8), 156);
        page.curveTo(x(32), 196, x(46), 240, x(52), 284);
        page.curveTo(x(66), 275, x(84), 275, x(102), 284);
        page.close();
        page.fill();
    }
    page.moveTo(200, 326);
    page.curveTo(209, 288, 214, 272, 236, 262);
    page.curveTo(214, 252, 209, 236, 200, 198);
    page.curveTo(191, 236, 186, 252, 164, 262);
    page.curveTo(186, 272, 191, 288, 200, 326);
    page.close();
    page.fill();
    return page.write(folder / "logo.pdf");
}

} // namespace examples
