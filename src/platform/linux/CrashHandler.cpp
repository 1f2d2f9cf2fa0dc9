#include "platform/CrashHandler.h"

#include <execinfo.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <time.h>
#include <ucontext.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>

// What runs inside the signal handler uses only functions that signal-safety(7) lists, plus backtrace and
// backtrace_symbols_fd, which are safe once the unwinder is loaded (backtrace(3)). A hang of the unwinder,
// say when the crash came inside the dynamic loader, ends by the alarm.

namespace velorin {
namespace {

constexpr std::array<int, 5> kSignals{SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT};
constexpr unsigned kSecondsToHang = 8;
constexpr std::size_t kMaxNotes = 8;
constexpr std::size_t kAlternateStackSize = 128 * 1024;

// Text of a fixed capacity, always terminated; what does not fit is cut.
template <std::size_t N>
struct FixedText {
    std::array<char, N> chars{};
    std::size_t length = 0;

    void Clear() { length = 0, chars[0] = 0; }
    FixedText& Add(const char* text) {
        for (; *text && length + 1 < N; ++text) chars[length++] = *text;
        chars[length] = 0;
        return *this;
    }
    FixedText& Add(std::uint64_t number, int digits, unsigned base = 10) {
        std::array<char, 24> reversed{};
        std::size_t count = 0;
        do {
            reversed[count++] = "0123456789abcdef"[number % base];
            number /= base;
        } while (number != 0 && count < reversed.size());
        for (std::size_t i = count; i < static_cast<std::size_t>(digits); ++i) Add("0");
        while (count > 0 && length + 1 < N) chars[length++] = reversed[--count];
        chars[length] = 0;
        return *this;
    }
    void Set(const char* text) {
        Clear();
        Add(text);
    }
};

struct Note {
    FixedText<64> key;
    FixedText<256> value;
};

struct Settings {
    FixedText<512> folder, tag, title, message;
    long secondsEastOfUtc = 0;
};

Settings g_settings;
std::array<Note, kMaxNotes> g_notes;
std::atomic<std::size_t> g_noteCount{0};
std::array<struct sigaction, kSignals.size()> g_previous;
bool g_installed = false;
std::atomic<int> g_reportsRunning{0};
std::atomic<int> g_dyingSignal{0};
thread_local volatile sig_atomic_t t_reporting = 0;

void WriteText(int file, const char* text, std::size_t length) {
    while (length > 0) {
        const ssize_t written = write(file, text, length);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return;
        text += written;
        length -= static_cast<std::size_t>(written);
    }
}

template <std::size_t N>
void WriteText(int file, const FixedText<N>& text) {
    WriteText(file, text.chars.data(), text.length);
}

struct CivilTime {
    std::uint64_t year, month, day, hour, minute, second;
};

// localtime may take a lock. Days to date: H. Hinnant, "chrono-compatible low-level date algorithms",
// civil_from_days.
CivilTime LocalTimeNow(long secondsEastOfUtc) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    const auto seconds = static_cast<std::uint64_t>(now.tv_sec + secondsEastOfUtc);
    const std::uint64_t days = seconds / 86400 + 719468, rest = seconds % 86400;
    const std::uint64_t era = days / 146097, dayOfEra = days % 146097;
    const std::uint64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const std::uint64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const std::uint64_t shifted = (5 * dayOfYear + 2) / 153;
    const std::uint64_t month = shifted < 10 ? shifted + 3 : shifted - 9;
    return {yearOfEra + era * 400 + (month <= 2 ? 1 : 0),
            month,
            dayOfYear - (153 * shifted + 2) / 5 + 1,
            rest / 3600,
            rest / 60 % 60,
            rest % 60};
}

const char* SignalName(int signal) {
    switch (signal) {
    case SIGSEGV:
        return "SIGSEGV";
    case SIGBUS:
        return "SIGBUS";
    case SIGFPE:
        return "SIGFPE";
    case SIGILL:
        return "SIGILL";
    case SIGABRT:
        return "SIGABRT";
    default:
        return "none";
    }
}

void FillSettings(const CrashHandlerSettings& from, Settings& to) {
    to.folder.Set(from.folder);
    to.tag.Set(from.tag);
    to.title.Set(from.messageTitle);
    to.message.Set(from.messageStart);
    const time_t now = time(nullptr);
    tm parts{};
    localtime_r(&now, &parts);
    to.secondsEastOfUtc = parts.tm_gmtoff;
}

void WriteReportBody(int file, const Settings& settings, int signal, const siginfo_t* info) {
    FixedText<1024> text;
    text.Add(settings.tag.chars.data()).Add("\nsignal: ").Add(SignalName(signal));
    if (info && (signal == SIGSEGV || signal == SIGBUS || signal == SIGFPE || signal == SIGILL))
        text.Add(" at address 0x").Add(reinterpret_cast<std::uintptr_t>(info->si_addr), 1, 16);
    text.Add("\nprocess: ").Add(static_cast<std::uint64_t>(getpid()), 1);
    text.Add("\nthread: ").Add(static_cast<std::uint64_t>(syscall(SYS_gettid)), 1).Add("\n");
    WriteText(file, text);
    const std::size_t notes = g_noteCount.load(std::memory_order_acquire);
    for (std::size_t i = 0; i < notes; ++i) {
        text.Clear();
        text.Add(g_notes[i].key.chars.data()).Add(": ").Add(g_notes[i].value.chars.data()).Add("\n");
        WriteText(file, text);
    }
    // Written before the stack is walked: should that fail, the lines above stand in the file.
    text.Set("back-trace:\n");
    WriteText(file, text);
    std::array<void*, 128> frames{};
    const int count = backtrace(frames.data(), static_cast<int>(frames.size()));
    backtrace_symbols_fd(frames.data(), count, file);
}

// Async-signal-safe. True when the file was written.
bool WriteReport(const Settings& settings, int signal, const siginfo_t* info) {
    const CivilTime t = LocalTimeNow(settings.secondsEastOfUtc);
    FixedText<1024> path;
    path.Add(settings.folder.chars.data()).Add("/").Add(settings.tag.chars.data()).Add("-");
    path.Add(t.year, 4)
        .Add(t.month, 2)
        .Add(t.day, 2)
        .Add("-")
        .Add(t.hour, 2)
        .Add(t.minute, 2)
        .Add(t.second, 2);
    path.Add("-").Add(static_cast<std::uint64_t>(getpid()), 1);
    path.Add("-").Add(static_cast<std::uint64_t>(syscall(SYS_gettid)), 1).Add(".txt");

    mkdir(settings.folder.chars.data(), 0777);
    const int file = open(path.chars.data(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    WriteReportBody(file >= 0 ? file : STDERR_FILENO, settings, signal, info);
    if (file >= 0) close(file);

    FixedText<2048> message;
    message.Add(settings.title.chars.data()).Add(": ").Add(settings.message.chars.data());
    message.Add(path.chars.data()).Add("\n");
    WriteText(STDERR_FILENO, message);
    return file >= 0;
}

void SetDefaultAction(int signal) {
    struct sigaction action {};
    action.sa_handler = SIG_DFL;
    sigaction(signal, &action, nullptr);
}

// Ends the process by `signal`, in whatever state it is.
[[noreturn]] void Die(int signal) {
    SetDefaultAction(signal);
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, signal);
    pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
    raise(signal);
    _exit(128 + signal);
}

void OnAlarm(int) {
    Die(g_dyingSignal.load());
}

void ArmAlarm(int signal) {
    g_dyingSignal.store(signal);
    struct sigaction action {};
    action.sa_handler = OnAlarm;
    sigaction(SIGALRM, &action, nullptr);
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGALRM);
    pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
    alarm(kSecondsToHang);
}

void OnCrash(int signal, siginfo_t* info, void*) {
    // A crash while this thread reports one: the report ends here.
    if (t_reporting) Die(signal);
    t_reporting = 1;
    g_reportsRunning.fetch_add(1);
    ArmAlarm(signal);
    WriteReport(g_settings, signal, info);
    g_reportsRunning.fetch_sub(1);

    // Another thread that crashed at the same time finishes its own report first.
    const timespec pause{0, 10'000'000};
    for (int i = 0; i < 200 && g_reportsRunning.load() > 0; ++i) nanosleep(&pause, nullptr);

    // Whoever was there before us goes on: the instruction faults again under its handler, a sent signal is
    // sent again.
    for (std::size_t i = 0; i < kSignals.size(); ++i) sigaction(kSignals[i], &g_previous[i], nullptr);
    alarm(0);
    if (signal == SIGABRT || info->si_code <= 0) raise(signal);
}

// The stack that a thread's crashes run on, taken away when the thread ends.
struct AlternateStack {
    void* memory = MAP_FAILED;
    AlternateStack() {
        memory = mmap(nullptr, kAlternateStackSize, PROT_READ | PROT_WRITE,
                      MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0);
        if (memory == MAP_FAILED) return;
        stack_t stack{};
        stack.ss_sp = memory;
        stack.ss_size = kAlternateStackSize;
        sigaltstack(&stack, nullptr);
    }
    ~AlternateStack() {
        if (memory == MAP_FAILED) return;
        stack_t off{};
        off.ss_flags = SS_DISABLE;
        sigaltstack(&off, nullptr);
        munmap(memory, kAlternateStackSize);
    }
    AlternateStack(const AlternateStack&) = delete;
    AlternateStack& operator=(const AlternateStack&) = delete;
};

} // namespace

void PrepareThreadForCrashes() {
    stack_t present{};
    // A stack that somebody else gave this thread serves as well.
    if (sigaltstack(nullptr, &present) == 0 && !(present.ss_flags & SS_DISABLE)) return;
    thread_local const AlternateStack stack;
    (void)stack;
}

void InstallCrashHandler(const CrashHandlerSettings& settings) {
    FillSettings(settings, g_settings);
    // The first call loads the unwinder, which allocates.
    std::array<void*, 2> frames{};
    (void)backtrace(frames.data(), static_cast<int>(frames.size()));
    PrepareThreadForCrashes();
    if (g_installed) return;
    struct sigaction action {};
    action.sa_sigaction = OnCrash;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigemptyset(&action.sa_mask);
    for (std::size_t i = 0; i < kSignals.size(); ++i) sigaction(kSignals[i], &action, &g_previous[i]);
    g_installed = true;
}

void RemoveCrashHandler() {
    if (!g_installed) return;
    for (std::size_t i = 0; i < kSignals.size(); ++i) {
        struct sigaction present {};
        sigaction(kSignals[i], nullptr, &present);
        // Someone who came after us and chains to us keeps its place.
        if (present.sa_sigaction == OnCrash) sigaction(kSignals[i], &g_previous[i], nullptr);
    }
    g_installed = false;
}

void SetCrashNote(const char* key, const char* value) {
    const std::size_t count = g_noteCount.load();
    std::size_t i = 0;
    while (i < count && std::strncmp(g_notes[i].key.chars.data(), key, 63) != 0) ++i;
    if (i == kMaxNotes) return;
    g_notes[i].key.Set(key);
    g_notes[i].value.Set(value);
    if (i == count) g_noteCount.store(count + 1, std::memory_order_release);
}

bool WriteCrashReportNow(const CrashHandlerSettings& from) {
    Settings settings;
    FillSettings(from, settings);
    return WriteReport(settings, 0, nullptr);
}

} // namespace velorin
