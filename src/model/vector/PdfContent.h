#pragma once

#include "model/vector/PdfFont.h"
#include "model/vector/PdfParser.h"

#include <array>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace velorin {

// Runs content streams and gathers what they paint as contours in page coordinates. Clips, colours and
// patterns have no meaning for a solid and are passed over.
class PdfContent {
public:
    explicit PdfContent(PdfParser& parser) : parser_(parser) {}

    // Runs a stream's operators with the resources they name. A glyph or font that cannot be read is passed
    // over with a log line; a stream that paints beyond all measure ends in PdfError.
    void Run(std::string_view content, const PdfDictionary* resources);
    [[nodiscard]] PdfContours TakePaths() { return std::move(painted_); }

private:
    // Row vectors: x' = a x + c y + e, y' = b x + d y + f.
    struct Affine {
        double a = 1, b = 0, c = 0, d = 1, e = 0, f = 0;
        [[nodiscard]] Affine then(const Affine& o) const {
            return {a * o.a + b * o.c, a * o.b + b * o.d,       c * o.a + d * o.c,
                    c * o.b + d * o.d, e * o.a + f * o.c + o.e, e * o.b + f * o.d + o.f};
        }
        [[nodiscard]] Point2 point(double x, double y) const {
            return {static_cast<float>(a * x + c * y + e), static_cast<float>(b * x + d * y + f)};
        }
        [[nodiscard]] Point2 vector(double x, double y) const {
            return {static_cast<float>(a * x + c * y), static_cast<float>(b * x + d * y)};
        }
    };
    struct TextState {
        double characterSpacing = 0, wordSpacing = 0, horizontalScale = 1, leading = 0, size = 0, rise = 0;
        int mode = 0;
        PdfFont* font = nullptr;
    };
    struct State {
        Affine matrix;
        TextState text;
    };

    bool RunOperator(const std::string& name, PdfLexer& lexer);
    bool RunPathOperator(const std::string& name);
    bool RunTextOperator(const std::string& name);
    bool RunTextStateOperator(const std::string& name);
    void MoveTo(double x, double y);
    void LineTo(double x, double y);
    void CurveTo(double x1, double y1, double x2, double y2, double x3, double y3);
    void Paint(bool keep);
    void FinishContour();
    void ShowText(const std::string& text);
    void ShowGlyph(std::uint32_t code, const Affine& toPage);
    void Advance(double distance);
    void MoveLine(double x, double y);
    void SelectFont(const std::string& name, double size);
    void RunForm(const std::string& name);
    void RunStream(const PdfStream& stream, const PdfDictionary* resources);
    void SkipInlineImage(PdfLexer& lexer, std::string_view content);
    void CountPoints(std::size_t more);
    void CountOperator();
    [[nodiscard]] const std::string& Decoded(const PdfStream& stream);

    [[nodiscard]] double operand(std::size_t fromEnd) const; // 0 is the last
    [[nodiscard]] std::string nameOperand() const;

    PdfParser& parser_;
    const PdfDictionary* resources_ = nullptr;
    std::string_view content_;
    std::vector<const PdfObject*> operands_;
    State state_;
    std::vector<State> stack_;
    Affine textMatrix_, lineMatrix_;
    Point2 currentUser_;         // in user space, for the curve that begins at the current point
    PdfContours path_, painted_; // page coordinates
    bool open_ = false;          // path_.back() still grows
    std::unordered_map<const PdfDictionary*, std::unique_ptr<PdfFont>> fonts_;
    int depth_ = 0;
    std::vector<const PdfStream*> running_; // forms and glyphs, the innermost last
    std::unordered_map<const PdfStream*, std::string> decoded_;
    std::size_t stackBase_ = 0; // states below belong to the stream that runs this one
    std::size_t points_ = 0, operators_ = 0, contentRead_ = 0;
};

} // namespace velorin
