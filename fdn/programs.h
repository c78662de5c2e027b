#pragma once

#include <fdn/CExecCommand.h>
#include <fdn/CIPCConnectionToSubProcess.h>
#include <fdn/CImpersonateInfo.h>
#include <fdn/ForkExecLevel.h>
#include <fdn/Path.h>
#include <fdn/String.h>
#include <fdn/containers.h>

namespace fdn {

// Every program that is started here begins with the default treatment of every signal, with no signal
// blocked, with the umask and limits of its starter, and with no descriptor but 0, 1 and 2 (before Linux
// 5.11: with none from 3 to 65535). Any thread may start programs.
//
// Program, arguments and environment variables are handed over in the encoding of file names; a text that
// it cannot represent, or that holds the character NUL, is refused with CUnencodableStringError. An
// environment is exactly the variables given, or the caller's own when it is null. In a set-user-ID program
// that is the system's PATH alone, because the user who called it must not tell others what to do. A folder
// becomes the program's current folder; an empty one keeps the caller's.
//
// That a program cannot be started is an error here, a CError with the system's error number as its code
// and the property "func" for the step that failed: "execve" with the program's path as "program" (also for
// a file that is neither an executable nor begins with "#!", ENOEXEC), "chdir" with the folder as "path",
// "setresgid", "setgroups" and "setresuid" with the "account". Nothing is left of such an attempt.
//
// A start that is not done after ten seconds is given up where a process with memory of its own makes it: at
// the level Detached, under another account, and where execSyncReturnOutputAsString() needs one. Its
// processes are killed, and the CError has the code ETIMEDOUT and names the step that hangs, in a folder on a
// file system that does not answer, for instance. A process that is stuck in the kernel ends when that lets
// it go; a child of the caller is not waited for then. All other starts use the caller's memory, and the
// caller's thread waits as long as they last.

/// Starts the program, and returns its process identifier once it runs.
///
/// `impersonate`: the account under which it runs, or null for the caller's. The process then gets the
/// account's group, all its supplementary groups, and the user, in this order, and cannot undo it; the
/// folder is entered with the account's rights; HOME, USER, LOGNAME and SHELL follow the account, also in a
/// given environment. Only root can do this. Throws CError for an account that does not exist.
///
/// `input`, `output` and `error`: the connections that get the other ends of the program's standard
/// streams, as pipes. Where one is null, the stream is the caller's, or /dev/null at the level Detached.
/// When the call throws, they are as they were.
///
/// Blocks until the program runs or has failed to, for ten seconds at most as said above. Under another
/// account at the levels Child and Session, where another thread forks at the same time and goes on without
/// running a program, as long as that process lives, but ten seconds at most.
FDN_EXPORT int forkAndExec(CExecCommand const& command, CImpersonateInfo* impersonate, ForkExecLevel level,
                           Path const& folder, CIPCConnectionToSubProcess* input,
                           CIPCConnectionToSubProcess* output, CIPCConnectionToSubProcess* error,
                           TMap<String, String> const* environment);

/// Runs the program in the caller's session, its standard input being /dev/null, and returns what it has
/// written to its standard output, as text (by the rule of String::fromBytes()).
///
/// With `includeStandardError`, what it writes to its standard error is part of the answer, in the order in
/// which it was written; otherwise that stream is the caller's. The exit status does not matter
/// to a program that has printed something. One that has printed nothing, and was ended by a signal or by a
/// status above 1, has failed without an answer: that is a CError, which names the program and its arguments.
/// So is an end that nobody can tell, whatever was printed, because another thread has waited for the
/// program.
///
/// The program is a child of the caller. Where the caller ignores SIGCHLD, handles it, or lets the system
/// forget its children (SA_NOCLDWAIT), it is the child of a process in between, which tells how it ends; the
/// caller's treatment of SIGCHLD stays as it is. Should that process be killed, the program is, too.
///
/// Blocks until the program has ended; it has been waited for then. What another process that holds the
/// output writes after that is not read, and nobody reads it any more (SIGPIPE). Where the kernel gives no
/// handle on a child (pidfd_open, before Linux 5.3), it blocks until no process holds the output open,
/// either.
FDN_EXPORT String execSyncReturnOutputAsString(CExecCommand const& command, bool includeStandardError,
                                               TMap<String, String> const* environment, Path const& folder);

} // namespace fdn
