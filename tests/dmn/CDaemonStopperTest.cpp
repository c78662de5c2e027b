#include "ControllerTest.h"

#include "support/Obstacles.h"
#include "support/Pipe.h"
#include "support/Program.h"
#include "support/await.h"
#include "support/errors.h"
#include "support/processInfo.h"

#include <dmn/CDaemonStopper.h>

#include <fdn/CPIDFile.h>

#include <gmock/gmock.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <filesystem>
#include <memory>

#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace test {

namespace {

using dmn::CDaemonStopper;
using Force = CDaemonStopper::Force;
using Result = CDaemonStopper::Outcome;
using testing::HasSubstr;

using Names = std::vector<std::string>;

constexpr int kLong = 30000;
constexpr int kShort = 100;

void sayUp() {
    std::puts("up");
    std::fflush(stdout);
}

class Stopper : public ControllerTest {
protected:
    /// A process that holds the PID file and does nothing else until a signal ends it.
    std::unique_ptr<Program> startHolder() const {
        return startHolder([] {});
    }

    /// The same; it first performs the preparation.
    std::unique_ptr<Program> startHolder(std::function<void()> const& preparation) const {
        auto holder = std::make_unique<Program>([this, preparation] {
            preparation();
            fdn::CPIDFile const file(m_folder / "app.pid");
            sayUp();
            for (;;)
                pause();
        });
        EXPECT_TRUE(awaitOutput(*holder, "up\n"));
        return holder;
    }

    /// Holds the PID file, and gives it up at SIGTERM. For a child of the test.
    void holdFileUntilAsked() const {
        fdn::CPIDFile const file(m_folder / "app.pid");
        signal(SIGTERM, [](int) {});
        sayUp();
        pause();
    }

    std::unique_ptr<Program> startDeafHolder() const {
        return startHolder([] { signal(SIGTERM, SIG_IGN); });
    }

    CDaemonStopper m_stopper{"app", m_folder.path()};
};

class StopperUnderAnOrdinaryUser : public ControllerAccountsTest {};

std::string number(pid_t process) {
    return std::to_string(process);
}

} // namespace

TEST_F(Stopper, FindsThatNobodyHoldsTheFile) {
    EXPECT_EQ(Result::WasNotRunning, m_stopper.stop(kLong, Force::No));
    EXPECT_EQ(0, m_stopper.getProcess());
    EXPECT_EQ((Names{"Stopping daemon 'app'...", "Done stopping daemon 'app'."}), m_log.entries());
}

TEST_F(Stopper, MakesNoControlFolder) {
    EXPECT_EQ(Result::WasNotRunning, CDaemonStopper("app", m_folder / "missing").stop(0, Force::Yes));
    EXPECT_EQ(Names{}, entriesOf(m_folder.name()));
}

TEST_F(Stopper, EndsAProcessThatIsNotInstalled) {
    auto const holder = startHolder();

    EXPECT_EQ(Result::Stopped, m_stopper.stop(kLong, Force::No));

    EXPECT_EQ(holder->pid(), m_stopper.getProcess());
    EXPECT_EQ(SIGTERM, holder->wait().signal);
}

TEST_F(Stopper, TakesTheControlFolderFromTheScriptWhereItWasGivenNone) {
    install();
    auto const holder = startHolder();

    EXPECT_EQ(Result::Stopped, CDaemonStopper("app", fdn::Path()).stop(kLong, Force::No));
    EXPECT_EQ(SIGTERM, holder->wait().signal);
}

TEST_F(Stopper, EndsAProcessWithoutADescriptorOfItsEnd) {
    auto const holder = startHolder();

    Outcome const outcome = runInChild([this] {
        refuseSystemCall(SYS_pidfd_open, ENOSYS);
        require(m_stopper.stop(kLong, Force::No) == Result::Stopped, "it was not stopped");
    });

    EXPECT_EQ(0, outcome.status) << outcome.errors;
    EXPECT_EQ(SIGTERM, holder->wait().signal);
}

// The process gives its file up at once, but takes its time to end.
TEST_F(Stopper, AwaitsTheEndOfAProcessThatHasGivenItsFileUp) {
    static Pipe gate = makePipe();
    auto const holder = std::make_unique<Program>([this] {
        gate.writing.reset();
        holdFileUntilAsked();
        char byte = 0;
        static_cast<void>(!read(gate.reading.get(), &byte, 1)); // until the test closes its end
    });
    ASSERT_TRUE(awaitOutput(*holder, "up\n"));

    Program stopping([this] {
        gate.writing.reset();
        m_stopper.stop(kLong, Force::No);
        std::puts("done");
    });
    EXPECT_TRUE(await([this] { return !std::filesystem::exists(m_folder.name("app.pid")); }));
    EXPECT_TRUE(awaitSleep(stopping.pid()));
    EXPECT_EQ("", stopping.output());
    gate.writing.reset();

    EXPECT_EQ("done\n", stopping.wait().output);
}

TEST_F(Stopper, EndsAProcessThatClaimsTheFileMeanwhile) {
    auto const first = std::make_unique<Program>([this] {
        holdFileUntilAsked();
        while (!std::filesystem::exists(m_folder.name("app.pid")))
            usleep(1000);
    });
    ASSERT_TRUE(awaitOutput(*first, "up\n"));
    Program stopping([this] {
        require(m_stopper.stop(kLong, Force::No) == Result::Stopped, "it was not stopped");
        std::printf("%d", m_stopper.getProcess());
    });
    ASSERT_TRUE(await([this] { return !std::filesystem::exists(m_folder.name("app.pid")); }));
    auto const second = startHolder();

    EXPECT_EQ(SIGTERM, second->wait().signal);
    EXPECT_EQ(number(second->pid()), stopping.wait().output);
    EXPECT_EQ(0, first->wait().status);
}

TEST_F(Stopper, SendsOneSignalToEachProcess) {
    auto const holder = std::make_unique<Program>([this] {
        static volatile sig_atomic_t signals = 0;
        fdn::CPIDFile const file(m_folder / "app.pid");
        signal(SIGTERM, [](int) { signals = signals + 1; });
        sayUp();
        while (signals == 0)
            pause();
        kill(getpid(), SIGTERM); // a pending one would be merged with this one
        std::printf("%d", static_cast<int>(signals));
    });
    ASSERT_TRUE(awaitOutput(*holder, "up\n"));

    m_stopper.stop(kLong, Force::No);

    EXPECT_EQ("up\n2", holder->wait().output);
}

TEST_F(Stopper, NamesTheProcessThatDoesNotEndInTime) {
    auto const holder = startDeafHolder();

    fdn::CError const error = errorOf([this] { m_stopper.stop(kShort, Force::No); });

    EXPECT_EQ("The daemon 'app' (process " + number(holder->pid()) +
                  ") has not ended after 100 milliseconds and goes on.",
              error.getMessage().toUTF8());
    EXPECT_EQ(ETIMEDOUT, error.getCode());
    EXPECT_EQ(holder->pid(), m_stopper.getProcess());
    EXPECT_EQ(0, kill(holder->pid(), 0));
    EXPECT_EQ(Names{"Stopping daemon 'app'..."}, m_log.entries());
}

TEST_F(Stopper, AsksOnceWithATimeoutOfZero) {
    auto const holder = startDeafHolder();

    EXPECT_THAT(messageOf([this] { m_stopper.stop(0, Force::No); }), HasSubstr("after 0 seconds"));
    EXPECT_THAT(messageOf([this] { m_stopper.stop(INT_MIN, Force::No); }), HasSubstr("after 0 seconds"));
}

TEST_F(Stopper, WaitsAsLongAsANumberCanSay) {
    auto const holder = startHolder();

    EXPECT_EQ(Result::Stopped, m_stopper.stop(INT_MAX, Force::No));
}

TEST_F(Stopper, EndsADeafProcessByForce) {
    auto const holder = startDeafHolder();

    EXPECT_EQ(Result::Killed, m_stopper.stop(kShort, Force::Yes));

    EXPECT_EQ(holder->pid(), m_stopper.getProcess());
    EXPECT_EQ(SIGKILL, holder->wait().signal);
}

TEST_F(Stopper, EndsAStoppedProcessByForce) {
    auto const holder = startHolder();
    holder->sendSignal(SIGSTOP);
    ASSERT_TRUE(await([&] { return statusOf(holder->pid(), "State") == "T (stopped)"; }));

    EXPECT_EQ(Result::Killed, m_stopper.stop(kShort, Force::Yes));
    EXPECT_EQ(SIGKILL, holder->wait().signal);
}

TEST_F(Stopper, UsesNoForceWithoutNeed) {
    auto const holder = startHolder();

    EXPECT_EQ(Result::Stopped, m_stopper.stop(kLong, Force::Yes));
    EXPECT_EQ(SIGTERM, holder->wait().signal);
}

TEST_F(Stopper, EndsByForceByNumberWhatStillHoldsTheFile) {
    auto const holder = startDeafHolder();

    Outcome const outcome = runInChild([this] {
        refuseSystemCall(SYS_pidfd_open, ENOSYS);
        require(m_stopper.stop(kShort, Force::Yes) == Result::Killed, "it was not ended by force");
    });

    EXPECT_EQ(0, outcome.status) << outcome.errors;
    EXPECT_EQ(SIGKILL, holder->wait().signal);
}

TEST_F(Stopper, UsesNoForceByNumberOnceTheFileIsGivenUp) {
    auto const holder = startDeafHolder();
    Program stopping([this] {
        refuseSystemCall(SYS_pidfd_open, ENOSYS);
        std::puts(messageOf([this] { m_stopper.stop(1000, Force::Yes); }).c_str());
    });
    ASSERT_TRUE(awaitSleep(stopping.pid()));
    unlink(m_folder.name("app.pid").c_str());

    EXPECT_THAT(stopping.wait().output, HasSubstr("It was not ended by force."));
    EXPECT_EQ(0, kill(holder->pid(), 0));
}

TEST_F(Stopper, FailsAtOnceWhenItMayNotSignal) {
    auto const holder = startHolder();

    Outcome const outcome = runInChild([this] {
        refuseSystemCall(SYS_pidfd_send_signal, EPERM);
        fdn::CError const error = errorOf([this] { m_stopper.stop(INT_MAX, Force::Yes); });
        std::printf("%lld %s", error.getCode(), error.getMessage().toUTF8().c_str());
    });

    EXPECT_EQ(number(EPERM) + " The daemon 'app' cannot be stopped: its process " + number(holder->pid()) +
                  " cannot be signalled (Operation not permitted).",
              outcome.output);
}

TEST_F(Stopper, SignalsNobodyWhenTheDaemonGivesItsFileUpMeanwhile) {
    Program process({"sleep", "1000"});
    writePIDFile(process.pid());
    Program stopping([this] {
        awaitPerformBefore();
        require(m_stopper.stop(kLong, Force::Yes) == Result::WasNotRunning, "it ran");
    });

    performBefore(SYS_pidfd_open, stopping.pid(), [this] { unlink(m_folder.name("app.pid").c_str()); });

    EXPECT_EQ(0, stopping.wait().status);
    process.sendSignal(SIGVTALRM); // SIGTERM, if it had been sent, would be delivered first
    EXPECT_EQ(SIGVTALRM, process.wait().signal);
}

TEST_F(Stopper, FailsWithoutControlFolderAndScript) {
    EXPECT_THAT(messageOf([] { CDaemonStopper("app", fdn::Path()).stop(kLong, Force::No); }),
                HasSubstr("'/etc/init.d/app'"));
}

TEST_F(Stopper, FailsWithoutAnyControlFolder) {
    dmn::CDaemonController::install(m_info, "app", fdn::Path(), "", "", "", "");

    EXPECT_THAT(messageOf([] { CDaemonStopper("app", fdn::Path()).stop(kLong, Force::No); }),
                HasSubstr("has no control folder"));
}

TEST_F(Stopper, FailsForAnIDThatNamesNoDaemon) {
    EXPECT_EQ("Invalid daemon id: '../app'.",
              messageOf([this] { CDaemonStopper("../app", m_folder.path()).stop(kLong, Force::No); }));
}

TEST_F(StopperUnderAnOrdinaryUser, FailsBeforeAnythingHappens) {
    setMode(m_folder.name(), 0777);
    Program process({"sleep", "1000"});
    writePIDFile(process.pid());

    Outcome const outcome = runInChild([this] {
        becomeUser();
        CDaemonStopper("app", m_folder.path()).stop(kLong, Force::Yes);
    });

    EXPECT_EQ("The process does not have the necessary root privileges for this operation.", outcome.errors);
    EXPECT_EQ(0, kill(process.pid(), 0));
}

} // namespace test
