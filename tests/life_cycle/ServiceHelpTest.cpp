#include "ServiceLife.h"

#include <dmn/version.h>

#include <gmock/gmock.h>

#include <regex>
#include <string>

namespace {

using test::Outcome;
using test::Words;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

using ServiceHelpTest = test::ServiceFixture<test::PrivateRootTest>;

class ServiceUsageTest : public ServiceHelpTest, public testing::WithParamInterface<Words> {};

TEST_P(ServiceUsageTest, IsShownAndNothingIsTouched) {
    Outcome const outcome = runClock(here(GetParam()));

    EXPECT_EQ(0, outcome.status);
    EXPECT_THAT(outcome.output, StartsWith("Usage: service COMMAND [OPTION]...\nShows the time.\n"));
    EXPECT_EQ("", outcome.errors);
    EXPECT_THAT(m_log.entries(), IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(m_controlFolder));
}

INSTANTIATE_TEST_SUITE_P(Spellings, ServiceUsageTest,
                         testing::Values(Words{"--help"}, Words{"-h"}, Words{"help"},
                                         Words{"install", "--help"}, Words{"--id=x", "help"},
                                         Words{"-i", "run", "-h"}, Words{"start", "--help", "run"}));

TEST_F(ServiceHelpTest, UsageListsEveryCommandAndOption) {
    std::string const usage = runClock({"--help"}).output;

    for (char const* const command : {"run ", "daemon ", "install ", "uninstall ", "start ", "stop ",
                                      "restart ", "status ", "check ", "help ", "nothing "})
        EXPECT_THAT(usage, HasSubstr(std::string("\n  ") + command));
    for (char const* const option :
         {"-c, --controlFolder=", "-i, --id=", "-t, --timeout=", "-r, --runas=", "-p, --runas-password=",
          "-s, --transientFolderAppID=", "-g, --transientFolderGroup=", "--log-level=", "--no-wait ",
          "--kill ", "--verbose ", "-h, --help ", "--version "})
        EXPECT_THAT(usage, HasSubstr(std::string("\n  ") + option));
}

TEST_F(ServiceHelpTest, UsageTellsTheRealTimeout) {
    EXPECT_THAT(runClock({"--help"}).output,
                AllOf(HasSubstr("the seconds to wait at most. Default: 60\n"), Not(HasSubstr("30"))));
}

TEST_F(ServiceHelpTest, VersionNamesProgramAndLibrary) {
    Outcome const outcome = runClock(here({"--version"}));

    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ("service 2.5 (libdmn " DMN_VERSION_STRING ")\n", outcome.output);
    EXPECT_THAT(m_log.entries(), IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(m_controlFolder));
}

// They are the daemon's own arguments, and it knows no such option.
TEST_F(ServiceHelpTest, OptionsBehindDaemonAreNotAnswered) {
    Outcome const outcome = runClock(here({"daemon", "--version"}));

    EXPECT_NE(0, outcome.status);
    EXPECT_THAT(outcome.output, Not(HasSubstr("libdmn")));
}

// Whatever options there are: the usage lists them.
TEST_F(ServiceHelpTest, ValueOfAnOptionIsNotAnswered) {
    std::string const usage = runClock({"--help"}).output;
    std::regex const withValue("  (?:(-[a-z]), )?(--[A-Za-z-]+)=");
    int count = 0;
    for (std::sregex_iterator option(usage.begin(), usage.end(), withValue), end; option != end; ++option) {
        for (std::string const& spelling : {option->str(1), option->str(2)}) {
            if (spelling.empty())
                continue;
            EXPECT_THAT(runClock({spelling, "--help", "nothing"}).output, Not(StartsWith("Usage: ")))
                << spelling;
            ++count;
        }
    }
    EXPECT_LT(10, count);
}

class BadServiceCommandLineTest : public ServiceHelpTest, public testing::WithParamInterface<Words> {};

TEST_P(BadServiceCommandLineTest, ShowsTheServicesCommandsAndMakesNoFolder) {
    Outcome const outcome = runClock(here(GetParam()));

    EXPECT_NE(0, outcome.status);
    EXPECT_THAT(outcome.output,
                AllOf(HasSubstr("\n  restart "), HasSubstr("\n  nothing "), HasSubstr("--help'")));
    EXPECT_THAT(outcome.output, Not(HasSubstr("can be either of")));
    EXPECT_EQ("", outcome.errors);
    EXPECT_FALSE(std::filesystem::exists(m_controlFolder));
}

INSTANTIATE_TEST_SUITE_P(Lines, BadServiceCommandLineTest,
                         testing::Values(Words{}, Words{"--unknown", "start"}, Words{"start", "again"},
                                         Words{"tick"}, Words{"--log-level=loud", "status"}));

TEST_F(ServiceHelpTest, UnknownCommandIsNamedLast) {
    Outcome const outcome = runClock({"tick"});

    EXPECT_EQ(2, outcome.status);
    EXPECT_THAT(outcome.output, testing::EndsWith("\n\nFATAL ERROR: Unknown command: tick\n\n\n"));
}

TEST_F(ServiceHelpTest, UnknownLogLevelIsRefusedWithTheFourThatThereAre) {
    Outcome const outcome = runClock({"--log-level=loud", "status"});

    EXPECT_EQ(255, outcome.status);
    EXPECT_THAT(outcome.output, HasSubstr("Error: the log level must be debug, info, warning or error."));
}

TEST_F(ServiceHelpTest, InstallWithoutAControlFolderIsRefusedLikeThatWithAnEmptyOne) {
    Outcome const outcome = runClock({"install"});

    EXPECT_EQ(2, outcome.status);
    EXPECT_EQ(
        "\n\nFATAL ERROR: clock was not installed.\nThere is no control folder: give one with the option "
        "--controlFolder.\n\n\n",
        outcome.output);
    EXPECT_EQ(outcome.output, runClock({"install", "--controlFolder="}).output);
    EXPECT_FALSE(std::filesystem::exists(script()));
}

class BadTimeoutTest : public ServiceHelpTest, public testing::WithParamInterface<char const*> {};

TEST_P(BadTimeoutTest, IsNamedBeforeAnythingHappens) {
    std::string const timeout = GetParam();

    for (char const* const command : {"install", "run"}) {
        Outcome const outcome = runClock(here({command, "--timeout=" + timeout}));

        EXPECT_EQ(2, outcome.status);
        EXPECT_EQ("\n\nFATAL ERROR: The option --timeout takes a number of seconds from 0 to 2147483, not '" +
                      timeout + "'.\n\n\n",
                  outcome.output);
        EXPECT_FALSE(std::filesystem::exists(m_controlFolder));
    }
}

INSTANTIATE_TEST_SUITE_P(Texts, BadTimeoutTest,
                         testing::Values("soon", "-1", "1.5", "5s", " 5", "2147484", "99999999999999999999"));

TEST_F(ServiceHelpTest, TimeoutsOfNothingAndOfDaysAreGood) {
    for (char const* const timeout : {"0", "2147483"})
        EXPECT_EQ(0, runClock(here({"nothing", std::string("--timeout=") + timeout})).status);
}

TEST_F(ServiceHelpTest, OwnCommandSucceedsSilently) {
    Outcome const outcome = runClock({"nothing"});

    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ("", outcome.output + outcome.errors);
}

} // namespace
