#pragma once

#include "model/obj/ByteMasks.h"
#include "model/obj/NumberScan.h"

namespace velorin::obj {

// Walks over the numbers of a line in their usual form, fast: the places of all characters that are no digits
// come from one mask of 64 characters, so that finding a number's end does not wait for the number before it.
// Reads up to 64 bytes behind the place it stands at. What it refuses is for ScanInt and ScanFloat to judge.
class DigitRuns {
public:
    explicit DigitRuns(const char* p) : base_(p), p_(p), others_(~Digits64(p)) {}

    [[nodiscard]] const char* place() const { return p_; }
    [[nodiscard]] char next() const { return *p_; }
    // Steps over one character that is no digit.
    void Step() {
        ++p_;
        others_ &= others_ - 1;
    }
    // Makes sure that the next 28 characters lie within the mask: a corner of a face.
    void Rebase() {
        if (p_ - base_ <= 36) return;
        base_ = p_;
        others_ = ~Digits64(p_);
    }
    // Reads an index of one to seven digits with or without "-" and stands behind it; false for anything
    // else.
    [[nodiscard]] bool Index(std::int32_t& index, bool& negative) {
        int count = DigitCount();
        bool minus = false;
        if (count == 0 && *p_ == '-') {
            negative = minus = true;
            Step();
            count = DigitCount();
        }
        if (count < 1 || count > 7) return false;
        const auto value = static_cast<std::int32_t>(detail::EightDigitsValue(Load(p_) << (64 - 8 * count)));
        index = minus ? -value : value;
        p_ += count;
        return true;
    }
    // Reads a number of one to seven digits, with or without "-", a point and up to eight digits more, and
    // stands behind it; false for anything else. The same result as ScanFloat.
    [[nodiscard]] bool Float(float& result) {
        const bool minus = StepOverMinus();
        const int whole = DigitCount();
        if (whole < 1 || whole > 7) return false;
        double value = 0;
        if (p_[whole] == '.') {
            const char* const start = p_;
            p_ += whole;
            Step();
            const int fraction = DigitCount();
            if (fraction < 0 || fraction > 8) return false; // below 0: behind the mask
            p_ += fraction;
            const std::uint64_t mantissa =
                whole + fraction < 8 ? ValueAroundPoint(start, whole, fraction)
                                     : Value(start, whole) * kTens[fraction] + Value(p_ - fraction, fraction);
            value = static_cast<double>(static_cast<std::int64_t>(mantissa)) / kPowersOfTen[fraction];
        } else {
            value = static_cast<double>(Value(p_, whole));
            p_ += whole;
        }
        if (!IsBlank(*p_) && !IsLineEnd(*p_)) return false;
        result = std::bit_cast<float>(std::bit_cast<std::uint32_t>(static_cast<float>(value)) |
                                      static_cast<std::uint32_t>(minus) << 31);
        return true;
    }

private:
    // Without a branch: signs follow no pattern.
    bool StepOverMinus() {
        const bool minus = *p_ == '-';
        p_ += minus;
        others_ &= others_ - minus;
        return minus;
    }
    // When the mask does not hold the end, what lies between here and the mask's own end: negative behind it.
    [[nodiscard]] int DigitCount() const { return std::countr_zero(others_) - static_cast<int>(p_ - base_); }
    static constexpr auto& kTens = detail::kIntegerPowersOfTen;
    static std::uint64_t Load(const char* p) {
        std::uint64_t text;
        std::memcpy(&text, p, 8);
        return text ^ detail::kZeros;
    }
    // Of at most 8 digits.
    static std::uint64_t Value(const char* p, int count) {
        return count == 0 ? 0 : detail::EightDigitsValue(Load(p) << (64 - 8 * count));
    }
    // Of at most 7 digits with a point behind the first `whole`: the digits before the point move over it.
    static std::uint64_t ValueAroundPoint(const char* p, int whole, int fraction) {
        const std::uint64_t text = Load(p);
        const std::uint64_t before = text & ((1ull << 8 * whole) - 1);
        const std::uint64_t behind = text >> 8 * whole >> 8 << 8 * whole << 8;
        return detail::EightDigitsValue((before << 8 | behind) << (56 - 8 * (whole + fraction)));
    }

    const char* base_;
    const char* p_;
    std::uint64_t others_; // characters from base_ on that are no digits; those before p_ are gone
};

} // namespace velorin::obj
