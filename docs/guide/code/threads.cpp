#include <dmn/dmn.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <future>
#include <string>

#include <stdlib.h>

/// Does two things at once, on two threads. When either ends, for whatever reason, so does the other.
class CTwoWorkers : public dmn::CService {
public:
    CTwoWorkers(fdn::Path const& controlFolder, std::function<void()> first, std::function<void()> second)
        : CService("workers", controlFolder), m_first(std::move(first)), m_second(std::move(second)) {}

    void run() override {
        std::future<void> first = startWorker(m_first);
        std::future<void> second = startWorker(m_second);
        first.get();
        second.get();
    }

private:
    std::future<void> startWorker(std::function<void()> const& work) {
        return std::async(std::launch::async, [this, work] {
            try {
                work();
            } catch (...) {
                signalStop();
                throw;
            }
            signalStop();
        });
    }

    std::function<void()> m_first;
    std::function<void()> m_second;
};

TEST(GuideThreads, WorkerThatThrowsEndsTheOtherOneAndTheDaemon) {
    std::string folder = (std::filesystem::temp_directory_path() / "workers-XXXXXX").string();
    ASSERT_NE(nullptr, mkdtemp(folder.data()));
    fdn::P<CTwoWorkers> daemon;
    auto const waitForStop = [&daemon] {
        while (!daemon->shouldStop())
            fdn::CThread::sleep(10);
    };
    auto const fail = [] { throw fdn::CError("The second worker has failed."); };
    daemon = fdn::newObj<CTwoWorkers>(fdn::Path(fdn::String::fromBytes(folder)), waitForStop, fail);

    EXPECT_THROW(fdn::newObj<dmn::CDaemonManager>()->runDaemon(daemon.get()), fdn::CError);

    EXPECT_TRUE(daemon->shouldStop());
    std::filesystem::remove_all(folder);
}
