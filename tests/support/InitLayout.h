#pragma once

namespace test {

/// Makes the private root's folders for init scripts and run levels as they are after its making: /etc/init.d
/// and /etc/rc0.d to /etc/rc6.d, all empty, and no /etc/rc.d.
void resetInitLayout();

} // namespace test
