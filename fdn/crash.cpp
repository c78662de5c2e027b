#include <fdn/crash.h>

#include <fdn/crash/LastEntry.h>
#include <fdn/crash/crashSignals.h>
#include <fdn/crash/uncaughtException.h>
#include <fdn/log/FixedText.h>
#include <fdn/log/LogEntry.h>
#include <fdn/log/XMLText.h>
#include <fdn/log/readableEntry.h>

#include <atomic>
#include <exception>
#include <string>

#include <stdlib.h>
#include <unistd.h>

namespace fdn {

namespace {

bool choosePlace() {
    try {
        prepareLastEntry();
    } catch (std::exception const&) {
        // There is no place for the log, so that entries go to syslog.
    }
    return true;
}

void choosePlaceOnce() {
    static bool const isChosen = choosePlace();
    static_cast<void>(isChosen);
}

bool startLoggingCrashes() {
    choosePlaceOnce();
    reportUncaughtExceptions();
    reportCrashSignals();
    return true;
}

// What an exit interrupts; 0 for nothing. The texts change only then.
std::atomic<pid_t> watchedProcess{0};
FixedText<256> entryText;
FixedText<256> readableText;

// Handlers of signals call exit(), too, although they must not: the log's lock may belong to whatever they
// have interrupted. The child of a fork may exit as it likes.
void reportExit(int status, void*) {
    if (watchedProcess != getpid())
        return;
    FixedText<512> entry;
    entry << composeStartTag(LogLevel::Error) << entryText << status << "." << kEndOfEntry;
    FixedText<512> readable;
    readable << composeReadableStart(LogLevel::Error) << readableText << status << ".\n";
    writeEntryWithoutLock(entry, readable);
}

FixedText<256> compose(std::string const& activity) {
    FixedText<256> text;
    text << "exit(3) was called in " << activity << ", with the status ";
    return text;
}

void startReportingExits() {
    static int const registered = on_exit(&reportExit, nullptr);
    static_cast<void>(registered);
}

} // namespace

void logCrashes() {
    static bool const isLogging = startLoggingCrashes();
    static_cast<void>(isLogging);
}

CExitReport::CExitReport(String const& activity) {
    choosePlaceOnce();
    entryText = compose(toXMLText(activity));
    readableText = compose(toReadableText(activity));
    startReportingExits();
    watchedProcess = getpid();
}

CExitReport::~CExitReport() {
    watchedProcess = 0;
}

} // namespace fdn
