#pragma once

#include <wx/cmdline.h>

#include <cstdint>

namespace dmn {

/// Stores in milliseconds the time-out, which is given in seconds. The field stays as it is if the option is
/// missing, and also if its text is not a number or is out of range, which is logged as an error. A product
/// of more than 32 bits loses its upper bits.
void storeTimeout(wxCmdLineParser const& parser, std::int32_t& timeoutMs);

/// Throws a CError that names the option and its text unless that is a number of seconds from 0 on, the
/// milliseconds of which storeTimeout() can store, or the option is missing.
void requireTimeout(wxCmdLineParser const& parser);

} // namespace dmn
