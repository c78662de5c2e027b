#include <fdn/CNotificationReceiver.h>
#include <fdn/notify.h>

#include "support/Obstacles.h"
#include "support/Program.h"
#include "support/Supervisor.h"
#include "support/TemporaryFolder.h"
#include "support/processInfo.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <iostream>
#include <string>

#include <stdlib.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

using fdn::composeStatusNotification;
using fdn::notifySupervisor;
using fdn::String;
using test::newAbstractName;
using test::Supervisor;
using test::SupervisorAddress;

/// Sends a message and returns errno, which was EDOM before.
int errorAfterNotify() {
    errno = EDOM;
    notifySupervisor("READY=1");
    return errno;
}

TEST(notifySupervisor, SendsTheMessageToAnAbstractName) {
    Supervisor const supervisor;

    notifySupervisor("READY=1\nSTATUS=Running");

    EXPECT_EQ(supervisor.take(), "READY=1\nSTATUS=Running");
    EXPECT_EQ(supervisor.take(), "(none)");
}

TEST(notifySupervisor, SendsTheMessageToAPath) {
    test::TemporaryFolder const folder;
    Supervisor const supervisor(folder.name("socket"));

    notifySupervisor("STOPPING=1");

    EXPECT_EQ(supervisor.take(), "STOPPING=1");
}

TEST(keepSupervisor, KeepsAReceiverThatWaitsForThisProcessAlone) {
    fdn::CNotificationReceiver receiver;
    SupervisorAddress const address(receiver.getAddress().toUTF8());

    fdn::keepSupervisor();

    EXPECT_EQ(nullptr, getenv("NOTIFY_SOCKET"));
    notifySupervisor("STOPPING=1");
    EXPECT_EQ(String("1"), receiver.receive()->assignments["STOPPING"]);
}

TEST(keepSupervisor, LeavesAnyOtherInTheEnvironment) {
    Supervisor const supervisor;

    fdn::keepSupervisor();

    EXPECT_NE(nullptr, getenv("NOTIFY_SOCKET"));
    notifySupervisor("STOPPING=1");
    EXPECT_EQ(supervisor.take(), "STOPPING=1");
}

TEST(notifySupervisor, SendsTextInUTF8) {
    Supervisor const supervisor;

    notifySupervisor(String(L"STATUS=\u00e4\u20ac"));

    EXPECT_EQ(supervisor.take(), "STATUS=\xc3\xa4\xe2\x82\xac");
}

TEST(notifySupervisor, SendsToTheLongestAddressThatThereIs) {
    std::string const longest = newAbstractName().append(108, 'x').substr(0, 108);
    Supervisor const supervisor(longest);

    notifySupervisor("READY=1");

    EXPECT_EQ(supervisor.take(), "READY=1");
}

TEST(notifySupervisor, DoesNotSendToTheBeginningOfAnAddressThatIsTooLong) {
    std::string const longest = newAbstractName().append(108, 'x').substr(0, 108);
    Supervisor const supervisor(longest);
    SupervisorAddress const tooLong(longest + "x");

    notifySupervisor("READY=1");

    EXPECT_EQ(supervisor.take(), "(none)");
}

TEST(notifySupervisor, DoesNothingWithoutAnAddress) {
    test::Outcome const outcome = test::runInChild([] {
        unsetenv("NOTIFY_SOCKET");
        test::endAtSystemCall(SYS_socket);
        notifySupervisor("READY=1");
        std::cout << "done";
    });

    EXPECT_EQ(outcome.output, "done");
}

class NotAnAddress : public testing::TestWithParam<char const*> {};

TEST_P(NotAnAddress, LetsNothingBeSent) {
    test::Outcome const outcome = test::runInChild([] {
        SupervisorAddress const address(GetParam());
        test::endAtSystemCall(SYS_socket);
        notifySupervisor("READY=1");
        std::cout << "done";
    });

    EXPECT_EQ(outcome.output, "done");
}

INSTANTIATE_TEST_SUITE_P(All, NotAnAddress,
                         testing::Values("", "@", "/", "relative/socket", "./socket", "vsock:2:1234"));

TEST(notifySupervisor, KeepsErrno) {
    Supervisor const supervisor;
    EXPECT_EQ(errorAfterNotify(), EDOM);

    SupervisorAddress const gone("/no/such/socket");
    EXPECT_EQ(errorAfterNotify(), EDOM);
}

TEST(notifySupervisor, IsHarmlessWhereNobodyListens) {
    SupervisorAddress const address(newAbstractName());

    EXPECT_EQ(errorAfterNotify(), EDOM);
}

TEST(notifySupervisor, IsHarmlessWithoutDescriptors) {
    Supervisor const supervisor;
    test::Outcome const outcome = test::runInChild([] {
        rlimit const none = {0, 0};
        setrlimit(RLIMIT_NOFILE, &none);
        std::cout << (errorAfterNotify() == EDOM ? "done" : "errno has changed");
    });

    EXPECT_EQ(outcome.output, "done");
    EXPECT_EQ(supervisor.take(), "(none)");
}

TEST(notifySupervisor, IsHarmlessForTextThatUTF8DoesNotHave) {
    Supervisor const supervisor;

    notifySupervisor(String(wxString(wchar_t(0xd800), 1)));

    EXPECT_EQ(supervisor.take(), "(none)");
}

TEST(notifySupervisor, DoesNotWaitForASupervisorWhoIsBusy) {
    Supervisor const supervisor;

    for (int i = 0; i < 10000; ++i)
        notifySupervisor("STATUS=One of many");
    supervisor.messages();
    notifySupervisor("READY=1");

    EXPECT_EQ(supervisor.take(), "READY=1");
}

TEST(notifySupervisor, LeavesNoDescriptorOpen) {
    Supervisor const supervisor;
    auto const before = test::descriptorsOf(getpid());

    notifySupervisor("READY=1");

    EXPECT_EQ(test::descriptorsOf(getpid()), before);
}

TEST(composeStatusNotification, PutsTheTextOnOneLine) {
    EXPECT_EQ(composeStatusNotification("one\ntwo\n"), "STATUS=one two ");
    EXPECT_EQ(composeStatusNotification(""), "STATUS=");
}

TEST(composeStatusNotification, LimitsTheMessageToWhatSupervisorsTake) {
    String const notification = composeStatusNotification(String(wxString(wchar_t(0x1f600), 5000)));

    EXPECT_LE(notification.toUTF8().size(), 4096U);
    EXPECT_EQ(notification.length(), 1007U);
}

} // namespace
