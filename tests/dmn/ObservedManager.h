#pragma once

#include <dmn/CDaemonManager.h>

#include <functional>
#include <utility>

namespace test {

/// A daemon "app" that behaves as the test tells it to.
class ScriptedDaemon : public dmn::CDaemon {
public:
    explicit ScriptedDaemon(fdn::Path const& controlFolder) : CDaemon("app", controlFolder) {}

    ~ScriptedDaemon() override { onDelete(); }

    void init(dmn::IDaemonOperationProgress* sink) override {
        progress = sink;
        onInit();
    }

    void run() override { onRun(); }

    std::function<void()> onInit = [] {};
    std::function<void()> onRun = [] {};
    std::function<void()> onDelete = [] {};
    dmn::IDaemonOperationProgress* progress = nullptr;
};

/// A manager that lets the test see and change what is going on in it.
class ObservedManager : public dmn::CDaemonManager {
public:
    ~ObservedManager() override { onDelete(); }

    void onOperationStepDone() override { onStep(); }

    Status status() {
        fdn::CMutexLock const lock(m_mutex);
        return m_status;
    }

    fdn::P<dmn::CDaemon> daemon() {
        fdn::CMutexLock const lock(m_mutex);
        return m_daemon;
    }

    /// Puts a daemon in place of the attached one, as a run would.
    void attach(fdn::P<dmn::CDaemon> daemon) {
        fdn::CMutexLock const lock(m_mutex);
        m_daemon = std::move(daemon);
    }

    /// The mutex that stop requests need; they wait as long as the test holds it.
    fdn::IMutex& mutex() { return m_mutex; }

    std::function<void()> onStep = [] {};
    std::function<void()> onDelete = [] {};
};

} // namespace test
