#include "ObservedManager.h"

#include "support/BackgroundCall.h"

#include <dmn/CDaemonEntry.h>

#include <gtest/gtest.h>

#include <mutex>

namespace {

using Status = dmn::CDaemonManager::Status;
using CSignalHandler = dmn::CDaemonEntry::CSignalHandler;
using test::ObservedManager;
using test::ScriptedDaemon;

class CSignalHandlerTest : public testing::Test {
protected:
    void signal() { m_handler->handleSystemSignal(fdn::SysSignal::Terminate); }

    fdn::P<CSignalHandler> m_handler = fdn::newObj<CSignalHandler>();
    fdn::P<ObservedManager> m_manager = fdn::newObj<ObservedManager>();
};

TEST_F(CSignalHandlerTest, WithoutASignalTheManagerIsLeftAlone) {
    m_handler->setDaemonManager(m_manager.get());

    EXPECT_EQ(Status::Starting, m_manager->status());
}

TEST_F(CSignalHandlerTest, SignalStopsTheManager) {
    m_handler->setDaemonManager(m_manager.get());

    signal();

    EXPECT_EQ(Status::Stopping, m_manager->status());
}

TEST_F(CSignalHandlerTest, AnySignalThatItIsRegisteredForIsTakenAsAStopRequest) {
    m_handler->setDaemonManager(m_manager.get());

    m_handler->handleSystemSignal(fdn::SysSignal::Hangup);

    EXPECT_EQ(Status::Stopping, m_manager->status());
}

TEST_F(CSignalHandlerTest, SignalBeforeThereIsAManagerStopsItAsSoonAsItIsSet) {
    signal();

    m_handler->setDaemonManager(m_manager.get());

    EXPECT_EQ(Status::Stopping, m_manager->status());
}

TEST_F(CSignalHandlerTest, SignalIsNeverForgotten) {
    auto const next = fdn::newObj<ObservedManager>();
    signal();
    m_handler->setDaemonManager(m_manager.get());
    m_handler->setDaemonManager(nullptr);

    m_handler->setDaemonManager(next.get());

    EXPECT_EQ(Status::Stopping, next->status());
}

TEST_F(CSignalHandlerTest, SignalAfterTheManagerIsGoneDoesNotReachIt) {
    m_handler->setDaemonManager(m_manager.get());
    m_handler->setDaemonManager(nullptr);

    signal();

    EXPECT_EQ(Status::Starting, m_manager->status());
}

// Whether the second stop request reaches the manager shows in the daemon that is attached by then.
TEST_F(CSignalHandlerTest, EverySignalReachesTheManagersDaemon) {
    auto const first = fdn::newObj<ScriptedDaemon>(fdn::Path());
    auto const second = fdn::newObj<ScriptedDaemon>(fdn::Path());
    m_handler->setDaemonManager(m_manager.get());
    m_manager->attach(first);
    signal();
    EXPECT_TRUE(first->shouldStop());
    m_manager->attach(second);
    EXPECT_FALSE(second->shouldStop());

    signal();

    EXPECT_TRUE(second->shouldStop());
}

TEST_F(CSignalHandlerTest, HoldsItsManagerUntilAnotherOneIsSet) {
    bool deleted = false;
    m_manager->onDelete = [&] { deleted = true; };
    m_handler->setDaemonManager(m_manager.get());
    m_manager.reset();
    EXPECT_FALSE(deleted);

    m_handler->setDaemonManager(nullptr);

    EXPECT_TRUE(deleted);
}

TEST_F(CSignalHandlerTest, KeepsAManagerThatIsSetAgain) {
    bool deleted = false;
    m_manager->onDelete = [&] { deleted = true; };
    ObservedManager* const manager = m_manager.get();
    m_handler->setDaemonManager(manager);
    m_manager.reset();

    m_handler->setDaemonManager(manager);

    EXPECT_FALSE(deleted);
    m_handler->setDaemonManager(nullptr);
}

TEST_F(CSignalHandlerTest, DestructorReleasesTheManager) {
    bool deleted = false;
    m_manager->onDelete = [&] { deleted = true; };
    m_handler->setDaemonManager(m_manager.get());
    m_manager.reset();

    m_handler.reset();

    EXPECT_TRUE(deleted);
}

TEST_F(CSignalHandlerTest, DetachingWaitsUntilASignalHasBeenForwarded) {
    m_handler->setDaemonManager(m_manager.get());
    std::unique_lock<fdn::IMutex> forwarding(m_manager->mutex());
    test::BackgroundCall const signalling([this] { signal(); });
    ASSERT_TRUE(signalling.getsBlocked());
    test::BackgroundCall const detaching([this] { m_handler->setDaemonManager(nullptr); });

    bool const waits = detaching.getsBlocked();
    forwarding.unlock();

    EXPECT_TRUE(waits);
}

} // namespace
