#include "CMyService.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <future>
#include <string>

#include <stdlib.h>

/// A manager that shows its status to the test.
class CObservedManager : public dmn::CDaemonManager {
public:
    Status getStatus() {
        fdn::CMutexLock const lock(m_mutex);
        return m_status;
    }
};

/// Runs a service in this process, on a thread and with a control folder of its own.
class CMyServiceTest : public testing::Test {
protected:
    using Status = dmn::CDaemonManager::Status;

    CMyServiceTest() {
        std::string name = (std::filesystem::temp_directory_path() / "service-XXXXXX").string();
        m_folder = mkdtemp(name.data());
        m_service = fdn::newObj<CMyService>("service", fdn::Path(fdn::String::fromBytes(m_folder)));
    }

    ~CMyServiceTest() override {
        stop();
        m_run = {}; // Waits for the thread.
        std::filesystem::remove_all(m_folder);
    }

    void start() {
        m_run = std::async(std::launch::async, [this] { m_manager->runDaemon(m_service.get()); });
    }

    /// Does what the handler of SIGTERM does.
    void stop() { m_manager->signalStop(); }

    bool awaitStatus(Status status) {
        auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (m_manager->getStatus() != status && std::chrono::steady_clock::now() < deadline)
            fdn::CThread::sleep(10);
        return m_manager->getStatus() == status;
    }

    std::string m_folder;
    fdn::P<CObservedManager> m_manager = fdn::newObj<CObservedManager>();
    fdn::P<CMyService> m_service;
    std::future<void> m_run;
};

TEST_F(CMyServiceTest, HoldsItsPIDFileWhileItRuns) {
    start();

    ASSERT_TRUE(awaitStatus(Status::Running));
    EXPECT_TRUE(std::filesystem::exists(m_folder + "/service.pid"));
}

TEST_F(CMyServiceTest, StopsWhenItIsAskedTo) {
    start();
    ASSERT_TRUE(awaitStatus(Status::Running));

    stop();

    EXPECT_TRUE(awaitStatus(Status::Stopped));
    m_run.get(); // Rethrows what the daemon has thrown.
    EXPECT_FALSE(std::filesystem::exists(m_folder + "/service.pid"));
}

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    setenv("FDN_LOG_FILE", "/dev/stderr", 0); // Otherwise the test would leave a log file.
    fdn::CFdnInit const foundation(true);
    return RUN_ALL_TESTS();
}
