#pragma once

#include <fdn/system/Descriptor.h>

#include <array>

namespace fdn {

// Every descriptor that is made here is closed on exec, and has a number beyond the standard streams, even
// when the process has closed some of those: a new process overwrites these numbers before it has used the
// descriptors. The operations throw CError when the system has no descriptor left.

/// The two ends of a pipe.
struct Pipe {
    Descriptor reading;
    Descriptor writing;
};

Pipe makePipe();

/// A standard stream of a new process.
struct StandardStream {
    Descriptor child;  ///< what the process gets; when not open, the caller's own stream
    Descriptor caller; ///< the end that the caller keeps, if it is a pipe
};

/// Standard input, output and error.
using StandardStreams = std::array<StandardStream, 3>;

/// A pipe from the caller, for an input.
StandardStream readFromCaller();

/// A pipe to the caller, for an output.
StandardStream writeToCaller();

/// /dev/null.
StandardStream useNothing();

/// The same as the other stream of the process.
StandardStream useSameAs(StandardStream const& other);

} // namespace fdn
