#include "support/Gate.h"

#include <unistd.h>

namespace test {

// Closes the writing end that a forked process has inherited: the read ends only when nobody holds it.
void Gate::pass() {
    open();
    char byte = 0;
    fdn::uninterrupted([&] { return read(m_pipe.reading.get(), &byte, 1); });
}

} // namespace test
