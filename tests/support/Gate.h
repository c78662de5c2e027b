#pragma once

#include "support/Pipe.h"

namespace test {

/// A gate at which several processes wait: the one that made it and those that it forks. Each of them keeps
/// the gate closed for the others until it has passed, opened the gate or ended.
class Gate {
public:
    /// Lets everybody pass. For the process that made the gate.
    void open() { m_pipe.writing.reset(); }

    /// Waits until the gate is open or the process that made it has ended.
    void pass();

private:
    Pipe m_pipe = makePipe();
};

} // namespace test
