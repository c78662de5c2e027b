#include "support/Pipe.h"

#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace test {

Pipe makePipe() {
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) != 0)
        throw std::system_error(errno, std::generic_category(), "pipe2");
    return {fdn::Descriptor(ends[0]), fdn::Descriptor(ends[1])};
}

Pipe makeSocketPair() {
    int ends[2] = {-1, -1};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
        throw std::system_error(errno, std::generic_category(), "socketpair");
    return {fdn::Descriptor(ends[0]), fdn::Descriptor(ends[1])};
}

} // namespace test
