#pragma once

#include <fdn/String.h>

namespace dmn {

/// A command of an application's own, as the help shows it.
struct CommandDescription {
    fdn::String name;        ///< the command word
    fdn::String description; ///< a few words on one line
};

} // namespace dmn
