#pragma once

#include <string>

#include <sys/types.h>

namespace fdn {

// What the system tells about processes (proc(5)). Each of these throws CError when the system cannot tell,
// for lack of descriptors or memory, for example. An empty answer means that /proc is missing, or does not
// show the process, which may be alive nevertheless.

/// The beginning of the file below /proc.
std::string readProcFile(std::string const& name);

/// The target of the symbolic link below /proc; also empty when it may not be read.
std::string readProcLink(std::string const& name);

/// A file about the process, as readProcFile() reads it. It is also empty where /proc shows another PID
/// namespace, in which the number belongs to somebody else.
std::string readProcessFile(pid_t process, char const* name);

/// The same for a symbolic link about the process.
std::string readProcessLink(pid_t process, char const* name);

/// What follows "NAME:" in the process's status (proc_pid_status(5)).
std::string getProcessStatus(pid_t process, std::string const& name);

/// When the process was started, in clock ticks since the boot.
std::string getProcessStartTime(pid_t process);

/// A word of a text, counted from 1. Empty when there are fewer.
std::string getWord(std::string const& words, int number);

} // namespace fdn
