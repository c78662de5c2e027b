#pragma once

#include <exception>
#include <mutex>

namespace dmn {

/// Tells the supervisor of this process, if it has one, how the run of a daemon goes
/// (fdn::notifySupervisor()). Waits for nobody, but up to 200 ms for a supervisor
/// that has no room yet for the news that the daemon is ready. Any thread may use it.
class RunReport {
public:
    /// The run begins.
    static void tellClaiming();

    /// The daemon's init() begins. Until tellInitialized(), each step that it reports is told.
    void tellInitializing();

    /// A step is done; told only within init().
    void tellStepDone();

    void tellInitialized();

    /// The daemon is ready; told once.
    void tellRunning();

    /// A stop was asked for.
    static void tellStopping();

    /// The run has failed.
    static void tellFailure(std::exception const& error);

    /// The daemon, which was ready, reads its settings again. Tell one of the other two in the end.
    static void tellReloading();
    static void tellReloaded();
    static void tellReloadFailure(std::exception const& error);

private:
    std::mutex m_mutex; // guards the fields below, and keeps messages in their order
    bool m_isInitializing = false;
    int m_stepsDone = 0;
    bool m_hasToldRunning = false;
};

} // namespace dmn
