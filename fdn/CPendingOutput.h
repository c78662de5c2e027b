#pragma once

#include <fdn/CExecCommand.h>
#include <fdn/Export.h>
#include <fdn/Path.h>
#include <fdn/String.h>
#include <fdn/containers.h>

#include <memory>

namespace fdn {

/// A program that runs while the caller does something else, and whose output is taken later. So several
/// programs run side by side:
///
///     CPendingOutput first(command, false, nullptr, Path());
///     CPendingOutput second(otherCommand, false, nullptr, Path());
///     use(first.take(), second.take());
///
/// What execSyncReturnOutputAsString() says about the program, its output and its end is true here as well.
/// One thread at a time may use an object.
class FDN_EXPORT CPendingOutput {
public:
    /// Starts the program. Returns once it runs, and throws as forkAndExec() does when it cannot.
    CPendingOutput(CExecCommand const& command, bool includeStandardError,
                   TMap<String, String> const* environment, Path const& folder);

    /// Takes the other's program over. The other one is only fit for its destructor then.
    CPendingOutput(CPendingOutput&& other) noexcept;

    /// The same, after what the destructor does.
    CPendingOutput& operator=(CPendingOutput&& other) noexcept;

    /// Waits for the program's end, unless take() has, and reaps it. Its output is lost then, and raises
    /// SIGPIPE if it goes on writing.
    ~CPendingOutput();

    /// Blocks until the program has ended, and returns what it has written. Throws as
    /// execSyncReturnOutputAsString() does. To be called once.
    String take();

private:
    struct FDN_HIDDEN Program;

    std::unique_ptr<Program> m_program;
};

} // namespace fdn
