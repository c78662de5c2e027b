#pragma once

#include <fdn/Export.h>
#include <fdn/String.h>

namespace fdn {

/// From now on, a crash of this process leaves one entry of the level "error" in its log: SIGSEGV, SIGBUS,
/// SIGILL, SIGFPE, SIGSYS, SIGABRT, and an exception that nobody catches, whose message the entry has. Then
/// the process ends as it would have without this, so that core dumps stay.
///
/// Signals that the program, or a tool that watches it, handles already are left to it. The entry of a signal
/// is written by the handler, with prepared texts and nothing but what a handler may call (POSIX 2.4.3); it
/// may be lost, but it never keeps the process from ending. A stack overflow is reported on the thread that
/// has called this.
///
/// Opens the log to know its place. Throws nothing. Later calls do nothing. Call it on the main thread.
FDN_EXPORT void logCrashes();

/// While it lives, a call of exit() in this process leaves an entry of the level "error" that names
/// `activity` and the exit status: the way to end a daemon is to return. The exit goes on. There may be one
/// at a time.
class FDN_EXPORT CExitReport {
public:
    explicit CExitReport(String const& activity);
    CExitReport(CExitReport const&) = delete;
    CExitReport& operator=(CExitReport const&) = delete;
    ~CExitReport();
};

} // namespace fdn
