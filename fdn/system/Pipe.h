#pragma once

#include <fdn/system/Descriptor.h>

namespace fdn {

// Descriptors that are made here are closed on exec, and have numbers beyond the standard streams, even when
// the process has closed some of those: a new process overwrites these numbers before it has used the
// descriptors. The operations throw CError when the system has no descriptor left; `action` is the operation
// that such an error names.

/// The two ends of a pipe.
struct Pipe {
    Descriptor reading;
    Descriptor writing;
};

Pipe makePipe(char const* action);

/// The same descriptor, or a copy of one that has the number of a standard stream.
Descriptor keepOffStandardStreams(Descriptor descriptor, char const* action);

/// A copy.
Descriptor duplicate(Descriptor const& descriptor, char const* action);

} // namespace fdn
