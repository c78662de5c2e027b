#pragma once

namespace fdn {

// For forked processes: nothing but async-signal-safe calls is made. One system call does it, whatever the
// limit on the number of descriptors is. Linux before 5.11 does not know that call; there, numbers from 65536
// on are left as they are.

/// Marks every descriptor but the standard streams as close-on-exec.
void leaveOtherDescriptorsBehind();

/// Makes the descriptor the standard input, and closes all others.
void closeAllBut(int kept);

} // namespace fdn
