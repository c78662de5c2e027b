#pragma once

#include <fdn/launch/Launch.h>

#include <optional>
#include <string>

namespace fdn {

/// A program that was started to be waited for: a child of this process, or, where the system or a signal
/// handler of the application forgets how children have ended (SIGCHLD), the child of a process in between,
/// which tells it. That treatment of SIGCHLD stays as it is. The destructor waits for the program's end.
class AwaitedProgram {
public:
    /// Starts it as launch() does, at the level Child.
    AwaitedProgram(LaunchRequest const& request, StandardStreams& streams);

    AwaitedProgram(AwaitedProgram const&) = delete;
    AwaitedProgram& operator=(AwaitedProgram const&) = delete;
    ~AwaitedProgram();

    /// Reads what the program has written until it ends, or closes its output; what others write into the
    /// same pipe afterwards is not waited for. Before Linux 5.3 it is, for a child of this process. Closes
    /// the pipe, so that the program never waits for a reader who waits for the program.
    std::string read(Descriptor output) const;

    /// Waits for the program's end. Returns its state as waitpid() tells it, or nothing where that cannot be
    /// known. To be called once.
    std::optional<int> wait();

private:
    bool awaitOutputOrEnd(Descriptor const& output) const;

    Descriptor m_ends; // of the process in between, if there is one
    pid_t m_child = 0;
    Descriptor m_handle; // on the child
};

} // namespace fdn
