#include "CSampler.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <future>
#include <string>

#include <stdlib.h>

/// A manager that shows its status and progress to the test.
class CObservedManager : public dmn::CDaemonManager {
public:
    Status getStatus() {
        fdn::CMutexLock const lock(m_mutex);
        return m_status;
    }

    void onOperationStepDone() override { ++m_steps; }

    int getSteps() const { return m_steps; }

private:
    std::atomic<int> m_steps{0};
};

/// Runs a sampler in this process, on a thread of its own. It takes a sample every hour.
class CSamplerTest : public testing::Test {
protected:
    using Status = dmn::CDaemonManager::Status;

    CSamplerTest() {
        std::string name = (std::filesystem::temp_directory_path() / "sampler-XXXXXX").string();
        m_folder = mkdtemp(name.data());
        m_sampler =
            fdn::newObj<CSampler>("sampler", fdn::Path(fdn::String::fromBytes(m_folder)), 3600, "test");
    }

    ~CSamplerTest() override {
        stop();
        m_run = {}; // Waits for the thread.
        std::filesystem::remove_all(m_folder);
    }

    void start() {
        m_run = std::async(std::launch::async, [this] { m_manager->runDaemon(m_sampler.get()); });
    }

    /// Does what the handler of SIGTERM does.
    void stop() { m_manager->signalStop(); }

    static bool await(std::function<bool()> const& condition) {
        auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (!condition() && std::chrono::steady_clock::now() < deadline)
            fdn::CThread::sleep(10);
        return condition();
    }

    bool awaitStatus(Status status) {
        return await([this, status] { return m_manager->getStatus() == status; });
    }

    std::string m_folder;
    fdn::P<CObservedManager> m_manager = fdn::newObj<CObservedManager>();
    fdn::P<CSampler> m_sampler;
    std::future<void> m_run;
};

TEST_F(CSamplerTest, HoldsItsPIDFileWhileItRuns) {
    start();

    ASSERT_TRUE(awaitStatus(Status::Running));
    EXPECT_TRUE(std::filesystem::exists(m_folder + "/sampler.pid"));
    EXPECT_EQ(5, m_manager->getSteps()); // three from the manager, two from the sampler
}

TEST_F(CSamplerTest, StopsWhenItIsAskedTo) {
    start();
    ASSERT_TRUE(awaitStatus(Status::Running));

    stop();

    EXPECT_TRUE(awaitStatus(Status::Stopped));
    m_run.get(); // Rethrows what the daemon has thrown.
    EXPECT_FALSE(std::filesystem::exists(m_folder + "/sampler.pid"));
}

TEST_F(CSamplerTest, ThatWasStoppedBeforeItsStartDoesNotWait) {
    m_manager->signalStop();

    start();

    EXPECT_TRUE(awaitStatus(Status::Stopped));
}

TEST_F(CSamplerTest, ReopensItsFileWhenItIsToldTo) {
    start();
    ASSERT_TRUE(awaitStatus(Status::Running));
    std::filesystem::remove(m_folder + "/samples.txt");

    m_sampler->signalReload(); // As SIGHUP does.

    EXPECT_TRUE(await([this] { return std::filesystem::exists(m_folder + "/samples.txt"); }));
}

TEST_F(CSamplerTest, FailsWithoutItsFolder) {
    std::filesystem::remove_all(m_folder);

    start();

    EXPECT_THROW(m_run.get(), fdn::CError);
    EXPECT_EQ(Status::Stopped, m_manager->getStatus());
}

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    setenv("FDN_LOG_FILE", "/dev/stderr", 0); // Otherwise the test would leave a log file.
    fdn::CFdnInit const foundation(true);
    return RUN_ALL_TESTS();
}
