#pragma once

#include <fdn/Export.h>
#include <fdn/String.h>

namespace fdn {

/// From now on, a crash of this process leaves one entry of the level "error" in its log:
///
///     The process has crashed: signal 11 (SIGSEGV) at address 0x0.
///     An exception that nobody caught has ended the process: No such file or directory
///
/// Crashes are SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGSYS and SIGABRT, whoever has sent them, and exceptions.
/// One that is no std::exception is named by its type. Then the process ends as it would have without this,
/// by the same signal and with the same core dump. A child that it forks is no different.
///
/// Signals that the program, or a tool that watches it, treats otherwise than by default are left to it, and
/// an earlier handler of std::terminate() is called after the entry. The entry of a signal is written by the
/// handler, with prepared texts and nothing but what a handler may call (POSIX 2.4.3), to the place that the
/// log has at this call. It may be lost, but it never keeps the process from ending. A stack overflow is
/// reported on the thread that has called this, which gets an alternate signal stack unless it has one.
///
/// Touches no file. Throws nothing. Later calls do nothing. Call it on the main thread.
FDN_EXPORT void logCrashes();

/// While it lives, a call of exit() leaves an entry of the level "error", for what is to end by returning:
///
///     exit(3) was called in run(), with the status 1.
///
/// The exit goes on, and the entry never keeps it from ending, not even in a signal handler. The entry goes
/// to the place that the log has at the first object or at logCrashes(). A child that this process forks may
/// exit without an entry. There may be one object at a time. Any thread may call exit().
class FDN_EXPORT CExitReport {
public:
    /// Begins to watch. The activity is "run()" in the entry above.
    explicit CExitReport(String const& activity);
    CExitReport(CExitReport const&) = delete;
    CExitReport& operator=(CExitReport const&) = delete;

    /// Stops watching.
    ~CExitReport();
};

} // namespace fdn
