#pragma once

#include <fdn/system/Descriptor.h>

namespace test {

/// Something that several processes wait for: the one that made it, and those that it forks.
class Gate {
public:
    Gate();

    /// Lets all pass. For the process that made the gate.
    void open() { m_writing.reset(); }

    /// Waits until the gate is open, or the process that made it has ended.
    void pass();

private:
    fdn::Descriptor m_reading;
    fdn::Descriptor m_writing;
};

} // namespace test
