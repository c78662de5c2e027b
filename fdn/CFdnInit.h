#pragma once

#include <fdn/Export.h>

namespace fdn {

/// Starts the foundation for as long as the object lives. Make one on the main thread, before anything else
/// of the library is used; nesting is harmless.
class FDN_EXPORT CFdnInit {
public:
    /// With true, starts wxWidgets' base library and, the first time in the process, adopts the environment's
    /// locale (POSIX setlocale). Where that is the plain "C" locale, as it is at boot, text is read and
    /// written as UTF-8 all the same, so that names with umlauts work there as they do from a terminal. With
    /// false, does nothing. Throws CError when wxWidgets cannot start.
    explicit CFdnInit(bool startRuntime);

    CFdnInit(CFdnInit const&) = delete;
    CFdnInit& operator=(CFdnInit const&) = delete;

    /// Stops wxWidgets if this object started it. The locale stays.
    ~CFdnInit();

private:
    bool m_started;
};

/// Opens /dev/null in place of each standard stream that the caller of the program has closed. Otherwise the
/// next file that the program opens gets that stream's number, and then what the program prints.
///
/// Call it at the start of main(), while nothing else can open files. The programs that this one starts
/// inherit these streams. Where /dev/null cannot be opened, the missing streams stay closed.
FDN_EXPORT void openMissingStandardStreams() noexcept;

} // namespace fdn
