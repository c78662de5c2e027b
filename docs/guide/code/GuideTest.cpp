#include "support/CapturedLog.h"
#include "support/InitLayout.h"
#include "support/PrivateRoot.h"
#include "support/Program.h"
#include "support/TemporaryFolder.h"
#include "support/await.h"
#include "support/processInfo.h"

#include <fdn/system/Descriptor.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>

namespace {

using test::Outcome;
using test::Program;
using testing::HasSubstr;
using testing::StartsWith;
using Words = std::vector<std::string>;

/// Tries what the guide says of its programs, as a reader would.
class GuideTest : public test::PrivateRootTest {
protected:
    void SetUp() override {
        PrivateRootTest::SetUp();
        if (!IsSkipped() && !HasFatalFailure())
            test::resetInitLayout();
    }

    Words withFolder(std::string const& program, Words const& words) const {
        Words command{program, "--controlFolder=" + m_folder.name()};
        command.insert(command.end(), words.begin(), words.end());
        return command;
    }

    void expectSuccess(Words const& command) const {
        Outcome const outcome = test::run(command);
        EXPECT_EQ(0, outcome.status) << outcome.output << outcome.errors;
    }

    static Words asProcess1(Words const& words) {
        Words command{"unshare", "--pid", "--fork", "--mount-proc"};
        command.insert(command.end(), words.begin(), words.end());
        return command;
    }

    bool hasEntry(std::string const& text) const {
        std::vector<std::string> const entries = m_log.entries();
        return std::any_of(entries.begin(), entries.end(),
                           [&](std::string const& entry) { return entry.find(text) != std::string::npos; });
    }

    bool awaitEntry(std::string const& text) const {
        return test::await([&] { return hasEntry(text); });
    }

    bool awaitFile(char const* name) const {
        return test::await([&] { return exists(m_folder.name(name)); });
    }

    static bool exists(std::string const& path) { return std::filesystem::exists(path); }

    test::TemporaryFolder m_folder;
    test::CapturedLog m_log;
};

TEST_F(GuideTest, FirstDaemonRunsThroughItsLife) {
    expectSuccess({DMN_GUIDE_FIRST_DAEMON, "--controlFolder=/etc/loadwatch", "install"});
    EXPECT_EQ(3, test::run({DMN_GUIDE_FIRST_DAEMON, "status"}).status);

    expectSuccess({DMN_GUIDE_FIRST_DAEMON, "start"});
    EXPECT_TRUE(exists("/etc/loadwatch/loadwatch.pid"));
    expectSuccess({DMN_GUIDE_FIRST_DAEMON, "status"});
    expectSuccess(
        {DMN_GUIDE_FIRST_DAEMON, "check"}); // It would find a folder in /run, which is empty at boot.
    expectSuccess({DMN_GUIDE_FIRST_DAEMON, "restart"});
    EXPECT_TRUE(awaitEntry("The load is "));
    expectSuccess({DMN_GUIDE_FIRST_DAEMON, "stop"});
    EXPECT_FALSE(exists("/etc/loadwatch/loadwatch.pid"));
    expectSuccess({DMN_GUIDE_FIRST_DAEMON, "uninstall"});

    EXPECT_EQ(4, test::run({DMN_GUIDE_FIRST_DAEMON, "status"}).status);
    EXPECT_FALSE(exists("/etc/init.d/loadwatch"));
}

TEST_F(GuideTest, InstancesOfOneProgramRunSideBySide) {
    test::TemporaryFolder const folders[2];
    for (int i = 0; i < 2; ++i) {
        std::string const id = "--id=load" + std::to_string(i);
        expectSuccess({DMN_GUIDE_FIRST_DAEMON, id, "--controlFolder=" + folders[i].name(), "install"});
        expectSuccess({DMN_GUIDE_FIRST_DAEMON, id, "start"});
    }

    expectSuccess({DMN_GUIDE_FIRST_DAEMON, "--id=load0", "stop"});

    EXPECT_EQ(3, test::run({DMN_GUIDE_FIRST_DAEMON, "--id=load0", "status"}).status);
    EXPECT_EQ(0, test::run({DMN_GUIDE_FIRST_DAEMON, "--id=load1", "status"}).status);
    expectSuccess({DMN_GUIDE_FIRST_DAEMON, "--id=load0", "uninstall"});
    expectSuccess({DMN_GUIDE_FIRST_DAEMON, "--id=load1", "uninstall"});
}

TEST_F(GuideTest, InstallingWithAnotherFolderStopsTheDaemonInTheOldOne) {
    test::TemporaryFolder const other;
    expectSuccess(withFolder(DMN_GUIDE_FIRST_DAEMON, {"install"}));
    expectSuccess({DMN_GUIDE_FIRST_DAEMON, "start"});

    expectSuccess({DMN_GUIDE_FIRST_DAEMON, "--controlFolder=" + other.name(), "install"});

    EXPECT_FALSE(exists(m_folder.name("loadwatch.pid")));
    expectSuccess({DMN_GUIDE_FIRST_DAEMON, "start"});
    EXPECT_TRUE(exists(other.name("loadwatch.pid")));
    expectSuccess({DMN_GUIDE_FIRST_DAEMON, "uninstall"});
}

TEST_F(GuideTest, Process1OfAContainerStopsOnSIGTERMFromOutside) {
    Program container(asProcess1(withFolder(DMN_GUIDE_FIRST_DAEMON, {"run"})));
    ASSERT_TRUE(awaitFile("loadwatch.pid"));
    EXPECT_THAT(test::readFile(m_folder.name("loadwatch.pid")), StartsWith("1\n"));

    kill(test::childOf(container.pid()), SIGTERM);

    EXPECT_EQ(0, container.wait().status);
    EXPECT_FALSE(exists(m_folder.name("loadwatch.pid")));
}

TEST_F(GuideTest, Process1OfAContainerLogsToStandardError) {
    test::writeFile(m_folder.name("conf"), "text=hello\n");
    Program container(
        asProcess1(withFolder(DMN_GUIDE_CONFIGURATION, {"--config=" + m_folder.name("conf"), "run"})));

    EXPECT_TRUE(test::await([&] { return container.errors().find(" hello\n") != std::string::npos; }));

    kill(test::childOf(container.pid()), SIGTERM);
    EXPECT_EQ(0, container.wait().status);
}

TEST_F(GuideTest, StatusInAContainerSaysThatProcess1Runs) {
    Program container(asProcess1(withFolder(DMN_GUIDE_FIRST_DAEMON, {"run"})));
    ASSERT_TRUE(awaitFile("loadwatch.pid"));
    std::string const process1 = std::to_string(test::childOf(container.pid()));

    Outcome const outcome =
        test::run({"nsenter", "--target", process1, "--pid", "--mount", DMN_GUIDE_FIRST_DAEMON,
                   "--controlFolder=" + m_folder.name(), "status"});

    EXPECT_EQ(0, outcome.status);
    EXPECT_THAT(outcome.output, HasSubstr("(process 1)"));
    kill(test::childOf(container.pid()), SIGINT);
    EXPECT_EQ(0, container.wait().status);
}

TEST_F(GuideTest, ConfigurationIsReadAgainOnSIGHUPAndABadOneIsRefused) {
    test::writeFile(m_folder.name("conf"), "text=hello\ninterval=1\n");
    Program greeter(withFolder(DMN_GUIDE_CONFIGURATION, {"--config=" + m_folder.name("conf"), "run"}));
    ASSERT_TRUE(awaitEntry("hello"));

    test::writeFile(m_folder.name("conf"), "text=moin\ninterval=1\n");
    greeter.sendSignal(SIGHUP);
    EXPECT_TRUE(awaitEntry("moin from now on."));
    test::writeFile(m_folder.name("conf"), "text=lost\ncolour=blue\n");
    greeter.sendSignal(SIGHUP);
    EXPECT_TRUE(awaitEntry("'colour=blue' is no setting."));
    m_log.clear();
    EXPECT_TRUE(awaitEntry("moin"));
    greeter.sendSignal(SIGTERM);

    EXPECT_EQ(0, greeter.wait().status);
    EXPECT_FALSE(hasEntry("lost"));
}

TEST_F(GuideTest, ConfigurationThatIsWrongFailsInstallAndStart) {
    test::writeFile(m_folder.name("conf"), "text=hello\n");
    Words const install =
        withFolder(DMN_GUIDE_CONFIGURATION, {"--config=" + m_folder.name("conf"), "install"});
    expectSuccess(install);
    test::writeFile(m_folder.name("conf"), "interval=0\n");

    Outcome const started = test::run({DMN_GUIDE_CONFIGURATION, "start"});
    Outcome const installed = test::run(install);

    EXPECT_EQ(2, started.status);
    EXPECT_THAT(started.output, HasSubstr("The interval must be from 1 to 86400 seconds."));
    EXPECT_EQ(2, installed.status);
    expectSuccess({DMN_GUIDE_CONFIGURATION, "uninstall"});
}

TEST_F(GuideTest, PlainDaemonRunsThroughItsLife) {
    expectSuccess(withFolder(DMN_GUIDE_PLAIN, {"install"}));

    expectSuccess({"/etc/init.d/ticker", "start"});
    EXPECT_TRUE(awaitFile("ticker.pid"));
    expectSuccess({"/etc/init.d/ticker", "stop"});
    EXPECT_FALSE(exists(m_folder.name("ticker.pid")));
    expectSuccess({DMN_GUIDE_PLAIN, "uninstall"});

    EXPECT_FALSE(exists("/etc/init.d/ticker"));
}

TEST_F(GuideTest, OperationsControlAPlainDaemon) {
    expectSuccess(withFolder(DMN_GUIDE_PLAIN, {"install"}));

    Outcome const started = test::run({DMN_GUIDE_OPERATIONS, "start", "ticker"});
    EXPECT_EQ(0, started.status) << started.errors;
    EXPECT_THAT(started.output, HasSubstr("ticker is ready as process "));
    EXPECT_THAT(test::run({DMN_GUIDE_OPERATIONS, "start", "ticker"}).output,
                HasSubstr("ticker runs already as process "));
    EXPECT_EQ(0, test::run({DMN_GUIDE_OPERATIONS, "status", "ticker"}).status);
    expectSuccess({DMN_GUIDE_OPERATIONS, "restart", "ticker"});
    expectSuccess({DMN_GUIDE_OPERATIONS, "stop", "ticker"});
    EXPECT_EQ(3, test::run({DMN_GUIDE_OPERATIONS, "status", "ticker"}).status);

    expectSuccess({DMN_GUIDE_PLAIN, "uninstall"});
    EXPECT_EQ(4, test::run({DMN_GUIDE_OPERATIONS, "status", "ticker"}).status);
}

TEST_F(GuideTest, OperationsListTheInstalledDaemons) {
    expectSuccess(withFolder(DMN_GUIDE_PLAIN, {"install"}));

    EXPECT_EQ("ticker is " DMN_GUIDE_PLAIN "\n", test::run({DMN_GUIDE_OPERATIONS, "list"}).output);

    expectSuccess({DMN_GUIDE_PLAIN, "uninstall"});
    EXPECT_EQ("", test::run({DMN_GUIDE_OPERATIONS, "list"}).output);
}

TEST_F(GuideTest, OperationsFindWhatIsWrongAndWhereTheLogIs) {
    expectSuccess({DMN_GUIDE_PLAIN, "--controlFolder=/etc/ticker", "install"});
    EXPECT_EQ(0, test::run({DMN_GUIDE_OPERATIONS, "check", "ticker"}).status);
    EXPECT_EQ(m_log.path() + "\n", test::run({DMN_GUIDE_OPERATIONS, "log", "ticker"}).output);
    std::filesystem::remove("/etc/ticker");

    Outcome const outcome = test::run({DMN_GUIDE_OPERATIONS, "check", "ticker"});

    EXPECT_EQ(1, outcome.status);
    EXPECT_THAT(outcome.output, HasSubstr("/etc/ticker"));
    expectSuccess({DMN_GUIDE_PLAIN, "uninstall"});
}

TEST_F(GuideTest, SamplerStopsAtOnceThoughItsIntervalIsLong) {
    Program sampler(withFolder(DMN_GUIDE_SAMPLER, {"--interval=3600", "run"}));
    ASSERT_TRUE(awaitFile("sampler.pid"));

    sampler.sendSignal(SIGTERM);

    EXPECT_EQ(0, sampler.wait().status);
}

TEST_F(GuideTest, SamplerReopensItsFileOnSIGHUP) {
    Program sampler(withFolder(DMN_GUIDE_SAMPLER, {"--interval=3600", "run"}));
    ASSERT_TRUE(awaitFile("samples.txt"));
    std::filesystem::rename(m_folder.name("samples.txt"), m_folder.name("samples.txt.1"));

    sampler.sendSignal(SIGHUP);

    EXPECT_TRUE(awaitFile("samples.txt"));
}

TEST_F(GuideTest, SamplersLogSaysMoreAfterSIGUSR1) {
    Program sampler(withFolder(DMN_GUIDE_SAMPLER, {"--interval=3600", "run"}));
    ASSERT_TRUE(awaitFile("samples.txt"));
    EXPECT_FALSE(hasEntry("samples.txt' is open."));

    sampler.sendSignal(SIGUSR1);

    EXPECT_TRUE(test::await([&] {
        sampler.sendSignal(SIGHUP); // The system delivers it before or after the other one.
        return hasEntry("samples.txt' is open.");
    }));
}

TEST_F(GuideTest, SamplerGetsItsRunParametersBack) {
    expectSuccess(withFolder(DMN_GUIDE_SAMPLER, {"--interval=3600", "--label=load of $HOME", "install"}));

    expectSuccess({"/etc/init.d/sampler", "start"});
    EXPECT_TRUE(test::await([&] {
        Outcome const outcome = test::run({DMN_GUIDE_SAMPLER, "last"});
        return outcome.status == 0 && outcome.output.find("load of $HOME: ") == 0;
    }));
    EXPECT_EQ("--interval%3D3600 --label%3Dload%20of%20%24HOME\n",
              test::run({"/etc/init.d/sampler", "printParams"}).output);

    expectSuccess({DMN_GUIDE_SAMPLER, "uninstall"});
}

TEST_F(GuideTest, SamplerRefusesAnIntervalBelow1) {
    Outcome const outcome = test::run(withFolder(DMN_GUIDE_SAMPLER, {"--interval=0", "run"}));

    EXPECT_EQ(255, outcome.status);
    EXPECT_THAT(outcome.output, StartsWith("\nError: the interval must be from 1 to 86400 seconds.\n"));
}

TEST_F(GuideTest, SamplersOwnCommandTakesACountAndHasItsOwnStatus) {
    test::writeFile(m_folder.name("samples.txt"), "one\ntwo\nthree\n");

    Outcome const outcome = test::run(withFolder(DMN_GUIDE_SAMPLER, {"last", "2"}));
    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ("two\nthree\n", outcome.output);

    std::filesystem::remove(m_folder.name("samples.txt"));
    EXPECT_EQ(1, test::run(withFolder(DMN_GUIDE_SAMPLER, {"last"})).status);
}

TEST_F(GuideTest, AnotherProgramControlsADaemon) {
    std::string const description = "ticker (" DMN_GUIDE_PLAIN ") ";
    EXPECT_EQ("ticker is not installed.\n", test::run({DMN_GUIDE_CONTROLLING, "show", "ticker"}).output);
    EXPECT_EQ(
        description + "does not run.\n",
        test::run({DMN_GUIDE_CONTROLLING, "install", "ticker", DMN_GUIDE_PLAIN, m_folder.name()}).output);

    Outcome const outcome = test::run({DMN_GUIDE_CONTROLLING, "restart", "ticker"});
    EXPECT_EQ(0, outcome.status) << outcome.errors;
    EXPECT_THAT(outcome.output, StartsWith(description + "runs as process "));

    expectSuccess({DMN_GUIDE_CONTROLLING, "uninstall", "ticker"});
}

TEST_F(GuideTest, ControllingProgramSaysWhatFailed) {
    Outcome const outcome = test::run({DMN_GUIDE_CONTROLLING, "restart", "missing"});

    EXPECT_EQ(1, outcome.status);
    EXPECT_THAT(outcome.errors, HasSubstr("/etc/init.d/missing"));
}

void sendText(std::string const& socketPath, std::string const& text) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    socketPath.copy(address.sun_path, sizeof address.sun_path - 1);
    fdn::Descriptor const sender(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    EXPECT_NE(-1, sendto(sender.get(), text.data(), text.size(), 0,
                         reinterpret_cast<sockaddr const*>(&address), sizeof address));
}

TEST_F(GuideTest, MovedProgramWorksAndStops) {
    Program inbox(withFolder(DMN_GUIDE_MOVING_OVER, {"run"}));
    ASSERT_TRUE(awaitFile("inbox.txt"));

    sendText(m_folder.name("inbox.socket"), "hello");
    EXPECT_TRUE(test::await([&] { return test::readFile(m_folder.name("inbox.txt")) == "hello\n"; }));
    inbox.sendSignal(SIGTERM);

    EXPECT_EQ(0, inbox.wait().status);
}

TEST_F(GuideTest, SecondMovedProgramLeavesTheSocketOfTheFirstAlone) {
    Program first(withFolder(DMN_GUIDE_MOVING_OVER, {"run"}));
    ASSERT_TRUE(awaitFile("inbox.txt"));

    EXPECT_EQ(2, test::run(withFolder(DMN_GUIDE_MOVING_OVER, {"run"})).status);

    sendText(m_folder.name("inbox.socket"), "hello");
    EXPECT_TRUE(test::await([&] { return test::readFile(m_folder.name("inbox.txt")) == "hello\n"; }));
}

} // namespace
