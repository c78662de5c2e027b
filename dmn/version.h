#pragma once

#include <dmn/Export.h>

// The version of these headers, by the rules of Semantic Versioning 2.0.0. The build reads it from here.

/// Grows when programs must be changed or recompiled.
#define DMN_VERSION_MAJOR 1

/// Grows when something is added. Starts at 0 again with each major version.
#define DMN_VERSION_MINOR 1

/// Grows when faults are fixed. Starts at 0 again with each minor version.
#define DMN_VERSION_PATCH 0

/// The version as one number that grows with it, for `#if DMN_VERSION >= 10200`: 1.2.3 is 10203.
#define DMN_VERSION (DMN_VERSION_MAJOR * 10000 + DMN_VERSION_MINOR * 100 + DMN_VERSION_PATCH)

/// The version as a text of the form "1.2.3".
#define DMN_VERSION_STRING                                                                                   \
    DMN_TEXT_OF(DMN_VERSION_MAJOR) "." DMN_TEXT_OF(DMN_VERSION_MINOR) "." DMN_TEXT_OF(DMN_VERSION_PATCH)

/// @cond
#define DMN_TEXT_OF(macro) DMN_TEXT_OF_TOKEN(macro)
#define DMN_TEXT_OF_TOKEN(token) #token

/// @endcond

namespace dmn {

/// The DMN_VERSION of the library that the program runs with, which may be later than that of the headers it
/// was compiled with. Any thread may call it.
DMN_EXPORT int getVersion();

} // namespace dmn
