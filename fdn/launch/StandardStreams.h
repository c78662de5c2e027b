#pragma once

#include <fdn/system/Pipe.h>

#include <array>

namespace fdn {

// The descriptors that are made here have numbers beyond the standard streams, as those of a pipe have. The
// operations throw CError when the system has no descriptor left.

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
