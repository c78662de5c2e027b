#pragma once

#include <fdn/Path.h>

namespace fdn {

/// Where a log is written.
struct LogPlace {
    Path file;
    int fileMode = 0;

    /// Whether the file may be of any kind, a device or a pipe for example, and not a regular file alone.
    bool isAnyKind = false;

    /// The descriptor of the program that the file's name stands for, such as 2 for /dev/stderr, or -1.
    int descriptor = -1;

    /// The folder that is made for the log where it is missing; empty when none is to be made.
    Path folder;
    int folderMode = 0;
};

/// The place that the environment, the effective user and the name of the program's file give. Throws CError
/// when there is none.
LogPlace chooseLogPlace();

} // namespace fdn
