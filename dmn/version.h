#pragma once

#include <dmn/Export.h>

// The version of these headers, by the rules of Semantic Versioning. The build reads it here.

/// Changes when programs must be changed or compiled anew.
#define DMN_VERSION_MAJOR 1

/// Changes when something is added.
#define DMN_VERSION_MINOR 0

/// Changes when faults are mended.
#define DMN_VERSION_PATCH 0

/// The version as one number that grows with it: 1.2.3 is 10203. For `#if DMN_VERSION >= 10200`.
#define DMN_VERSION (DMN_VERSION_MAJOR * 10000 + DMN_VERSION_MINOR * 100 + DMN_VERSION_PATCH)

/// The version as a text, such as "1.2.3".
#define DMN_VERSION_STRING                                                                                   \
    DMN_TEXT_OF(DMN_VERSION_MAJOR) "." DMN_TEXT_OF(DMN_VERSION_MINOR) "." DMN_TEXT_OF(DMN_VERSION_PATCH)

/// @cond
#define DMN_TEXT_OF(macro) DMN_TEXT_OF_TOKEN(macro)
#define DMN_TEXT_OF_TOKEN(token) #token

/// @endcond

namespace dmn {

/// The DMN_VERSION of the library that the program runs with, which may be later than the one that it was
/// compiled against. Any thread may call it.
DMN_EXPORT int getVersion();

} // namespace dmn
