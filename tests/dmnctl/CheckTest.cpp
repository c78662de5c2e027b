#include "ToolTest.h"

#include <gmock/gmock.h>

#include <filesystem>

namespace test {

namespace {

using testing::HasSubstr;
using testing::StartsWith;

class Check : public ToolTest {
protected:
    Check() { m_controlFolder = "/var/log/clock-data"; } // for a folder that only root may change
};

class CheckForUsers : public ToolAccountsTest {};

} // namespace

TEST_F(Check, FindsNothingWhenAllIsWell) {
    install();

    Outcome const outcome = tool({"check", "clock"});

    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ("clock: nothing found.\n", outcome.output);
}

TEST_F(Check, SaysOfWhichDaemonWhatIsFoundAndWhatMendsIt) {
    installBoth();

    Outcome const outcome = tool({"check"});

    EXPECT_EQ(1, outcome.status);
    EXPECT_THAT(outcome.output,
                StartsWith("clock: nothing found.\n"
                           "testd: The daemon does not start at boot: it has no start links.\n"
                           "  Remedy: dmnctl boot testd on\n"));
}

TEST_F(Check, ProposesACommandThatMendsTheBoot) {
    installPlain();
    ASSERT_THAT(tool({"check", "testd"}).output, HasSubstr("  Remedy: dmnctl boot testd on\n"));

    EXPECT_EQ(0, tool({"boot", "testd", "on"}).status);

    EXPECT_EQ("testd: nothing found.\n", tool({"check", "testd"}).output);
}

TEST_F(Check, ProposesItsOwnCommandForAUnitThatIsNotEnabled) {
    install();
    std::filesystem::create_directories("/run/systemd/system");
    std::filesystem::create_directories("/etc/systemd/system");
    writeFile("/etc/systemd/system/clock.service", "[Install]\nWantedBy=multi-user.target\n");

    EXPECT_THAT(tool({"check", "clock"}).output,
                HasSubstr("is not enabled.\n  Remedy: dmnctl boot clock on\n"));
}

TEST_F(Check, FailsForAnUnknownDaemonAndChecksTheOthers) {
    install();

    Outcome const outcome = tool({"check", "nobody", "clock"});

    EXPECT_EQ(2, outcome.status);
    EXPECT_EQ("clock: nothing found.\n", outcome.output);
}

TEST_F(Check, AnswersWithJson) {
    install();
    std::filesystem::remove_all(m_controlFolder);

    EXPECT_EQ("[\n"
              "  {\n"
              "    \"id\": \"clock\",\n"
              "    \"findings\": [\n"
              "      {\n"
              "        \"problem\": \"The control folder '/var/log/clock-data' is missing.\",\n"
              "        \"remedy\": \"mkdir -p /var/log/clock-data\"\n"
              "      }\n"
              "    ]\n"
              "  }\n"
              "]\n",
              tool({"check", "--json"}).output);
}

TEST_F(Check, AnswersWithAnEmptyArrayWhereNoDaemonIsInstalled) {
    Outcome const outcome = tool({"check", "--json"});
    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ("[]\n", outcome.output);
}

TEST_F(CheckForUsers, SaysThatRootSeesMore) {
    m_controlFolder = "/var/log/clock-data";
    install();

    Outcome const outcome = test::run(asUser("dmnuser", command({"check", "clock"})));

    EXPECT_EQ(0, outcome.status) << outcome.output;
    EXPECT_EQ("clock: nothing found. Root can look at more.\n", outcome.output);
}

} // namespace test
