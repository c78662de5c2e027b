#pragma once

#include <fdn/Path.h>
#include <fdn/log/LogOwner.h>

namespace fdn {

/// Where a log is written.
struct LogPlace {
    Path file;
    int fileMode = 0;

    /// Whether the file may be of any kind, for example a device or a pipe. Otherwise only a regular file is
    /// taken.
    bool isAnyKind = false;

    /// The program's descriptor that the file's name stands for, as /dev/stderr stands for 2; -1 for none.
    int descriptor = -1;

    /// The folder to make if it is missing; empty when none is to be made.
    Path folder;
    int folderMode = 0;
};

/// The place of the owner's log, by the rules that CXMLLog describes. Throws CError when there is none.
LogPlace chooseLogPlace(LogOwner const& owner);

/// Standard error as a place for lines, by a name below which no file can come into being.
LogPlace getPlaceOfStandardError();

} // namespace fdn
