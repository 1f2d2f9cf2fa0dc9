#include "app/command/Table.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>
#include <vector>

namespace velorin::app {

namespace {

using nlohmann::ordered_json;

std::string CellText(const ordered_json& value) {
    if (value.is_string()) return value.get<std::string>();
    if (value.is_boolean()) return value.get<bool>() ? "yes" : "no";
    if (value.is_null()) return "";
    if (value.is_number_float()) {
        std::array<char, 32> text{};
        std::snprintf(text.data(), text.size(), "%.6g", value.get<double>());
        return text.data();
    }
    if (value.is_array()) {
        std::string text;
        for (const auto& item : value) text += (text.empty() ? "" : " ") + CellText(item);
        return text;
    }
    return value.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
}

std::size_t Characters(const std::string& text) {
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

bool IsListOfObjects(const ordered_json& json) {
    return json.is_array() && !json.empty() &&
           std::all_of(json.begin(), json.end(), [](const auto& row) { return row.is_object(); });
}

bool IsNested(const ordered_json& value) {
    return value.is_object() || IsListOfObjects(value);
}

// Rows of plain values; what holds more reads better as blocks below each other.
bool IsTable(const ordered_json& json) {
    return IsListOfObjects(json) && std::all_of(json.begin(), json.end(), [](const auto& row) {
               return std::none_of(row.begin(), row.end(), IsNested);
           });
}

std::string Columns(const ordered_json& rows) {
    std::vector<std::string> keys;
    for (const auto& row : rows)
        for (const auto& [key, value] : row.items())
            if (std::find(keys.begin(), keys.end(), key) == keys.end()) keys.push_back(key);
    std::vector<std::vector<std::string>> lines{keys};
    for (const auto& row : rows) {
        std::vector<std::string>& line = lines.emplace_back();
        for (const std::string& key : keys) line.push_back(row.contains(key) ? CellText(row[key]) : "");
    }
    std::vector<std::size_t> widths(keys.size());
    for (const auto& line : lines)
        for (std::size_t i = 0; i < line.size(); ++i) widths[i] = std::max(widths[i], Characters(line[i]));
    std::string text;
    for (const auto& line : lines) {
        std::string shown;
        for (std::size_t i = 0; i < line.size(); ++i)
            shown += line[i] + std::string(widths[i] - Characters(line[i]) + 2, ' ');
        shown.erase(shown.find_last_not_of(' ') + 1);
        text += shown + '\n';
    }
    return text;
}

std::string Indented(const std::string& text) {
    std::string result;
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t end = std::min(text.find('\n', i), text.size() - 1) + 1;
        if (text[i] != '\n') result += "  ";
        result.append(text, i, end - i);
        i = end;
    }
    return result;
}

std::string Blocks(const ordered_json& rows) {
    std::string text;
    for (std::size_t i = 0; i < rows.size(); ++i)
        text += (i > 0 ? "\n[" : "[") + std::to_string(i) + "]\n" + Indented(TableText(rows[i]));
    return text;
}

} // namespace

std::string TableText(const ordered_json& json) {
    if (IsTable(json)) return Columns(json);
    if (IsListOfObjects(json)) return Blocks(json);
    if (!json.is_object()) return CellText(json) + '\n';
    std::string text, below;
    for (const auto& [key, value] : json.items()) {
        if (IsNested(value))
            below += '\n' + key + ":\n" + Indented(TableText(value));
        else
            text += key + ": " + CellText(value) + '\n';
    }
    return text.empty() && !below.empty() ? below.substr(1) : text + below;
}

} // namespace velorin::app
