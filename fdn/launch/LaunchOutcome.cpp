#include <fdn/launch/LaunchOutcome.h>

#include <fdn/system/Deadline.h>

#include <array>

#include <poll.h>
#include <unistd.h>

namespace fdn {

namespace {

using std::chrono::milliseconds;

constexpr std::size_t kMostReports = 16; // about as many as one start makes

// Returns false at the deadline. Otherwise there is a report, or the end of the pipe.
bool awaitReports(Descriptor const& reports, Deadline deadline) {
    pollfd ready = {reports.get(), POLLIN, 0};
    return uninterrupted([&] { return poll(&ready, 1, getMillisecondsUntil(deadline)); }) != 0;
}

void take(LaunchReport const& report, LaunchOutcome& outcome) {
    outcome.isComplete = report.step == LaunchStep::Done || report.error != 0;
    if (report.step != LaunchStep::Done)
        outcome.last = report;
}

} // namespace

// The pipe ends when the program runs, or when the processes have ended. A process that another thread has
// forked meanwhile may hold it open for as long as it likes, so the last report says that it is the last.
LaunchOutcome awaitOutcome(Descriptor const& reports, milliseconds longest) {
    Deadline const deadline = std::chrono::steady_clock::now() + longest;
    LaunchOutcome outcome;
    std::array<LaunchReport, kMostReports> several = {};
    while (!outcome.isComplete && awaitReports(reports, deadline)) {
        ssize_t const length =
            uninterrupted([&] { return read(reports.get(), several.data(), sizeof several); });
        for (ssize_t i = 0; i < length / static_cast<ssize_t>(sizeof(LaunchReport)); ++i)
            take(several[static_cast<std::size_t>(i)], outcome);
        if (length <= 0)
            outcome.isComplete = true;
    }
    return outcome;
}

} // namespace fdn
