#include <fdn/processInfo.h>
#include <fdn/sysError.h>

#include "support/BackgroundCall.h"
#include "support/Obstacles.h"
#include "support/PrivateRoot.h"
#include "support/Program.h"
#include "support/TemporaryFolder.h"
#include "support/await.h"
#include "support/errors.h"
#include "support/fileInfo.h"
#include "support/processInfo.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <functional>
#include <iostream>
#include <string>

#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

namespace {

using fdn::getProcessInfo;
using fdn::ProcessInfo;
using test::Program;
using test::runInChild;

constexpr std::int64_t kTick = 10000; // in microseconds; the system gives times of starts in such steps

std::int64_t microsecondsOfClock() {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    return now.tv_sec * 1000000LL + now.tv_nsec / 1000;
}

std::string ownExecutable() {
    return test::targetOf("/proc/self/exe");
}

/// A process that has prepared itself in this way, and waits.
class WaitingProcess {
public:
    explicit WaitingProcess(std::function<void()> const& prepare = [] {})
        : m_program([prepare] {
              prepare();
              std::cout << "ready" << std::flush;
              pause();
          }) {
        EXPECT_TRUE(awaitOutput(m_program, "ready"));
    }

    pid_t pid() const { return m_program.pid(); }

    ProcessInfo info() const { return getProcessInfo(pid()).value_or(ProcessInfo()); }

private:
    Program m_program;
};

TEST(getProcessInfo, TellsOfThisProcess) {
    ProcessInfo const info = getProcessInfo(getpid()).value();

    EXPECT_EQ(info.executable.getText().toUTF8(), ownExecutable());
    EXPECT_GT(info.memoryBytes, 100000U);
    EXPECT_FALSE(info.account.empty());
    EXPECT_TRUE(info.started);
}

TEST(getProcessInfo, TellsWhenAProcessWasStartedByTheClock) {
    std::int64_t const before = microsecondsOfClock();
    WaitingProcess const process;
    std::int64_t const after = microsecondsOfClock();

    std::int64_t const started = process.info().started.value().getMicroseconds();

    EXPECT_GE(started, before - kTick);
    EXPECT_LE(started, after + kTick);
}

TEST(getProcessInfo, TellsHowMuchMemoryAProcessHas) {
    constexpr std::size_t kBytes = 50 * 1024 * 1024;
    WaitingProcess const small;
    WaitingProcess const large([] { static std::string const memory(kBytes, 'x'); });

    EXPECT_GE(large.info().memoryBytes, small.info().memoryBytes + kBytes * 9 / 10);
}

TEST(getProcessInfo, IsNotMisledByTheNameThatAProcessHasGivenItself) {
    std::int64_t const before = microsecondsOfClock();
    WaitingProcess const process([] { prctl(PR_SET_NAME, ") S 1 (a\nUid:\t1"); });

    ProcessInfo const info = process.info();

    EXPECT_EQ(info.account, getProcessInfo(getpid())->account);
    EXPECT_GE(info.started.value().getMicroseconds(), before - kTick);
}

TEST(getProcessInfo, SaysThatTheExecutableWasDeleted) {
    test::TemporaryFolder const folder;
    std::string const copy = folder.name("sleep");
    std::filesystem::copy_file("/bin/sleep", copy);
    Program const process({copy, "1000"});

    std::filesystem::remove(copy);

    EXPECT_EQ(getProcessInfo(process.pid()).value().executable.getText().toUTF8(), copy + " (deleted)");
}

TEST(getProcessInfo, KnowsNoProcessThatHasEnded) {
    Program process({"true"});
    process.wait();

    for (pid_t const gone : {process.pid(), 0, -1, -getpid()})
        EXPECT_FALSE(getProcessInfo(gone)) << gone;
}

TEST(getProcessInfo, KnowsNoZombie) {
    pid_t const zombie = fork();
    if (zombie == 0)
        _exit(0);
    siginfo_t end = {};
    waitid(P_PID, static_cast<id_t>(zombie), &end, WEXITED | WNOWAIT);

    EXPECT_FALSE(getProcessInfo(zombie));

    test::reap(zombie);
}

TEST(getProcessInfo, KnowsNoProcessByTheNumberOfAThread) {
    std::atomic<pid_t> thread{0};
    std::atomic<bool> mayEnd{false};
    test::BackgroundCall const call([&] {
        thread = gettid();
        test::await([&] { return mayEnd.load(); });
    });
    EXPECT_TRUE(test::await([&] { return thread != 0; }));

    EXPECT_FALSE(getProcessInfo(thread));

    mayEnd = true;
}

TEST(getProcessInfo, TellsAllOfAProcessOrNothingWhileItEnds) {
    std::string const account = getProcessInfo(getpid())->account.toUTF8();
    for (int i = 0; i < 300; ++i) {
        pid_t const process = fork();
        if (process == 0)
            _exit(0);
        while (std::optional<ProcessInfo> const info = getProcessInfo(process)) {
            EXPECT_EQ(info->executable.getText().toUTF8(), ownExecutable());
            EXPECT_EQ(info->account.toUTF8(), account);
        }
        test::reap(process);
    }
}

/// Keeps this process from opening anything.
class NoDescriptors {
public:
    NoDescriptors() {
        getrlimit(RLIMIT_NOFILE, &m_previous);
        rlimit const none = {0, m_previous.rlim_max};
        setrlimit(RLIMIT_NOFILE, &none);
    }

    NoDescriptors(NoDescriptors const&) = delete;
    NoDescriptors& operator=(NoDescriptors const&) = delete;

    ~NoDescriptors() { setrlimit(RLIMIT_NOFILE, &m_previous); }

private:
    rlimit m_previous = {};
};

TEST(getProcessInfo, ThrowsWithoutDescriptors) {
    test::Outcome const outcome = runInChild([] {
        // Without descriptors, a sanitizer could not look at an error's category for the first time.
        test::messageOf([] { fdn::throwSysError(EMFILE, {}); });
        NoDescriptors const none;
        getProcessInfo(getppid());
    });

    EXPECT_EQ(outcome.errors,
              "open failed for '/proc/" + std::to_string(getpid()) + "/stat': Too many open files.");
}

class ProcessInfoOfAccounts : public test::AccountsTest {
protected:
    /// Whether a user finds out about this process, and about itself, where /proc has these options.
    static std::string seenByUser(char const* options) {
        pid_t const roots = getpid();
        return runInChild([=] {
                   test::removeProc();
                   test::require(mount("proc", "/proc", "proc", 0, options) == 0, "mount");
                   test::becomeUser();
                   std::cout << getProcessInfo(roots).has_value() << getProcessInfo(getpid()).has_value();
               })
            .output;
    }
};

TEST_F(ProcessInfoOfAccounts, NamesTheEffectiveUser) {
    WaitingProcess const process([] { test::require(setresuid(0, test::kUser, 0) == 0, "setresuid"); });

    EXPECT_EQ(process.info().account, "dmnuser");
}

TEST_F(ProcessInfoOfAccounts, GivesTheNumberOfAUserWithoutAName) {
    WaitingProcess const process([] { test::require(setresuid(61999, 61999, 61999) == 0, "setresuid"); });

    EXPECT_EQ(process.info().account, "61999");
}

TEST_F(ProcessInfoOfAccounts, LacksWhatAnotherAccountMayNotSee) {
    pid_t const roots = getpid();

    test::Outcome const outcome = runInChild([=] {
        test::becomeUser();
        ProcessInfo const info = getProcessInfo(roots).value();
        std::cout << info.executable.getText().toUTF8() << '|' << info.account.toUTF8() << '|'
                  << (info.memoryBytes > 0) << info.started.has_value();
    });

    EXPECT_EQ(outcome.output, "|root|11");
}

TEST_F(ProcessInfoOfAccounts, IsNoneWhereProcHidesOthersProcesses) {
    EXPECT_EQ(seenByUser("hidepid=0"), "11");
    EXPECT_EQ(seenByUser("hidepid=1"), "01");
    EXPECT_EQ(seenByUser("hidepid=2"), "01");
}

TEST_F(ProcessInfoOfAccounts, IsNoneWithoutProc) {
    test::Outcome const outcome = runInChild([] {
        test::removeProc();
        std::cout << getProcessInfo(getpid()).has_value() << getProcessInfo(getppid()).has_value();
    });

    EXPECT_EQ(outcome.output, "00");
}

} // namespace
