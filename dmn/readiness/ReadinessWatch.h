#pragma once

#include <dmn/readiness/LaterChildren.h>
#include <dmn/readiness/StartedProcess.h>
#include <dmn/wait/Deadline.h>

#include <fdn/CNotificationReceiver.h>
#include <fdn/Path.h>
#include <fdn/String.h>
#include <fdn/containers.h>

#include <functional>
#include <memory>
#include <optional>

#include <sys/types.h>

namespace dmn {

/// Watches a process that was launched until the daemon is ready.
///
/// The daemon is the launched process or, if that is a script for instance, a process that it has started.
/// Only the daemon is believed. A process other than the launched one counts as the daemon once it holds the
/// PID file, or once the launched one has ended well and left it behind as an orphan.
class ReadinessWatch {
public:
    enum class Result {
        Ready,       ///< the daemon is ready
        RunsAlready, ///< the launched process has ended because another one held the PID file
        Ended,       ///< the process has ended, and no other one is left
        Late,        ///< the deadline has passed
    };

    /// The receiver must outlive it. `launched` should be a child of this process, and `children` made before
    /// its launch. `progress` is told of each step as soon as it is clear that it was not the daemon's last
    /// word.
    ReadinessWatch(fdn::Path const& pidFile, fdn::CNotificationReceiver& receiver,
                   LaterChildren const& children, pid_t launched,
                   std::function<void(fdn::String const& step)> const& progress);

    /// Waits for one of the results. Asks at least once, whatever the deadline. Throws a CError when it is
    /// unclear who holds the PID file.
    Result await(Deadline const& deadline);

    /// The process that counts as the daemon; for Result::RunsAlready, the other one.
    pid_t getProcess() const { return m_holder > 0 ? m_holder : m_process->getNumber(); }

    /// How that process has ended.
    ProcessEnd const& getEnd() const { return m_process->getEnd(); }

    /// What the daemon has said last about how far it is.
    fdn::String const& getLastStatus() const { return m_lastStatus; }

private:
    void readMessages();
    void take(fdn::Notification const& message);
    void takeStatus(fdn::String const& status);
    void tellStep();
    bool isReady();
    bool isSilentHolder();
    std::optional<Result> judgeEnd(bool mayOneCome);
    pid_t findHolder() const;
    pid_t findLateHolder() const;
    void adopt(pid_t process);
    bool adoptOrphan(pid_t holder);
    void remember(fdn::Notification const& message);
    void awaitNews(Deadline const& deadline);

    fdn::Path m_pidFile;
    fdn::CNotificationReceiver& m_receiver;
    LaterChildren const& m_children;
    std::function<void(fdn::String const&)> m_progress;
    std::unique_ptr<StartedProcess> m_process;
    fdn::TMap<pid_t, fdn::String> m_others; // that have sent something, and what they have said last
    fdn::String m_lastStatus;
    std::optional<Deadline> m_stepDue; // when to tell of the last status, unless that is done
    bool m_isSilent = true;            // nobody has sent anything
    bool m_isReady = false;
    pid_t m_holder = 0;
};

} // namespace dmn
