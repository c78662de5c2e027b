#include "life_cycle/LifeCycle.h"

#include "support/Obstacles.h"
#include "support/processInfo.h"

#include <gmock/gmock.h>

#include <climits>
#include <filesystem>

#include <fcntl.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using test::await;
using test::Outcome;
using test::Words;
using testing::AnyOf;
using testing::HasSubstr;
using testing::IsEmpty;

class SurroundingsTest : public test::LifeCycleFixture<test::PrivateRootTest> {
protected:
    /// Returns the command line that runs heartbeat in a shell that has prepared its own surroundings first.
    Words after(std::string const& preparation, Words const& words) const {
        Words command{"/bin/bash", "-c", preparation + "\nexec \"$@\"", "bash"};
        Words const call = heartbeat(words);
        command.insert(command.end(), call.begin(), call.end());
        return command;
    }

    /// Runs heartbeat in the same way, but without naming a control folder.
    static Outcome callAfter(std::string const& preparation, char const* word) {
        return test::run({"/bin/bash", "-c", preparation + "\nexec \"$@\"", "bash", DMN_HEARTBEAT, word});
    }

    Outcome runAfter(std::string const& preparation, Words const& words) const {
        return test::run(after(preparation, words));
    }

    void expectLife(std::string const& preparation) const {
        EXPECT_EQ(0, runAfter(preparation, {"install"}).status);
        EXPECT_EQ(0, runAfter(preparation, {"start"}).status);
        EXPECT_TRUE(awaitUp());
        EXPECT_EQ(0, runAfter(preparation, {"stop"}).status);
        EXPECT_EQ(3, status());
        EXPECT_EQ(0, runAfter(preparation, {"uninstall"}).status);
        expectNothingInstalled();
    }

    void expectNothingInstalled() const {
        EXPECT_THAT(test::entriesOf("/etc/init.d"), IsEmpty());
        for (char const level : {'0', '2', '3', '4', '5', '6'})
            EXPECT_THAT(test::entriesOf(std::string("/etc/rc") + level + ".d"), IsEmpty());
    }

    void expectFailure(Outcome const& outcome, std::string const& culprit) const {
        EXPECT_EQ(2, outcome.status);
        EXPECT_THAT(outcome.output, HasSubstr("FATAL ERROR: "));
        EXPECT_THAT(outcome.output, HasSubstr(culprit));
    }

    /// Expects that the command succeeded, or failed with a reason that it or the loader gave.
    void expectClearOutcome(Outcome const& outcome) const {
        EXPECT_THAT(outcome.status, AnyOf(0, 2, 127));
        bool const hasReason =
            !outcome.errors.empty() || outcome.output.find("FATAL ERROR: ") != std::string::npos;
        EXPECT_EQ(outcome.status == 0, !hasReason) << outcome.output << outcome.errors;
    }

    /// Expects that, whatever the preparation allows, each command reports truly how it ended and leaves
    /// nothing half done, and that the next commands succeed.
    void expectTrueAnswers(std::string const& preparation) const {
        SCOPED_TRACE(preparation);
        Outcome const installing = runAfter(preparation, {"install"});
        expectClearOutcome(installing);
        if (installing.status != 0)
            expectNothingInstalled();

        install();
        Outcome const starting = runAfter(preparation, {"start"});
        expectClearOutcome(starting);
        if (starting.status == 0)
            EXPECT_TRUE(await([this] { return status() == 0 || hasError(); }));
        else
            EXPECT_EQ(3, status());

        expectTruthAboutRunningDaemon(preparation);
        EXPECT_EQ(0, runHeartbeat({"stop"}).status);
        EXPECT_EQ(0, runHeartbeat({"uninstall"}).status);
        expectNothingInstalled();
    }

    bool hasError() const {
        for (std::string const& entry : m_log.entries())
            if (entry.rfind("error: ", 0) == 0)
                return true;
        return false;
    }

    void expectTruthAboutRunningDaemon(std::string const& preparation) const {
        if (status() != 0)
            start();
        EXPECT_THAT(callAfter(preparation, "status").status, AnyOf(0, 2, 4, 127));
        int const stopping = callAfter(preparation, "stop").status;
        EXPECT_THAT(stopping, AnyOf(0, 2, 127));
        EXPECT_EQ(stopping == 0 ? 3 : 0, status());
    }

    /// An absolute path of exactly this length, in a folder of the test.
    std::string longPath(std::size_t length) const {
        std::string path = m_folder.name();
        while (path.size() < length)
            path += "/" + std::string(std::min<std::size_t>(length - path.size() - 1, NAME_MAX - 1), 'd');
        return path;
    }
};

TEST_F(SurroundingsTest, WithoutStandardStreamsTheLifeIsTheSame) {
    expectLife("exec <&- >&- 2>&-");
}

TEST_F(SurroundingsTest, WithoutStandardStreamsNothingIsPrintedIntoFiles) {
    EXPECT_NE(0, callAfter("exec <&- >&- 2>&-", "install").status);

    EXPECT_THAT(m_log.entries(), testing::SizeIs(2));
}

TEST_F(SurroundingsTest, FullStandardOutputDoesNotChangeTheExitStatus) {
    EXPECT_EQ(2, runAfter("exec >/dev/full 2>&1", {"--id=missing", "start"}).status);
    expectLife("exec >/dev/full 2>&1");
}

TEST_F(SurroundingsTest, LostReaderOfStandardOutputDoesNotHideTheFailure) {
    std::string const lostReader = "exec {pipe}> >(:); wait $!; exec >&$pipe";

    Outcome const ended = runAfter(lostReader, {"--id=missing", "start"});
    Outcome const failed = runAfter("trap '' PIPE; " + lostReader, {"--id=missing", "start"});

    EXPECT_EQ(SIGPIPE, ended.signal);
    EXPECT_EQ(2, failed.status);
    EXPECT_TRUE(awaitError("/etc/init.d/missing"));
    expectLife(lostReader);
}

TEST_F(SurroundingsTest, PipeThatNobodyReadsHoldsUpTheMessageAlone) {
    std::string const pipe = m_folder.name("pipe");
    ASSERT_EQ(0, mkfifo(pipe.c_str(), 0600));
    fdn::Descriptor reader(open(pipe.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
    ASSERT_EQ(4096, fcntl(reader.get(), F_SETPIPE_SZ, 4096));
    ASSERT_EQ(4096, write(reader.get(), std::string(4096, 'x').data(), 4096));
    expectLife("exec >" + pipe);
    test::Program failing(after("exec >" + pipe, {"--id=missing", "start"}));
    ASSERT_TRUE(awaitError("/etc/init.d/missing"));

    char content[4096];
    EXPECT_EQ(4096, read(reader.get(), content, sizeof content));

    EXPECT_EQ(2, failing.wait().status);
}

TEST_F(SurroundingsTest, MissingProcIsNamed) {
    ASSERT_EQ(0, mount("none", "/proc", "tmpfs", 0, nullptr));

    expectFailure(runHeartbeat({"install"}), "/proc/self/exe");

    expectNothingInstalled();
    umount("/proc");
}

TEST_F(SurroundingsTest, MissingNullDeviceIsNamedByWhatNeedsIt) {
    install();
    std::string const noDevices = "mount -t tmpfs none /dev";

    auto const call = [&](char const* word) {
        return test::run({"unshare", "--mount", "/bin/bash", "-c", noDevices + "; exec \"$@\"", "bash",
                          DMN_HEARTBEAT, word});
    };
    expectFailure(call("start"), "/dev/null");

    EXPECT_EQ(3, call("status").status); // which starts no program
}

TEST_F(SurroundingsTest, EmptyEnvironmentIsEnough) {
    expectLife("set -- /usr/bin/env -i FDN_LOG_FILE=" + m_log.path() + " \"$@\"");
    expectLife("set -- /usr/bin/env -i \"$@\"");
}

TEST_F(SurroundingsTest, PathOfAlmostTheGreatestLengthWorks) {
    m_controlFolder = longPath(PATH_MAX - 32);

    expectLife("");
}

TEST_F(SurroundingsTest, PathWithoutRoomForTheDaemonsFilesIsNamed) {
    m_controlFolder = longPath(PATH_MAX - 2);
    install();

    expectFailure(runHeartbeat({"start"}), "The daemon 'heartbeat' has not come up: The file '");

    EXPECT_TRUE(awaitError(m_controlFolder + "/heartbeat.txt"));
    EXPECT_NE(0, status());
}

TEST_F(SurroundingsTest, PathThatIsTooLongIsRefusedBeforeAnythingIsDone) {
    for (unsigned const length : {PATH_MAX + 0U, PATH_MAX + 1U, 3U * PATH_MAX}) {
        m_controlFolder = longPath(length);

        expectFailure(runHeartbeat({"install"}), "File name too long");

        expectNothingInstalled();
    }
    m_controlFolder = m_folder.name("control");
}

TEST_F(SurroundingsTest, LinkToTheControlFolderIsFollowed) {
    std::filesystem::create_directory(m_folder.name("target"));
    std::filesystem::create_directory_symlink("target", controlFolder());

    expectLife("");

    EXPECT_TRUE(std::filesystem::exists(m_folder.name("target/heartbeat.txt")));
}

TEST_F(SurroundingsTest, LinkToNothingIsNoControlFolder) {
    for (char const* const target : {"missing", "control"}) {
        std::filesystem::remove(controlFolder());
        std::filesystem::create_symlink(target, controlFolder());

        expectFailure(runHeartbeat({"install"}), controlFolder());

        expectNothingInstalled();
    }
}

TEST_F(SurroundingsTest, ControlFolderInAFolderForAllIsClosedToOthers) {
    for (unsigned const mode : {0777U, 01777U}) {
        std::string const forAll = m_folder.name("for-all");
        std::filesystem::create_directory(forAll);
        test::setMode(forAll, mode);
        m_controlFolder = forAll + "/control";

        expectLife("umask 022");

        EXPECT_EQ(0755U, test::modeOf(controlFolder()));
        std::filesystem::remove_all(forAll);
    }
}

TEST_F(SurroundingsTest, ControlFolderForAllWorks) {
    for (unsigned const mode : {0777U, 01777U}) {
        std::filesystem::create_directories(controlFolder());
        test::setMode(controlFolder(), mode);

        expectLife("");
    }
}

TEST_F(SurroundingsTest, SignalsThatTheCallerIgnoresStopTheDaemonAllTheSame) {
    expectLife("trap '' TERM INT HUP CHLD PIPE");
}

TEST_F(SurroundingsTest, SignalsThatTheCallerBlocksStopTheForegroundRunAllTheSame) {
    test::Program daemon([this] {
        sigset_t all;
        sigfillset(&all);
        sigprocmask(SIG_SETMASK, &all, nullptr);
        signal(SIGTERM, SIG_IGN);
        std::string const folder = "--controlFolder=" + controlFolder();
        execl(DMN_HEARTBEAT, "heartbeat", folder.c_str(), "run", nullptr);
    });
    ASSERT_TRUE(awaitUp());

    daemon.sendSignal(SIGTERM);

    EXPECT_EQ(0, daemon.wait().status);
    EXPECT_EQ("stopped", beats().back());
}

// The limit is as high as this machine allows: more than a thousand million where fs.nr_open says so.
TEST_F(SurroundingsTest, HighestLimitOnDescriptorsWorks) {
    expectLife("ulimit -n \"$(cat /proc/sys/fs/nr_open)\" 2>/dev/null || ulimit -n \"$(ulimit -Hn)\"");
}

TEST_F(SurroundingsTest, WithFewDescriptorsEachCommandSaysTrulyHowItEnded) {
    std::string const closeOthers =
        "for fd in /proc/self/fd/*; do fd=${fd##*/}; [ $fd -le 2 ] || eval \"exec $fd>&-\"; done; ";
    for (int const count : {4, 5, 6, 7, 8, 9, 10, 11, 12, 16})
        expectTrueAnswers(closeOthers + "ulimit -n " + std::to_string(count));
}

TEST_F(SurroundingsTest, WithLittleMemoryEachCommandSaysTrulyHowItEnded) {
    for (int const megabytes : {5, 9, 12, 17, 18, 19, 20, 24})
        expectTrueAnswers("ulimit -v " + std::to_string(megabytes * 1024));
}

TEST_F(SurroundingsTest, LimitOnTheSizeOfFilesLeavesNothingHalfWritten) {
    // The limit must not apply to the file in which the test collects the output.
    std::string const limited = "set -o pipefail; (ulimit -f 0; \"$@\") | cat; exit $?; ";

    expectFailure(runAfter(limited, {"install"}), "File too large");
    expectNothingInstalled();
    expectFailure(runAfter(limited, {"run"}), pidFile());
    EXPECT_THAT(test::entriesOf(controlFolder()), IsEmpty());
}

TEST_F(SurroundingsTest, ReadOnlyAndFullLogFoldersKeepNobodyFromWorking) {
    std::string const usualLog = "unset FDN_LOG_FILE";
    {
        test::ReadOnlyFolder const log("/var/log");
        expectLife(usualLog);
    }
    test::FullFolder const log("/var/log");
    expectLife(usualLog);
}

TEST_F(SurroundingsTest, RunLevelWithoutRoomForALinkLeavesNothingInstalled) {
    // The folder itself uses the only inode that this file system has.
    ASSERT_EQ(0, mount("full", "/etc/rc4.d", "tmpfs", 0, "nr_inodes=1"));

    expectFailure(runHeartbeat({"install"}), "/etc/rc4.d/S90heartbeat");

    expectNothingInstalled();
    umount("/etc/rc4.d");
}

} // namespace
