#pragma once

#include <dmn/readiness/ProcessEnd.h>
#include <dmn/start/StartSettings.h>

#include <fdn/CError.h>
#include <fdn/String.h>

#include <sys/types.h>

namespace dmn {

/// What people are told about a start that has failed.
class StartReport {
public:
    /// Both must outlive it.
    StartReport(fdn::String const& id, StartSettings const& settings) : m_id(id), m_settings(settings) {}

    /// Throws a CError about a process that has ended, with what it has said last.
    [[noreturn]] void failEnded(pid_t process, ProcessEnd const& end, fdn::String const& lastStatus) const;

    /// Throws a CError about a process that is not ready in time and goes on.
    [[noreturn]] void failLate(pid_t process, int timeoutMs, fdn::String const& lastStatus) const;

    /// Throws a CError about a process that this one cannot watch any longer, because of this error.
    [[noreturn]] void failUnwatched(pid_t process, fdn::CError const& error) const;

private:
    fdn::String describeLog() const;

    fdn::String const& m_id;
    StartSettings const& m_settings;
};

} // namespace dmn
