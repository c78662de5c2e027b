#include "support/CapturedLog.h"
#include "support/InitLayout.h"
#include "support/PrivateRoot.h"
#include "support/Program.h"
#include "support/TemporaryFolder.h"
#include "support/await.h"

#include <fdn/system/Descriptor.h>

#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <vector>

#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>

namespace {

using test::Outcome;
using test::Program;
using testing::Contains;
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

    bool awaitFile(char const* name) const {
        return test::await([&] { return exists(m_folder.name(name)); });
    }

    static bool exists(std::string const& path) { return std::filesystem::exists(path); }

    test::TemporaryFolder m_folder;
    test::CapturedLog m_log;
};

TEST_F(GuideTest, FirstDaemonRunsThroughItsLife) {
    expectSuccess(withFolder(DMN_GUIDE_FIRST_DAEMON, {"install"}));

    expectSuccess({"/etc/init.d/loadwatch", "start"});
    EXPECT_TRUE(awaitFile("loadwatch.pid"));
    expectSuccess({"/etc/init.d/loadwatch", "stop"});
    EXPECT_FALSE(exists(m_folder.name("loadwatch.pid")));
    expectSuccess({DMN_GUIDE_FIRST_DAEMON, "uninstall"});

    EXPECT_FALSE(exists("/etc/init.d/loadwatch"));
    EXPECT_THAT(m_log.entries(), Contains(StartsWith("The load is ")));
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
    EXPECT_THAT(outcome.output, StartsWith("\nError: the interval must be at least 1 second.\n"));
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
    std::string const description = "loadwatch (" DMN_GUIDE_FIRST_DAEMON ") ";
    EXPECT_EQ("loadwatch is not installed.\n",
              test::run({DMN_GUIDE_CONTROLLING, "show", "loadwatch"}).output);
    EXPECT_EQ(description + "does not run.\n", test::run({DMN_GUIDE_CONTROLLING, "install", "loadwatch",
                                                          DMN_GUIDE_FIRST_DAEMON, m_folder.name()})
                                                   .output);

    Outcome const outcome = test::run({DMN_GUIDE_CONTROLLING, "restart", "loadwatch"});
    EXPECT_EQ(0, outcome.status) << outcome.errors;
    EXPECT_THAT(outcome.output, StartsWith(description + "runs as process "));

    expectSuccess({DMN_GUIDE_CONTROLLING, "uninstall", "loadwatch"});
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
