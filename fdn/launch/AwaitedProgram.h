#pragma once

#include <fdn/launch/Launch.h>

#include <optional>
#include <string>

#include <sys/types.h>

namespace fdn {

/// A program that was started to be waited for. The destructor waits for its end.
///
/// It is a child of this process. If the application treats SIGCHLD so that the system, or a handler, forgets
/// how children end, it is the child of a process in between that reports its end; the treatment stays as it
/// is. One thread at a time may use the object.
class AwaitedProgram {
public:
    /// Starts the program, as launch() does. The request's level must be Child.
    AwaitedProgram(LaunchRequest const& request, StandardStreams& streams);

    AwaitedProgram(AwaitedProgram const&) = delete;
    AwaitedProgram& operator=(AwaitedProgram const&) = delete;
    ~AwaitedProgram();

    /// Blocks until the program has ended or closed its output, and returns what was written until then.
    /// Other processes may still hold the output open; they are waited for only before Linux 5.3, which gives
    /// no handle on a child. Closes the caller's end, so that the program can never wait for a reader that
    /// waits for the program.
    std::string readOutput(Descriptor output) const;

    /// Blocks until the program has ended. Returns its state as waitpid() gives it, or nothing when that
    /// cannot be known. Call it once only.
    std::optional<int> awaitEnd();

private:
    bool awaitOutputOrEnd(Descriptor const& output) const;

    Descriptor m_endReport; // the report of the process in between, if there is one
    pid_t m_child = 0;      // the program or the process in between; 0 once it has been waited for
    Descriptor m_handle;    // on the child
};

} // namespace fdn
