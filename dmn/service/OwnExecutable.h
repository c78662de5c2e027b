#pragma once

#include <fdn/Path.h>

namespace dmn {

/// The file that this process runs. Throws a CError when the system does not tell, and when the file is no
/// longer there, or another one is in its place.
fdn::Path findOwnExecutable();

} // namespace dmn
