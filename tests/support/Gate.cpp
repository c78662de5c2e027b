#include "support/Gate.h"

#include <array>
#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace test {

Gate::Gate() {
    std::array<int, 2> ends = {-1, -1};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
        throw std::system_error(errno, std::generic_category(), "pipe2");
    m_reading.reset(ends[0]);
    m_writing.reset(ends[1]);
}

// Closes the writing end that a forked process has inherited: the read ends only when nobody holds it.
void Gate::pass() {
    open();
    char byte = 0;
    fdn::uninterrupted([&] { return read(m_reading.get(), &byte, 1); });
}

} // namespace test
