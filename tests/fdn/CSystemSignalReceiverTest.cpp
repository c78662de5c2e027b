#include "support/BlockedSignal.h"
#include "support/CapturedLog.h"
#include "support/Program.h"
#include "support/SignalTreatment.h"
#include "support/await.h"
#include "support/errors.h"
#include "support/fileInfo.h"
#include "support/processInfo.h"
#include "support/sanitizer.h"

#include <fdn/CError.h>
#include <fdn/CSystemSignalReceiver.h>
#include <fdn/P.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <future>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using fdn::CSystemSignalReceiver;
using fdn::P;
using fdn::SysSignal;
using test::await;
using test::BlockedSignal;
using test::errorOf;

constexpr SysSignal kSignals[] = {SysSignal::Terminate, SysSignal::User1, SysSignal::User2};

// Counts its calls and performs an action, if it was given one.
class CHandler : public fdn::CBase, public virtual fdn::ISystemSignalHandler {
public:
    explicit CHandler(std::function<void()> action = [] {}) : m_action(std::move(action)) {}

    ~CHandler() override { ++destroyed; }

    void handleSystemSignal(SysSignal signal) override {
        last = signal;
        thread = std::this_thread::get_id();
        m_action();
        ++calls;
    }

    static inline std::atomic<int> destroyed{0};
    std::atomic<int> calls{0};
    std::atomic<SysSignal> last{SysSignal::Hangup};
    std::atomic<std::thread::id> thread{std::thread::id()};

private:
    std::function<void()> m_action;
};

void handle(SysSignal signal, CHandler* handler) {
    CSystemSignalReceiver::get().setHandler(signal, handler);
}

void sendToSelf(SysSignal signal) {
    ASSERT_EQ(kill(getpid(), static_cast<int>(signal)), 0);
}

bool awaitCalls(P<CHandler> const& handler, int calls) {
    return await([&] { return handler->calls == calls; });
}

std::string treatmentOf(int signal) {
    struct sigaction action = {};
    sigaction(signal, nullptr, &action);
    if (action.sa_handler == SIG_DFL)
        return "default";
    return action.sa_handler == SIG_IGN ? "ignored" : "handled";
}

// Whether every thread but the main one blocks the signals that the tests use.
bool otherThreadsBlockSignals() {
    for (std::string const& thread : test::entriesOf("/proc/self/task")) {
        unsigned long long const mask = std::stoull(test::statusOf(std::stoi(thread), "SigBlk"), nullptr, 16);
        for (SysSignal signal : kSignals)
            if (std::stoi(thread) != getpid() && (mask >> (static_cast<int>(signal) - 1) & 1U) == 0)
                return false;
    }
    return true;
}

class SignalReceiver : public testing::Test {
protected:
    // Waits until the receiver's thread has noticed, so that each test finds it as the first test did.
    void TearDown() override {
        for (SysSignal signal : kSignals)
            handle(signal, nullptr);
        EXPECT_TRUE(await(&otherThreadsBlockSignals));
    }

    P<CHandler> const handler = fdn::newObj<CHandler>();
};

TEST_F(SignalReceiver, IsOnePerProcess) {
    EXPECT_EQ(&CSystemSignalReceiver::get(), &CSystemSignalReceiver::get());
    EXPECT_EQ(errorOf([] { CSystemSignalReceiver second; }).getMessage(),
              "The process has its signal receiver already.");
}

TEST_F(SignalReceiver, CallsTheHandlerOnAnotherThread) {
    handle(SysSignal::Terminate, handler.get());

    sendToSelf(SysSignal::Terminate);

    ASSERT_TRUE(awaitCalls(handler, 1));
    EXPECT_EQ(handler->last, SysSignal::Terminate);
    EXPECT_NE(handler->thread.load(), std::this_thread::get_id());
}

TEST_F(SignalReceiver, CallsTheHandlerForEachSignal) {
    handle(SysSignal::Terminate, handler.get());

    sendToSelf(SysSignal::Terminate);
    ASSERT_TRUE(awaitCalls(handler, 1));
    sendToSelf(SysSignal::Terminate);

    EXPECT_TRUE(awaitCalls(handler, 2));
}

TEST_F(SignalReceiver, CallsOneHandlerAfterTheOther) {
    std::atomic<bool> isBusy{false};
    std::atomic<bool> mayEnd{false};
    auto const first = fdn::newObj<CHandler>([&] {
        isBusy = true;
        while (!mayEnd)
            std::this_thread::yield();
        isBusy = false;
    });
    std::atomic<bool> overlapped{false};
    auto const second = fdn::newObj<CHandler>([&] { overlapped = isBusy.load(); });
    handle(SysSignal::User1, first.get());
    handle(SysSignal::User2, second.get());

    sendToSelf(SysSignal::User1);
    ASSERT_TRUE(await([&] { return isBusy.load(); }));
    sendToSelf(SysSignal::User2);
    mayEnd = true;

    ASSERT_TRUE(awaitCalls(second, 1));
    EXPECT_FALSE(overlapped);
    EXPECT_EQ(first->thread.load(), second->thread.load());
}

TEST_F(SignalReceiver, WorksWhereEveryThreadOfTheProgramBlocksTheSignal) {
    BlockedSignal const blocked(SIGTERM);
    handle(SysSignal::Terminate, handler.get());

    sendToSelf(SysSignal::Terminate);

    EXPECT_TRUE(awaitCalls(handler, 1));
}

TEST_F(SignalReceiver, WorksForASignalThatWasPendingAlready) {
    BlockedSignal const blocked(SIGTERM);
    sendToSelf(SysSignal::Terminate);

    handle(SysSignal::Terminate, handler.get());

    EXPECT_TRUE(awaitCalls(handler, 1));
}

TEST_F(SignalReceiver, WorksWhereTheSignalWasIgnored) {
    test::SignalTreatment const ignored(SIGTERM, SIG_IGN);
    handle(SysSignal::Terminate, handler.get());

    sendToSelf(SysSignal::Terminate);

    EXPECT_TRUE(awaitCalls(handler, 1));
    handle(SysSignal::Terminate, nullptr);
    EXPECT_EQ(treatmentOf(SIGTERM), "ignored");
}

TEST_F(SignalReceiver, LetsTheThreadBlockWhatItDoesNotHandle) {
    sigset_t mask;
    sigemptyset(&mask);
    auto const observer = fdn::newObj<CHandler>([&] { pthread_sigmask(SIG_SETMASK, nullptr, &mask); });
    handle(SysSignal::User1, observer.get());

    sendToSelf(SysSignal::User1);

    ASSERT_TRUE(awaitCalls(observer, 1));
    ASSERT_TRUE(await([&] { return sigismember(&mask, SIGINT) == 1; }));
    EXPECT_EQ(sigismember(&mask, SIGUSR1), 0);
    EXPECT_EQ(sigismember(&mask, SIGTERM), 1);
}

TEST_F(SignalReceiver, ReplacesAnEarlierHandler) {
    auto const second = fdn::newObj<CHandler>();
    handle(SysSignal::Terminate, handler.get());
    handle(SysSignal::Terminate, second.get());

    sendToSelf(SysSignal::Terminate);

    EXPECT_TRUE(awaitCalls(second, 1));
    EXPECT_EQ(handler->calls, 0);
}

TEST_F(SignalReceiver, GivesTheSignalBackWhenTheHandlerIsRemoved) {
    handle(SysSignal::Terminate, handler.get());
    EXPECT_EQ(treatmentOf(SIGTERM), "handled");

    handle(SysSignal::Terminate, nullptr);

    EXPECT_EQ(treatmentOf(SIGTERM), "default");
}

TEST_F(SignalReceiver, HasNothingToRemoveWhereThereIsNoHandler) {
    EXPECT_NO_THROW(handle(SysSignal::Terminate, nullptr));
}

TEST_F(SignalReceiver, HoldsAHandlerUntilItIsReplaced) {
    int const destroyed = CHandler::destroyed;
    handle(SysSignal::Terminate, fdn::newObj<CHandler>().get());
    EXPECT_EQ(CHandler::destroyed, destroyed);

    handle(SysSignal::Terminate, handler.get());

    EXPECT_EQ(CHandler::destroyed, destroyed + 1);
}

TEST_F(SignalReceiver, HoldsAHandlerWhileItIsCalled) {
    int const destroyed = CHandler::destroyed;
    std::atomic<int> destroyedInCall{-1};
    handle(SysSignal::User1, fdn::newObj<CHandler>([&] {
                                 handle(SysSignal::User1, nullptr);
                                 destroyedInCall = CHandler::destroyed.load();
                             }).get());

    sendToSelf(SysSignal::User1);

    ASSERT_TRUE(await([&] { return destroyedInCall != -1; }));
    EXPECT_EQ(destroyedInCall, destroyed);
    EXPECT_TRUE(await([&] { return CHandler::destroyed == destroyed + 1; }));
}

TEST_F(SignalReceiver, LetsAHandlerSetAnother) {
    auto const first = fdn::newObj<CHandler>([&] { handle(SysSignal::User2, handler.get()); });
    handle(SysSignal::User1, first.get());

    sendToSelf(SysSignal::User1);
    ASSERT_TRUE(await([] { return treatmentOf(SIGUSR2) == "handled"; }));
    sendToSelf(SysSignal::User2);

    EXPECT_TRUE(awaitCalls(handler, 1));
}

TEST_F(SignalReceiver, LogsWhatAHandlerThrowsAndGoesOn) {
    test::CapturedLog const log;
    auto const failing = fdn::newObj<CHandler>([] { throw std::runtime_error("handler failed"); });
    handle(SysSignal::User1, failing.get());
    handle(SysSignal::Terminate, handler.get());

    sendToSelf(SysSignal::User1);
    ASSERT_TRUE(await([&] { return log.entries().size() == 1; }));
    sendToSelf(SysSignal::Terminate);

    ASSERT_TRUE(awaitCalls(handler, 1));
    EXPECT_THAT(log.entries()[0], testing::HasSubstr("handler failed"));
}

TEST_F(SignalReceiver, RefusesSignalsThatCannotBeHandled) {
    EXPECT_EQ(errorOf([&] { handle(static_cast<SysSignal>(SIGKILL), handler.get()); }).getCode(), EINVAL);
    EXPECT_EQ(errorOf([&] { handle(static_cast<SysSignal>(0), handler.get()); }).getCode(), EINVAL);
    EXPECT_EQ(errorOf([&] { handle(static_cast<SysSignal>(1000), handler.get()); }).getCode(), EINVAL);
}

TEST_F(SignalReceiver, LeavesErrnoAlone) {
    handle(SysSignal::Terminate, handler.get());
    errno = E2BIG;

    raise(SIGTERM);

    EXPECT_EQ(errno, E2BIG);
    EXPECT_TRUE(awaitCalls(handler, 1));
}

TEST_F(SignalReceiver, LetsASignalEndAForkedProcessAlone) {
    if (test::kHasThreadSanitizer)
        GTEST_SKIP()
            << "ThreadSanitizer holds back signals in a process that was forked from several threads";
    handle(SysSignal::Terminate, handler.get());
    handle(SysSignal::User1, handler.get());
    test::Program child([] {
        while (true)
            pause();
    });

    child.sendSignal(SIGTERM);

    EXPECT_EQ(child.wait().signal, SIGTERM);
    sendToSelf(SysSignal::User1);
    ASSERT_TRUE(awaitCalls(handler, 1));
    EXPECT_EQ(handler->last, SysSignal::User1);
}

TEST_F(SignalReceiver, IsNotForAForkedProcess) {
    CSystemSignalReceiver::get();

    test::Outcome const outcome = test::runInChild([&] { handle(SysSignal::Terminate, handler.get()); });

    EXPECT_EQ(outcome.errors, "The signal receiver belongs to the process that has made it.");
}

TEST_F(SignalReceiver, TakesManySignalsFromManyThreads) {
    handle(SysSignal::User1, handler.get());
    std::vector<std::thread> senders;

    for (int i = 0; i < 4; ++i)
        senders.emplace_back([] {
            for (int count = 0; count < 2000; ++count)
                raise(SIGUSR1);
        });
    for (std::thread& sender : senders)
        sender.join();

    EXPECT_TRUE(awaitCalls(handler, 8000));
}

TEST_F(SignalReceiver, LetsNoFloodOfOneSignalDelayAnother) {
    std::promise<void> end;
    auto const slow = fdn::newObj<CHandler>([isOver = end.get_future().share()] { isOver.wait(); });
    handle(SysSignal::User1, slow.get());
    handle(SysSignal::Terminate, handler.get());

    for (int i = 0; i < 70000; ++i)
        raise(SIGUSR1);
    sendToSelf(SysSignal::Terminate);
    end.set_value();

    ASSERT_TRUE(awaitCalls(handler, 1));
    EXPECT_LT(slow->calls, 70000);
}

TEST_F(SignalReceiver, ForgetsSignalsThatItsHandlerWasRemovedFor) {
    std::promise<void> end;
    auto const slow = fdn::newObj<CHandler>([isOver = end.get_future().share()] { isOver.wait(); });
    handle(SysSignal::User1, slow.get());
    raise(SIGUSR1);
    raise(SIGUSR1);

    handle(SysSignal::User1, nullptr);
    handle(SysSignal::User1, handler.get());
    end.set_value();
    handle(SysSignal::Terminate, slow.get());
    sendToSelf(SysSignal::Terminate);

    ASSERT_TRUE(await([&] { return slow->last == SysSignal::Terminate; }));
    EXPECT_EQ(handler->calls, 0);
}

TEST(SignalReceiverAtExit, KeepsASignalFromChangingTheExitStatus) {
    EXPECT_EQ(test::run({DMN_END_WITH_SIGNALS, "signalled-at-exit"}).status, 0);
}

TEST(SignalReceiverAtExit, LetsAHandlerEndTheProcess) {
    EXPECT_EQ(test::run({DMN_END_WITH_SIGNALS, "exit-in-handler"}).status, 0);
}

TEST(SignalReceiverAtExit, MayBeAskedForByADestructorThatRunsAfterItsOwn) {
    EXPECT_EQ(test::run({DMN_END_WITH_SIGNALS, "used-at-exit"}).status, 0);
}

TEST(SignalReceiverWithoutDescriptors, HearsSignalsAndLeavesTheProgramsFilesAlone) {
    EXPECT_EQ(test::run({DMN_END_WITH_SIGNALS, "without-descriptors"}).status, 0);
}

TEST(SignalReceiverAtExit, LetsAForkedProcessEndByItself) {
    EXPECT_EQ(test::run({DMN_END_WITH_SIGNALS, "exit-in-fork"}).status, 0);
}

} // namespace
