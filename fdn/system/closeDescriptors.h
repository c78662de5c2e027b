#pragma once

namespace fdn {

// For forked processes: only async-signal-safe calls are made, and only a few, whatever the limit on the
// number of descriptors is. Kernels without close_range(2), before Linux 5.9, need a call for each number;
// numbers from 65536 on then stay open.

/// Closes all descriptors except the standard streams and these two, each of which may be -1 for none.
void closeOthersBut(int one, int other);

/// Moves the descriptor to the number of the standard input, and closes all others.
void closeAllBut(int kept);

} // namespace fdn
