#include <fdn/crash.h>

#include <fdn/crash/LastEntry.h>
#include <fdn/crash/crashSignals.h>
#include <fdn/crash/uncaughtException.h>
#include <fdn/log.h>

#include <atomic>
#include <exception>
#include <mutex>
#include <string>

#include <stdlib.h>
#include <unistd.h>

namespace fdn {

namespace {

bool startLoggingCrashes() {
    try {
        prepareLastEntry();
    } catch (std::exception const&) {
        // There is no place for the log, so that entries go to syslog.
    }
    reportUncaughtExceptions();
    reportCrashSignals();
    return true;
}

// What an exit interrupts.
struct Activity {
    std::atomic<pid_t> process{0}; // 0: there is none
    std::mutex mutex;
    String name; // guarded by the mutex
};

// Kept until the very end, because exit() may be called after that of other objects.
Activity& getActivity() {
    static Activity& activity = *new Activity;
    return activity;
}

String getNameOf(Activity& activity) {
    std::lock_guard<std::mutex> const lock(activity.mutex);
    return activity.name;
}

// The child of a fork may exit as it likes. It must not look at the mutex, which may be locked there forever.
void reportExit(int status, void*) {
    Activity& activity = getActivity();
    if (activity.process == getpid())
        logError("exit(3) was called in " + getNameOf(activity) + ", with the status " +
                 String(std::to_string(status).c_str()) + ".");
}

void setActivity(pid_t process, String const& name) {
    static int const registered = on_exit(&reportExit, nullptr);
    static_cast<void>(registered);
    Activity& activity = getActivity();
    std::lock_guard<std::mutex> const lock(activity.mutex);
    activity.name = name;
    activity.process = process;
}

} // namespace

void logCrashes() {
    static bool const isLogging = startLoggingCrashes();
    static_cast<void>(isLogging);
}

CExitReport::CExitReport(String const& activity) {
    setActivity(getpid(), activity);
}

CExitReport::~CExitReport() {
    setActivity(0, String());
}

} // namespace fdn
