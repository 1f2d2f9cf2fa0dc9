#include "model/vector/PdfContent.h"

#include "services/Log.h"

#include <algorithm>
#include <cmath>

namespace velorin {

namespace {

constexpr int kDeepestForm = 16;
constexpr std::size_t kMostStates = 4096;         // saved by q
constexpr std::size_t kMostOperands = 65536;      // before one operator
constexpr std::size_t kMostOperators = 4'000'000; // of a page with all its forms
constexpr std::size_t kMostPoints = 2'000'000;    // more than a solid can be made of
constexpr std::size_t kMostContent = 1u << 30;    // bytes of streams, each as often as it runs
constexpr std::size_t kMostFonts = 1024;

} // namespace

double PdfContent::operand(std::size_t fromEnd) const {
    if (fromEnd >= operands_.size()) return 0;
    const auto* number = As<PdfNumber>(operands_[operands_.size() - 1 - fromEnd]);
    return number ? number->value : 0;
}

std::string PdfContent::nameOperand() const {
    for (const PdfObject* object : operands_)
        if (const auto* name = As<PdfName>(object)) return name->name;
    return {};
}

void PdfContent::CountPoints(std::size_t more) {
    points_ += more;
    if (points_ > kMostPoints) throw PdfError("The page paints too many points.");
}

void PdfContent::CountOperator() {
    if (++operators_ > kMostOperators) throw PdfError("The page runs too many operators.");
}

void PdfContent::Run(std::string_view content, const PdfDictionary* resources) {
    if (depth_ >= kDeepestForm) return;
    ++depth_;
    const PdfDictionary* outerResources = std::exchange(resources_, resources ? resources : resources_);
    const std::string_view outerContent = std::exchange(content_, content);
    const auto outerOperands = std::exchange(operands_, {});
    const std::size_t outerStack = std::exchange(stackBase_, stack_.size());
    contentRead_ += content.size();
    if (contentRead_ > kMostContent) throw PdfError("The page runs too many operators.");
    // The objects of its operands live as long as an operator runs.
    PdfPool pool;
    PdfLexer lexer(content, 0, pool);
    std::string word;
    while (!lexer.atEnd()) {
        if (const PdfObject* object = lexer.object(word, false)) {
            if (operands_.size() < kMostOperands) operands_.push_back(object);
            continue;
        }
        CountOperator();
        RunOperator(word, lexer);
        operands_.clear();
        pool.clear();
    }
    if (stack_.size() > stackBase_) {
        state_ = stack_[stackBase_];
        stack_.resize(stackBase_);
    }
    stackBase_ = outerStack;
    resources_ = outerResources;
    content_ = outerContent;
    operands_ = outerOperands;
    --depth_;
}

bool PdfContent::RunOperator(const std::string& name, PdfLexer& lexer) {
    if (RunPathOperator(name) || RunTextOperator(name) || RunTextStateOperator(name)) return true;
    if (name == "q") {
        if (stack_.size() < kMostStates) stack_.push_back(state_);
    } else if (name == "Q") {
        if (stack_.size() > stackBase_) { // a form gives back only what it saved itself
            state_ = stack_.back();
            stack_.pop_back();
        }
    } else if (name == "cm") {
        state_.matrix = Affine{operand(5), operand(4), operand(3), operand(2), operand(1), operand(0)}.then(
            state_.matrix);
    } else if (name == "Do") {
        RunForm(nameOperand());
    } else if (name == "BI") {
        SkipInlineImage(lexer, content_);
    } else {
        return false;
    }
    return true;
}

bool PdfContent::RunPathOperator(const std::string& name) {
    const auto closed = [&] {
        FinishContour();
        return true;
    };
    if (name == "m") {
        MoveTo(operand(1), operand(0));
    } else if (name == "l") {
        LineTo(operand(1), operand(0));
    } else if (name == "c") {
        CurveTo(operand(5), operand(4), operand(3), operand(2), operand(1), operand(0));
    } else if (name == "v") {
        CurveTo(static_cast<double>(currentUser_.x), static_cast<double>(currentUser_.y), operand(3),
                operand(2), operand(1), operand(0));
    } else if (name == "y") {
        CurveTo(operand(3), operand(2), operand(1), operand(0), operand(1), operand(0));
    } else if (name == "re") {
        const double x = operand(3), y = operand(2), w = operand(1), h = operand(0);
        MoveTo(x, y);
        LineTo(x + w, y);
        LineTo(x + w, y + h);
        LineTo(x, y + h);
        return closed();
    } else if (name == "h") {
        return closed();
    } else if (name == "f" || name == "F" || name == "f*" || name == "B" || name == "B*" || name == "b" ||
               name == "b*" || name == "S" || name == "s") {
        Paint(true);
    } else if (name == "n") {
        Paint(false);
    } else {
        return false;
    }
    return true;
}

void PdfContent::MoveTo(double x, double y) {
    FinishContour();
    CountPoints(1);
    path_.push_back({{state_.matrix.point(x, y), {}, {}}});
    currentUser_ = {static_cast<float>(x), static_cast<float>(y)};
    open_ = true;
}

void PdfContent::LineTo(double x, double y) {
    if (path_.empty()) return MoveTo(x, y);
    if (!open_) { // goes on from the start of the contour that was closed
        path_.push_back({{path_.back().front().position, {}, {}}});
        open_ = true;
    }
    CountPoints(1);
    path_.back().push_back({state_.matrix.point(x, y), {}, {}});
    currentUser_ = {static_cast<float>(x), static_cast<float>(y)};
}

void PdfContent::CurveTo(double x1, double y1, double x2, double y2, double x3, double y3) {
    LineTo(x3, y3);
    auto& contour = path_.back();
    if (contour.size() < 2) return;
    PathPoint &from = contour[contour.size() - 2], &to = contour.back();
    from.tangentOut = state_.matrix.point(x1, y1) - from.position;
    to.tangentIn = state_.matrix.point(x2, y2) - to.position;
}

// Ends the growing contour: one point alone is nothing, and an end that lies on the start is the start.
void PdfContent::FinishContour() {
    if (open_ && !path_.empty()) {
        auto& contour = path_.back();
        if (contour.size() > 1 && contour.back().position == contour.front().position) {
            contour.front().tangentIn = contour.back().tangentIn;
            contour.pop_back();
        }
        if (contour.size() < 2) path_.pop_back();
    }
    open_ = false;
}

void PdfContent::Paint(bool keep) {
    FinishContour();
    if (keep) std::move(path_.begin(), path_.end(), std::back_inserter(painted_));
    path_.clear();
}

bool PdfContent::RunTextStateOperator(const std::string& name) {
    TextState& text = state_.text;
    if (name == "Tc")
        text.characterSpacing = operand(0);
    else if (name == "Tw")
        text.wordSpacing = operand(0);
    else if (name == "Tz")
        text.horizontalScale = operand(0) / 100;
    else if (name == "TL")
        text.leading = operand(0);
    else if (name == "Tr")
        text.mode = static_cast<int>(std::clamp(operand(0), 0.0, 7.0));
    else if (name == "Ts")
        text.rise = operand(0);
    else if (name == "Tf")
        SelectFont(nameOperand(), operand(0));
    else
        return false;
    return true;
}

bool PdfContent::RunTextOperator(const std::string& name) {
    const auto string = [&] {
        const auto* value = operands_.empty() ? nullptr : As<PdfString>(operands_.back());
        return value ? value->bytes : std::string();
    };
    if (name == "BT") {
        textMatrix_ = lineMatrix_ = {};
    } else if (name == "Td") {
        MoveLine(operand(1), operand(0));
    } else if (name == "TD") {
        state_.text.leading = -operand(0);
        MoveLine(operand(1), operand(0));
    } else if (name == "Tm") {
        textMatrix_ = lineMatrix_ = {operand(5), operand(4), operand(3), operand(2), operand(1), operand(0)};
    } else if (name == "T*") {
        MoveLine(0, -state_.text.leading);
    } else if (name == "Tj") {
        ShowText(string());
    } else if (name == "'") {
        MoveLine(0, -state_.text.leading);
        ShowText(string());
    } else if (name == "\"") {
        state_.text.wordSpacing = operand(2);
        state_.text.characterSpacing = operand(1);
        MoveLine(0, -state_.text.leading);
        ShowText(string());
    } else if (name == "TJ") {
        const auto* array = operands_.empty() ? nullptr : As<PdfArray>(operands_.back());
        for (const PdfObject* item : array ? array->items : std::vector<const PdfObject*>{}) {
            if (const auto* part = As<PdfString>(item)) ShowText(part->bytes);
            if (const auto* shift = As<PdfNumber>(item)) Advance(-shift->value / 1000 * state_.text.size);
        }
    } else {
        return name == "ET";
    }
    return true;
}

void PdfContent::MoveLine(double x, double y) {
    textMatrix_ = lineMatrix_ = Affine{1, 0, 0, 1, x, y}.then(lineMatrix_);
}

// Moves the place of the next glyph along the line.
void PdfContent::Advance(double distance) {
    const bool down = state_.text.font && state_.text.font->isVertical();
    const double x = down ? 0 : distance * state_.text.horizontalScale, y = down ? distance : 0;
    textMatrix_ = Affine{1, 0, 0, 1, x, y}.then(textMatrix_);
}

void PdfContent::SelectFont(const std::string& name, double size) {
    state_.text.size = size;
    state_.text.font = nullptr;
    const auto* fonts = parser_.Get<PdfDictionary>(resources_, "Font");
    const auto* dictionary = parser_.Get<PdfDictionary>(fonts, name);
    if (!dictionary) return;
    auto [known, fresh] = fonts_.try_emplace(dictionary);
    if (fonts_.size() > kMostFonts) throw PdfError("The page uses too many fonts.");
    if (fresh) {
        try {
            known->second = std::make_unique<PdfFont>(parser_, dictionary);
        } catch (const PdfError& error) { // the page's other paths are still of use
            Log("Font %s of a vector file: %s", name.c_str(), error.what());
        }
    }
    state_.text.font = known->second.get();
}

void PdfContent::ShowText(const std::string& bytes) {
    const TextState text = state_.text;
    if (!text.font) return;
    std::string_view rest = bytes;
    while (!rest.empty()) {
        CountOperator();
        const PdfFont::Code code = text.font->Next(rest);
        const bool down = text.font->isVertical();
        const PdfFont::Vertical vertical =
            down ? text.font->VerticalMetrics(code.value) : PdfFont::Vertical{};
        if (text.mode != 3 && text.mode != 7) {
            const Affine glyph{text.size * text.horizontalScale, 0, 0, text.size, 0, text.rise};
            const Affine origin{1, 0, 0, 1, down ? -vertical.originX : 0, down ? -vertical.originY : 0};
            ShowGlyph(code.value, origin.then(glyph).then(textMatrix_).then(state_.matrix));
        }
        const double spacing = text.characterSpacing + (code.isBlank ? text.wordSpacing : 0);
        Advance((down ? vertical.advance : text.font->Width(code.value)) * text.size + spacing);
    }
}

void PdfContent::ShowGlyph(std::uint32_t code, const Affine& toPage) {
    PdfFont& font = *state_.text.font;
    if (font.isType3()) {
        const PdfStream* procedure = font.Procedure(code);
        const auto* matrix = parser_.Get<PdfArray>(font.dictionary(), "FontMatrix");
        if (!procedure || !matrix || matrix->items.size() < 6) return;
        double m[6];
        for (std::size_t k = 0; k < 6; ++k) m[k] = parser_.Number(matrix->items[k], 0);
        const State outer = state_;
        const Affine outerText = textMatrix_, outerLine = lineMatrix_;
        state_.matrix = Affine{m[0], m[1], m[2], m[3], m[4], m[5]}.then(toPage);
        RunStream(*procedure, parser_.Get<PdfDictionary>(font.dictionary(), "Resources"));
        state_ = outer;
        textMatrix_ = outerText, lineMatrix_ = outerLine;
        return;
    }
    try {
        for (const auto& contour : font.Outline(code)) {
            if (contour.size() < 2) continue;
            CountPoints(contour.size());
            auto& placed = painted_.emplace_back();
            placed.reserve(contour.size());
            const auto wide = [](float v) { return static_cast<double>(v); };
            for (const PathPoint& p : contour)
                placed.push_back({toPage.point(wide(p.position.x), wide(p.position.y)),
                                  toPage.vector(wide(p.tangentIn.x), wide(p.tangentIn.y)),
                                  toPage.vector(wide(p.tangentOut.x), wide(p.tangentOut.y))});
        }
    } catch (const PdfError& error) {
        if (points_ > kMostPoints) throw;
        Log("Glyph %u of a vector file: %s", code, error.what());
    }
}

// What draws itself, also by way of others, stops where it would begin anew: no picture comes of it, and its
// work would grow with every level.
void PdfContent::RunStream(const PdfStream& stream, const PdfDictionary* resources) {
    if (std::find(running_.begin(), running_.end(), &stream) != running_.end()) return;
    running_.push_back(&stream);
    Run(Decoded(stream), resources);
    running_.pop_back();
}

// Forms are drawn again and again: each is unpacked once.
const std::string& PdfContent::Decoded(const PdfStream& stream) {
    const auto [known, fresh] = decoded_.try_emplace(&stream);
    if (fresh) known->second = parser_.Decode(stream);
    return known->second;
}

void PdfContent::RunForm(const std::string& name) {
    const auto* objects = parser_.Get<PdfDictionary>(resources_, "XObject");
    const auto* form = parser_.Get<PdfStream>(objects, name);
    if (!form || parser_.Name(form->dictionary, "Subtype") != "Form") return;
    const State outer = state_;
    const Affine outerText = textMatrix_, outerLine = lineMatrix_;
    if (const auto* matrix = parser_.Get<PdfArray>(form->dictionary, "Matrix");
        matrix && matrix->items.size() >= 6) {
        double m[6];
        for (std::size_t k = 0; k < 6; ++k) m[k] = parser_.Number(matrix->items[k], 0);
        state_.matrix = Affine{m[0], m[1], m[2], m[3], m[4], m[5]}.then(state_.matrix);
    }
    RunStream(*form, parser_.Get<PdfDictionary>(form->dictionary, "Resources"));
    state_ = outer;
    textMatrix_ = outerText, lineMatrix_ = outerLine;
}

// The picture's bytes end at "EI" between blanks.
void PdfContent::SkipInlineImage(PdfLexer& lexer, std::string_view content) {
    std::size_t at = content.find("ID", lexer.position());
    while (at != std::string_view::npos) {
        at = content.find("EI", at + 2);
        if (at == std::string_view::npos) break;
        const bool before = IsPdfBlank(content[at - 1]);
        const bool after = at + 2 >= content.size() || IsPdfBlank(content[at + 2]);
        if (before && after) {
            lexer.seek(at + 2);
            return;
        }
    }
    lexer.seek(content.size());
}

} // namespace velorin
