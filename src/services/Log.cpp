#include "services/Log.h"

#include "platform/Environment.h"

#include <cstdarg>
#include <cstdio>

namespace velorin {
namespace {

constexpr std::size_t kLineCapacity = 49152; // with the terminating zero

// Where lines go; null for nowhere. Opened once and kept for the life of the process.
std::FILE* OpenOutput() {
    const auto name = EnvironmentVariable("VELORIN_LOG");
    if (name && *name != "-") {
        std::FILE* file = std::fopen(name->c_str(), "a");
        if (file) std::setvbuf(file, nullptr, _IONBF, 0); // a line is one write, and survives a crash
        return file;
    }
#ifdef NDEBUG
    return name ? stderr : nullptr;
#else
    return stderr;
#endif
}

std::FILE* Output() {
    static std::FILE* const output = OpenOutput();
    return output;
}

void WriteLine(std::FILE* first, std::FILE* second, const char* format, std::va_list arguments) {
    char line[kLineCapacity + 1];
    const int length = std::vsnprintf(line, kLineCapacity, format, arguments);
    if (length < 0) return;
    std::size_t size = static_cast<std::size_t>(length);
    if (size > kLineCapacity - 1) size = kLineCapacity - 1;
    line[size++] = '\n';
    if (first) std::fwrite(line, 1, size, first);
    if (second && second != first) std::fwrite(line, 1, size, second);
}

} // namespace

void Log(const char* format, ...) {
    std::FILE* output = Output();
    if (!output) return;
    std::va_list arguments;
    va_start(arguments, format);
    WriteLine(output, nullptr, format, arguments);
    va_end(arguments);
}

void LogError(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    WriteLine(Output(), stderr, format, arguments);
    va_end(arguments);
}

} // namespace velorin
