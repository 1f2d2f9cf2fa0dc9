#pragma once

#include "services/SafeFile.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace velorin {

// Text into a SafeFile through a buffer of fixed size: memory stays flat however long the file gets.
class TextWriter {
public:
    explicit TextWriter(const std::string& path);

    void Text(std::string_view text);
    // As "%f" of printf writes it in the C locale.
    void Float(float value);
    // As "%d" does.
    void Number(std::uint64_t value);

    [[nodiscard]] bool ok() const { return file_.ok(); }
    // Writes what is left, but does not put the file in its place yet. On failure as Commit.
    [[nodiscard]] bool Complete(std::string& error);
    // Writes what is left and puts the file in its place. On failure `error` is one sentence, and no file is
    // left.
    [[nodiscard]] bool Commit(std::string& error);

private:
    char* Room(std::size_t size); // at least `size` characters at the end of the buffer
    void Flush();

    SafeFile file_;
    std::vector<char> buffer_;
    std::size_t used_ = 0;
};

} // namespace velorin
