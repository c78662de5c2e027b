#pragma once

#include <string>

#include <sys/types.h>

namespace fdn {

/// What a PID file says.
struct PIDRecord {
    pid_t process = 0;    ///< 0: none
    std::string identity; ///< see getProcessIdentity(); empty: not known
};

/// The longest content that is a PID file's.
constexpr std::size_t kMaxPIDFileSize = 4096;

/// Reads any content. The process is 0 unless the first line is the decimal number of one, with nothing but
/// blanks behind it.
PIDRecord parsePIDRecord(std::string const& content);

/// The content of this process's PID file.
std::string composePIDRecord();

} // namespace fdn
