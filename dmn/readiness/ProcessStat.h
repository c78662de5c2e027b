#pragma once

#include <filesystem>

#include <sys/types.h>

namespace dmn {

/// What the kernel tells about a process or a thread in its file "stat" (proc_pid_stat(5)).
struct ProcessStat {
    char state = 0; ///< 0: unknown, as is everything else then
    pid_t parent = 0;
    unsigned flags = 0;
    unsigned long long startTime = 0; ///< in clock ticks since the machine was booted
};

/// Reads it from the folder of the process or thread in /proc.
ProcessStat readProcessStat(std::filesystem::path const& folder);

/// The folder of a process.
std::filesystem::path getProcFolder(pid_t process);

} // namespace dmn
