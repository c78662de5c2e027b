#pragma once

#include <fdn/String.h>

#include <wx/cmdline.h>

#include <vector>

namespace dmn {

/// Reads an argument by the encoding of file names, so that a path in it names the same file again. Null is
/// the empty text. Throws a CError for an argument that is not text, but does not show it: it may be a
/// password.
fdn::String readArgument(char const* argument);

/// The arguments that a program was called with, on their way to the parser. Keeps the caller's pointers, and
/// must not outlive what they point to. Every operation throws a CError for an argument that is not text.
class CommandLine {
public:
    /// Whether the parser shows its usage when the arguments are wrong.
    enum class Usage { Shown, Hidden };

    CommandLine(int argc, char** argv);

    /// Gives the arguments to the parser.
    void giveTo(wxCmdLineParser& parser) const;

    /// Has the parser, whose options are declared by now, read the arguments. Prints its messages, and its
    /// usage if that is wanted, and returns its result: 0 for success, below 0 when it has shown the help,
    /// above 0 for a fault.
    int parse(wxCmdLineParser& parser, Usage usage) const;

    /// The arguments in double quotes, separated by commas, with "***" in place of a password. Uses the
    /// parser, and so replaces the arguments that it was given.
    fdn::String describe(wxCmdLineParser& parser) const;

private:
    std::vector<char const*> m_arguments;
};

} // namespace dmn
