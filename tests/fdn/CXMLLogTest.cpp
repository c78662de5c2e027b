#include "support/CapturedLog.h"
#include "support/Gate.h"
#include "support/Obstacles.h"
#include "support/Pipe.h"
#include "support/PrivateRoot.h"
#include "support/Program.h"
#include "support/SystemLog.h"
#include "support/TemporaryFolder.h"
#include "support/fileInfo.h"
#include "support/processInfo.h"

#include <fdn/CError.h>
#include <fdn/CXMLLog.h>
#include <fdn/log.h>
#include <fdn/system/Descriptor.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <clocale>
#include <ctime>
#include <filesystem>
#include <functional>
#include <iostream>
#include <memory>
#include <optional>
#include <regex>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

using fdn::CError;
using fdn::CProps;
using fdn::CXMLLog;
using fdn::Descriptor;
using fdn::logError;
using fdn::logInfo;
using fdn::String;
using test::closeLog;
using test::entriesOf;
using test::linesOf;
using test::modeOf;
using test::Outcome;
using test::readFile;
using test::runInChild;
using test::writeFile;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::SizeIs;

constexpr std::uintmax_t kMaximumSize = 10 * 1024 * 1024;

// Returns what stands between the tags of an entry. Fails the running test when the line is not an entry.
std::string contentOf(std::string const& line) {
    static std::regex const startTag(
        "<entry time=\"[0-9-]{10}T[0-9:]{8}\\.[0-9]{6}Z\" level=\"(info|error)\" "
        "process=\"[0-9]+\" thread=\"[0-9]+\">");
    std::string const endTag = "</entry>";
    std::size_t const start = line.find('>') + 1;
    std::size_t const end = line.rfind(endTag);
    bool const isEntry = end != std::string::npos && end >= start && end + endTag.size() == line.size() &&
                         std::regex_match(line.substr(0, start), startTag);
    EXPECT_TRUE(isEntry) << line.substr(0, 500);
    return isEntry ? line.substr(start, end - start) : std::string();
}

std::vector<std::string> contentsOf(std::string const& path) {
    std::vector<std::string> contents;
    for (std::string const& line : linesOf(readFile(path)))
        contents.push_back(contentOf(line));
    return contents;
}

// Sends the log of the process to a file of the test.
class CXMLLogTest : public testing::Test {
protected:
    CXMLLogTest() {
        closeLog();
        setenv("FDN_LOG_FILE", path().c_str(), 1);
    }

    ~CXMLLogTest() override {
        closeLog();
        unsetenv("FDN_LOG_FILE");
    }

    std::string path() const { return m_folder.name("log"); }

    std::vector<std::string> contents() const { return contentsOf(path()); }

    std::string line() const { return linesOf(readFile(path())).at(0); }

    // Logs the text and returns the content of the first entry.
    std::string contentAfterLogging(String const& text) const {
        logInfo(text);
        return contents().at(0);
    }

    test::TemporaryFolder m_folder;
};

TEST_F(CXMLLogTest, HasOneElementPerLine) {
    logInfo("first");
    logError("second");

    EXPECT_THAT(readFile(path()),
                MatchesRegex("<entry [^\n]*>first</entry>\n<entry [^\n]*>second</entry>\n"));
    EXPECT_THAT(contents(), ElementsAre("first", "second"));
}

TEST_F(CXMLLogTest, TellsInformationFromErrors) {
    logInfo("first");
    logError("second");
    logError(std::runtime_error("third"), "", "");

    std::vector<std::string> const lines = linesOf(readFile(path()));
    EXPECT_THAT(lines, ElementsAre(HasSubstr(" level=\"info\" "), HasSubstr(" level=\"error\" "),
                                   HasSubstr(" level=\"error\" ")));
}

TEST_F(CXMLLogTest, HasTheTimeInUTC) {
    std::time_t const before = std::time(nullptr);
    logInfo("text");
    std::time_t const after = std::time(nullptr);

    std::tm date = {};
    ASSERT_NE(strptime(line().c_str(), "<entry time=\"%Y-%m-%dT%H:%M:%S", &date), nullptr);
    EXPECT_GE(timegm(&date), before);
    EXPECT_LE(timegm(&date), after);
}

TEST_F(CXMLLogTest, HasTheNumbersOfProcessAndThread) {
    pid_t thread = 0;

    std::thread([&] {
        thread = gettid();
        logInfo("text");
    }).join();

    EXPECT_THAT(line(), HasSubstr(" process=\"" + std::to_string(getpid()) + "\" thread=\"" +
                                  std::to_string(thread) + "\">"));
}

TEST_F(CXMLLogTest, HasTheNumberOfAForkedChild) {
    logInfo("parent");

    test::Program child([] { logInfo("child"); });
    pid_t const pid = child.pid();
    child.wait();

    EXPECT_THAT(linesOf(readFile(path())).at(1), HasSubstr(" process=\"" + std::to_string(pid) + "\""));
}

TEST_F(CXMLLogTest, EscapesWhatIsMarkupAndKeepsQuotes) {
    EXPECT_EQ(contentAfterLogging("<a b=\"1\"> & 'c' ]]>"), "&lt;a b=\"1\"&gt; &amp; 'c' ]]&gt;");
}

TEST_F(CXMLLogTest, KeepsATextOnOneLine) {
    EXPECT_EQ(contentAfterLogging("a\nb\r\n\tc"), "a&#10;b&#13;&#10;&#9;c");
}

TEST_F(CXMLLogTest, HasNoBareCharacterThatControlsATerminal) {
    EXPECT_EQ(contentAfterLogging(L"a\u007F\u0085\u009Bb"), "a&#127;&#133;&#155;b");
}

TEST_F(CXMLLogTest, ReplacesWhatXMLDoesNotAllow) {
    wchar_t const text[] = {L'a', L'\0', L'\x1B', static_cast<wchar_t>(0xD800), L'\xFFFE', L'b'};

    EXPECT_EQ(contentAfterLogging(wxString(text, 6)), "a\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"
                                                      "b");
}

TEST_F(CXMLLogTest, IsInUTF8WhateverTheLocale) {
    std::string const locale = std::setlocale(LC_CTYPE, nullptr);
    std::setlocale(LC_CTYPE, "C");
    std::string const content = contentAfterLogging(L"\u00E4\u20AC\U0001F600\uFFFD");
    std::setlocale(LC_CTYPE, locale.c_str());

    EXPECT_EQ(content, "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\xEF\xBF\xBD");
}

TEST_F(CXMLLogTest, TakesTheEmptyText) {
    EXPECT_EQ(contentAfterLogging(""), "");
}

TEST_F(CXMLLogTest, HasTheTextsAndTheMessageOfAnException) {
    logError(std::runtime_error("<oops>"), "while testing & so on", "CXMLLogTest");

    EXPECT_EQ(contents().at(0), "<text>while testing &amp; so on</text><where>CXMLLogTest</where>"
                                "<what>&lt;oops&gt;</what>");
}

TEST_F(CXMLLogTest, LeavesOutEmptyTexts) {
    logError(CError("oops"), "", "");

    EXPECT_EQ(contents().at(0), "<what>oops</what><code>-1</code>");
}

TEST_F(CXMLLogTest, HasTheDetailsOfAnError) {
    CProps const props{{"func", "chmod"}, {"a \"<quoted>\" name", "a \"quoted\" value"}};

    logError(CError(L"\u20AC", "second", 13, props, nullptr), "", "here");

    EXPECT_EQ(contents().at(0),
              "<where>here</where><what>\xE2\x82\xAC</what><second>second</second>"
              "<code>13</code>"
              "<property name=\"a &quot;&lt;quoted&gt;&quot; name\">a \"quoted\" value</property>"
              "<property name=\"func\">chmod</property>");
}

TEST_F(CXMLLogTest, HasTheCausesOfAnErrorInsideOneAnother) {
    CError const root("root", "", 2, CProps{{"func", "open"}}, nullptr);
    CError const middle("middle", "", -1, CProps(), root.clone().get());

    logError(CError("top", "", 1, CProps(), middle.clone().get()), "", "");

    EXPECT_EQ(contents().at(0),
              "<what>top</what><code>1</code>"
              "<cause><what>middle</what><code>-1</code>"
              "<cause><what>root</what><code>2</code><property name=\"func\">open</property>"
              "</cause></cause>");
}

TEST_F(CXMLLogTest, LeavesErrnoAlone) {
    errno = ENOTTY;

    logInfo("text");

    EXPECT_EQ(errno, ENOTTY);
}

TEST_F(CXMLLogTest, IsClosedByTheCloserAndOpenedByTheNextEntry) {
    logInfo("before");
    closeLog();
    fs::rename(path(), path() + ".old");

    EXPECT_FALSE(fs::exists(path()));
    logInfo("after");

    EXPECT_THAT(contents(), ElementsAre("after"));
}

TEST_F(CXMLLogTest, IsWhereTheVariableSaysByThenOnceItWasClosed) {
    logInfo("first");
    setenv("FDN_LOG_FILE", m_folder.name("other").c_str(), 1);
    logInfo("second");
    closeLog();
    logInfo("third");

    EXPECT_THAT(contents(), ElementsAre("first", "second"));
    EXPECT_THAT(contentsOf(m_folder.name("other")), ElementsAre("third"));
}

TEST_F(CXMLLogTest, StaysWhereItIsWhenTheCurrentFolderChanges) {
    fs::path const previous = fs::current_path();
    fs::current_path(m_folder.name());
    setenv("FDN_LOG_FILE", "log", 1);
    logInfo("first");

    fs::current_path("/");
    logInfo("second");
    fs::current_path(previous);

    EXPECT_THAT(contents(), ElementsAre("first", "second"));
}

TEST_F(CXMLLogTest, LeavesAFileAloneThatHasTakenItsDescriptor) {
    std::string const other = m_folder.name("other");

    test::Outcome const outcome = test::runInChild([&] {
        logInfo("before");
        for (int descriptor = STDERR_FILENO + 1; descriptor < 100; ++descriptor)
            close(descriptor);
        for (int i = 0; i < 10; ++i)
            if (open(other.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600) == -1)
                throw std::runtime_error("open");
        std::set<int> const own = test::descriptorsOf(getpid());
        logInfo("after");
        closeLog();
        std::cout << (test::descriptorsOf(getpid()) == own);
    });

    EXPECT_EQ(outcome.output, "1") << outcome.errors;
    EXPECT_THAT(contents(), ElementsAre("before", "after"));
    EXPECT_THAT(readFile(other), IsEmpty());
}

TEST_F(CXMLLogTest, LeavesNoDescriptorToOtherPrograms) {
    logInfo("text");

    EXPECT_THAT(test::run({"ls", "-l", "/proc/self/fd"}).output, Not(HasSubstr(path())));
}

TEST_F(CXMLLogTest, LosesNoEntryOfManyThreads) {
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([thread] {
            for (int i = 0; i < 500; ++i)
                logInfo(("thread " + std::to_string(thread) + " entry " + std::to_string(i)).c_str());
        });
    for (std::thread& thread : threads)
        thread.join();

    std::vector<std::string> const entries = contents();
    EXPECT_THAT(entries, SizeIs(2000));
    EXPECT_THAT(std::set<std::string>(entries.begin(), entries.end()), SizeIs(2000));
}

std::string makeText(int child, int number, std::size_t length) {
    std::string text = "child " + std::to_string(child) + " entry " + std::to_string(number) + " ";
    text.resize(length, 'x');
    return text;
}

// Has children, which all begin at once, write `count` entries of this length each.
void writeFromChildren(int children, int count, std::size_t length) {
    test::Gate start;
    std::vector<std::unique_ptr<test::Program>> programs;
    for (int child = 0; child < children; ++child)
        programs.push_back(std::make_unique<test::Program>([&, child] {
            start.pass();
            for (int number = 0; number < count; ++number)
                logInfo(makeText(child, number, length).c_str());
        }));
    start.open();
    for (auto const& program : programs)
        EXPECT_EQ(program->wait().status, 0);
}

TEST_F(CXMLLogTest, LosesAndMixesNoEntryOfManyProcesses) {
    logInfo("parent");

    writeFromChildren(4, 500, 200);

    std::vector<std::string> const entries = contents();
    EXPECT_THAT(entries, SizeIs(2001));
    EXPECT_THAT(std::set<std::string>(entries.begin(), entries.end()), SizeIs(2001));
}

TEST_F(CXMLLogTest, CanBeWrittenByAChildThatWasForkedDuringAnEntry) {
    std::atomic<bool> hasEnded{false};
    std::thread writer([&] {
        while (!hasEnded)
            logInfo("thread");
    });

    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(runInChild([] { logInfo("child"); }).status, 0);
    hasEnded = true;
    writer.join();

    std::vector<std::string> const entries = contents();
    EXPECT_EQ(std::count(entries.begin(), entries.end(), "child"), 100);
}

// The C library holds a lock while it examines the time zone. A child that is forked meanwhile finds it
// locked for ever.
TEST_F(CXMLLogTest, CanBeWrittenByAChildThatWasForkedDuringAThreadsLookAtTheTimeZone) {
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
    for (int i = 0; i < 100 && !HasFailure(); ++i)
        EXPECT_EQ(runInChild(logInTime).signal, 0);
    hasEnded = true;
    looker.join();

    EXPECT_THAT(contents(), SizeIs(100));
}

// Makes a log of this size that holds no entry.
void makeLog(std::string const& path, std::uintmax_t size) {
    writeFile(path, "");
    fs::resize_file(path, size);
}

TEST_F(CXMLLogTest, BeginsANewFileBeforeItGetsTooLarge) {
    makeLog(path(), kMaximumSize - 1);

    logInfo("text");

    EXPECT_THAT(contents(), ElementsAre("text"));
    EXPECT_EQ(fs::file_size(path() + ".1"), kMaximumSize - 1);
}

TEST_F(CXMLLogTest, GoesOnInAFileThatHasRoom) {
    makeLog(path(), kMaximumSize - 1000);

    logInfo("text");

    EXPECT_THAT(entriesOf(m_folder.name()), ElementsAre("log"));
}

TEST_F(CXMLLogTest, BeginsNoNewFileForALargeFirstEntry) {
    logInfo(std::string(kMaximumSize, 'x').c_str());

    EXPECT_THAT(entriesOf(m_folder.name()), ElementsAre("log"));
}

TEST_F(CXMLLogTest, KeepsFiveOldFiles) {
    for (char const* const number : {"1", "2", "3", "4", "5"})
        writeFile(path() + "." + number, number);
    makeLog(path(), kMaximumSize);

    logInfo("text");

    EXPECT_THAT(entriesOf(m_folder.name()), ElementsAre("log", "log.1", "log.2", "log.3", "log.4", "log.5"));
    EXPECT_EQ(fs::file_size(path() + ".1"), kMaximumSize);
    EXPECT_EQ(readFile(path() + ".2"), "1");
    EXPECT_EQ(readFile(path() + ".5"), "4");
}

// Its size has no room in 32 bits.
TEST_F(CXMLLogTest, RotatesAFileOfFourGibibytes) {
    std::uintmax_t const size = std::uintmax_t{4} * 1024 * 1024 * 1024;
    makeLog(path(), size);

    logInfo("text");

    EXPECT_THAT(entriesOf(m_folder.name()), ElementsAre("log", "log.1"));
    EXPECT_EQ(fs::file_size(path() + ".1"), size);
}

TEST_F(CXMLLogTest, LosesNoEntryWhenManyProcessesFillIt) {
    logInfo("parent");

    writeFromChildren(4, 100, 100000);

    std::size_t entries = 0;
    for (std::string const& name : entriesOf(m_folder.name()))
        entries += contentsOf(m_folder.name(name.c_str())).size();
    EXPECT_EQ(entries, 401U);
    EXPECT_THAT(entriesOf(m_folder.name()), ElementsAre("log", "log.1", "log.2", "log.3"));
    for (char const* const number : {"1", "2", "3"})
        EXPECT_GT(fs::file_size(path() + "." + number), kMaximumSize - 200000);
}

TEST_F(CXMLLogTest, RotatesOnceWhenManyProcessesFindItFull) {
    for (int round = 0; round < 30; ++round) {
        logInfo("parent");
        fs::resize_file(path(), kMaximumSize);

        writeFromChildren(8, 1, 100);

        ASSERT_THAT(entriesOf(m_folder.name()), ElementsAre("log", "log.1"));
        ASSERT_GE(fs::file_size(path() + ".1"), kMaximumSize);
        fs::remove(path() + ".1");
    }
}

TEST_F(CXMLLogTest, GoesOnInItsFileWhileAnotherProcessRotates) {
    makeLog(path(), kMaximumSize);
    Descriptor const rotating(open(path().c_str(), O_RDONLY | O_CLOEXEC));
    ASSERT_EQ(flock(rotating.get(), LOCK_EX), 0);

    logInfo("text");

    EXPECT_THAT(entriesOf(m_folder.name()), ElementsAre("log"));
    EXPECT_GT(fs::file_size(path()), kMaximumSize);
}

TEST_F(CXMLLogTest, BeginsANewFileWhenItsFileWasMovedAway) {
    logInfo("before");
    fs::rename(path(), path() + ".moved");

    logInfo("after");

    EXPECT_THAT(contents(), ElementsAre("after"));
    EXPECT_THAT(contentsOf(path() + ".moved"), ElementsAre("before"));
}

TEST_F(CXMLLogTest, GoesOnInTheFileThatTookItsPlace) {
    logInfo("before");
    fs::rename(path(), path() + ".moved");
    writeFile(path(), "");

    logInfo("after");

    EXPECT_THAT(contents(), ElementsAre("after"));
}

TEST_F(CXMLLogTest, GoesOnInItsFileWhenThatWasEmptied) {
    logInfo("before");
    fs::resize_file(path(), 0);

    logInfo("after");

    EXPECT_THAT(contents(), ElementsAre("after"));
}

TEST_F(CXMLLogTest, FollowsALinkThatTheUserNamesAndDoesNotRotateIt) {
    makeLog(m_folder.name("target"), kMaximumSize);
    fs::create_symlink("target", path());

    logInfo("text");

    EXPECT_GT(fs::file_size(m_folder.name("target")), kMaximumSize);
    EXPECT_THAT(entriesOf(m_folder.name()), ElementsAre("log", "target"));
}

// Matches a message to syslog that holds an entry with this content.
testing::Matcher<std::string> isSyslogMessage(int priority, std::string const& content) {
    return MatchesRegex("<" + std::to_string(priority) + ">fdn_tests\\[[0-9]+\\]: <entry .*>" + content +
                        "</entry>");
}

testing::Matcher<std::string> isSyslogInfo(std::string const& content) {
    return isSyslogMessage(LOG_DAEMON | LOG_INFO, content);
}

// Sends the log of the process to a file of the test, and what cannot be written there to a syslog of the
// test.
class SyslogTest : public CXMLLogTest {
protected:
    void SetUp() override {
        if (!test::isInPrivateRoot())
            DMN_SKIP_TEST("needs a private root");
        m_syslog.emplace();
    }

    std::vector<std::string> messages() const { return m_syslog->messages(); }

    std::optional<test::SystemLog> m_syslog;
};

TEST_F(SyslogTest, GoesToSyslogWhereNoFileCanBeWritten) {
    setenv("FDN_LOG_FILE", m_folder.name("missing/log").c_str(), 1);

    Outcome const outcome = runInChild([] {
        logInfo("100 %s");
        logError("second");
    });

    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(messages(),
                ElementsAre(isSyslogInfo("100 %s"), isSyslogMessage(LOG_DAEMON | LOG_ERR, "second")));
    EXPECT_THAT(entriesOf(m_folder.name()), IsEmpty());
}

TEST_F(SyslogTest, IsSyslogThatTakesStreams) {
    m_syslog.reset();
    m_syslog.emplace(SOCK_STREAM);
    setenv("FDN_LOG_FILE", m_folder.name("missing/log").c_str(), 1);

    logInfo("text");

    std::vector<std::string> const received = messages();
    ASSERT_THAT(received, SizeIs(1));
    EXPECT_THAT(received[0].c_str(), isSyslogInfo("text"));
    EXPECT_EQ(received[0].back(), '\0');
}

// Logs until syslog, which nobody reads, has long been full, and forks a child meanwhile.
void fillSyslog() {
    alarm(10); // ends the process if anybody waits
    for (int i = 0; i < 1000; ++i)
        logInfo("text");
    EXPECT_EQ(runInChild([] { logInfo("child"); }).status, 0);
    alarm(0);
}

TEST_F(SyslogTest, KeepsNobodyWaitingWhenItDoesNotRead) {
    setenv("FDN_LOG_FILE", m_folder.name("missing/log").c_str(), 1);

    EXPECT_EQ(runInChild(&fillSyslog).signal, 0);

    EXPECT_THAT(messages(), testing::Each(isSyslogInfo("text")));
}

TEST_F(SyslogTest, KeepsNobodyWaitingWhenItTakesStreamsAndDoesNotRead) {
    m_syslog.reset();
    m_syslog.emplace(SOCK_STREAM);
    setenv("FDN_LOG_FILE", m_folder.name("missing/log").c_str(), 1);

    EXPECT_EQ(runInChild(&fillSyslog).signal, 0);
}

TEST_F(SyslogTest, SaysHowManyEntriesItHasLost) {
    setenv("FDN_LOG_FILE", m_folder.name("missing/log").c_str(), 1);
    for (int i = 0; i < 1000; ++i)
        logInfo("text");
    std::size_t const lost = 1000 - messages().size();

    logInfo("heard");
    logInfo("again");

    EXPECT_THAT(messages(),
                ElementsAre(isSyslogMessage(LOG_DAEMON | LOG_ERR,
                                            "Entries lost before this one: " + std::to_string(lost)),
                            isSyslogInfo("heard"), isSyslogInfo("again")));
}

TEST_F(SyslogTest, GoesToItsFileAsSoonAsThatCanBeWritten) {
    setenv("FDN_LOG_FILE", m_folder.name("missing/log").c_str(), 1);

    runInChild([&] {
        logInfo("first");
        fs::create_directory(m_folder.name("missing"));
        logInfo("second");
    });

    EXPECT_THAT(messages(), ElementsAre(isSyslogInfo("first")));
    EXPECT_THAT(contentsOf(m_folder.name("missing/log")), ElementsAre("second"));
}

TEST_F(SyslogTest, GoesToSyslogInsteadOfAPipeWithoutAReader) {
    mkfifo(path().c_str(), 0600);

    runInChild([] { logInfo("text"); });

    EXPECT_THAT(messages(), ElementsAre(isSyslogInfo("text")));
}

TEST_F(SyslogTest, SurvivesTheReaderOfAPipe) {
    mkfifo(path().c_str(), 0600);
    Descriptor reader(open(path().c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));

    Outcome const outcome = runInChild([&] {
        logInfo("first");
        reader.reset();
    });
    char received[1000];
    ssize_t const length = read(reader.get(), received, sizeof received);

    ASSERT_GT(length, 0);
    EXPECT_EQ(contentOf(std::string(received, static_cast<std::size_t>(length) - 1)), "first");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(SyslogTest, GoesToSyslogWhenThePipeHasLostItsReader) {
    mkfifo(path().c_str(), 0600);

    Outcome const outcome = runInChild([&] {
        Descriptor reader(open(path().c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
        logInfo("first");
        reader.reset();
        logInfo("second");
    });

    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(messages(), ElementsAre(isSyslogInfo("second")));
}

TEST_F(SyslogTest, DoesNotWaitForASlowReader) {
    mkfifo(path().c_str(), 0600);
    Descriptor const reader(open(path().c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));

    Outcome const outcome = runInChild([] {
        for (int i = 0; i < 100; ++i)
            logInfo(std::string(4000, 'x').c_str());
    });

    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(messages(), Not(IsEmpty()));
}

TEST_F(SyslogTest, SurvivesTheLimitForTheSizeOfFiles) {
    Outcome const outcome = runInChild([&] {
        logInfo("first");
        rlimit limit = {};
        getrlimit(RLIMIT_FSIZE, &limit);
        limit.rlim_cur = fs::file_size(path()) + 10;
        setrlimit(RLIMIT_FSIZE, &limit);
        logInfo("second");
        logInfo("third");
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_FSIZE, &limit);
        logInfo("fourth");
    });

    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(messages(), ElementsAre(isSyslogInfo("second"), isSyslogInfo("third")));
    std::vector<std::string> const lines = linesOf(readFile(path()));
    ASSERT_THAT(lines, SizeIs(3));
    EXPECT_EQ(contentOf(lines[0]), "first");
    EXPECT_EQ(contentOf(lines[2]), "fourth");
}

// Has a child write only part of an entry, as when the disk is full.
void tearEntry(std::string const& path) {
    runInChild([&] {
        logInfo("first");
        rlimit const limit = {fs::file_size(path) + 10, RLIM_INFINITY};
        setrlimit(RLIMIT_FSIZE, &limit);
        logInfo("torn");
    });
}

std::string lastLineOf(std::string const& path) {
    return linesOf(readFile(path)).back();
}

TEST_F(SyslogTest, EndsALineThatAnEarlierProcessHasTorn) {
    tearEntry(path());

    logInfo("after");

    EXPECT_EQ(contentOf(lastLineOf(path())), "after");
}

TEST_F(SyslogTest, EndsALineThatAnotherProcessHasTornMeanwhile) {
    logInfo("before");
    tearEntry(path());

    logInfo("after");

    EXPECT_EQ(contentOf(lastLineOf(path())), "after");
}

TEST_F(SyslogTest, EndsATornLineOfAFileThatWasMovedAwayAndBack) {
    logInfo("before");
    fs::rename(path(), path() + ".moved");
    tearEntry(path());
    fs::rename(path(), path() + ".torn");
    logInfo("between");
    fs::rename(path() + ".torn", path());

    logInfo("after");

    EXPECT_EQ(contentOf(lastLineOf(path())), "after");
}

TEST_F(SyslogTest, EndsATornLineOnce) {
    tearEntry(path());

    logInfo("second");
    logInfo("third");

    std::vector<std::string> const lines = linesOf(readFile(path()));
    ASSERT_THAT(lines, SizeIs(4));
    EXPECT_EQ(contentOf(lines[2]), "second");
    EXPECT_EQ(contentOf(lines[3]), "third");
}

TEST_F(SyslogTest, BeginsAnotherFileWithoutAnEmptyLineAfterATornOne) {
    Outcome const outcome = runInChild([&] {
        logInfo("first");
        rlimit limit = {fs::file_size(path()) + 10, RLIM_INFINITY};
        setrlimit(RLIMIT_FSIZE, &limit);
        logInfo("torn");
        limit.rlim_cur = RLIM_INFINITY;
        setrlimit(RLIMIT_FSIZE, &limit);
        fs::rename(path(), path() + ".moved");
        logInfo("second");
    });

    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(contents(), ElementsAre("second"));
}

// Logs in a child whose standard error stream is this end of a pair.
Outcome logToStandardError(Descriptor const& end, std::function<void()> const& log) {
    return runInChild([&] {
        dup2(end.get(), STDERR_FILENO);
        log();
    });
}

std::string receiveFrom(Descriptor const& end) {
    char received[1000];
    ssize_t const length = recv(end.get(), received, sizeof received, MSG_DONTWAIT);
    return length > 0 ? std::string(received, static_cast<std::size_t>(length)) : std::string();
}

TEST_F(SyslogTest, MayBeASocketThatIsTheStandardErrorStream) {
    setenv("FDN_LOG_FILE", "/dev/stderr", 1);
    test::Pipe const sockets = test::makeSocketPair();

    logToStandardError(sockets.writing, [] { logInfo("text"); });

    EXPECT_THAT(receiveFrom(sockets.reading), MatchesRegex("<entry [^\n]*>text</entry>\n"));
}

TEST_F(SyslogTest, DoesNotWaitForTheReaderOfASocketAndLeavesItsFlagsAlone) {
    setenv("FDN_LOG_FILE", "/proc/self/fd/2", 1);
    test::Pipe const sockets = test::makeSocketPair();

    Outcome const outcome = logToStandardError(sockets.writing, [] {
        alarm(10);
        for (int i = 0; i < 1000; ++i)
            logInfo(std::string(4000, 'x').c_str());
    });

    EXPECT_EQ(outcome.signal, 0);
    EXPECT_EQ(fcntl(sockets.writing.get(), F_GETFL) & O_NONBLOCK, 0);
}

TEST_F(CXMLLogTest, MayBeTheStandardErrorStream) {
    Outcome const outcome = test::run({DMN_LOGGER}, {{"FDN_LOG_FILE", "/dev/stderr"}});

    EXPECT_EQ(contentOf(linesOf(outcome.errors).at(0)), "one entry");
    EXPECT_EQ(outcome.output, "");
}

TEST_F(CXMLLogTest, MayBeAPipeThatIsTheStandardErrorStream) {
    Outcome const outcome =
        test::run({"sh", "-c", DMN_LOGGER " 2>&1 >/dev/null | cat"}, {{"FDN_LOG_FILE", "/dev/stderr"}});

    EXPECT_EQ(contentOf(linesOf(outcome.output).at(0)), "one entry");
}

TEST_F(CXMLLogTest, CanBeWrittenByDestructorsAtTheEndOfTheProcess) {
    Outcome const outcome = test::run({DMN_LOGGER, "late"});

    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(contents(), ElementsAre("one entry", "late entry"));
}

std::string ownName() {
    return fs::read_symlink("/proc/self/exe").filename();
}

// A private root in which no variable says where the log goes.
class UsualLogPlaceTest : public test::AccountsTest {
protected:
    void SetUp() override {
        AccountsTest::SetUp();
        if (IsSkipped() || HasFatalFailure())
            return;
        m_syslog.emplace();
        unsetenv("FDN_LOG_FILE");
        unsetenv("XDG_STATE_HOME");
        closeLog();
        fs::remove_all(rootsFolder());
        fs::remove_all("/var/log/logger");
        m_previousMask = umask(0);
        fs::permissions(m_folder.name(), fs::perms::all);
    }

    void TearDown() override {
        umask(m_previousMask);
        closeLog();
    }

    // Logs a text in a child that runs as dmnuser.
    static Outcome logAsUser(char const* text) {
        return runInChild([&] {
            test::becomeUser();
            logInfo(text);
        });
    }

    std::vector<std::string> messages() const { return m_syslog->messages(); }

    std::string rootsFolder() const { return "/var/log/" + ownName(); }

    std::string rootsLog() const { return rootsFolder() + "/" + ownName() + ".log"; }

    test::TemporaryFolder m_folder;

    std::optional<test::SystemLog> m_syslog;

private:
    mode_t m_previousMask = 0;
};

TEST_F(UsualLogPlaceTest, OfRootIsInVarLog) {
    logInfo("text");

    EXPECT_THAT(contentsOf(rootsLog()), ElementsAre("text"));
    EXPECT_EQ(modeOf(rootsFolder()), 0750U);
    EXPECT_EQ(modeOf(rootsLog()), 0640U);
}

TEST_F(UsualLogPlaceTest, OfAUserIsInTheStateFolder) {
    setenv("XDG_STATE_HOME", m_folder.name("state").c_str(), 1);

    EXPECT_EQ(logAsUser("text").output, "");

    std::string const folder = m_folder.name("state") + "/" + ownName();
    EXPECT_THAT(contentsOf(folder + "/" + ownName() + ".log"), ElementsAre("text"));
    EXPECT_EQ(modeOf(m_folder.name("state")), 0700U);
    EXPECT_EQ(modeOf(folder), 0700U);
    EXPECT_EQ(modeOf(folder + "/" + ownName() + ".log"), 0600U);
}

TEST_F(UsualLogPlaceTest, OfAUserWithoutAStateFolderIsInTheHomeFolder) {
    setenv("HOME", m_folder.name().c_str(), 1);
    setenv("XDG_STATE_HOME", "relative", 1);

    EXPECT_EQ(logAsUser("text").output, "");

    EXPECT_THAT(contentsOf(m_folder.name(".local/state/") + ownName() + "/" + ownName() + ".log"),
                ElementsAre("text"));
}

TEST_F(UsualLogPlaceTest, OfAUserWithoutAHomeFolderIsSyslog) {
    unsetenv("HOME");

    logAsUser("text");

    EXPECT_THAT(messages(), ElementsAre(isSyslogInfo("text")));
}

TEST_F(UsualLogPlaceTest, IsSyslogWhenAPipeIsInTheWay) {
    fs::create_directory(rootsFolder());
    mkfifo(rootsLog().c_str(), 0600);
    Descriptor const reader(open(rootsLog().c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));

    runInChild([] { logInfo("text"); });

    EXPECT_THAT(messages(), ElementsAre(isSyslogInfo("text")));
}

TEST_F(UsualLogPlaceTest, IsSyslogWhenALinkIsInTheWay) {
    fs::create_directory(rootsFolder());
    writeFile(m_folder.name("target"), "");
    fs::create_symlink(m_folder.name("target"), rootsLog());

    runInChild([] { logInfo("text"); });

    EXPECT_THAT(messages(), ElementsAre(isSyslogInfo("text")));
    EXPECT_EQ(readFile(m_folder.name("target")), "");
}

TEST_F(UsualLogPlaceTest, IsSyslogWhenTheDiskIsFull) {
    fs::create_directory(rootsFolder());
    test::FullFolder const full(rootsFolder());

    runInChild([] { logInfo("text"); });

    EXPECT_THAT(messages(), ElementsAre(isSyslogInfo("text")));
}

TEST_F(UsualLogPlaceTest, StaysOpenForAProcessThatGivesUpRootsRights) {
    EXPECT_EQ(runInChild([] {
                  logInfo("first");
                  test::becomeUser();
                  logInfo("second");
              }).output,
              "");

    EXPECT_THAT(contentsOf(rootsLog()), ElementsAre("first", "second"));
}

TEST_F(UsualLogPlaceTest, MayBeAFileThatCannotBeRead) {
    writeFile(m_folder.name("log"), "");
    test::setMode(m_folder.name("log"), 0222);
    setenv("FDN_LOG_FILE", m_folder.name("log").c_str(), 1);

    logAsUser("text");

    EXPECT_THAT(contentsOf(m_folder.name("log")), ElementsAre("text"));
}

// The pipe's file belongs to root, so that the user cannot open it again.
TEST_F(UsualLogPlaceTest, MayBeAPipeOfAnotherUserAndKeepsNobodyWaiting) {
    setenv("FDN_LOG_FILE", "/dev/stderr", 1);
    test::Pipe const pipe = test::makePipe();
    fcntl(pipe.reading.get(), F_SETFL, O_NONBLOCK);

    Outcome const outcome = runInChild([&] {
        alarm(10);
        dup2(pipe.writing.get(), STDERR_FILENO);
        test::becomeUser();
        for (int i = 0; i < 1000; ++i)
            logInfo(std::string(500, 'x').c_str());
    });

    EXPECT_EQ(outcome.signal, 0);
    char received[1000];
    ssize_t const size = read(pipe.reading.get(), received, sizeof received);
    ASSERT_GT(size, 600);
    EXPECT_EQ(contentOf(linesOf(std::string(received, static_cast<std::size_t>(size))).at(0)),
              std::string(500, 'x'));
    EXPECT_EQ(fcntl(pipe.writing.get(), F_GETFL) & O_NONBLOCK, 0);
}

TEST_F(UsualLogPlaceTest, OfASetUserIDProgramIsNotTheUsersChoice) {
    std::string const program = m_folder.name("logger");
    fs::copy(DMN_LOGGER, program);
    test::setMode(program, 04755);

    Outcome const outcome =
        test::run(test::asUser("dmnuser", {program}),
                  {{"FDN_LOG_FILE", m_folder.name("log")}, {"XDG_STATE_HOME", m_folder.name("state")}});

    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_THAT(contentsOf("/var/log/logger/logger.log"), ElementsAre("one entry"));
    EXPECT_THAT(entriesOf(m_folder.name()), ElementsAre("logger"));
}

TEST_F(UsualLogPlaceTest, IsNamedAfterAProgramThatWasReplacedMeanwhile) {
    std::string const program = m_folder.name("logger");
    fs::copy(DMN_LOGGER, program);

    EXPECT_EQ(test::run({program, "deleted"}).status, 0);

    EXPECT_THAT(contentsOf("/var/log/logger/logger.log"), ElementsAre("one entry"));
}

} // namespace
