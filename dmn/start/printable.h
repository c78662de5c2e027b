#pragma once

#include <fdn/String.h>

namespace dmn {

/// The text with a blank for each control character. What a daemon says or is called goes to an
/// administrator's terminal, whoever the daemon's account belongs to.
fdn::String makePrintable(fdn::String const& text);

} // namespace dmn
