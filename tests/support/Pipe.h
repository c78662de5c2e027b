#pragma once

#include <fdn/system/Descriptor.h>

namespace test {

/// Two connected ends. Programs that the test starts do not inherit them; children that it forks do.
struct Pipe {
    fdn::Descriptor reading;
    fdn::Descriptor writing;
};

/// Makes a pipe; throws std::system_error when it cannot.
Pipe makePipe();

/// Makes a pair of connected stream sockets; throws std::system_error when it cannot.
Pipe makeSocketPair();

} // namespace test
