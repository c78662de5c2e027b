#include "ToolTest.h"

#include <dmnctl/show/text.h>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <clocale>
#include <cstdlib>
#include <filesystem>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace test {

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

class List : public ToolTest {};

class ListForUsers : public ToolAccountsTest {};

/// What the program writes to a terminal of so many columns.
std::string runOnTerminal(int columns, Words const& words, Environment environment = {}) {
    fdn::Descriptor const terminal(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
    EXPECT_EQ(0, grantpt(terminal.get()) + unlockpt(terminal.get()));
    winsize size = {};
    size.ws_col = static_cast<unsigned short>(columns);
    EXPECT_EQ(0, ioctl(terminal.get(), TIOCSWINSZ, &size));
    environment.insert({{"TERM", "xterm"}, {"terminal", ptsname(terminal.get())}, {"tool", DMN_DMNCTL}});
    std::string line = "exec 3>$terminal; $tool";
    for (std::string const& word : words)
        line += " " + word;
    Program program({"/bin/bash", "-c", line + " >&3"}, environment);
    std::string text;
    char buffer[4096];
    // Fails once nobody has the other side open.
    for (ssize_t count; (count = read(terminal.get(), buffer, sizeof buffer)) > 0;)
        text.append(buffer, static_cast<std::size_t>(count));
    EXPECT_EQ(0, program.wait().status);
    return text;
}

} // namespace

TEST_F(List, SaysWhatToDoWhereNoDaemonIsInstalled) {
    for (Words const& words : {Words{}, Words{"list"}}) {
        Outcome const outcome = tool(words);
        EXPECT_EQ(0, outcome.status);
        EXPECT_THAT(outcome.output, AllOf(StartsWith("No daemon is installed."), HasSubstr(" install ")));
    }
    EXPECT_EQ("[]\n", tool({"list", "--json"}).output);
    EXPECT_EQ("", tool({"list", "--names"}).output);
}

TEST_F(List, ShowsWhatEachDaemonDoes) {
    installBoth();
    start();
    std::string const pid = std::to_string(daemonPID());

    Outcome const outcome = tool({});

    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ("", outcome.errors);
    Words const lines = linesOf(outcome.output);
    ASSERT_EQ(3U, lines.size());
    EXPECT_THAT(lines[0], MatchesRegex("ID +STATE +PROCESS +ACCOUNT +SINCE +MEMORY +BOOT +EXECUTABLE"));
    EXPECT_THAT(lines[1], MatchesRegex("clock +running +" + pid +
                                       " +[a-z]+ +....-..-.. ..:.. +[0-9]+\\.[0-9] MiB +yes +" DMN_SERVICE));
    EXPECT_THAT(lines[2], MatchesRegex("testd +stopped +- +- +- +- +no +" DMN_TEST_DAEMON));
}

TEST_F(List, LeavesOutForeignScripts) {
    install();
    for (int i = 0; i < 10000; ++i)
        writeFile("/etc/init.d/foreign" + std::to_string(i), "#!/bin/sh\nDAEMONID=\"foreign\"\n");

    EXPECT_EQ("clock\n", tool({"list", "--names"}).output);
    EXPECT_EQ(2U, linesOf(tool({}).output).size());
}

TEST_F(List, DoesNotWaitForAFifo) {
    install();
    ASSERT_EQ(0, mkfifo("/etc/init.d/fifo", 0755));

    EXPECT_EQ("clock\n", tool({"list", "--names"}).output);
}

TEST_F(List, FitsATerminal) {
    std::setlocale(LC_CTYPE, "C.UTF-8");
    installBoth();
    for (int const columns : {20, 30, 50, 80, 100}) {
        for (std::string line : linesOf(runOnTerminal(columns, {}, {{"NO_COLOR", "1"}}))) {
            line.resize(line.find_last_not_of('\r') + 1);
            EXPECT_GE(columns, dmnctl::countColumns(line)) << line;
            EXPECT_THAT(line,
                        AnyOf(StartsWith("ID "), StartsWith("clock  stopped"), StartsWith("testd  stopped")));
        }
    }
}

TEST_F(List, HasColoursOnATerminalUnlessTheyAreUnwanted) {
    bringUp();
    std::string const painted = "\x1b[32mrunning\x1b[0m";

    EXPECT_THAT(runOnTerminal(80, {}), HasSubstr(painted));
    EXPECT_THAT(runOnTerminal(80, {}, {{"NO_COLOR", "1"}}), Not(HasSubstr("\x1b")));
    EXPECT_THAT(runOnTerminal(80, {}, {{"TERM", "dumb"}}), Not(HasSubstr("\x1b")));
    EXPECT_THAT(tool({}, {{"TERM", "xterm"}}).output, Not(HasSubstr("\x1b")));
}

TEST_F(List, AnswersWithJson) {
    installBoth();
    start();

    auto const json = nlohmann::json::parse(tool({"list", "--json"}).output);

    ASSERT_EQ(2U, json.size());
    auto const& clock = json[0];
    EXPECT_EQ("clock", clock["id"]);
    EXPECT_EQ("Clock", clock["displayName"]);
    EXPECT_EQ("running", clock["state"]);
    EXPECT_EQ(nullptr, clock["reason"]);
    EXPECT_EQ(daemonPID(), clock["process"]);
    EXPECT_TRUE(clock["account"].is_string());
    EXPECT_THAT(clock["since"].get<std::string>(), MatchesRegex("....-..-..T..:..:..Z"));
    EXPECT_LT(0, clock["memoryBytes"].get<long>());
    EXPECT_EQ(true, clock["startsAtBoot"]);
    EXPECT_EQ(DMN_SERVICE, clock["executable"]);
    EXPECT_EQ(nlohmann::json::array(), clock["parameters"]);
    EXPECT_EQ(m_controlFolder, clock["controlFolder"]);
    EXPECT_EQ("", clock["runAs"]);
    auto const& plain = json[1];
    EXPECT_EQ("stopped", plain["state"]);
    EXPECT_EQ(false, plain["startsAtBoot"]);
    for (char const* const name : {"process", "account", "since", "memoryBytes"})
        EXPECT_EQ(nullptr, plain[name]) << name;
    EXPECT_EQ(json, nlohmann::json::parse(tool({"status", "--json"}).output));
}

TEST_F(List, AnswersWithJsonInUTF8) {
    m_controlFolder = m_folder.name("Größe\x1b");
    install();

    std::string const text = tool({"list", "--json"}).output;

    EXPECT_TRUE(nlohmann::json::accept(text));
    EXPECT_THAT(text, AllOf(HasSubstr("/Größe\\u001b\""), Not(HasSubstr("\x1b"))));
}

TEST_F(ListForUsers, IsForEverybody) {
    bringUp();

    Outcome const outcome = test::run(asUser("dmnuser", command({"list"})));

    EXPECT_EQ(0, outcome.status);
    EXPECT_THAT(outcome.output, HasSubstr("clock  running"));
}

} // namespace test
