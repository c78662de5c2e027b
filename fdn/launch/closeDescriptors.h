#pragma once

namespace fdn {

// For forked processes: nothing but async-signal-safe calls is made. It takes a few system calls, whatever
// the limit on the number of descriptors is. Linux before 5.9 does not know that call; there, numbers from
// 65536 on are left as they are.

/// Closes all descriptors but the standard streams and these two, each of which may be -1 for none.
void closeOthersBut(int one, int other);

/// Makes the descriptor the standard input, and closes all others.
void closeAllBut(int kept);

} // namespace fdn
