#pragma once

#include <dmn/CService.h>

#include <fdn/CBase.h>
#include <fdn/CMutex.h>
#include <fdn/ISystemSignalHandler.h>
#include <fdn/P.h>

namespace dmn {

// What the signals of a service's process do. The handlers stay after the daemon has ended, so that a late
// signal does not change the exit status.

/// Handles SIGTERM: stops the daemon, or ends a management command. Keeps a signal that comes before it is
/// known which of them this process is.
class TerminationHandler : public fdn::CBase, public virtual fdn::ISystemSignalHandler {
public:
    /// `stop` carries a signal to the daemon.
    explicit TerminationHandler(fdn::P<fdn::ISystemSignalHandler> const& stop) : m_stop(stop) {}

    /// From now on, signals stop the daemon. So does one that came before.
    void stopDaemon() { decide(Treatment::StopDaemon); }

    /// From now on, signals do what they did before this program handled them: as a rule, they end the
    /// process. So does one that came before.
    void endProcess() { decide(Treatment::EndProcess); }

    void handleSystemSignal(fdn::SysSignal signal) override;

private:
    enum class Treatment { Keep, StopDaemon, EndProcess };

    void decide(Treatment treatment);
    void treat(fdn::SysSignal signal);

    fdn::P<fdn::ISystemSignalHandler> m_stop;
    fdn::CMutex m_mutex; // guards the two fields below
    Treatment m_treatment = Treatment::Keep;
    bool m_hasCome = false;
};

/// Handles the terminal's interrupt key: the first use stops the daemon, the second one does what it did
/// before.
class InterruptHandler : public fdn::CBase, public virtual fdn::ISystemSignalHandler {
public:
    explicit InterruptHandler(fdn::P<fdn::ISystemSignalHandler> const& stop) : m_stop(stop) {}

    void handleSystemSignal(fdn::SysSignal signal) override;

private:
    fdn::P<fdn::ISystemSignalHandler> m_stop;
};

/// Handles SIGHUP: has the service read its settings again.
class ReloadHandler : public fdn::CBase, public virtual fdn::ISystemSignalHandler {
public:
    /// Sets the service that is running, or none (null). Blocks until a signal that is being handled is done.
    void setService(CService* service);

    void handleSystemSignal(fdn::SysSignal signal) override;

private:
    fdn::CMutex m_mutex;
    CService* m_service = nullptr;
};

} // namespace dmn
