#pragma once

#include <cstdint>

// One row of the effect's parameter table as it is written down in the blocks (Param*Rows.h), and the
// functions that the blocks are written with. Disk ids are fixed for all time: projects store values by them.
namespace velorin {

enum class RowKind : std::uint8_t {
    Float,
    Popup,
    Point,
    Angle,
    Check,
    Color,
    Layer,
    Group,
    End,
    Control,
    Arbitrary
};

struct Row {
    std::uint32_t id =
        0; // disk id, or offset from the base of the group or channel that the block repeats for
    RowKind kind = RowKind::End;
    const char* name = "";
    float minimum = 0, maximum = 0; // of a float
    float value = 0;            // default of a float, check (0, 1) or popup (1-based); x percent of a point
    float valueY = 0;           // y percent of a point
    float sliderFactor = 1;     // share of the valid range that the slider spans
    std::uint8_t precision = 0; // decimals shown
    std::uint8_t red = 0, green = 0, blue = 0;
    std::uint16_t width = 0;  // of a control, pixels
    bool percent = false;     // shown with a percent sign
    bool labelled = false;    // the name stands beside the box too
    bool collapsed = false;   // a group that starts folded
    bool supervised = false;  // changes are reported to the plug-in
    const char* choices = ""; // of a popup, parted by '|'

    // The slider spans the range times the factor; a lower end at or above zero is not scaled.
    [[nodiscard]] constexpr float sliderMinimum() const {
        return minimum >= 0 ? minimum : minimum * sliderFactor;
    }
    [[nodiscard]] constexpr float sliderMaximum() const { return maximum * sliderFactor; }
    [[nodiscard]] constexpr int choiceCount() const {
        int count = 1;
        for (const char* c = choices; *c; ++c) count += *c == '|';
        return count;
    }
};

namespace rows {

constexpr Row Float(std::uint32_t id, const char* name, float minimum, float maximum, float value,
                    std::uint8_t precision, float sliderFactor) {
    Row row;
    row.id = id, row.kind = RowKind::Float, row.name = name;
    row.minimum = minimum, row.maximum = maximum, row.value = value;
    row.precision = precision, row.sliderFactor = sliderFactor;
    return row;
}
constexpr Row Percent(std::uint32_t id, const char* name, float minimum, float maximum, float value,
                      std::uint8_t precision, float sliderFactor) {
    Row row = Float(id, name, minimum, maximum, value, precision, sliderFactor);
    row.percent = true;
    return row;
}
constexpr Row Popup(std::uint32_t id, const char* name, const char* choices, int value) {
    Row row;
    row.id = id, row.kind = RowKind::Popup, row.name = name, row.choices = choices;
    row.value = static_cast<float>(value);
    return row;
}
constexpr Row SupervisedPopup(std::uint32_t id, const char* name, const char* choices, int value) {
    Row row = Popup(id, name, choices, value);
    row.supervised = true;
    return row;
}
// Default in percent of the layer.
constexpr Row PointXY(std::uint32_t id, const char* name, float x, float y) {
    Row row;
    row.id = id, row.kind = RowKind::Point, row.name = name, row.value = x, row.valueY = y;
    return row;
}
constexpr Row Angle(std::uint32_t id, const char* name) {
    Row row;
    row.id = id, row.kind = RowKind::Angle, row.name = name;
    return row;
}
constexpr Row Check(std::uint32_t id, const char* name, bool value) {
    Row row;
    row.id = id, row.kind = RowKind::Check, row.name = name, row.value = value ? 1.0f : 0.0f;
    return row;
}
constexpr Row LabelledCheck(std::uint32_t id, const char* name, bool value) {
    Row row = Check(id, name, value);
    row.labelled = true;
    return row;
}
constexpr Row Color(std::uint32_t id, const char* name, std::uint8_t red, std::uint8_t green,
                    std::uint8_t blue) {
    Row row;
    row.id = id, row.kind = RowKind::Color, row.name = name;
    row.red = red, row.green = green, row.blue = blue;
    return row;
}
constexpr Row Layer(std::uint32_t id, const char* name) {
    Row row;
    row.id = id, row.kind = RowKind::Layer, row.name = name;
    return row;
}
constexpr Row OpenGroup(std::uint32_t id, const char* name) {
    Row row;
    row.id = id, row.kind = RowKind::Group, row.name = name;
    return row;
}
constexpr Row Group(std::uint32_t id, const char* name) {
    Row row = OpenGroup(id, name);
    row.collapsed = true;
    return row;
}
constexpr Row End(std::uint32_t id) {
    Row row;
    row.id = id;
    return row;
}
constexpr Row Control(std::uint32_t id, const char* name, std::uint16_t width) {
    Row row;
    row.id = id, row.kind = RowKind::Control, row.name = name, row.width = width;
    return row;
}
constexpr Row Arbitrary(std::uint32_t id, const char* name) {
    Row row;
    row.id = id, row.kind = RowKind::Arbitrary, row.name = name;
    return row;
}

} // namespace rows
} // namespace velorin
