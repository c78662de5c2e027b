#include <fdn/CProcessHandle.h>

#include "support/Obstacles.h"
#include "support/Program.h"
#include "support/processInfo.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <iostream>
#include <string>

#include <sys/syscall.h>
#include <unistd.h>

namespace {

using fdn::CProcessHandle;

// In a child of the test, because the system's refusal cannot be taken back. The output is what came of it:
// whether the signal was sent, and errno.
std::string signalWhereRefused(pid_t process, long call, int error) {
    return test::runInChild([=] {
               test::refuseSystemCall(call, error);
               errno = 0;
               bool const isSent = CProcessHandle(process).sendSignal(SIGTERM);
               std::cout << isSent << ' ' << errno;
           })
        .output;
}

} // namespace

TEST(CProcessHandle, SendsTheSignal) {
    test::Program process({"sleep", "1000"});

    EXPECT_TRUE(CProcessHandle(process.pid()).sendSignal(SIGTERM));

    EXPECT_EQ(process.wait().signal, SIGTERM);
}

TEST(CProcessHandle, AsksWithoutSendingBySignal0) {
    test::Program process({"sleep", "1000"});
    CProcessHandle const handle(process.pid());

    EXPECT_TRUE(handle.sendSignal(0));

    EXPECT_TRUE(handle.sendSignal(SIGVTALRM));
    EXPECT_EQ(process.wait().signal, SIGVTALRM);
}

TEST(CProcessHandle, OfAProcessThatHasEndedMeanwhileSendsNothing) {
    test::Program process({"sleep", "1000"});
    CProcessHandle const handle(process.pid());
    process.sendSignal(SIGKILL);
    process.wait();

    EXPECT_FALSE(handle.sendSignal(SIGTERM));
    EXPECT_EQ(errno, ESRCH);
}

TEST(CProcessHandle, OfAProcessThatWasGoneSendsNothing) {
    test::Program process({"true"});
    process.wait();
    CProcessHandle const handle(process.pid());

    EXPECT_FALSE(handle.sendSignal(SIGTERM));
    EXPECT_EQ(errno, ESRCH);
}

TEST(CProcessHandle, NeverSignalsAGroupOfProcesses) {
    test::Outcome const outcome = test::runInChild([] {
        setpgid(0, 0);
        for (pid_t const group : {0, -getpid()})
            std::cout << CProcessHandle(group).sendSignal(SIGTERM) << ' ' << (errno == ESRCH) << ' ';
    });

    EXPECT_EQ(outcome.output, "0 1 0 1 ");
    EXPECT_EQ(outcome.signal, 0);
}

TEST(CProcessHandle, SendsByNumberWhereTheSystemGivesNoHandle) {
    test::Program process({"sleep", "1000"});

    EXPECT_EQ(signalWhereRefused(process.pid(), SYS_pidfd_open, ENOSYS).substr(0, 1), "1");

    EXPECT_EQ(process.wait().signal, SIGTERM);
}

TEST(CProcessHandle, SendsByNumberWhereTheSystemKnowsNoUseForTheHandle) {
    test::Program process({"sleep", "1000"});

    EXPECT_EQ(signalWhereRefused(process.pid(), SYS_pidfd_send_signal, ENOSYS).substr(0, 1), "1");

    EXPECT_EQ(process.wait().signal, SIGTERM);
}

TEST(CProcessHandle, SaysThatTheSystemRefusesTheSignal) {
    test::Program const process({"sleep", "1000"});

    EXPECT_EQ(signalWhereRefused(process.pid(), SYS_pidfd_send_signal, EPERM), "0 " + std::to_string(EPERM));
}

TEST(CProcessHandle, LeavesNoDescriptorOpen) {
    test::Program const process({"sleep", "1000"});
    auto const before = test::descriptorsOf(getpid());

    CProcessHandle(process.pid()).sendSignal(0);

    EXPECT_EQ(test::descriptorsOf(getpid()), before);
}
