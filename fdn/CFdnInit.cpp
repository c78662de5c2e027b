#include <fdn/CFdnInit.h>

#include <fdn/CError.h>
#include <fdn/system/Descriptor.h>

#include <wx/init.h>
#include <wx/strconv.h>

#include <clocale>
#include <mutex>
#include <string>

#include <fcntl.h>
#include <langinfo.h>
#include <unistd.h>

namespace fdn {

namespace {

void adoptLocale() {
    std::setlocale(LC_ALL, "");
    std::string const encodingLocale = std::setlocale(LC_CTYPE, nullptr);
    bool const isPlain = encodingLocale == "C" || encodingLocale == "POSIX";
    if (isPlain)
        std::setlocale(LC_CTYPE, "C.UTF-8");
    // wxWidgets chose its converter when the program started, from the environment alone. If that says UTF-8,
    // the choice is right, and a search for the converter by its name would only take time.
    std::string const encoding = nl_langinfo(CODESET);
    if (isPlain || encoding != "UTF-8")
        wxConvLocal = wxCSConv(wxString::FromAscii(encoding.c_str()));
}

} // namespace

CFdnInit::CFdnInit(bool startRuntime) : m_started(startRuntime) {
    if (!startRuntime)
        return;
    if (!wxInitialize())
        throw CError("The wxWidgets base library cannot be started.");
    // Once only, because another thread may be converting text later.
    static std::once_flag adopted;
    std::call_once(adopted, adoptLocale);
}

CFdnInit::~CFdnInit() {
    if (m_started)
        wxUninitialize();
}

void openMissingStandardStreams() noexcept {
    // The system gives each file the lowest free number (POSIX open), so the first one beyond the standard
    // streams shows that none of these is missing any more. Not close-on-exec: started programs need them.
    int descriptor = STDIN_FILENO;
    while (descriptor != -1 && descriptor <= STDERR_FILENO)
        descriptor = open("/dev/null", O_RDWR);
    Descriptor const spare(descriptor);
}

} // namespace fdn
