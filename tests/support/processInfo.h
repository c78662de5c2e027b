#pragma once

#include <set>
#include <string>

#include <sys/types.h>

namespace test {

/// The value of a field in the status of a process, "SigBlk" for example (proc_pid_status(5)), with each run
/// of blanks as one. Fails the running test when there is no such field.
std::string statusOf(pid_t process, std::string const& field);

/// When a process was started, in clock ticks since the boot (proc_pid_stat(5)), and which boot that was.
/// Together they tell a process from others with its number.
std::string startTimeOf(pid_t process);
std::string bootIdentifier();

/// The descriptors that a process has open. Those of this process include the one through which they are
/// read.
std::set<int> descriptorsOf(pid_t process);

/// The path of what a process has open as this descriptor, and of its current folder.
std::string openFileOf(pid_t process, int descriptor);
std::string currentFolderOf(pid_t process);

/// The first child of a process, or 0 if it has none.
pid_t childOf(pid_t process);

/// Whether this process has a child that is running or waiting to be reaped.
bool hasChild();

/// Waits for the end of the child and reaps it. Returns its exit status, or 128 plus the number of the signal
/// that ended it.
int reap(pid_t child);

} // namespace test
