#pragma once

namespace dmn {

/// The run level that System V init enters at boot, by the entry "initdefault" of /etc/inittab (inittab(5)):
/// 0 if the file names none.
int readDefaultRunLevel();

} // namespace dmn
