#pragma once

#include <cstdint>
#include <string>

// Paths of 3D sequences: numbered model files, one a frame.
namespace velorin {

// A path split around its frame number: the digits at the end of the name before the extension.
struct SequenceName {
    bool valid = false;    // there are digits
    std::string prefix;    // all before the digits; the whole path when there are none
    std::string suffix;    // the extension with its dot
    std::size_t width = 0; // digits of the first file
    std::uint64_t firstNumber = 0;
};
[[nodiscard]] SequenceName ParseSequenceName(const std::string& path);

// The path of a frame counted from the first file: its number with zeros in front up to the first file's
// width. The path itself when it has no number.
[[nodiscard]] std::string SequenceFramePath(const std::string& path, std::uint32_t frame);

// How many files of the sequence there are in a row, from the first one on; the first counts unseen.
[[nodiscard]] std::uint32_t CountSequence(const std::string& path);

} // namespace velorin
