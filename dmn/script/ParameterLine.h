#pragma once

#include <fdn/String.h>
#include <fdn/containers.h>

namespace dmn {

// The run parameters as the init script stores them: in one line, each URI-escaped (RFC 3986, 2.1), with
// blanks between them, so that the shell's echo prints the line as it is.

/// Throws a CError for a run parameter that cannot be given to any program, naming its number (the first
/// is 1).
void requireArguments(fdn::TList<fdn::String> const& params);

/// The line that stores these parameters. Empty ones at its beginning leave no trace in it.
fdn::String composeParameterLine(fdn::TList<fdn::String> const& params);

/// The parameters that a stored line holds. None of them is empty: the blanks around an empty parameter
/// cannot be told from those between two others.
fdn::TArray<fdn::String> splitParameterLine(fdn::String const& line);

} // namespace dmn
