#pragma once

#include <fdn/CError.h>
#include <fdn/String.h>

namespace dmn {

/// The error with the text behind its message.
fdn::CError extendError(fdn::CError const& error, fdn::String const& text);

/// The error with the command below its message that mends what is wrong.
fdn::CError addRemedy(fdn::CError const& error, fdn::String const& command);

} // namespace dmn
