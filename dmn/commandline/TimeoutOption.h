#pragma once

#include <wx/cmdline.h>

#include <cstdint>

namespace dmn {

/// Stores the time-out, which is given in seconds, in milliseconds. One that is not given leaves the field as
/// it is; so does a text that is no number or out of range, which makes an error entry in the log. A product
/// of more than 32 bits loses its upper bits.
void storeTimeout(wxCmdLineParser const& parser, std::int32_t& timeoutMs);

} // namespace dmn
