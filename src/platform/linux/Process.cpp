#include "platform/Process.h"

#include <dlfcn.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>

namespace velorin {

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
