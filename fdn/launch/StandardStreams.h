#pragma once

#include <fdn/system/Descriptor.h>

#include <array>

namespace fdn {

/// The two ends of a pipe. Like every descriptor that is made here, neither has the number of a standard
/// stream, even where the process has closed some of those: in a new process these numbers are overwritten.
struct Pipe {
    Descriptor reading;
    Descriptor writing;
};

Pipe makePipe();

/// A standard stream of a new process: what the process gets (none: the caller's own), and, where that is a
/// pipe, the end that the caller keeps.
struct StandardStream {
    Descriptor child;
    Descriptor caller;
};

using StandardStreams = std::array<StandardStream, 3>;

StandardStream readFromCaller();
StandardStream writeToCaller();
StandardStream useNothing();
StandardStream useSameAs(StandardStream const& other);

} // namespace fdn
