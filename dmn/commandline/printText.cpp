#include <dmn/commandline/printText.h>

#include <fdn/CError.h>

#include <cstdio>

namespace dmn {

std::string encodeForTerminal(fdn::String const& text) {
    wxCharBuffer const narrow = text.toCP();
    return narrow.length() > 0 ? std::string(narrow.data()) : text.toUTF8();
}

void printText(fdn::String const& text) {
    std::puts(encodeForTerminal(text).c_str());
    // Whoever reads from a pipe learns of it now, and a process that is started later does not print it
    // again.
    std::fflush(stdout);
}

void printFatalError(std::exception const& error) noexcept {
    try {
        printText("\n\nFATAL ERROR: " + fdn::getMessageOf(error) + "\n\n");
    } catch (std::exception const&) { // NOLINT(bugprone-empty-catch): the exit status still tells
    }
}

} // namespace dmn
