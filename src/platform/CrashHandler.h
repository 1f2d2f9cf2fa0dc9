#pragma once

namespace velorin {

// What the crash handler needs, copied at installation into memory of its own so that it allocates nothing
// later. Strings are UTF-8 and cut at 511 bytes.
struct CrashHandlerSettings {
    const char* folder = ""; // for the report files; must exist when a crash comes, or no file is written
    const char* tag = "";    // first part of the file's name
    const char* messageTitle = ""; // of the message to the user
    const char* messageStart = ""; // the file's path follows
};

// Catches SIGSEGV, SIGBUS, SIGFPE, SIGILL and SIGABRT. A crash writes a report and shows the message, once a
// thread, then hands the signal to the handler that was there before, or to the system's default action,
// which ends the process. It ends within ten seconds, whatever state the process is in. Installing twice
// replaces the settings.
//
// For a process that is ours (the `velorin` command, a render process). Inside a host's process nothing
// installs it.
void InstallCrashHandler(const CrashHandlerSettings& settings);
// Puts back the handlers that were there before.
void RemoveCrashHandler();

// Gives the calling thread a stack of its own for the handler, so that a stack overflow is reported too. The
// installing thread has one already. Lasts until the thread ends.
void PrepareThreadForCrashes();

// A line that every report carries, such as the GL driver's name; up to 8 of them, cut at 255 bytes. The same
// key replaces the line. Not from two threads at once.
void SetCrashNote(const char* key, const char* value);

// Writes a report of this moment, without a crash, and shows the message. Uses `settings` as they are given,
// installed or not. True when the file was written.
bool WriteCrashReportNow(const CrashHandlerSettings& settings);

} // namespace velorin
