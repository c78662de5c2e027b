#include <dmn/dmn.h>

#include "support/Pipe.h"
#include "support/TemporaryFolder.h"
#include "support/await.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <future>

#include <poll.h>
#include <sys/epoll.h>
#include <unistd.h>

namespace {

/// Reads bytes from a descriptor, and counts them and its reloads.
class CByteCounter : public dmn::CService {
public:
    CByteCounter(fdn::Path const& controlFolder, int source)
        : CService("counter", controlFolder), m_source(source) {}

    void reload() override { ++m_reloads; }

    int getBytes() const { return m_bytes; }

    int getReloads() const { return m_reloads; }

protected:
    int getSource() const { return m_source; }

    void takeBytes() {
        std::array<char, 64> bytes = {};
        ssize_t const count = read(m_source, bytes.data(), bytes.size());
        if (count > 0)
            m_bytes += static_cast<int>(count);
    }

private:
    int m_source;
    std::atomic<int> m_bytes{0};
    std::atomic<int> m_reloads{0};
};

class CPollingCounter : public CByteCounter {
public:
    using CByteCounter::CByteCounter;

    void run() override {
        pollfd events[] = {
            {getStopDescriptor(), POLLIN, 0}, {getReloadDescriptor(), POLLIN, 0}, {getSource(), POLLIN, 0}};
        while (!shouldStop()) {
            if (poll(events, std::size(events), -1) == -1) {
                if (errno != EINTR)
                    fdn::throwLastSysError("poll", "CPollingCounter::run");
                continue;
            }
            if (events[1].revents != 0)
                sleep(0); // Calls reload().
            if (events[2].revents != 0)
                takeBytes();
        }
    }
};

class CEpollCounter : public CByteCounter {
public:
    using CByteCounter::CByteCounter;

    ~CEpollCounter() override { close(m_epoll); }

    void run() override {
        for (int const descriptor : {getStopDescriptor(), getReloadDescriptor(), getSource()})
            watch(descriptor);
        while (!shouldStop()) {
            epoll_event event = {};
            int const count = epoll_wait(m_epoll, &event, 1, -1);
            if (count == -1 && errno != EINTR)
                fdn::throwLastSysError("epoll_wait", "CEpollCounter::run");
            if (count == 1 && event.data.fd == getReloadDescriptor())
                sleep(0); // Calls reload().
            if (count == 1 && event.data.fd == getSource())
                takeBytes();
        }
    }

private:
    void watch(int descriptor) {
        epoll_event event = {};
        event.events = EPOLLIN;
        event.data.fd = descriptor;
        if (epoll_ctl(m_epoll, EPOLL_CTL_ADD, descriptor, &event) == -1)
            fdn::throwLastSysError("epoll_ctl", "CEpollCounter::watch");
    }

    int m_epoll = epoll_create1(EPOLL_CLOEXEC);
};

template <class Counter>
void expectToTakeBytesReloadAndStop() {
    test::TemporaryFolder const folder;
    test::Pipe const pipe = test::makePipe();
    auto const counter = fdn::newObj<Counter>(folder.path(), pipe.reading.get());
    auto const manager = fdn::newObj<dmn::CDaemonManager>();
    std::future<void> run = std::async(std::launch::async, [&] { manager->runDaemon(counter.get()); });

    EXPECT_EQ(12, write(pipe.writing.get(), "twelve bytes", 12));
    EXPECT_TRUE(test::await([&] { return counter->getBytes() == 12; }));
    counter->signalReload();
    EXPECT_TRUE(test::await([&] { return counter->getReloads() == 1; }));
    manager->signalStop();

    run.get();
}

TEST(GuideEventLoops, LoopAroundPollWorksReloadsAndStops) {
    expectToTakeBytesReloadAndStop<CPollingCounter>();
}

TEST(GuideEventLoops, LoopAroundEpollWorksReloadsAndStops) {
    expectToTakeBytesReloadAndStop<CEpollCounter>();
}

} // namespace
