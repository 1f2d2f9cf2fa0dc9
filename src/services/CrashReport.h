#pragma once

namespace velorin {

// Reports go to "<documents>/Quenmarworks/Error Logs", or below the temporary folder when there are no
// documents. Only the last folder is made; where its parent does not exist no file is written, and the report
// goes to stderr instead. The file is called "Velorin_v2.2.2160.hotfix-YYYYMMDD-HHMMSS-<process>-<thread>"
// with the extension ".txt" (".dmp" on Windows).

// Makes the process report its crashes from now on. Only for a process that is ours, never inside a host.
void InstallCrashReport();
void RemoveCrashReport();

// Writes a report of this moment and shows the message to the user. Always 1.
int WriteCrashReport();

// What reports shall say of the GL driver.
void SetCrashReportGL(const char* vendor, const char* renderer, const char* version);

} // namespace velorin
