#pragma once

#include <fdn/Export.h>

namespace fdn {

/// Starts the foundation for as long as the object lives:
///
///     int main() {
///         fdn::CFdnInit const foundation(true);
///
/// Make it on the main thread, before the program uses anything else of the library or starts other threads.
/// Several may live at once.
class FDN_EXPORT CFdnInit {
public:
    /// With true, starts wxWidgets' base library and, the first time in the process, adopts the environment's
    /// locale (POSIX setlocale). In the plain "C" locale, which programs have at boot, text is still read and
    /// written as UTF-8, so that names with umlauts work there as they do from a terminal. Throws CError when
    /// wxWidgets cannot start; the locale is unchanged then. With false, does nothing.
    explicit CFdnInit(bool startRuntime);

    CFdnInit(CFdnInit const&) = delete;
    CFdnInit& operator=(CFdnInit const&) = delete;

    /// Stops wxWidgets if this object started it. The locale stays.
    ~CFdnInit();

private:
    bool m_started; // by this object
};

/// Opens /dev/null in place of each standard stream that the caller of the program has closed. Otherwise the
/// next file that the program opens gets that stream's number, and then receives what the program prints.
///
/// Call it at the start of main(), while nothing else can open files. The programs that this one starts
/// inherit these streams. Where /dev/null cannot be opened, the missing streams stay closed.
FDN_EXPORT void openMissingStandardStreams() noexcept;

} // namespace fdn
