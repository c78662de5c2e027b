// dmnctl log as administrators use it.

#include "LogLines.h"

#include "support/InitLayout.h"
#include "support/Obstacles.h"
#include "support/PrivateRoot.h"
#include "support/Program.h"
#include "support/SilentFileSystem.h"
#include "support/await.h"
#include "support/cases.h"
#include "support/errors.h"
#include "support/fileInfo.h"

#include <dmnctl/log/showLog.h>

#include <fdn/log.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

namespace {

using test::append;
using test::logLine;
using test::Outcome;
using testing::HasSubstr;
using testing::Not;
using Words = std::vector<std::string>;

template <class Base>
class LogFixture : public test::InitLayoutFixture<Base> {
protected:
    LogFixture() { test::setMode(m_folder.name(), 0755); }

    void SetUp() override {
        test::InitLayoutFixture<Base>::SetUp();
        if (!test::isInPrivateRoot())
            return;
        for (auto const& entry : std::filesystem::directory_iterator("/var/log"))
            std::filesystem::remove_all(entry);
    }

    /// Installs a daemon whose program, and so its log, has a name of its own.
    void install(std::string const& program, std::string const& id, Words words = {}) const {
        std::string const file = m_folder.name(program.c_str());
        std::filesystem::copy_file(DMN_SERVICE, file, std::filesystem::copy_options::skip_existing);
        words.insert(words.begin(),
                     {file, "--id=" + id, "--controlFolder=" + m_folder.name("control"), "install"});
        Outcome const outcome = test::run(words);
        ASSERT_EQ(0, outcome.status) << outcome.output;
        std::filesystem::remove(log(program));
    }

    static std::string log(std::string const& program) {
        return "/var/log/" + program + "/" + program + ".log";
    }

    static Words command(Words words) {
        words.insert(words.begin(), {DMN_DMNCTL, "log"});
        return words;
    }

    static Outcome show(Words const& words) { return test::run(command(words), {{"TZ", "UTC"}}); }

    test::TemporaryFolder m_folder;
};

using LogCommandTest = LogFixture<test::PrivateRootTest>;
using LogOfAccountsTest = LogFixture<test::AccountsTest>;

std::string shown(int milliseconds, std::string const& text, std::string const& id = "") {
    char time[40] = "";
    std::snprintf(time, sizeof time, "2026-11-22 10:00:%02d.%03d  ", milliseconds / 1000,
                  milliseconds % 1000);
    return time + (id.empty() ? "" : id + "  ") + "info     " + text + "\n";
}

TEST_F(LogCommandTest, ShowsTheLastTwentyEntriesOrThatMany) {
    install("alpha", "a");
    std::string lastTwenty;
    for (int i = 0; i < 30; ++i) {
        append(log("alpha"), logLine(i, std::to_string(i)));
        if (i >= 10)
            lastTwenty += shown(i, std::to_string(i));
    }

    EXPECT_EQ(lastTwenty, show({"a"}).output);
    EXPECT_EQ(shown(28, "28") + shown(29, "29"), show({"-n", "2", "a"}).output);
    EXPECT_EQ("", show({"-n", "0", "a"}).output);
}

TEST_F(LogCommandTest, ShowsAllSinceATime) {
    install("alpha", "a");
    for (int i = 0; i < 40; ++i)
        append(log("alpha"), logLine(i * 1000, std::to_string(i)));

    EXPECT_EQ(25U, test::linesOf(show({"--since=2026-11-22 10:00:15", "a"}).output).size());
    EXPECT_EQ(shown(39000, "39"), show({"--since=2026-11-22 10:00:15", "-n", "1", "a"}).output);
}

TEST_F(LogCommandTest, RefusesATimeThatItDoesNotUnderstand) {
    install("alpha", "a");

    Outcome const outcome = show({"--since=soon", "a"});

    EXPECT_EQ(2, outcome.status);
    EXPECT_EQ("", outcome.output);
    EXPECT_THAT(outcome.errors, HasSubstr("'soon' is no time. Understood are"));
}

TEST_F(LogCommandTest, MergesTheLogsOfAllDaemonsAndShowsASharedOneOnce) {
    install("alpha", "a");
    install("beta", "b");
    install("alpha", "c");
    append(log("alpha"), logLine(1, "one"));
    append(log("beta"), logLine(2, "two"));
    append(log("alpha"), logLine(3, "three"));

    std::string const expected = shown(1, "one", "a,c") + shown(2, "two", "b  ") + shown(3, "three", "a,c");

    EXPECT_EQ(expected, show({}).output);
    EXPECT_EQ(expected, show({"a", "b", "c", "a"}).output);
    EXPECT_EQ(shown(1, "one") + shown(3, "three"), show({"a", "c"}).output);
}

TEST_F(LogCommandTest, ShowsErrorsAlone) {
    install("alpha", "a");
    append(log("alpha"), logLine(1, "<what>bad</what>", "error") + logLine(2, "good"));

    EXPECT_EQ("2026-11-22 10:00:00.001  error    bad\n", show({"--errors", "a"}).output);
}

TEST_F(LogCommandTest, AnswersWithOneJsonArray) {
    install("alpha", "a");
    EXPECT_EQ("[]\n", show({"--json", "a"}).output);
    append(log("alpha"), logLine(1, "one") + logLine(2, "two"));

    std::string const rest = ",\"level\":\"info\",\"process\":7,\"thread\":8,\"text\":";
    EXPECT_EQ("[\n{\"id\":\"a\",\"time\":\"2026-11-22T10:00:00.001000Z\"" + rest + "\"one\"},\n" +
                  "{\"id\":\"a\",\"time\":\"2026-11-22T10:00:00.002000Z\"" + rest + "\"two\"}\n]\n",
              show({"--json", "a"}).output);
}

TEST_F(LogCommandTest, ReadsRotatedFilesToo) {
    install("alpha", "a");
    append(log("alpha") + "-20261121", logLine(1, "one"));
    append(log("alpha") + ".1", logLine(2, "two"));
    append(log("alpha"), logLine(3, "three"));

    EXPECT_EQ(shown(1, "one") + shown(2, "two") + shown(3, "three"), show({"a"}).output);
}

TEST_F(LogCommandTest, ShowsTheOthersWhenADaemonIsUnknown) {
    install("alpha", "a");
    append(log("alpha"), logLine(1, "one"));

    Outcome const outcome = show({"nix", "a"});

    EXPECT_EQ(2, outcome.status);
    EXPECT_EQ(shown(1, "one"), outcome.output);
    EXPECT_THAT(outcome.errors, HasSubstr("'nix'"));
}

TEST_F(LogCommandTest, SaysThatThereIsNoLogYet) {
    install("alpha", "a");

    Outcome const outcome = show({"a"});

    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ("dmnctl: a has no log yet: '/var/log/alpha/alpha.log' does not exist. Entries that cannot be "
              "written there go to syslog.\n",
              outcome.errors);
}

TEST_F(LogCommandTest, SaysThatNoDaemonIsInstalledAndFollowsNothing) {
    for (Words const& options : {Words{}, Words{"-f"}}) {
        Outcome const outcome = show(options);

        EXPECT_EQ(0, outcome.status);
        EXPECT_EQ("", outcome.output);
        EXPECT_THAT(outcome.errors, HasSubstr("dmnctl: No daemon is installed."));
    }
}

TEST_F(LogCommandTest, RefusesAPipeInPlaceOfTheLog) {
    install("alpha", "a");
    ASSERT_EQ(0, mkfifo(log("alpha").c_str(), 0600));

    Outcome const outcome = show({"a"});

    EXPECT_EQ(2, outcome.status);
    EXPECT_EQ("dmnctl: The log '/var/log/alpha/alpha.log' is no regular file.\n", outcome.errors);
}

TEST_F(LogCommandTest, CopesWithALogWithoutALineFeed) {
    install("alpha", "a");
    append(log("alpha"), std::string(10485760, '\0'));

    Outcome const outcome = show({"a"});

    EXPECT_EQ(0, outcome.status);
    EXPECT_THAT(outcome.output, HasSubstr("(damaged) \\x00\\x00"));
    EXPECT_THAT(outcome.output, HasSubstr("(a line of 10485760 bytes)\n"));
    EXPECT_LT(outcome.output.size(), 5000U);
}

TEST_F(LogCommandTest, FollowsAcrossARotationUntilASignal) {
    for (int const signal : {SIGINT, SIGTERM}) {
        install("alpha", "a");
        std::filesystem::remove(log("alpha") + ".1");
        append(log("alpha"), logLine(1, "one"));
        test::Program program(command({"-f", "a"}), {{"TZ", "UTC"}});
        ASSERT_TRUE(awaitOutput(program, shown(1, "one")));

        append(log("alpha"), logLine(2, "two"));
        std::filesystem::rename(log("alpha"), log("alpha") + ".1");
        append(log("alpha"), logLine(3, "three"));
        ASSERT_TRUE(awaitOutput(program, shown(1, "one") + shown(2, "two") + shown(3, "three")));

        program.sendSignal(signal);
        EXPECT_EQ(signal, program.wait().signal);
    }
}

/// Logs that many entries of 100 kB, "A0" and so on, as a daemon does.
void logLargeEntries(std::string const& file, char const* name, int count) {
    setenv("FDN_LOG_FILE", file.c_str(), 1);
    for (int i = 0; i < count; ++i)
        fdn::logInfo(fdn::String((name + std::to_string(i) + std::string(100000, '.')).c_str()));
}

TEST_F(LogCommandTest, LosesAndDoublesNothingWhileProcessesRotateTheLog) {
    constexpr int kEntries = 60; // of each process; some hundred fill a file
    install("alpha", "a");
    test::Program const program(command({"-f", "-n0", "a"}));
    ASSERT_TRUE(test::await([&] { return !program.errors().empty(); })); // there is no log yet
    std::string const file = log("alpha");

    test::Program first([&] { logLargeEntries(file, "A", kEntries); });
    test::Program second([&] { logLargeEntries(file, "B", kEntries); });
    EXPECT_EQ(0, first.wait().status);
    EXPECT_EQ(0, second.wait().status);

    ASSERT_TRUE(test::await([&] {
        std::string const output = program.output();
        return std::count(output.begin(), output.end(), '\n') == 2 * kEntries;
    }));
    EXPECT_TRUE(std::filesystem::exists(file + ".1"));
    std::map<char, int> next{{'A', 0}, {'B', 0}};
    for (std::string const& line : test::linesOf(program.output())) {
        std::string const text = line.substr(34, line.find('.', 34) - 34);
        ASSERT_EQ(next[text[0]]++, std::stoi(text.substr(1))) << text;
    }
}

TEST_F(LogCommandTest, FollowsSeveralLogsAsJsonLines) {
    install("alpha", "a");
    install("beta", "b");
    std::filesystem::remove_all("/var/log/beta");
    test::Program const program(command({"-f", "--json", "a", "b"}));
    ASSERT_TRUE(test::await([&] { return program.errors().find("beta.log") != std::string::npos; }));

    append(log("alpha"), logLine(1, "one"));
    ASSERT_TRUE(test::await([&] { return test::linesOf(program.output()).size() == 1; }));
    std::filesystem::create_directory("/var/log/beta");
    append(log("beta"), logLine(2, "two"));

    ASSERT_TRUE(test::await([&] { return test::linesOf(program.output()).size() == 2; }));
    EXPECT_THAT(test::linesOf(program.output())[0], testing::StartsWith("{\"id\":\"a\","));
    EXPECT_THAT(test::linesOf(program.output())[1], testing::StartsWith("{\"id\":\"b\","));
}

TEST_F(LogCommandTest, FollowsWhereTheSystemDoesNotTellOfChanges) {
    install("alpha", "a");
    append(log("alpha"), logLine(1, "one"));
    test::Program const program([] {
        setenv("TZ", "UTC", 1);
        test::refuseSystemCall(SYS_inotify_init1, EMFILE);
        execl(DMN_DMNCTL, "dmnctl", "log", "-f", "a", nullptr);
    });
    ASSERT_TRUE(awaitOutput(program, shown(1, "one")));

    append(log("alpha"), logLine(2, "two"));

    EXPECT_TRUE(awaitOutput(program, shown(1, "one") + shown(2, "two")));
    EXPECT_EQ("dmnctl: The system does not tell when the logs change (Too many open files), so they are "
              "looked at once a second.\n",
              program.errors());
}

TEST_F(LogCommandTest, EndsWhenNobodyReadsAnyMore) {
    install("alpha", "a");
    append(log("alpha"), logLine(1, "one") + logLine(2, "two"));

    Outcome const outcome =
        test::run({"sh", "-c", "{ \"$0\" log -f a; echo ended >&2; } | head -n 1", DMN_DMNCTL});

    EXPECT_EQ("ended\n", outcome.errors);
}

TEST_F(LogCommandTest, GivesAStartThatFailsTheLastEntries) {
    install("alpha", "a");
    setenv("TZ", "UTC", 1);
    tzset();
    EXPECT_EQ("", dmnctl::composeLastEntries("a", 2));
    append(log("alpha"), logLine(1, "one") + logLine(2, "two") + logLine(3, "three"));

    EXPECT_EQ(shown(2, "two") + shown(3, "three"), dmnctl::composeLastEntries("a", 2));
    std::filesystem::remove(log("alpha"));
    std::filesystem::create_directory(log("alpha"));
    EXPECT_EQ("The log '/var/log/alpha/alpha.log' is no regular file.",
              test::messageOf([] { dmnctl::composeLastEntries("a", 2); }));
}

TEST_F(LogOfAccountsTest, NamesTheLogThatMustNotBeReadAndShowsTheOthers) {
    install("alpha", "a");
    install("beta", "b");
    append(log("alpha"), logLine(1, "one"));
    append(log("beta"), logLine(2, "two"));
    test::setMode("/var/log/alpha", 0750);
    test::setMode("/var/log/beta", 0755);
    test::setMode(log("beta"), 0644);

    Outcome const outcome = test::run(test::asUser("dmnuser", command({"a", "b"})), {{"TZ", "UTC"}});

    EXPECT_EQ(2, outcome.status);
    EXPECT_EQ(shown(2, "two", "b"), outcome.output);
    EXPECT_EQ("dmnctl: open failed for '/var/log/alpha/alpha.log': Permission denied.\n", outcome.errors);
}

/// The folder in which the account's daemons have their logs.
std::string makeLogFolder(std::string const& program) {
    std::string const home = test::run({"sh", "-c", "printf %s ~dmnuser"}).output;
    std::string const folder = home + "/.local/state/" + program;
    std::filesystem::create_directories(folder);
    return folder;
}

TEST_F(LogOfAccountsTest, DoesNotShowWhatAnAccountHasLinkedToItsLog) {
    install("alpha", "a", {"--runas=dmnuser"});
    std::string const secret = m_folder.name("secret");
    test::writeFile(secret, "secret\n");
    test::setMode(secret, 0600);
    std::string const file = makeLogFolder("alpha") + "/alpha.log";
    std::filesystem::create_symlink(secret, file);

    Outcome const outcome = show({"a"});
    std::filesystem::remove(file);

    EXPECT_EQ(2, outcome.status);
    EXPECT_EQ("", outcome.output);
    EXPECT_EQ("dmnctl: The log '" + file + "' is a symbolic link.\n", outcome.errors);
}

bool hasEnded(pid_t pid) {
    siginfo_t info = {};
    return waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           info.si_pid == pid;
}

TEST_F(LogOfAccountsTest, NamesTheLogOnAFileSystemThatDoesNotAnswer) {
    if (!test::canMountFuse())
        DMN_SKIP_TEST("needs file systems of users");
    install("alpha", "a", {"--runas=dmnuser"});
    std::string const folder = makeLogFolder("alpha");
    std::string const problem =
        "dmnctl: The log '" + folder + "/alpha.log' is on a file system that does not answer.\n";
    auto silent = std::make_unique<test::SilentFileSystem>(folder, test::kUser);

    test::Program showing(command({"a"}));
    test::Program following(command({"-f", "a"}));
    EXPECT_TRUE(test::await([&] { return following.errors().find("once a second") != std::string::npos; }));
    following.sendSignal(SIGINT);
    EXPECT_TRUE(test::await([&] { return hasEnded(showing.pid()) && hasEnded(following.pid()); }));
    silent.reset();

    Outcome const shown = showing.wait();
    EXPECT_EQ(2, shown.status);
    EXPECT_EQ(problem, shown.errors);
    EXPECT_THAT(following.wait().errors, HasSubstr(problem));
}

TEST_F(LogOfAccountsTest, SaysThatEntriesGoToSyslogWhereThereIsNoFolder) {
    append("/etc/passwd", "homeless:x:61009:61009::relative:/bin/sh\n");
    append("/etc/group", "homeless:x:61009:\n");
    install("alpha", "a", {"--runas=homeless"});

    Outcome const outcome = show({"a"});

    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ("dmnctl: There is no folder for the log of a, so its entries go to syslog.\n", outcome.errors);
}

} // namespace
