#include "BareEntry.h"
#include "TestDaemonTest.h"

#include "support/await.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <limits>
#include <ostream>

namespace {

using test::BareEntry;
using test::finished;
using test::Outcome;
using test::Program;
using testing::ElementsAre;
using testing::IsEmpty;

// What the options store

class CommandLineOptionsTest : public testing::Test {
protected:
    /// Parses the arguments and stores the options in the entry.
    void store(std::vector<std::string> arguments) {
        std::vector<char*> pointers{const_cast<char*>("program")};
        for (std::string& argument : arguments)
            pointers.push_back(argument.data());
        wxCmdLineParser parser(static_cast<int>(pointers.size()), pointers.data());
        parser.SetSwitchChars("-");
        parser.AddParam("COMMAND", wxCMD_LINE_VAL_STRING, 1);
        m_entry->addCommandLineOptions(parser);
        ASSERT_EQ(0, parser.Parse(false));
        m_entry->handleCommandParams(parser);
    }

    /// Expects that this timeout changes nothing and that one error entry gives the reason.
    void expectRefusedTimeout(std::string const& timeout, std::string const& reason) {
        store({"--timeout=" + timeout, "start"});

        EXPECT_EQ(60000, m_entry->m_timeoutMs);
        EXPECT_THAT(m_log.entries(),
                    ElementsAre("error: Bad commandline: timeout '" + timeout + "' " + reason + "."));
    }

    /// All options with a text, in the order of the table of options.
    std::vector<std::string> texts() const {
        return {m_entry->m_controlFolder.getText().toUTF8(),
                m_entry->m_idOption.toUTF8(),
                m_entry->m_runAs.toUTF8(),
                m_entry->m_runAsPassword.toUTF8(),
                m_entry->m_transientFolderAppID.toUTF8(),
                m_entry->m_transientFolderGroup.toUTF8()};
    }

    test::CapturedLog m_log;
    fdn::P<BareEntry> m_entry = fdn::newObj<BareEntry>();
};

TEST_F(CommandLineOptionsTest, LongOptionsAreStored) {
    store({"--controlFolder=/x/../y", "--id=name", "--timeout=5", "--runas=user", "--runas-password=secret",
           "--transientFolderAppID=app", "--transientFolderGroup=group", "start"});

    EXPECT_THAT(texts(), ElementsAre("/x/../y", "name", "user", "secret", "app", "group"));
    EXPECT_FALSE(m_entry->m_controlFolder.isNormalized());
    EXPECT_EQ(5000, m_entry->m_timeoutMs);
}

TEST_F(CommandLineOptionsTest, ShortOptionsStoreTheSame) {
    store({"-c", "/x/../y", "-i", "name", "-t", "5", "-r", "user", "-p", "secret", "-s", "app", "-g", "group",
           "start"});

    EXPECT_THAT(texts(), ElementsAre("/x/../y", "name", "user", "secret", "app", "group"));
    EXPECT_EQ(5000, m_entry->m_timeoutMs);
}

TEST_F(CommandLineOptionsTest, MissingOptionsLeaveTheFieldsUnchanged) {
    m_entry->m_controlFolder = fdn::Path("before");
    m_entry->m_idOption = m_entry->m_runAs = m_entry->m_runAsPassword = "before";
    m_entry->m_transientFolderAppID = m_entry->m_transientFolderGroup = "before";
    m_entry->m_timeoutMs = 17;

    store({"start"});

    EXPECT_THAT(texts(), testing::Each("before"));
    EXPECT_EQ(17, m_entry->m_timeoutMs);
}

TEST_F(CommandLineOptionsTest, EmptyValuesAreStored) {
    m_entry->m_controlFolder = fdn::Path("before");
    m_entry->m_idOption = m_entry->m_runAs = m_entry->m_runAsPassword = "before";
    m_entry->m_transientFolderAppID = m_entry->m_transientFolderGroup = "before";

    store({"--controlFolder=", "--id=", "--runas=", "--runas-password=", "--transientFolderAppID=",
           "--transientFolderGroup=", "start"});

    EXPECT_THAT(texts(), testing::Each(""));
}

TEST_F(CommandLineOptionsTest, ValuesAreNeitherTrimmedNorUnescaped) {
    store({"--controlFolder= /a%20b/ ", "--id= x=y ", "start"});

    EXPECT_EQ(" /a%20b/ ", texts()[0]);
    EXPECT_EQ(" x=y ", texts()[1]);
}

TEST_F(CommandLineOptionsTest, OptionsMayStandAfterTheCommand) {
    store({"start", "--id=name"});

    EXPECT_EQ("name", texts()[1]);
}

TEST_F(CommandLineOptionsTest, SlashIsNoOptionPrefix) {
    store({"/i"});

    EXPECT_EQ("", texts()[1]);
}

struct Timeout {
    char const* text;
    std::int32_t milliseconds;
};

class CommandLineTimeoutTest : public CommandLineOptionsTest, public testing::WithParamInterface<Timeout> {};

TEST_P(CommandLineTimeoutTest, SecondsBecomeMillisecondsIn32Bits) {
    store({std::string("--timeout=") + GetParam().text, "start"});

    EXPECT_EQ(GetParam().milliseconds, m_entry->m_timeoutMs);
    EXPECT_THAT(m_log.entries(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Numbers, CommandLineTimeoutTest,
                         testing::Values(Timeout{"5", 5000}, Timeout{"0", 0}, Timeout{"-1", -1000},
                                         Timeout{"2147483", 2147483000}, Timeout{"2147484", -2147483296},
                                         Timeout{"4294967296", 0}, Timeout{"4294968", 704},
                                         Timeout{"9223372036854775807", -1000}));

class CommandLineNoTimeoutTest : public CommandLineOptionsTest,
                                 public testing::WithParamInterface<char const*> {};

TEST_P(CommandLineNoTimeoutTest, TextThatIsNoNumberLeavesTheTimeoutAndMakesOneErrorEntry) {
    expectRefusedTimeout(GetParam(), "is not a number");
}

INSTANTIATE_TEST_SUITE_P(Texts, CommandLineNoTimeoutTest,
                         testing::Values("abc", "", "5s", "0x10", "1.5", "-", "+", "--5"));

class CommandLineLongTimeoutTest : public CommandLineOptionsTest,
                                   public testing::WithParamInterface<char const*> {};

TEST_P(CommandLineLongTimeoutTest, NumberOutOfRangeLeavesTheTimeoutAndIsCalledSo) {
    expectRefusedTimeout(GetParam(), "is out of range");
}

INSTANTIATE_TEST_SUITE_P(Numbers, CommandLineLongTimeoutTest,
                         testing::Values("9223372036854775808", "-9223372036854775809",
                                         "+99999999999999999999"));

// How a bad command line is answered

using Arguments = std::vector<std::string>;

class CommandLineTest : public test::TestDaemonFixture<testing::Test> {
protected:
    /// The log entry about a command line that the parser does not understand.
    std::string badCommandLine(int result, std::vector<std::string> const& arguments) const {
        std::string list = "\"" + program + "\"";
        for (std::string const& argument : arguments)
            list += ", \"" + argument + "\"";
        return "error: Bad commandline (parseResult: " + std::to_string(result) + "; args: " + list + ").";
    }

    std::string parserReport(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), program);
        return test::parserReportFor(arguments);
    }
};

TEST_F(CommandLineTest, WithoutACommandGivesUsageSummaryAndTheParsersResult) {
    Outcome const outcome = run({});

    EXPECT_EQ(1, outcome.status);
    EXPECT_EQ(parserReport({}) + test::commandSummary, outcome.output);
    EXPECT_EQ("", outcome.errors);
    EXPECT_THAT(m_log.entries(), ElementsAre(badCommandLine(1, {})));
}

class BadCommandLineTest : public CommandLineTest,
                           public testing::WithParamInterface<std::vector<std::string>> {};

TEST_P(BadCommandLineTest, IsReportedAndNothingIsDone) {
    std::vector<std::string> const arguments = GetParam();

    Outcome const outcome = run(arguments, "createDaemonInfo=say");

    EXPECT_EQ(1, outcome.status);
    EXPECT_EQ(parserReport(arguments) + test::commandSummary, outcome.output);
    EXPECT_EQ("", outcome.errors);
    EXPECT_THAT(m_log.entries(), ElementsAre(badCommandLine(1, arguments)));
}

INSTANTIATE_TEST_SUITE_P(Kinds, BadCommandLineTest,
                         testing::Values(Arguments{"--unknown", "run"},
                                         Arguments{"--controlfolder=/x", "run"}, Arguments{"--ID=x", "run"},
                                         Arguments{"-I", "x", "run"}, Arguments{"run", "surplus"},
                                         Arguments{"run", "run"}, Arguments{"run", "--id"}, Arguments{"-t"},
                                         Arguments{"-h"}, Arguments{"--help"}, Arguments{"--id=x"},
                                         Arguments{"a \"b\"", "c"}));

class NamelessOptionTest : public CommandLineTest, public testing::WithParamInterface<char const*> {};

TEST_P(NamelessOptionTest, IsReportedLikeAnyOtherThatTheParserDoesNotKnow) {
    Outcome const outcome = run({GetParam(), "run"});

    EXPECT_EQ(1, outcome.status);
    EXPECT_EQ(parserReport({"---", "run"}) + test::commandSummary, outcome.output);
    EXPECT_EQ("", outcome.errors);
    EXPECT_THAT(m_log.entries(), ElementsAre(badCommandLine(1, {GetParam(), "run"})));
}

TEST_P(NamelessOptionTest, IsTakenForTheValueOfAnOption) {
    for (Arguments const& arguments :
         {Arguments{"-p", GetParam(), "nothing"}, Arguments{"--runas", GetParam(), "nothing"}}) {
        m_log.clear();

        Outcome const outcome = run(arguments);

        EXPECT_EQ(0, outcome.status);
        EXPECT_EQ("", outcome.output + outcome.errors);
        EXPECT_THAT(m_log.entries(), ElementsAre(performing("nothing", ""), finished));
    }
}

TEST_P(NamelessOptionTest, IsTakenForTheCommandAfterTwoDashes) {
    Outcome const outcome = run({"--", GetParam()});

    EXPECT_EQ(fatal(std::string("Unknown command: ") + GetParam()), outcome.output);
}

INSTANTIATE_TEST_SUITE_P(Texts, NamelessOptionTest, testing::Values("--$pw", "--=value", "--%", "-- id=x"));

TEST_F(CommandLineTest, ValueThatLooksLikeANamelessOptionIsStored) {
    Program const daemon = start(in({"--id", "--%", "run"}));

    EXPECT_TRUE(test::await([this] { return std::filesystem::exists(controlFolder() + "/--%.pid"); }));
}

TEST_F(CommandLineTest, NameOfTheProgramIsNoOption) {
    Outcome const outcome = run({"nothing", "surplus"}, "", "with-nameless-program");

    EXPECT_THAT(outcome.output, testing::StartsWith("Usage: --% "));
    EXPECT_THAT(outcome.output, testing::HasSubstr("Unexpected parameter 'surplus'"));
}

struct PasswordSpelling {
    Arguments given;
    Arguments shown;
};

/// Names the cases of the tests below.
std::ostream& operator<<(std::ostream& stream, PasswordSpelling const& spelling) {
    for (std::string const& argument : spelling.given)
        stream << argument << ' ';
    return stream;
}

class PasswordTest : public CommandLineTest, public testing::WithParamInterface<PasswordSpelling> {};

TEST_P(PasswordTest, IsHiddenInTheReportOfABadCommandLine) {
    for (Arguments const& others : {Arguments{"run", "surplus"}, Arguments{}, Arguments{"--unknown"}}) {
        Arguments given = others;
        Arguments shown = others;
        given.insert(given.end(), GetParam().given.begin(), GetParam().given.end());
        shown.insert(shown.end(), GetParam().shown.begin(), GetParam().shown.end());
        m_log.clear();

        Outcome const outcome = run(given);

        EXPECT_EQ(1, outcome.status);
        EXPECT_THAT(outcome.output + outcome.errors, testing::Not(testing::HasSubstr("sesame")));
        EXPECT_THAT(m_log.entries(), ElementsAre(badCommandLine(1, shown)));
    }
}

TEST_P(PasswordTest, IsHiddenWhenTheCommandLineIsRefused) {
    Arguments given = GetParam().given;
    Arguments shown = GetParam().shown;
    given.insert(given.begin(), "install");
    shown.insert(shown.begin(), "install");

    Outcome const outcome = run(given);

    EXPECT_EQ(255, outcome.status);
    EXPECT_THAT(outcome.output + outcome.errors, testing::Not(testing::HasSubstr("sesame")));
    EXPECT_EQ(badCommandLine(-1, shown), m_log.entries().back());
}

INSTANTIATE_TEST_SUITE_P(
    Spellings, PasswordTest,
    testing::Values(PasswordSpelling{{"-p", "--$sesame"}, {"-p", "***"}},
                    PasswordSpelling{{"-p", "-sesame"}, {"-p", "***"}},
                    PasswordSpelling{{"-psesame"}, {"-p***"}}, PasswordSpelling{{"-p=sesame"}, {"-p=***"}},
                    PasswordSpelling{{"-p:sesame"}, {"-p:***"}}, PasswordSpelling{{"-p/sesame"}, {"-p***"}},
                    PasswordSpelling{{"-p=open sesame "}, {"-p=***"}},
                    PasswordSpelling{{"-p= ", "-r", "user"}, {"-p=***", "-r", "user"}},
                    PasswordSpelling{{"-i", "-p", "-p", "sesame"}, {"-i", "-p", "***", "***"}},
                    PasswordSpelling{{"--runas-password", "sesame"}, {"--runas-password", "***"}},
                    PasswordSpelling{{"--runas-password=sesame"}, {"--runas-password=***"}},
                    PasswordSpelling{{"--runas-password:sesame"}, {"--runas-password:***"}},
                    PasswordSpelling{{"--runas-password$sesame"}, {"--runas-password***"}},
                    PasswordSpelling{{"-p", "--", "-p", "sesame"}, {"-p", "***", "-p", "***"}}));

TEST_F(CommandLineTest, PasswordBesideASwitchOfTheApplicationIsHidden) {
    run({"run", "surplus", "-vpsesame", "-vp", "sesame"}, "addCommandLineOptions=add-switch");

    EXPECT_THAT(m_log.entries(), ElementsAre(badCommandLine(1, {"run", "surplus", "-vp***", "-vp", "***"})));
}

TEST_F(CommandLineTest, BadOneIsReportedWhereTheApplicationHasNoOptions) {
    Outcome const outcome = run({"-psesame"}, "addCommandLineOptions=add-nothing");

    EXPECT_EQ(1, outcome.status);
    EXPECT_EQ("", outcome.errors);
    EXPECT_THAT(m_log.entries(), ElementsAre(badCommandLine(1, {"-psesame"})));
}

TEST_F(CommandLineTest, OptionsThatHoldNoPasswordAreListedAsTheyAre) {
    Arguments const arguments{"-i",  "p", "--runas=-p", "-c/p", "--runas-password=", "--runas-pass=x",
                              "run", "p"};

    run(arguments);

    EXPECT_THAT(m_log.entries(), ElementsAre(badCommandLine(1, arguments)));
}

TEST_F(CommandLineTest, ApplicationsOwnMessageOutputIsKept) {
    Outcome const outcome = run({}, "init=set-output");

    EXPECT_EQ(std::string("printed by the application\n") + test::commandSummary, outcome.output);
    EXPECT_EQ("", outcome.errors);
}

TEST_F(CommandLineTest, ApplicationsOwnMessageOutputToAFileIsKept) {
    Outcome const outcome = run({}, "init=set-output-to-stdin");

    EXPECT_EQ(test::commandSummary, outcome.output);
    EXPECT_EQ("", outcome.errors);
}

TEST_F(CommandLineTest, DefaultMessageOutputIsReplacedEvenIfItAlreadyExists) {
    Outcome const outcome = run({}, "init=get-output");

    EXPECT_EQ(parserReport({}) + test::commandSummary, outcome.output);
    EXPECT_EQ("", outcome.errors);
}

TEST_F(CommandLineTest, InstallWithoutControlFolderIsRefusedWithStatusMinus1) {
    Outcome const outcome = run({"install"});

    EXPECT_EQ(255, outcome.status);
    EXPECT_EQ("\n\nError: controlFolder option needed.\n\n\n" + test::usageOf(program) + test::commandSummary,
              outcome.output);
    EXPECT_EQ("", outcome.errors);
    EXPECT_THAT(m_log.entries(), ElementsAre("error: Bad commandline: controlFolder option not specified.",
                                             badCommandLine(-1, {"install"})));
}

TEST_F(CommandLineTest, OtherCommandsNeedNoControlFolder) {
    Outcome const outcome = run({"nothing"});

    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ("", outcome.output);
    EXPECT_THAT(m_log.entries(), ElementsAre(performing("nothing", ""), finished));
}

TEST_F(CommandLineTest, NoArgumentsAtAllGiveAnEmptyList) {
    Outcome const outcome = run({}, "", "without-arguments");

    EXPECT_EQ(1, outcome.status);
    EXPECT_THAT(outcome.output, testing::EndsWith(test::commandSummary));
    EXPECT_EQ("", outcome.errors);
    EXPECT_THAT(m_log.entries(), ElementsAre("error: Bad commandline (parseResult: 1; args: )."));
}

TEST_F(CommandLineTest, NullArgumentIsListedAsNull) {
    Outcome const outcome = run({"replaced", "run", "surplus"}, "", "with-null-argument");

    EXPECT_EQ(1, outcome.status);
    EXPECT_EQ("", outcome.errors);
    EXPECT_THAT(m_log.entries(), ElementsAre("error: Bad commandline (parseResult: 1; args: \"" + program +
                                             "\", NULL, \"run\", \"surplus\")."));
}

TEST_F(CommandLineTest, TimeoutWritesNothingToStandardError) {
    Outcome const outcome = run({"--timeout=5", "nothing"});

    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ("", outcome.output);
    EXPECT_EQ("", outcome.errors);
}

TEST_F(CommandLineTest, TimeoutThatIsNoNumberDoesNotEndTheCommand) {
    Outcome const outcome = run({"--timeout=abc", "nothing"});

    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ("", outcome.errors);
    EXPECT_THAT(m_log.entries(), ElementsAre("error: Bad commandline: timeout 'abc' is not a number.",
                                             performing("nothing", ""), finished));
}

TEST_F(CommandLineTest, FormThatTheControllerComposesIsUnderstood) {
    Outcome const outcome =
        run({"--id=name", "--controlFolder=" + controlFolder(), "daemon"}, "daemon.run=return");

    EXPECT_EQ(0, outcome.status);
}

} // namespace
