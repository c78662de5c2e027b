// Which daemons are meant, and which scripts are none.

#include "ToolTest.h"

#include <gmock/gmock.h>

#include <filesystem>

namespace test {

namespace {

using testing::EndsWith;
using testing::HasSubstr;

class Selection : public ToolTest {
protected:
    /// Every command that is for named daemons refuses it, and runs no script.
    void expectRefused(std::string const& id) const {
        for (char const* const command : {"status", "start", "stop", "restart", "check", "log"}) {
            Outcome const outcome = tool({command, id});
            EXPECT_EQ(command == std::string("status") ? 4 : 2, outcome.status) << command;
            EXPECT_EQ("", outcome.output) << command;
            EXPECT_THAT(outcome.errors, testing::StartsWith("dmnctl: ")) << command;
        }
        EXPECT_FALSE(std::filesystem::exists(m_ran));
    }

    std::string trap() const { return "touch " + m_ran + "\n"; }

    std::string m_ran = m_folder.name("ran");
};

} // namespace

TEST_F(Selection, NamesWhatIsInstalledInPlaceOfAnUnknownId) {
    installBoth();

    Outcome const outcome = tool({"status", "clok"});

    EXPECT_EQ(4, outcome.status);
    EXPECT_THAT(outcome.errors, HasSubstr("'clok'"));
    EXPECT_THAT(outcome.errors, EndsWith(" Installed are: clock, testd.\n"));
    expectRefused("clok");
}

TEST_F(Selection, SaysThatNoneIsInstalled) {
    EXPECT_THAT(tool({"check", "clock"}).errors, EndsWith(" No daemon is installed.\n"));
}

TEST_F(Selection, DoesTheOthersAllTheSame) {
    installBoth();

    Outcome const outcome = tool({"start", "nobody", "testd", "clock"});

    EXPECT_EQ(2, outcome.status);
    EXPECT_THAT(outcome.output, HasSubstr("testd is running (process "));
    EXPECT_THAT(outcome.output, EndsWith(running()));
    EXPECT_THAT(outcome.errors, HasSubstr("'nobody'"));
}

TEST_F(Selection, TakesEachDaemonOnce) {
    install();

    EXPECT_EQ("clock does not run.\n", tool({"status", "clock", "clock"}).output);
}

TEST_F(Selection, RefusesWhatCanNameNoDaemon) {
    install();
    for (char const* const id : {"", ".", "..", "../clock", "/etc/init.d/clock"})
        expectRefused(id);
    EXPECT_THAT(tool({"status", "\x1b[2J"}).errors, HasSubstr("\\x1b[2J"));
}

TEST_F(Selection, NeverRunsTheScriptOfAnother) {
    install();
    writeFile("/etc/init.d/foreign", "#!/bin/sh\n" + trap());
    setMode("/etc/init.d/foreign", 0755);

    expectRefused("foreign");
}

TEST_F(Selection, NeverRunsAScriptThatWasEdited) {
    install();
    std::string text = readFile(script());
    text.insert(text.find("\ncase"), "\n" + trap());
    writeFile(script(), text);

    expectRefused("clock");
    EXPECT_THAT(tool({"list"}).output, HasSubstr("No daemon is installed."));
}

TEST_F(Selection, TakesNoLinkAndNoScriptOfAnotherIdForADaemon) {
    install();
    std::filesystem::create_symlink(script(), "/etc/init.d/link");
    std::filesystem::copy_file(script(), "/etc/init.d/copy");

    expectRefused("link");
    expectRefused("copy");
    EXPECT_EQ("clock\n", tool({"list", "--names"}).output);
}

} // namespace test
