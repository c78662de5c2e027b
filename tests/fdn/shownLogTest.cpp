#include "support/CapturedLog.h"
#include "support/Pipe.h"
#include "support/Program.h"
#include "support/TemporaryFolder.h"

#include <fdn/CError.h>
#include <fdn/log.h>
#include <fdn/system/Descriptor.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

namespace {

using fdn::CError;
using fdn::CProps;
using fdn::Descriptor;
using fdn::logDebug;
using fdn::logError;
using fdn::logInfo;
using fdn::LogLevel;
using fdn::logWarning;
using fdn::setLogLevel;
using fdn::showLogOnStandardError;
using fdn::String;
using test::Outcome;
using test::runInChild;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;

// The line without its time. Fails the running test when it does not begin with one.
std::string withoutTime(std::string const& line) {
    constexpr std::size_t kLength = 24;
    EXPECT_THAT(line.substr(0, kLength),
                MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3} "));
    return line.size() < kLength ? line : line.substr(kLength);
}

std::vector<std::string> withoutTimes(std::string const& text) {
    std::vector<std::string> lines;
    for (std::string const& line : test::linesOf(text))
        lines.push_back(withoutTime(line));
    return lines;
}

class ShownLogTest : public testing::Test {
protected:
    // What is shown while a child logs.
    static std::vector<std::string> shownBy(std::function<void()> const& log) {
        Outcome const outcome = runInChild([&] {
            showLogOnStandardError();
            log();
        });
        EXPECT_EQ(outcome.status, 0);
        return withoutTimes(outcome.errors);
    }

    static std::vector<std::string> shownText(String const& text) {
        return shownBy([&] { logInfo(text); });
    }

    static std::vector<std::string> shownError(std::exception const& error, String const& situation,
                                               String const& where) {
        return shownBy([&] { logError(error, situation, where); });
    }

    // Logs in a child whose standard error is this descriptor, and which ends when it has to wait.
    static Outcome logTo(Descriptor const& end, std::function<void()> const& log) {
        return runInChild([&] {
            alarm(10);
            dup2(end.get(), STDERR_FILENO);
            showLogOnStandardError();
            log();
        });
    }

    std::vector<std::string> entries() const { return m_log.entries(); }

    test::CapturedLog m_log;
};

TEST_F(ShownLogTest, IsBesideTheFile) {
    EXPECT_THAT(shownText("text"), ElementsAre("text"));

    EXPECT_THAT(entries(), ElementsAre("text"));
}

TEST_F(ShownLogTest, IsNotShownUnlessAskedFor) {
    EXPECT_EQ(runInChild([] { logError("text"); }).errors, "");
}

TEST_F(ShownLogTest, HasTheLevelWhereItIsUnusual) {
    EXPECT_THAT(shownBy([] {
                    setLogLevel(LogLevel::Debug);
                    logDebug("first");
                    logInfo("second");
                    logWarning("third");
                    logError("fourth");
                }),
                ElementsAre("debug: first", "second", "warning: third", "error: fourth"));
}

TEST_F(ShownLogTest, ShowsWhatIsMarkupInTheFile) {
    EXPECT_THAT(shownText(L"<a b=\"1\"> & \u20AC"), ElementsAre("<a b=\"1\"> & \xE2\x82\xAC"));
}

TEST_F(ShownLogTest, LetsNoTextActOnATerminal) {
    EXPECT_THAT(shownText(L"\x1B[2J\x07"
                          L"a\nb\r\t\x7F\x9B"
                          L"c"),
                ElementsAre("\\x1b[2J\\x07"
                            "a\\nb\\x0d\\t\\x7f\\x9b"
                            "c"));
}

TEST_F(ShownLogTest, TakesTextsThatAreNoUnicode) {
    EXPECT_THAT(shownText(wxString(static_cast<wchar_t>(0xD800), 1)), ElementsAre("\xEF\xBF\xBD"));
}

TEST_F(ShownLogTest, HasTheMessageOfAnException) {
    EXPECT_THAT(shownError(std::runtime_error("oops"), "", ""), ElementsAre("error: oops"));
}

TEST_F(ShownLogTest, HasTheTextsAboutAnException) {
    EXPECT_THAT(shownError(std::runtime_error("oops"), "while testing", "here"),
                ElementsAre("error: while testing: oops [here]"));
}

TEST_F(ShownLogTest, HasTheDetailsOfAnError) {
    CProps const props{{"func", "chmod"}, {"path", "/x\n"}};

    EXPECT_THAT(shownError(CError("oops", "second", 13, props, nullptr), "", "here"),
                ElementsAre("error: oops (second) [here; code: 13; func: chmod; path: /x\\n]"));
    EXPECT_THAT(shownError(CError("oops", "", 13, props, nullptr), "", ""),
                ElementsAre("error: oops [code: 13; func: chmod; path: /x\\n]"));
}

TEST_F(ShownLogTest, HasTheCausesOfAnError) {
    CError const root("root", "", 2, CProps(), nullptr);
    CError const middle("middle", "", -1, CProps(), root.clone().get());

    EXPECT_THAT(shownError(CError("top", "", -1, CProps(), middle.clone().get()), "", ""),
                ElementsAre("error: top; caused by: middle; caused by: root [code: 2]"));
}

TEST_F(ShownLogTest, HasLocalTime) {
    setenv("TZ", "XYZ-12:30", 1); // so far ahead of UTC
    Outcome const outcome = runInChild([] {
        tzset();
        showLogOnStandardError();
        logInfo("text");
    });
    unsetenv("TZ");

    std::tm shown = {};
    std::tm utc = {};
    ASSERT_NE(strptime(outcome.errors.c_str(), "%Y-%m-%d %H:%M:%S", &shown), nullptr);
    std::string const file = test::readFile(m_log.path());
    ASSERT_NE(strptime(file.c_str(), "<entry time=\"%Y-%m-%dT%H:%M:%S", &utc), nullptr);
    double const ahead = std::difftime(timegm(&shown), timegm(&utc));
    EXPECT_NEAR(ahead, (12 * 60 + 30) * 60, 60);
}

TEST_F(ShownLogTest, IsShownOnceWhenTheLogIsThere) {
    setenv("FDN_LOG_FILE", "/dev/stderr", 1);

    Outcome const outcome = runInChild([] {
        showLogOnStandardError();
        logInfo("text");
    });

    EXPECT_THAT(outcome.errors, MatchesRegex("<entry [^\n]*>text</entry>\n"));
}

TEST_F(ShownLogTest, IsShownOnceWhenStandardErrorGoesToTheLog) {
    Descriptor const log(open(m_log.path().c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));

    logTo(log, [] { logInfo("text"); });

    EXPECT_THAT(entries(), ElementsAre("text"));
}

TEST_F(ShownLogTest, TakesTurnsWithWhatTheProgramItselfWritesToAFile) {
    test::TemporaryFolder const folder;
    Descriptor const file(open(folder.name("file").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));

    logTo(file, [] {
        logInfo("first");
        std::fputs("2026-11-22 10:00:00.000 own\n", stderr);
        logInfo("second");
    });

    EXPECT_THAT(withoutTimes(test::readFile(folder.name("file"))), ElementsAre("first", "own", "second"));
}

TEST_F(ShownLogTest, MayBeASocket) {
    test::Pipe const sockets = test::makeSocketPair();

    logTo(sockets.writing, [] { logInfo("text"); });

    std::array<char, 100> shown = {};
    ASSERT_GT(recv(sockets.reading.get(), shown.data(), shown.size() - 1, MSG_DONTWAIT), 0);
    EXPECT_THAT(withoutTimes(shown.data()), ElementsAre("text"));
}

void logMuch() {
    for (int i = 0; i < 1000; ++i)
        logInfo(std::string(1000, 'x').c_str());
}

TEST_F(ShownLogTest, WaitsForNoReaderOfAPipe) {
    test::Pipe const pipe = test::makePipe();

    EXPECT_EQ(logTo(pipe.writing, &logMuch).signal, 0);

    EXPECT_THAT(entries(), testing::SizeIs(1000));
    EXPECT_EQ(fcntl(pipe.writing.get(), F_GETFL) & O_NONBLOCK, 0);
}

TEST_F(ShownLogTest, WaitsForNoReaderOfASocket) {
    test::Pipe const sockets = test::makeSocketPair();

    EXPECT_EQ(logTo(sockets.writing, &logMuch).signal, 0);

    EXPECT_THAT(entries(), testing::SizeIs(1000));
}

TEST_F(ShownLogTest, SurvivesTheReaderOfAPipe) {
    test::Pipe pipe = test::makePipe();
    pipe.reading.reset();

    EXPECT_EQ(logTo(pipe.writing, [] { logInfo("text"); }).status, 0);

    EXPECT_THAT(entries(), ElementsAre("text"));
}

TEST_F(ShownLogTest, SurvivesAClosedStandardError) {
    EXPECT_THAT(shownBy([] {
                    close(STDERR_FILENO);
                    logInfo("text");
                }),
                IsEmpty());

    EXPECT_THAT(entries(), ElementsAre("text"));
}

// A terminal of the test.
struct Terminal {
    Terminal() : master(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK)) {
        if (grantpt(master.get()) != 0 || unlockpt(master.get()) != 0)
            throw std::runtime_error("no terminal");
        program = Descriptor(open(ptsname(master.get()), O_RDWR | O_NOCTTY | O_CLOEXEC));
    }

    std::string read() const {
        std::array<char, 1000> shown = {};
        ssize_t const length = ::read(master.get(), shown.data(), shown.size());
        return length > 0 ? std::string(shown.data(), static_cast<std::size_t>(length)) : std::string();
    }

    Descriptor master;
    Descriptor program;
};

TEST_F(ShownLogTest, MayBeATerminal) {
    Terminal const terminal;

    logTo(terminal.program, [] { logInfo("text"); });

    EXPECT_THAT(terminal.read(), MatchesRegex("[0-9.: -]*text\r\n"));
}

TEST_F(ShownLogTest, WaitsForNobodyAtATerminal) {
    Terminal const terminal;

    EXPECT_EQ(logTo(terminal.program, &logMuch).signal, 0);

    EXPECT_THAT(entries(), testing::SizeIs(1000));
    EXPECT_EQ(fcntl(terminal.program.get(), F_GETFL) & O_NONBLOCK, 0);
}

TEST_F(ShownLogTest, WaitsForNoTerminalThatIsHeld) {
    Terminal const terminal;
    ASSERT_EQ(tcflow(terminal.program.get(), TCOOFF), 0);

    EXPECT_EQ(logTo(terminal.program, &logMuch).signal, 0);

    EXPECT_THAT(entries(), testing::SizeIs(1000));
}

TEST_F(ShownLogTest, SurvivesATerminalThatHasGone) {
    Terminal terminal;

    Outcome const outcome = logTo(terminal.program, [&] {
        logInfo("first");
        terminal.master.reset();
        logInfo("second");
    });

    EXPECT_EQ(outcome.signal, 0);
    EXPECT_THAT(entries(), ElementsAre("first", "second"));
}

// As in the test of the same kind for the file.
TEST_F(ShownLogTest, CanBeWrittenByAChildThatWasForkedDuringAThreadsLookAtTheTimeZone) {
    Outcome const outcome = runInChild([] {
        showLogOnStandardError();
        logInfo("parent");
        std::atomic<bool> hasEnded{false};
        std::thread looker([&] {
            std::time_t const time = 0;
            std::tm date = {};
            while (!hasEnded)
                localtime_r(&time, &date);
        });
        auto const logInTime = [] {
            alarm(10);
            logInfo("child");
        };
        for (int i = 0; i < 100; ++i)
            test::require(runInChild(logInTime).signal == 0, "a child has waited");
        hasEnded = true;
        looker.join();
    });

    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_THAT(entries(), testing::SizeIs(101));
}

} // namespace
