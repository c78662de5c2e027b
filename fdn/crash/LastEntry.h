#pragma once

#include <string_view>

namespace fdn {

/// Chooses the place of the log for a last entry, as the log's next entry would. Throws CError when there is
/// none; last entries then go to syslog.
void prepareLastEntry();

/// Lets the first caller in this process write the last entry; returns true to that one alone. Every other
/// waits until the entry is written, but for a second at most, so that its end does not cut it off. A signal
/// handler may call it.
bool claimLastEntry();

/// Writes the last entry, once it was claimed, as writeEntryWithoutLock() does.
void writeLastEntry(std::string_view entry, std::string_view readable);

/// Writes an entry of a process that is about to end, a line of XML with its line feed, to the log or, when
/// that fails, to syslog. While entries are shown, writes `readable` to standard error. Takes no lock,
/// allocates nothing and waits for nothing but the disk, so a signal handler may call it. From then on, the
/// process ignores SIGPIPE and SIGXFSZ.
void writeEntryWithoutLock(std::string_view entry, std::string_view readable);

} // namespace fdn
