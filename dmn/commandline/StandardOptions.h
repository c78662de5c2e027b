#pragma once

#include <wx/cmdline.h>

namespace dmn {

/// Declares the options that every daemon's command line has, each with a text for its value and none of them
/// mandatory.
void declareStandardOptions(wxCmdLineParser& parser);

} // namespace dmn
