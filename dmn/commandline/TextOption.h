#pragma once

#include <fdn/String.h>

#include <wx/cmdline.h>

namespace dmn {

/// An option that has a text for its value.
struct TextOption {
    char const* shortName;
    char const* longName;
    char const* help; ///< what the usage says about it
};

/// Declares the option, which is not mandatory.
inline void declareOption(wxCmdLineParser& parser, TextOption const& option) {
    parser.AddOption(fdn::String(option.shortName), fdn::String(option.longName), fdn::String(option.help));
}

} // namespace dmn
