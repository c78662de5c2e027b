// The text of native units. tests/system has systemd run daemons by them.

#include "support/InitLayout.h"
#include "support/PrivateRoot.h"
#include "support/Program.h"
#include "support/TemporaryFolder.h"

#include <dmn/CDaemonController.h>

#include <dmnctl/unit/unit.h>

#include <fdn/CError.h>

#include <gmock/gmock.h>

namespace test {

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using Lines = std::vector<std::string>;

fdn::String text(std::string const& utf8) {
    return fdn::String::fromBytes(utf8);
}

dmn::DaemonSettings plainSettings() {
    dmn::DaemonSettings settings;
    settings.displayName = "Some App";
    settings.controlFolder = fdn::Path("/var/lib/app");
    settings.executable = fdn::Path("/usr/sbin/app");
    return settings;
}

Lines unitOf(dmn::DaemonSettings const& settings) {
    return linesOf(dmnctl::composeUnit("app", settings));
}

/// What the unit sets this setting to, each time.
Lines valuesOf(std::string const& setting, dmn::DaemonSettings const& settings) {
    Lines values;
    for (std::string const& line : unitOf(settings)) {
        if (line.rfind(setting + "=", 0) == 0)
            values.push_back(line.substr(setting.size() + 1));
    }
    return values;
}

std::string argumentsOf(std::string const& param) {
    dmn::DaemonSettings settings = plainSettings();
    settings.params = {text(param)};
    std::string const command = valuesOf("ExecStart", settings).at(0);
    std::string const fixed = "/usr/sbin/app --id=app --controlFolder=/var/lib/app daemon ";
    EXPECT_EQ(fixed, command.substr(0, fixed.size()));
    return command.substr(fixed.size());
}

/// Why there is no unit of these settings.
std::string refusalOf(dmn::DaemonSettings const& settings) {
    try {
        dmnctl::composeUnit("app", settings);
        return "none";
    } catch (fdn::CError const& error) {
        return error.getMessage().toUTF8();
    }
}

} // namespace

TEST(Unit, RunsTheDaemonAsItIsStarted) {
    EXPECT_THAT(valuesOf("Type", plainSettings()), ElementsAre("notify"));
    EXPECT_THAT(valuesOf("ExecStart", plainSettings()),
                ElementsAre("/usr/sbin/app --id=app --controlFolder=/var/lib/app daemon"));
    EXPECT_THAT(valuesOf("WorkingDirectory", plainSettings()), ElementsAre("-/var/lib/app"));
    EXPECT_THAT(valuesOf("ExecStartPre", plainSettings()), ElementsAre("/bin/mkdir -p -- /var/lib/app"));
    EXPECT_THAT(valuesOf("Restart", plainSettings()), ElementsAre("on-failure"));
    EXPECT_THAT(valuesOf("WantedBy", plainSettings()), ElementsAre("multi-user.target"));
}

TEST(Unit, HandsParametersOverAsTheyAre) {
    EXPECT_EQ("--interval=5", argumentsOf("--interval=5"));
    EXPECT_EQ(R"("two  words")", argumentsOf("two  words"));
    EXPECT_EQ(R"("%%n $$HOME $${HOME}")", argumentsOf("%n $HOME ${HOME}"));
    EXPECT_EQ(R"("a\"b\\c'd")", argumentsOf(R"(a"b\c'd)"));
    EXPECT_EQ(R"(";")", argumentsOf(";"));
    EXPECT_EQ(R"("line\x0afeed\x09\x1b\x7f")", argumentsOf("line\nfeed\t\x1b\x7f"));
    EXPECT_EQ("\"\xc3\xbc\"", argumentsOf("\xc3\xbc"));
}

TEST(Unit, DescribesTheDaemonOnOneLine) {
    dmn::DaemonSettings settings = plainSettings();
    EXPECT_THAT(valuesOf("Description", settings), ElementsAre("Some App"));
    settings.displayName = " 100% of\nit\\";
    EXPECT_THAT(valuesOf("Description", settings), ElementsAre("100%% of it"));
    settings.displayName = "";
    EXPECT_THAT(valuesOf("Description", settings), ElementsAre("app"));
    settings.displayName = "\n";
    EXPECT_THAT(valuesOf("Description", settings), ElementsAre("app"));
}

TEST(Unit, RunsUnderTheAccountOfTheSettings) {
    dmn::DaemonSettings settings = plainSettings();
    EXPECT_THAT(valuesOf("User", settings), IsEmpty());
    settings.runAs = "beats";
    EXPECT_THAT(valuesOf("User", settings), ElementsAre("beats"));
    EXPECT_THAT(valuesOf("Group", settings), IsEmpty());
}

TEST(Unit, LetsSystemdMakeTheTransientFolderOfTheAccountsGroup) {
    dmn::DaemonSettings settings = plainSettings();
    settings.transientFolderAppID = "drum kit";
    for (char const* const group : {"", "root"}) {
        settings.transientFolderGroup = group;
        EXPECT_THAT(valuesOf("RuntimeDirectory", settings), ElementsAre("\"drum kit\""));
        EXPECT_THAT(valuesOf("RuntimeDirectoryMode", settings), ElementsAre("0750"));
        EXPECT_THAT(valuesOf("RuntimeDirectoryPreserve", settings), ElementsAre("yes"));
        EXPECT_THAT(valuesOf("ExecStartPre", settings), ElementsAre("/bin/mkdir -p -- /var/lib/app"));
    }
}

// systemd would give the folder back to the account's group whenever it runs a command of the unit.
TEST(Unit, MakesTheTransientFolderOfAnotherGroupItself) {
    dmn::DaemonSettings settings = plainSettings();
    settings.transientFolderAppID = "kit";
    settings.transientFolderGroup = "bin";
    EXPECT_THAT(valuesOf("RuntimeDirectory", settings), IsEmpty());
    EXPECT_THAT(valuesOf("ExecStartPre", settings),
                ElementsAre("+/usr/bin/install -d -m 0750 -o root -g bin -- /run/kit",
                            "/bin/mkdir -p -- /var/lib/app"));
}

TEST(Unit, ProtectsProgramsUnlessTheControlFolderIsAmongThem) {
    dmn::DaemonSettings settings = plainSettings();
    for (char const* const folder : {"/var/lib/app", "/usr/local/app", "/usrlib/app"}) {
        settings.controlFolder = fdn::Path(folder);
        EXPECT_THAT(valuesOf("ProtectSystem", settings), ElementsAre("yes")) << folder;
        EXPECT_THAT(valuesOf("ReadWritePaths", settings), ElementsAre("-/usr/local")) << folder;
    }
    for (char const* const folder : {"/usr/lib/app", "/boot/app", "/usr/localapp"}) {
        settings.controlFolder = fdn::Path(folder);
        EXPECT_THAT(valuesOf("ProtectSystem", settings), IsEmpty()) << folder;
    }
}

TEST(Unit, OfAProgramThatNoneCanHoldIsRefused) {
    dmn::DaemonSettings settings = plainSettings();
    for (char const* const path : {"/opt/a\"b", "/opt/a'b", "/opt/a\\b", "/opt/a\nb"}) {
        settings.executable = fdn::Path(path);
        EXPECT_EQ("No systemd unit can hold the program, '" + std::string(path) +
                      "': it holds a quote, a backslash or a control character.",
                  refusalOf(settings));
    }
    settings.executable = fdn::Path("/opt/a $b%c");
    EXPECT_THAT(valuesOf("ExecStart", settings).at(0), HasSubstr("\"/opt/a $b%%c\" --id=app"));
}

TEST(Unit, OfAControlFolderThatNoneCanHoldIsRefused) {
    dmn::DaemonSettings settings = plainSettings();
    for (char const* const folder : {"/a\nb", "/a ", "/a\\"}) {
        settings.controlFolder = fdn::Path(folder);
        EXPECT_THAT(refusalOf(settings), HasSubstr("No systemd unit can hold the control folder")) << folder;
    }
    settings.controlFolder = fdn::Path();
    EXPECT_EQ("The daemon has no control folder, so nobody can tell where its PID file is.",
              refusalOf(settings));
    settings.controlFolder = fdn::Path("/a %b");
    EXPECT_THAT(valuesOf("WorkingDirectory", settings), ElementsAre("-/a %%b"));
}

TEST(Unit, OfATransientFolderThatNoneCanHaveIsRefused) {
    dmn::DaemonSettings settings = plainSettings();
    for (char const* const name : {"a:b", "a'b", "a\"b", "a\\b", "a\tb"}) {
        settings.transientFolderAppID = name;
        EXPECT_THAT(refusalOf(settings),
                    HasSubstr("No systemd unit can hold the name of the transient folder"))
            << name;
    }
    settings.transientFolderAppID = "private";
    EXPECT_EQ("No systemd unit can have the transient folder '/run/private'.", refusalOf(settings));
}

TEST(Unit, OfAnUnknownGroupOrAccountOfTheFolderIsRefused) {
    dmn::DaemonSettings settings = plainSettings();
    settings.transientFolderAppID = "kit";
    settings.transientFolderGroup = "no-such-group";
    EXPECT_THAT(refusalOf(settings), HasSubstr("no-such-group"));
    settings.transientFolderGroup = "root";
    settings.runAs = "no-such-account";
    EXPECT_EQ("The account 'no-such-account' does not exist.", refusalOf(settings));
}

TEST(Unit, WithACommandLineThatIsTooLongIsRefused) {
    dmn::DaemonSettings settings = plainSettings();
    settings.params = {fdn::String(wxString('x', 1024 * 1024))};
    EXPECT_THAT(refusalOf(settings), HasSubstr("more than 1 MiB"));
}

namespace {

class UnitCommandTest : public InitLayoutFixture<PrivateRootTest> {
protected:
    void install(std::vector<std::string> const& params) {
        dmn::CDaemonInfo info;
        info.displayName = "Some App";
        info.exePath = fdn::Path("/bin/true");
        for (std::string const& param : params)
            info.params.push_back(text(param));
        dmn::CDaemonController::install(info, "app", fdn::Path("/var/lib/app"), "", "", "kit", "");
    }
};

} // namespace

TEST_F(UnitCommandTest, PrintsTheUnitOfAnInstalledDaemon) {
    install({"a b", "50%"});

    Outcome const outcome = run({DMN_DMNCTL, "unit", "app"});

    EXPECT_EQ(0, outcome.status) << outcome.errors;
    EXPECT_THAT(
        linesOf(outcome.output),
        Contains("ExecStart=/bin/true --id=app --controlFolder=/var/lib/app daemon \"a b\" \"50%%\""));
    EXPECT_THAT(linesOf(outcome.output), Contains("Description=Some App"));
}

TEST_F(UnitCommandTest, SaysThatADaemonIsNotInstalled) {
    Outcome const outcome = run({DMN_DMNCTL, "unit", "app"});

    EXPECT_EQ(2, outcome.status);
    EXPECT_EQ("", outcome.output);
    EXPECT_THAT(outcome.errors, HasSubstr("'app'"));
}

} // namespace test
