#include "support/CapturedLog.h"
#include "support/PrivateRoot.h"
#include "support/Program.h"
#include "support/SystemLog.h"
#include "support/TemporaryFolder.h"
#include "support/await.h"
#include "support/cases.h"
#include "support/sanitizer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

using fdn::Descriptor;
using test::Environment;
using test::Outcome;
using test::withoutSanitizersHandlers;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;

class CrashTest : public testing::Test {
protected:
    Outcome crash(char const* way) const {
        return test::run({DMN_CRASHER, way}, withoutSanitizersHandlers());
    }

    Outcome crashShown(char const* way) const {
        return test::run({DMN_CRASHER, way, "shown"}, withoutSanitizersHandlers());
    }

    std::vector<std::string> entries() const { return m_log.entries(); }

    test::CapturedLog m_log;
};

constexpr char kThrown[] = "error: An exception that nobody caught has ended the process: ";

TEST_F(CrashTest, LeavesOneEntryAndEndsByItsSignal) {
    EXPECT_EQ(crash("segv").signal, SIGSEGV);

    EXPECT_THAT(entries(),
                ElementsAre(MatchesRegex("error: The process has crashed: signal 11 \\(SIGSEGV\\) at "
                                         "address 0x[1-9a-f][0-9a-f]*\\.")));
}

TEST_F(CrashTest, LeavesAnEntryLikeAnyOther) {
    test::Program const program({DMN_CRASHER, "wait"}, withoutSanitizersHandlers());
    ASSERT_TRUE(test::awaitOutput(program, "waits"));
    program.sendSignal(SIGSEGV);
    ASSERT_TRUE(test::await([&] { return !entries().empty(); }));

    std::string const number = std::to_string(program.pid());
    EXPECT_THAT(test::readFile(m_log.path()),
                MatchesRegex("<entry time=\"[0-9-]{10}T[0-9:]{8}\\.[0-9]{6}Z\" level=\"error\" process=\"" +
                             number + "\" thread=\"" + number + "\">[^<>]*</entry>\n"));
}

struct Ending {
    char const* name; // the way in which the program crashes
    int signal;
    char const* text;
};

std::ostream& operator<<(std::ostream& stream, Ending const& ending) {
    return stream << ending.name;
}

class EndingTest : public CrashTest, public testing::WithParamInterface<Ending> {};

TEST_P(EndingTest, LeavesOneEntryAndItsStatus) {
    EXPECT_EQ(crash(GetParam().name).signal, GetParam().signal);

    EXPECT_THAT(entries(), ElementsAre(MatchesRegex(GetParam().text)));
}

INSTANTIATE_TEST_SUITE_P(
    Crash, EndingTest,
    testing::Values(
        Ending{"segvInThread", SIGSEGV, ".*crashed: signal 11 \\(SIGSEGV\\) at address 0x[0-9a-f]+\\."},
        Ending{"segvInThreads", SIGSEGV, ".*crashed: signal 11 \\(SIGSEGV\\) at address 0x[0-9a-f]+\\."},
        Ending{"overflow", SIGSEGV, ".*crashed: signal 11 \\(SIGSEGV\\) at address 0x[0-9a-f]+\\."},
        Ending{"bus", SIGBUS, ".*crashed: signal 7 \\(SIGBUS\\) at address 0x[0-9a-f]+\\."},
        Ending{"raiseFpe", SIGFPE, ".*crashed: signal 8 \\(SIGFPE\\)\\."},
        Ending{"raiseIll", SIGILL, ".*crashed: signal 4 \\(SIGILL\\)\\."},
        Ending{"raiseSys", SIGSYS, ".*crashed: signal 31 \\(SIGSYS\\)\\."},
        Ending{"abort", SIGABRT, "error: The process has crashed: signal 6 \\(SIGABRT\\)\\."},
        Ending{"throw42", SIGABRT, ".*nobody caught has ended the process: int"},
        Ending{"throwInThread", SIGABRT, ".*nobody caught has ended the process: no & exit"},
        Ending{"noexcept", SIGABRT, ".*nobody caught has ended the process: no & exit"},
        Ending{"thread", SIGABRT, "error: std::terminate\\(\\) has ended the process\\."}),
    test::nameOfCase);

TEST_F(CrashTest, IsOneEntryHoweverManyThreadsCrash) {
    for (int i = 0; i < 20; ++i) {
        m_log.clear();
        EXPECT_EQ(crash("segvInThreads").signal, SIGSEGV);
        EXPECT_THAT(entries(), testing::SizeIs(1));
    }
}

TEST_F(CrashTest, NamesWhoHasSentTheSignal) {
    test::Program program({DMN_CRASHER, "wait"}, withoutSanitizersHandlers());
    ASSERT_TRUE(test::awaitOutput(program, "waits"));

    program.sendSignal(SIGSEGV);

    EXPECT_EQ(program.wait().signal, SIGSEGV);
    EXPECT_THAT(entries(),
                ElementsAre("error: The process has crashed: signal 11 (SIGSEGV), sent by process " +
                            std::to_string(getpid()) + "."));
}

TEST_F(CrashTest, OfAForkedChildHasAnEntryToo) {
    EXPECT_EQ(crash("child").status, 0);

    EXPECT_THAT(entries(), ElementsAre(HasSubstr("(SIGSEGV)"), "child has crashed"));
}

TEST_F(CrashTest, IsLeftToTheProgramThatHandlesIt) {
    EXPECT_EQ(crash("handled").status, 5);

    EXPECT_THAT(entries(), IsEmpty());
}

TEST_F(CrashTest, LeavesAnIgnoredAbortAlone) {
    EXPECT_EQ(crash("abort-ignored").signal, SIGABRT);

    EXPECT_THAT(entries(), IsEmpty());
}

TEST_F(CrashTest, CallsTheEarlierHandlerOfTerminate) {
    Outcome const outcome = crash("own-terminate");

    EXPECT_EQ(outcome.status, 7);
    EXPECT_EQ(outcome.errors, "own handler\n");
    EXPECT_THAT(entries(), ElementsAre(std::string(kThrown) + "no & exit"));
}

TEST_F(CrashTest, IsAtTheEndOfALogThatOthersWrite) {
    test::writeFile(m_log.path(), "<entry level=\"info\">first</entry>\n");

    crash("abort");

    EXPECT_THAT(entries(), ElementsAre("first", HasSubstr("(SIGABRT)")));
}

TEST_F(CrashTest, IsShownWhereTheLogIs) {
    Outcome const signal = crashShown("abort");
    Outcome const exception = crashShown("throw42");

    EXPECT_THAT(signal.errors,
                MatchesRegex("[0-9.: -]*error: The process has crashed: signal 6 \\(SIGABRT\\)\\.\n"));
    EXPECT_THAT(exception.errors,
                HasSubstr("error: An exception that nobody caught has ended the process: int\n"));
    EXPECT_THAT(entries(), testing::SizeIs(2));
}

TEST_F(CrashTest, IsShownOnceWhenTheLogIsThere) {
    setenv("FDN_LOG_FILE", "/dev/stderr", 1);

    Outcome const outcome = crashShown("abort");

    EXPECT_THAT(outcome.errors, MatchesRegex("<entry [^\n]*SIGABRT[^\n]*</entry>\n"));
}

TEST_F(CrashTest, IsNotShownUnlessAskedFor) {
    EXPECT_EQ(crash("abort").errors, "");
}

TEST_F(CrashTest, EndsByItsSignalWhereThereIsNoRoomForTheEntry) {
    EXPECT_EQ(crash("no-room").signal, SIGABRT);
}

// A pipe that nobody reads raises SIGPIPE, which must not take the place of the crash.
TEST_F(CrashTest, EndsByItsSignalWhereTheLogIsABrokenPipe) {
    setenv("FDN_LOG_FILE", "/dev/stderr", 1);

    EXPECT_EQ(crash("broken-pipe").signal, SIGABRT);
}

TEST_F(CrashTest, EndsByItsSignalWhereTheLogsFolderIsMissing) {
    setenv("FDN_LOG_FILE", "/nonexistent/log", 1);

    EXPECT_EQ(crash("abort").signal, SIGABRT);
}

TEST_F(CrashTest, GoesToSyslogWhereNoFileCanBeWritten) {
    if (!test::isInPrivateRoot())
        DMN_SKIP_TEST("needs a private root");
    test::SystemLog const syslog;
    setenv("FDN_LOG_FILE", "/nonexistent/log", 1);

    crash("abort");

    EXPECT_THAT(syslog.messages(),
                ElementsAre(MatchesRegex("<" + std::to_string(LOG_DAEMON | LOG_ERR) +
                                         ">crasher\\[[0-9]+\\]: <entry [^\n]*\\(SIGABRT\\)\\.</entry>")));
}

TEST_F(CrashTest, GoesToSyslogInsteadOfAFileThatALinkLeadsTo) {
    if (!test::isInPrivateRoot())
        DMN_SKIP_TEST("needs a private root");
    test::SystemLog const syslog;
    unsetenv("FDN_LOG_FILE");
    test::TemporaryFolder const folder;
    setenv("XDG_STATE_HOME", folder.name().c_str(), 1);
    fs::create_directories("/var/log/crasher");
    fs::create_symlink(folder.name("target"), "/var/log/crasher/crasher.log");

    crash("abort");

    EXPECT_THAT(syslog.messages(), ElementsAre(HasSubstr("(SIGABRT)")));
    EXPECT_FALSE(fs::exists(folder.name("target")));
    fs::remove_all("/var/log/crasher");
}

TEST_F(CrashTest, IsTakenByAPipeThatIsTheLog) {
    test::TemporaryFolder const folder;
    ASSERT_EQ(mkfifo(folder.name("pipe").c_str(), 0600), 0);
    Descriptor const reader(open(folder.name("pipe").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    setenv("FDN_LOG_FILE", folder.name("pipe").c_str(), 1);

    EXPECT_EQ(crash("abort").signal, SIGABRT);

    std::string received(1000, '\0');
    ASSERT_GT(read(reader.get(), received.data(), received.size()), 0);
    EXPECT_THAT(received, HasSubstr("(SIGABRT).</entry>\n"));
}

class ExitReportTest : public CrashTest {};

TEST_F(ExitReportTest, NamesTheActivityAndTheStatus) {
    EXPECT_EQ(crash("exit").status, 3);

    EXPECT_THAT(entries(), ElementsAre("error: exit(3) was called in run(), with the status 3."));
}

TEST_F(ExitReportTest, ReportsAnyThread) {
    EXPECT_EQ(crash("exit-in-thread").status, 3);

    EXPECT_THAT(entries(), ElementsAre("error: exit(3) was called in run(), with the status 3."));
}

TEST_F(ExitReportTest, ReportsOnceWhereAnEarlierActivityHasEnded) {
    EXPECT_EQ(crash("exit-second").status, 3);

    EXPECT_THAT(entries(), ElementsAre("error: exit(3) was called in run(), with the status 3."));
}

TEST_F(ExitReportTest, WaitsForNobodyWhoUsesTheLog) {
    EXPECT_EQ(crash("exit-while-in-use").status, 3);

    EXPECT_THAT(entries(), ElementsAre("in use", "error: exit(3) was called in run(), with the status 3."));
}

TEST_F(ExitReportTest, IsOverWithTheActivity) {
    EXPECT_EQ(crash("exit-after").status, 3);

    EXPECT_THAT(entries(), IsEmpty());
}

TEST_F(ExitReportTest, LetsAForkedChildExit) {
    EXPECT_EQ(crash("exit-in-child").status, 0);

    EXPECT_THAT(entries(), IsEmpty());
}

} // namespace
