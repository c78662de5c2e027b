#include <fdn/CNotificationReceiver.h>

#include "support/LocalAddress.h"
#include "support/Obstacles.h"
#include "support/PrivateRoot.h"
#include "support/Program.h"
#include "support/errors.h"
#include "support/processInfo.h"

#include <fdn/notify.h>

#include <gmock/gmock.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

namespace {

using fdn::CNotificationReceiver;
using fdn::Notification;
using fdn::String;
using testing::ElementsAre;
using testing::Pair;
using testing::StartsWith;

using Assignments = fdn::TMap<String, String>;

void send(CNotificationReceiver const& receiver, std::string const& message) {
    test::LocalAddress const address(receiver.getAddress().toUTF8());
    fdn::Descriptor const sender(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    sendto(sender.get(), message.data(), message.size(), 0, address.get(), address.size());
}

/// Sends the message together with so many descriptors.
void sendDescriptors(CNotificationReceiver const& receiver, std::string message, std::size_t count) {
    test::LocalAddress address(receiver.getAddress().toUTF8());
    fdn::Descriptor const sender(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int) * 100)> control = {};
    iovec text = {message.data(), message.size()};
    msghdr header = {};
    header.msg_name = address.get();
    header.msg_namelen = address.size();
    header.msg_iov = &text;
    header.msg_iovlen = 1;
    header.msg_control = control.data();
    header.msg_controllen = CMSG_SPACE(sizeof(int) * count);
    cmsghdr* const rights = CMSG_FIRSTHDR(&header);
    rights->cmsg_level = SOL_SOCKET;
    rights->cmsg_type = SCM_RIGHTS;
    rights->cmsg_len = CMSG_LEN(sizeof(int) * count);
    std::vector<int> const descriptors(count, sender.get());
    std::memcpy(CMSG_DATA(rights), descriptors.data(), sizeof(int) * count);
    ASSERT_EQ(sendmsg(sender.get(), &header, 0), static_cast<ssize_t>(message.size()));
}

/// What the next message assigns; nothing when receive() returns nothing.
Assignments assignmentsIn(CNotificationReceiver& receiver) {
    std::optional<Notification> const notification = receiver.receive();
    return notification ? notification->assignments : Assignments();
}

bool isReadable(CNotificationReceiver const& receiver) {
    pollfd readable = {receiver.getDescriptor(), POLLIN, 0};
    return poll(&readable, 1, 0) == 1;
}

TEST(CNotificationReceiver, TakesWhatNotifySupervisorSends) {
    CNotificationReceiver receiver;
    test::Program sender([&] {
        setenv("NOTIFY_SOCKET", receiver.getAddress().toUTF8().c_str(), 1);
        fdn::notifySupervisor(String(L"READY=1\nSTATUS=\u00e4=\u20ac"));
    });
    sender.wait();

    std::optional<Notification> const notification = receiver.receive();

    ASSERT_TRUE(notification);
    EXPECT_EQ(notification->sender, sender.pid());
    EXPECT_THAT(notification->assignments,
                ElementsAre(Pair("READY", "1"), Pair("STATUS", String(L"\u00e4=\u20ac"))));
}

TEST(CNotificationReceiver, ReturnsNothingWhenNothingWaits) {
    CNotificationReceiver receiver;

    EXPECT_FALSE(receiver.receive());
}

TEST(CNotificationReceiver, TakesMessagesInTheOrderOfSending) {
    CNotificationReceiver receiver;
    send(receiver, "STATUS=one");
    send(receiver, "STATUS=two");

    EXPECT_THAT(assignmentsIn(receiver), ElementsAre(Pair("STATUS", "one")));
    EXPECT_THAT(assignmentsIn(receiver), ElementsAre(Pair("STATUS", "two")));
    EXPECT_FALSE(receiver.receive());
}

TEST(CNotificationReceiver, IsReadableWhileMessagesWait) {
    CNotificationReceiver receiver;
    EXPECT_FALSE(isReadable(receiver));

    send(receiver, "READY=1");
    EXPECT_TRUE(isReadable(receiver));

    receiver.receive();
    EXPECT_FALSE(isReadable(receiver));
}

TEST(CNotificationReceiver, HasAnAbstractAddressOfItsOwn) {
    CNotificationReceiver const first;
    CNotificationReceiver const second;

    EXPECT_THAT(first.getAddress().toUTF8(), testing::MatchesRegex("@fdn-notify-[0-9a-f]{32}"));
    EXPECT_NE(first.getAddress(), second.getAddress());
}

TEST(CNotificationReceiver, HasAnAddressWhereThereIsNoRandomness) {
    test::Outcome const outcome = test::runInChild([] {
        test::refuseSystemCall(SYS_getrandom, EAGAIN);
        CNotificationReceiver receiver;
        send(receiver, "READY=1");
        std::cout << receiver.getAddress().toUTF8() << ' ' << assignmentsIn(receiver).size();
    });

    EXPECT_THAT(outcome.output, testing::MatchesRegex("@[0-9a-f]{5} 1"));
}

TEST(CNotificationReceiver, TakesTheLastValueOfANameAndIgnoresOtherLines) {
    CNotificationReceiver receiver;

    send(receiver, "\nSTATUS=one\nno assignment\n=no name\nSTATUS=two\nEMPTY=\n\n");

    EXPECT_THAT(assignmentsIn(receiver), ElementsAre(Pair("EMPTY", ""), Pair("STATUS", "two")));
}

TEST(CNotificationReceiver, ReadsBytesThatAreNotUTF8AsLatin1) {
    CNotificationReceiver receiver;

    send(receiver, "STATUS=\xe9");

    EXPECT_THAT(assignmentsIn(receiver), ElementsAre(Pair("STATUS", String(L"\u00e9"))));
}

TEST(CNotificationReceiver, TakesAMessageOf4096Bytes) {
    CNotificationReceiver receiver;

    send(receiver, "STATUS=" + std::string(4089, 'x'));

    EXPECT_EQ(assignmentsIn(receiver)["STATUS"].length(), 4089U);
}

class NotificationOfAStranger : public test::PrivateRootTest {};

class NoMessage : public testing::TestWithParam<std::string> {};

TEST_P(NoMessage, IsDropped) {
    CNotificationReceiver receiver;
    send(receiver, GetParam());
    send(receiver, "READY=1");

    EXPECT_FALSE(receiver.receive());

    EXPECT_THAT(assignmentsIn(receiver), ElementsAre(Pair("READY", "1")));
}

INSTANTIATE_TEST_SUITE_P(All, NoMessage,
                         testing::Values("", "\n\n", "READY", "=1", std::string("READY=1\0STATUS=x", 16),
                                         "STATUS=" + std::string(4090, 'x'), std::string(100000, 'x')));

// Each call takes one message, even of a sender who never stops.
TEST(CNotificationReceiver, GetsThroughAFloodOfWhatIsNoMessage) {
    CNotificationReceiver receiver;
    test::Program const flood([&] {
        while (true)
            send(receiver, "x");
    });

    for (int i = 0; i < 1000; ++i)
        EXPECT_FALSE(receiver.receive());
}

TEST(CNotificationReceiver, TakesAMessageAndClosesTheDescriptorsThatComeWithIt) {
    CNotificationReceiver receiver;
    auto const before = test::descriptorsOf(getpid());

    for (std::size_t const count : {1U, 2U, 100U}) {
        sendDescriptors(receiver, "READY=1", count);
        EXPECT_THAT(assignmentsIn(receiver), ElementsAre(Pair("READY", "1")));
    }

    EXPECT_EQ(test::descriptorsOf(getpid()), before);
}

TEST(CNotificationReceiver, ClosesTheDescriptorsThatComeWithNoMessage) {
    CNotificationReceiver receiver;
    auto const before = test::descriptorsOf(getpid());
    sendDescriptors(receiver, "no message", 3);
    sendDescriptors(receiver, "STATUS=" + std::string(5000, 'x'), 3);

    EXPECT_FALSE(receiver.receive());
    EXPECT_FALSE(receiver.receive());

    EXPECT_EQ(test::descriptorsOf(getpid()), before);
}

// A process in another PID namespace has no number here.
TEST_F(NotificationOfAStranger, IsDropped) {
    test::Outcome const outcome = test::runInChild([] {
        CNotificationReceiver receiver;
        send(receiver, "READY=1");
        test::require(unshare(CLONE_NEWPID) == 0, "unshare");
        std::cout << test::runInChild([&] { std::cout << assignmentsIn(receiver).size(); }).output;
    });

    EXPECT_EQ(outcome.output, "0");
}

TEST(CNotificationReceiver, LeavesNoDescriptorOpenWhenItGoesOrCannotBeMade) {
    test::Outcome const outcome = test::runInChild([] {
        auto const before = test::descriptorsOf(getpid());
        { CNotificationReceiver const receiver; }
        test::refuseSystemCall(SYS_bind, ENOMEM);
        std::cout << test::messageOf([] { CNotificationReceiver const receiver; });
        test::require(test::descriptorsOf(getpid()) == before, "A descriptor is open.");
    });

    EXPECT_THAT(outcome.output, StartsWith("bind failed"));
    EXPECT_EQ(outcome.errors, "");
}

TEST(CNotificationReceiver, HandsItsSocketOnToNoProgram) {
    CNotificationReceiver const receiver;

    EXPECT_NE(fcntl(receiver.getDescriptor(), F_GETFD) & FD_CLOEXEC, 0);
}

} // namespace
