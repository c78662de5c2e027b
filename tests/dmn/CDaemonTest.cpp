#include <dmn/CDaemon.h>

#include <fdn/P.h>

#include <gtest/gtest.h>

#include <thread>

namespace {

class CIdleDaemon : public dmn::CDaemon {
public:
    explicit CIdleDaemon(fdn::Path const& controlFolder = fdn::Path("/control"), bool* deleted = nullptr)
        : CDaemon("idle", controlFolder), m_deleted(deleted) {}

    ~CIdleDaemon() override {
        if (m_deleted != nullptr)
            *m_deleted = true;
    }

    void run() override {}

private:
    bool* m_deleted;
};

TEST(CDaemon, KeepsItsIdAndControlFolderAsTheyAreGiven) {
    CIdleDaemon const daemon(fdn::Path("x/../folder", true, false));

    EXPECT_EQ("idle", daemon.getId());
    EXPECT_EQ("x/../folder", daemon.getControlFolder().getText());
    EXPECT_FALSE(daemon.getControlFolder().isNormalized());
}

TEST(CDaemon, KeepsTheMarkOfANormalizedControlFolder) {
    CIdleDaemon const daemon(fdn::Path("/folder", true, true));

    EXPECT_TRUE(daemon.getControlFolder().isNormalized());
}

TEST(CDaemon, IsNotAskedToStopAtFirst) {
    CIdleDaemon const daemon;

    EXPECT_FALSE(daemon.shouldStop());
}

TEST(CDaemon, IsAskedToStopForEverAfterOneSignalStop) {
    CIdleDaemon daemon;

    daemon.signalStop();

    EXPECT_TRUE(daemon.shouldStop());
    EXPECT_TRUE(daemon.shouldStop());
}

TEST(CDaemon, SecondSignalStopChangesNothing) {
    CIdleDaemon daemon;
    daemon.signalStop();

    daemon.signalStop();

    EXPECT_TRUE(daemon.shouldStop());
}

TEST(CDaemon, SignalStopOfOneThreadEndsThePollingOfAnother) {
    CIdleDaemon daemon;
    std::thread poller([&daemon] {
        while (!daemon.shouldStop())
            std::this_thread::yield();
    });

    daemon.signalStop();

    poller.join();
}

TEST(CDaemon, InitOfTheBaseNeedsNoProgressObject) {
    CIdleDaemon daemon;

    EXPECT_NO_THROW(daemon.init(nullptr));

    EXPECT_FALSE(daemon.shouldStop());
}

TEST(CDaemon, IsDeletedWithItsLastReference) {
    bool deleted = false;
    fdn::P<dmn::CDaemon> first = fdn::newObj<CIdleDaemon>(fdn::Path(), &deleted);
    fdn::P<dmn::CDaemon> second = first;

    first.reset();
    EXPECT_FALSE(deleted);
    second.reset();

    EXPECT_TRUE(deleted);
}

} // namespace
