#pragma once

#include <fdn/Path.h>

namespace dmn {

/// Whether nobody but root can change what the absolute path leads to, by putting something in its place or
/// in that of a folder or link on the way. Of what is missing, the folder counts that it would be made in.
bool isInRootsHands(fdn::Path const& path);

} // namespace dmn
