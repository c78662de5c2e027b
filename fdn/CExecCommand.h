#pragma once

#include <fdn/Path.h>
#include <fdn/String.h>
#include <fdn/containers.h>

namespace fdn {

/// A program and the arguments to run it with. A plain value; nothing is looked up before the command runs.
///
/// The program is the path of an executable file, or of a script that begins with "#!". It is never searched
/// for in PATH. A relative path counts from the current folder of the process that starts it, whatever folder
/// the program itself is given. The program also sees this path as its own name, before the arguments.
class FDN_EXPORT CExecCommand {
public:
    /// `arguments` are those after the program's own name. Both are copied.
    CExecCommand(Path const& program, TArray<String> const& arguments)
        : m_program(program), m_arguments(arguments) {}

    /// The program, as it was given.
    Path const& getProgram() const { return m_program; }

    /// The arguments after the program's own name.
    TArray<String> const& getArguments() const { return m_arguments; }

private:
    Path m_program;
    TArray<String> m_arguments;
};

} // namespace fdn
