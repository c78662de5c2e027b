#pragma once

#include <fdn/String.h>

#include <wx/cmdline.h>

#include <vector>

namespace dmn {

/// An argument in the encoding of file names, so that a path names the same file again; null as the empty
/// text. Throws for one that is no text, and never shows it, for it may be a password.
fdn::String readArgument(char const* argument);

/// The arguments that a program was called with, on their way to the parser.
class CommandLine {
public:
    CommandLine(int argc, char** argv);

    /// Gives the arguments to the parser.
    void giveTo(wxCmdLineParser& parser) const;

    /// Has the parser read them. Returns its result, and prints as it does.
    int parse(wxCmdLineParser& parser) const;

    /// The arguments in double quotes, with "***" in the place of a password's value. The parser, whose
    /// options are declared, has forgotten its own arguments afterwards.
    fdn::String describe(wxCmdLineParser& parser) const;

private:
    std::vector<char const*> m_arguments;
};

} // namespace dmn
