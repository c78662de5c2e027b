#pragma once

#include <set>
#include <string>

#include <sys/types.h>

namespace test {

/// The value of a field of a process's status, such as "SigBlk" (proc_pid_status(5)), each run of blanks in
/// it as one. Fails the running test when there is none.
std::string statusOf(pid_t process, std::string const& field);

/// The descriptors that a process has open.
std::set<int> descriptorsOf(pid_t process);

/// What a process has open as the descriptor; its current folder.
std::string openFileOf(pid_t process, int descriptor);
std::string currentFolderOf(pid_t process);

/// The first child of a process; 0 when it has none.
pid_t childOf(pid_t process);

/// Whether this process has a child, running or waiting to be reaped.
bool hasChild();

/// Reaps the child once it has ended. Returns its exit status, or 128 and the signal's number when one
/// ended it.
int reap(pid_t child);

} // namespace test
