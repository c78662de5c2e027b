#pragma once

#include <string>

#include <sys/types.h>

namespace fdn {

/// What a PID file says about its process.
struct PIDRecord {
    pid_t process = 0;    ///< 0: it says nothing that makes sense
    std::string identity; ///< see getProcessIdentity(); empty: not known
};

/// The greatest length of a PID file in bytes. Anything longer is something else.
constexpr std::size_t kMaxPIDFileSize = 4096;

/// Reads content of any kind, even what a stranger may have written. The process is 0 unless the first line
/// is the decimal number of one, followed by nothing but blanks.
PIDRecord parsePIDRecord(std::string const& content);

/// The content of this process's PID file: one line or two. Throws CError when the system cannot tell who
/// this process is, for lack of descriptors, for example.
std::string composePIDRecord();

} // namespace fdn
