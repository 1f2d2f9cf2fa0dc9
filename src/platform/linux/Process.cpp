#include "platform/Process.h"

#include <dlfcn.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace velorin {
namespace {

constexpr std::uint64_t kUnlimited = ~std::uint64_t{0};

// The number behind `label` in a small file, or the first one with an empty label; kUnlimited when there is
// none.
std::uint64_t ReadNumber(const char* path, const char* label) {
    std::FILE* const file = std::fopen(path, "re");
    if (!file) return kUnlimited;
    char text[4096];
    const std::size_t length = std::fread(text, 1, sizeof text - 1, file);
    std::fclose(file);
    text[length] = 0;
    const char* const found = std::strstr(text, label);
    unsigned long long number = 0;
    if (!found || std::sscanf(found + std::strlen(label), "%llu", &number) != 1) return kUnlimited;
    return number;
}

} // namespace

long CurrentProcessId() {
    return getpid();
}
long CurrentThreadId() {
    return syscall(SYS_gettid);
}

std::uint64_t PeakMemory() {
    rusage usage{};
    if (getrusage(RUSAGE_SELF, &usage) != 0) return 0;
    return static_cast<std::uint64_t>(usage.ru_maxrss) * 1024;
}

std::uint64_t AvailableMemory() {
    const std::uint64_t kilobytes = ReadNumber("/proc/meminfo", "MemAvailable:");
    std::uint64_t available = kilobytes == kUnlimited ? kUnlimited : kilobytes * 1024;
    const std::uint64_t limit = ReadNumber("/sys/fs/cgroup/memory.max", "");
    const std::uint64_t used = ReadNumber("/sys/fs/cgroup/memory.current", "");
    if (limit != kUnlimited && used != kUnlimited)
        available = std::min(available, limit > used ? limit - used : 0);
    return available;
}

std::string ExecutablePath() {
    char path[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
    return length > 0 ? std::string(path, static_cast<std::size_t>(length)) : std::string();
}

std::string ModulePath() {
    Dl_info info{};
    if (!dladdr(reinterpret_cast<const void*>(&ModulePath), &info) || !info.dli_fname)
        return ExecutablePath();
    char* absolute = realpath(info.dli_fname, nullptr);
    if (!absolute) return ExecutablePath(); // a program names itself as it was called
    std::string path = absolute;
    std::free(absolute);
    return path;
}

bool StderrIsTerminal() {
    return isatty(STDERR_FILENO) == 1;
}

} // namespace velorin
