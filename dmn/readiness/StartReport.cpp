#include <dmn/readiness/StartReport.h>

#include <fdn/Path.h>

#include <dmn/progress/steps.h>
#include <dmn/start/DaemonLog.h>
#include <dmn/wait/Deadline.h>

#include <cerrno>

namespace dmn {

namespace {

fdn::String endSentence(fdn::String const& text) {
    return text.EndsWith(".") ? text : text + ".";
}

// A process that reports a failure has said why, unless it has ended in a step of the library's own; what any
// other has said last is only how far it came.
fdn::String describeLastStatus(ProcessEnd const& end, fdn::String const& lastStatus) {
    if (lastStatus.empty())
        return ".";
    return end.reportsFailure() && !isOwnStep(lastStatus) ? ": " + endSentence(lastStatus)
                                                          : " (" + lastStatus + ").";
}

} // namespace

void StartReport::failEnded(pid_t process, ProcessEnd const& end, fdn::String const& lastStatus) const {
    throw fdn::CError("The daemon '" + m_id + "' has not come up" + describeLastStatus(end, lastStatus) +
                      fdn::String::Format(" Its process %d ", process) + end.describe() + describeLog());
}

void StartReport::failLate(pid_t process, int timeoutMs, fdn::String const& lastStatus) const {
    throw fdn::CError("The daemon '" + m_id + "' was not ready after " + describeDuration(timeoutMs) +
                          (lastStatus.empty() ? fdn::String() : " (" + lastStatus + ")") +
                          fdn::String::Format(". Its process %d goes on.", process) + describeLog(),
                      "", ETIMEDOUT, {}, nullptr);
}

void StartReport::failUnwatched(pid_t process, fdn::CError const& error) const {
    throw fdn::CError(
        "The daemon '" + m_id + "' was started" + fdn::String::Format(" (process %d)", process) +
            ", but it is unknown whether it is ready: " + endSentence(error.getMessage()) + describeLog(),
        "", error.getCode(), {}, error.clone().get());
}

fdn::String StartReport::describeLog() const {
    try {
        fdn::Path const log = locateDaemonLog(m_settings.exePath, m_settings.runAs);
        return log.getText().empty() ? fdn::String() : " Its log: " + log.getText();
    } catch (fdn::CError const&) { // the start's own failure is the one to report
        return fdn::String();
    }
}

} // namespace dmn
