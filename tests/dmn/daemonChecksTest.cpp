#include "ControllerTest.h"

#include "support/CurrentFolder.h"
#include "support/Obstacles.h"
#include "support/Program.h"
#include "support/SignalTreatment.h"
#include "support/errors.h"
#include "support/processInfo.h"

#include <dmn/daemonChecks.h>

#include <gmock/gmock.h>

#include <filesystem>

#include <fcntl.h>
#include <signal.h>
#include <sys/mount.h>
#include <unistd.h>

namespace test {

namespace {

using dmn::CDaemonController;
using dmn::DaemonFinding;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using Names = std::vector<std::string>;

constexpr char kFolder[] = "/etc/app-checks";
constexpr char kControl[] = "/etc/app-checks/control";
constexpr char kProgram[] = "/etc/app-checks/program";

fdn::String text(std::string const& utf8) {
    return fdn::String::fromBytes(utf8);
}

Names problemsOf(fdn::TList<DaemonFinding> const& findings) {
    Names problems;
    for (DaemonFinding const& finding : findings)
        problems.push_back(finding.problem.toUTF8());
    return problems;
}

Names remediesOf(fdn::TList<DaemonFinding> const& findings) {
    Names remedies;
    for (DaemonFinding const& finding : findings)
        remedies.push_back(finding.remedy.toUTF8());
    return remedies;
}

/// Runs the remedies, as an administrator who pastes them.
void mend(fdn::TList<DaemonFinding> const& findings) {
    for (std::string const& remedy : remediesOf(findings)) {
        ASSERT_NE("", remedy);
        Outcome const outcome = run({"sh", "-c", remedy});
        EXPECT_EQ(0, outcome.status) << remedy << ": " << outcome.errors;
    }
}

/// The base of tests in which nothing is wrong with the daemon "app" at first.
template <class Base>
class ChecksFixture : public ControllerFixture<Base> {
protected:
    void SetUp() override {
        ControllerFixture<Base>::SetUp();
        if (!isInPrivateRoot())
            return;
        std::filesystem::remove_all(kFolder);
        std::filesystem::create_directories(kControl);
        std::filesystem::copy_file(DMN_IDLE, kProgram);
        setMode(kProgram, 0755);
        writeFile("/etc/inittab", "id:2:initdefault:\n");
        this->m_info.displayName = "Some App";
        this->m_info.exePath = fdn::Path(kProgram);
        this->m_info.startAtBoot = true;
    }

    void TearDown() override {
        if (!isInPrivateRoot())
            return;
        std::filesystem::remove_all(kFolder);
        std::filesystem::remove("/etc/inittab");
    }

    fdn::TList<DaemonFinding> check() const {
        return dmn::checkInstallation({this->m_info, m_id, m_control, m_runAs, m_appID, m_group});
    }

    Names problems() const { return problemsOf(check()); }

    void installForAccount() const {
        CDaemonController::install(this->m_info, m_id, m_control, m_runAs, "", m_appID, m_group);
    }

    static fdn::TList<DaemonFinding> checkInstalled() { return dmn::checkDaemon("app", fdn::Path()); }

    fdn::String m_id = "app";
    fdn::Path m_control = fdn::Path(kControl);
    fdn::String m_runAs;
    fdn::String m_appID;
    fdn::String m_group;
};

/// Locks the file, says so, and waits for a signal: for a child of the test.
void lockAndWait(std::string const& file) {
    int const descriptor = open(file.c_str(), O_RDWR | O_CLOEXEC);
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    require(fcntl(descriptor, F_SETLK, &lock) == 0, "not locked");
    require(write(STDOUT_FILENO, "locked", 6) == 6, "not told");
    pause();
}

class CheckInstallation : public ChecksFixture<PrivateRootTest> {};

class CheckInstallationAs : public ChecksFixture<AccountsTest> {
protected:
    void SetUp() override {
        ChecksFixture<AccountsTest>::SetUp();
        m_runAs = "dmnuser";
    }
};

class CheckDaemon : public ChecksFixture<PrivateRootTest> {};

class CheckDaemonAs : public CheckInstallationAs {};

} // namespace

TEST_F(CheckInstallation, FindsNothingInAGoodRequestAndWritesNothing) {
    m_info.params = {"--level=3", "al pha", "-n", "$(touch /etc/app-checks/hacked)", "\"*\\"};
    m_info.displayName = text("S\xc3\xb6me  App's #1 ; <x> & ~ *");
    Names const before = entriesOf("/etc");

    EXPECT_THAT(problems(), IsEmpty());

    EXPECT_EQ(before, entriesOf("/etc"));
    EXPECT_EQ((Names{"control", "program"}), entriesOf(kFolder));
    EXPECT_THAT(entriesOf("/etc/init.d"), IsEmpty());
    EXPECT_THAT(entriesOf(kControl), IsEmpty());
}

TEST_F(CheckInstallation, FindsAnIdThatCanNameNoDaemon) {
    for (char const* const id : {"", "..", "a/b"}) {
        m_id = id;
        EXPECT_THAT(problems(), ElementsAre(HasSubstr("Invalid daemon id: '" + std::string(id) + "'")));
    }
}

TEST_F(CheckInstallation, FindsAnEmptyControlFolderAndOneAboveTheRoot) {
    m_control = fdn::Path();
    EXPECT_THAT(problems(), ElementsAre(HasSubstr("--controlFolder")));

    m_control = fdn::Path("/../x");
    EXPECT_EQ(Names{"Invalid path: /../x"}, problems());
}

TEST_F(CheckInstallation, TakesRelativePathsAsInstallDoes) {
    CurrentFolder const current(kFolder);
    m_control = fdn::Path("./x/../control");
    m_info.exePath = fdn::Path("program");
    EXPECT_THAT(problems(), IsEmpty());

    m_info.exePath = fdn::Path("missing");
    EXPECT_THAT(problems(), ElementsAre("The executable '/etc/app-checks/missing' is missing."));
}

TEST_F(CheckInstallation, FindsEveryValueOnWhichTheShellActsAndRunsNothingOfIt) {
    m_id = "a$(cd etc; cd app-checks; touch ran)";
    m_control = fdn::Path("/etc/app-checks/`cd etc; cd app-checks; touch ran`");
    m_runAs = "\"; cd etc; cd app-checks; touch ran; \"";
    m_appID = "$HOME";
    m_group = "a\\nb";
    m_info.displayName = "\"; cd etc; cd app-checks; touch ran; echo \"";

    Names const found = problems();

    EXPECT_THAT(
        found,
        testing::IsSupersetOf(
            {HasSubstr("daemon id 'a$(cd etc; cd app-checks; touch ran)' holds '$'"),
             HasSubstr("control folder '/etc/app-checks/`cd etc; cd app-checks; touch ran`' holds '`'"),
             HasSubstr("cd etc; cd app-checks; touch ran; \"' holds '\"'"),
             HasSubstr("transient folder app id '$HOME' holds '$'"),
             HasSubstr("transient folder group 'a\\nb' holds '\\'"),
             HasSubstr("display name '\"; cd etc; cd app-checks; touch ran; echo \"' holds '\"'")}));
    EXPECT_EQ((Names{"control", "program"}), entriesOf(kFolder));
    EXPECT_EQ(remediesOf(check()).front(), "");
}

TEST_F(CheckInstallation, FindsEveryCharacterAtWhichAnUnquotedValueIsSplitOrChanged) {
    std::pair<char const*, char const*> const cases[] = {
        {"a b", "a blank"}, {"a\nb", "a line feed"}, {"a\tb", "white space"}, {"ab\r", "white space"},
        {"a*", "'*'"},      {"a?", "'?'"},           {"a[b]", "'['"}};
    for (auto const& [value, name] : cases) {
        m_control = fdn::Path("/etc/app-checks/") << fdn::Path(value);
        EXPECT_THAT(problems(), ElementsAre(AllOf(HasSubstr("control folder"), HasSubstr(name)))) << value;
    }
}

TEST_F(CheckInstallation, FindsAnExecutableThatTheScriptWouldSplit) {
    std::filesystem::rename(kProgram, "/etc/app-checks/the program");
    m_info.exePath = fdn::Path("/etc/app-checks/the program");

    EXPECT_THAT(problems(), ElementsAre(AllOf(HasSubstr("executable"), HasSubstr("a blank"))));
}

TEST_F(CheckInstallation, AllowsTextsInEveryScriptAndQuotesThatDoNotMatter) {
    m_id = text("\xc3\xa4pp'#~");
    m_control = fdn::Path(text("/etc/app-checks/\xd0\x98'#~%&;"));

    EXPECT_THAT(problems(), IsEmpty());
}

TEST_F(CheckInstallation, FindsWhatOnlyTheShellItselfChanges) {
    m_group = "-n"; // which the shell's echo takes for an option

    EXPECT_THAT(problems(),
                ElementsAre("This machine's shell does not hand on the values of the init script: "
                            "'printTransientFolderGroup' gives '' instead of '-n'."));
}

TEST_F(CheckInstallation, FindsARunParameterWithTheCharacterNUL) {
    m_info.params = {"fine", fdn::String(std::string("a\0b", 3))};

    EXPECT_THAT(problems(), ElementsAre(AllOf(HasSubstr("run parameter 2"), HasSubstr("NUL"))));
}

TEST_F(CheckInstallation, FindsTheCharacterNULInAnyText) {
    m_info.displayName = fdn::String(std::string("a\0$", 3));
    EXPECT_THAT(problems(),
                ElementsAre("The display name 'a' holds the character NUL, on which the shell acts "
                            "that runs the init script."));
}

TEST_F(CheckInstallation, FindsARunParameterThatIsNoText) {
    m_info.params = {fdn::String(std::wstring(1, static_cast<wchar_t>(0xd800)).c_str())};

    EXPECT_THAT(problems(), ElementsAre(HasSubstr("encod")));
}

TEST_F(CheckInstallation, SaysThatValuesAreTooLongToBeTried) {
    m_info.params = {fdn::String(std::string(200000, 'x'))};

    EXPECT_THAT(problems(), ElementsAre(HasSubstr("too long to be tried")));
}

TEST_F(CheckInstallation, FindsAnUnknownAccountAndItsRemedyMakesIt) {
    m_runAs = "dmn-nobody";
    auto const found = check();
    ASSERT_THAT(problemsOf(found), ElementsAre("Unknown user: 'dmn-nobody'."));
    EXPECT_EQ(Names{"useradd --system --user-group --shell /usr/sbin/nologin dmn-nobody"}, remediesOf(found));
    mend(found);
    m_control = fdn::Path("/etc/app-checks/new");
    EXPECT_THAT(problems(), IsEmpty());
}

TEST_F(CheckInstallation, HasNoCommandForAnAccountThatCannotBeMade) {
    for (char const* const name : {"No-Body", "-x", "m\xfcller"}) {
        m_runAs = name;
        auto const found = check();
        ASSERT_THAT(problemsOf(found), ElementsAre(HasSubstr("Unknown user"))) << name;
        EXPECT_EQ(Names{""}, remediesOf(found)) << name;
    }
}

TEST_F(CheckInstallation, FindsTransientFoldersThatCannotBe) {
    m_appID = "a/b";
    EXPECT_THAT(problems(), ElementsAre(HasSubstr("'a/b'")));
    m_appID = "..";
    EXPECT_THAT(problems(), ElementsAre(HasSubstr("'..'")));
}

TEST_F(CheckInstallation, FindsAnUnknownGroupOnlyWhereATransientFolderNeedsIt) {
    m_group = "dmn-nogroup";
    EXPECT_THAT(problems(), IsEmpty());

    m_appID = "app";
    auto const found = check();
    EXPECT_THAT(problemsOf(found), ElementsAre("Unknown group: 'dmn-nogroup'."));
    EXPECT_EQ(Names{"groupadd --system dmn-nogroup"}, remediesOf(found));
    mend(found);
    EXPECT_THAT(problems(), IsEmpty());
}

TEST_F(CheckInstallation, FindsExecutablesThatAreNone) {
    m_info.exePath = fdn::Path();
    EXPECT_THAT(problems(), ElementsAre(HasSubstr("no executable")));
    m_info.exePath = fdn::Path("/etc/app-checks/missing/too");
    EXPECT_THAT(problems(), ElementsAre("The executable '/etc/app-checks/missing/too' is missing."));
    m_info.exePath = fdn::Path(kControl);
    EXPECT_THAT(problems(), ElementsAre("The executable '/etc/app-checks/control' is a folder."));
    m_info.exePath = fdn::Path("/dev/null");
    EXPECT_THAT(problems(), ElementsAre("The executable '/dev/null' is no regular file."));
}

TEST_F(CheckInstallation, FindsAnExecutableThatNobodyMayRunAndItsRemedyMendsThat) {
    setMode(kProgram, 0644);

    auto const found = check();

    EXPECT_EQ(Names{"Root may not run the executable '/etc/app-checks/program'."}, problemsOf(found));
    mend(found);
    EXPECT_THAT(problems(), IsEmpty());
}

TEST_F(CheckInstallation, FindsAnExecutableOnAFileSystemFromWhichNothingMayBeRun) {
    std::filesystem::create_directory("/etc/app-checks/noexec");
    ASSERT_EQ(0, mount("none", "/etc/app-checks/noexec", "tmpfs", MS_NOEXEC, "mode=755"));
    std::filesystem::copy_file(kProgram, "/etc/app-checks/noexec/program");
    m_info.exePath = fdn::Path("/etc/app-checks/noexec/program");

    auto const found = check();

    EXPECT_EQ(0, umount("/etc/app-checks/noexec"));
    EXPECT_THAT(problemsOf(found), ElementsAre(HasSubstr("noexec")));
    EXPECT_EQ(Names{""}, remediesOf(found));
}

TEST_F(CheckInstallation, AllowsAMissingControlFolderAndMakesNone) {
    m_control = fdn::Path("/etc/app-checks/new/and/deep");

    EXPECT_THAT(problems(), IsEmpty());
    EXPECT_FALSE(std::filesystem::exists("/etc/app-checks/new"));
}

TEST_F(CheckInstallation, FindsControlFoldersThatAreNone) {
    m_control = fdn::Path(kProgram);
    EXPECT_THAT(problems(), ElementsAre("The control folder '/etc/app-checks/program' is no folder."));
    m_control = fdn::Path("/etc/app-checks/program/new/x");
    EXPECT_THAT(problems(),
                ElementsAre(AllOf(HasSubstr("cannot be made"), HasSubstr("'/etc/app-checks/program'"))));
    std::filesystem::create_symlink("nowhere", "/etc/app-checks/link");
    m_control = fdn::Path("/etc/app-checks/link");
    EXPECT_THAT(problems(), ElementsAre(HasSubstr("leads nowhere")));
}

TEST_F(CheckInstallation, FindsAReadOnlyFileSystem) {
    ReadOnlyFolder const readOnly("/etc");

    EXPECT_THAT(problems(), ElementsAre("The control folder '/etc/app-checks/control' is on a read-only file "
                                        "system.",
                                        "The init script '/etc/init.d/app' cannot be written: its file "
                                        "system is read-only."));
}

TEST_F(CheckInstallation, FindsAFullFileSystem) {
    FullFolder const full(kControl);

    auto const found = check();

    EXPECT_EQ(
        Names{
            "The file system of the control folder '/etc/app-checks/control' has no room for the PID file."},
        problemsOf(found));
    EXPECT_EQ(Names{""}, remediesOf(found));
}

TEST_F(CheckInstallation, FindsAFileSystemThatIsTooFullForTheScript) {
    FullFolder const full("/etc/init.d");

    EXPECT_EQ(Names{"The init script '/etc/init.d/app' cannot be written: its file system has no room."},
              problems());
}

TEST_F(CheckInstallation, FindsMissingFoldersOfInitAndTheRemediesMakeThem) {
    for (char const* const name : {"init.d", "rc0.d", "rc4.d"})
        std::filesystem::remove(std::string("/etc/") + name);

    auto const found = check();

    EXPECT_THAT(problemsOf(found), ElementsAre(HasSubstr("init.d"), HasSubstr("rc0.d"), HasSubstr("rc4.d")));
    mend(found);
    EXPECT_THAT(problems(), IsEmpty());
}

TEST_F(CheckInstallation, ReportsInTheOrderOfTheQuestions) {
    m_id = "a/b";
    m_control = fdn::Path();
    m_runAs = "dmn-nobody";
    m_appID = "x";
    m_info.exePath = fdn::Path();

    EXPECT_THAT(problems(),
                ElementsAre(HasSubstr("id"), HasSubstr("control folder"), HasSubstr("Unknown user"),
                            HasSubstr("Unknown group"), HasSubstr("executable")));
}

TEST_F(CheckInstallation, LeavesNoDescriptorAndNoChild) {
    auto const before = descriptorsOf(getpid());
    setMode(kProgram, 0644);

    problems();

    EXPECT_EQ(before, descriptorsOf(getpid()));
    EXPECT_FALSE(hasChild());
}

TEST_F(CheckInstallation, WorksWhereSIGCHLDIsIgnored) {
    SignalTreatment const ignored(SIGCHLD, SIG_IGN);
    EXPECT_THAT(problems(), IsEmpty());

    setMode(kProgram, 0644);

    EXPECT_THAT(problems(), ElementsAre(HasSubstr("may not run")));
}

TEST_F(CheckInstallationAs, FindsNothingWhereTheAccountMayDoAll) {
    setOwner(kControl, kUser, kUser);
    m_appID = "app";

    EXPECT_THAT(problems(), IsEmpty());
}

TEST_F(CheckInstallationAs, FindsAnExecutableThatOnlyOthersMayRunAndItsRemedyMendsThat) {
    setOwner(kControl, kUser, kUser);
    setMode(kProgram, 0700);

    auto const found = check();

    EXPECT_EQ(Names{"The account 'dmnuser' may not run the executable '/etc/app-checks/program'."},
              problemsOf(found));
    mend(found);
    EXPECT_THAT(problems(), IsEmpty());
}

TEST_F(CheckInstallationAs, KnowsAllGroupsOfTheAccount) {
    setOwner(kControl, 0, kExtraGroup);
    setMode(kControl, 0770);
    setOwner(kProgram, 0, kExtraGroup);
    setMode(kProgram, 0750);
    EXPECT_THAT(problems(), IsEmpty());

    m_runAs = "dmnother";

    EXPECT_EQ(2U, problems().size());
}

TEST_F(CheckInstallationAs, FindsAFolderThatTheAccountMayNotSearchAndTheRemediesMendIt) {
    setOwner(kControl, kUser, kUser);
    setMode(kFolder, 0700);

    auto const found = check();

    EXPECT_THAT(problemsOf(found),
                ElementsAre(AllOf(HasSubstr("'dmnuser' may not enter the folder '/etc/app-checks'"),
                                  HasSubstr("executable")),
                            HasSubstr("control folder")));
    mend(found);
    EXPECT_THAT(problems(), IsEmpty());
}

TEST_F(CheckInstallationAs, FindsAClosedFolderAboveAControlFolderThatIsMissing) {
    std::filesystem::create_directory("/etc/app-checks/closed");
    setMode("/etc/app-checks/closed", 0700);
    m_control = fdn::Path("/etc/app-checks/closed/new");

    EXPECT_THAT(problems(), ElementsAre(HasSubstr("'/etc/app-checks/closed'")));
}

TEST_F(CheckInstallationAs, FindsAControlFolderOfAnotherAndItsRemedyGivesIt) {
    for (unsigned const mode : {0755U, 0555U, 0600U}) {
        setOwner(kControl, kOther, kOther);
        setMode(kControl, mode);

        auto const found = check();

        EXPECT_EQ(
            Names{"The account 'dmnuser' may not write to the control folder '/etc/app-checks/control'."},
            problemsOf(found));
        mend(found);
        EXPECT_THAT(problems(), IsEmpty());
        EXPECT_EQ(kUser, ownerOf(kControl));
    }
}

TEST_F(CheckInstallationAs, FindsAMissingControlFolderThatNobodyMakesAndItsRemedyDoes) {
    // Root makes no folder where another account may put a link in the way.
    std::string const others = std::string(kFolder) + "/others";
    std::filesystem::create_directory(others);
    setOwner(others, kOther, kOther);
    m_control = fdn::Path(text(others + "/new/deep"));

    auto const found = check();

    EXPECT_EQ(Names{"The account 'dmnuser' cannot make the control folder '/etc/app-checks/others/new/deep', "
                    "which is not in a folder that only root may change."},
              problemsOf(found));
    mend(found);
    EXPECT_THAT(problems(), IsEmpty());
}

TEST_F(CheckInstallationAs, AllowsAMissingControlFolderThatTheAccountMakes) {
    std::string const own = std::string(kFolder) + "/own";
    std::filesystem::create_directory(own);
    setOwner(own, kUser, kUser);
    m_control = fdn::Path(text(own + "/new/deep"));

    EXPECT_THAT(problems(), IsEmpty());
}

TEST_F(CheckInstallationAs, QuotesPathsInRemedies) {
    m_control = fdn::Path("/etc/app-checks/it's;x");
    std::filesystem::create_directory("/etc/app-checks/it's;x");

    auto const found = check();

    EXPECT_EQ(Names{R"(chown dmnuser '/etc/app-checks/it'\''s;x')"}, remediesOf(found));
    mend(found);
    EXPECT_THAT(problems(), IsEmpty());
}

TEST_F(CheckInstallationAs, FindsAnAccountWithoutAGroupOfItsNameWhereThatIsNeeded) {
    std::string const accounts = readFile("/etc/passwd");
    writeFile("/etc/passwd", accounts + "dmnlonely:x:61009:61001::/:/bin/sh\n");
    setOwner(kControl, 61009, kUser);
    m_runAs = "dmnlonely";
    m_appID = "app";

    Names const found = problems();

    writeFile("/etc/passwd", accounts);
    EXPECT_EQ(Names{"Unknown group: 'dmnlonely'."}, found);
}

TEST_F(CheckInstallationAs, LeavesOutTheAccountsRightsWithoutRootsRights) {
    setOwner(kControl, kOther, kOther);
    setMode(kProgram, 0700);

    Outcome const outcome = runInChild([this] {
        becomeUser();
        Names const found = problems();
        require(found.empty(), found.empty() ? "" : found.front());
        m_info.exePath = fdn::Path("/etc/app-checks/missing");
        require(problems() == Names{"The executable '/etc/app-checks/missing' is missing."}, "not found");
    });

    EXPECT_EQ(0, outcome.status) << outcome.errors;
}

TEST_F(CheckInstallationAs, UsesRootsRightsThatItMayTake) {
    setOwner(kControl, kOther, kOther);
    ASSERT_EQ(0, seteuid(kOther));

    Names const found = problems();

    EXPECT_EQ(kOther, geteuid());
    ASSERT_EQ(0, seteuid(0));
    EXPECT_THAT(found, ElementsAre(HasSubstr("may not write")));
}

TEST_F(CheckDaemon, FindsNothingForADaemonThatComesUp) {
    installForAccount();

    EXPECT_THAT(problemsOf(checkInstalled()), IsEmpty());
}

TEST_F(CheckDaemon, RefusesAnIdThatCanNameNoDaemon) {
    EXPECT_EQ("Invalid daemon id: '..'.", messageOf([] { dmn::checkDaemon("..", fdn::Path()); }));
}

TEST_F(CheckDaemon, FindsThatItIsNotInstalled) {
    EXPECT_EQ(Names{"The daemon 'app' is not installed."}, problemsOf(checkInstalled()));

    std::filesystem::remove("/etc/init.d");
    EXPECT_THAT(problemsOf(checkInstalled()), ElementsAre(HasSubstr("init.d")));
}

TEST_F(CheckDaemon, FindsAScriptThatNobodyMayRunAndItsRemedyMendsThat) {
    installForAccount();
    for (unsigned const mode : {0644U, 0000U}) {
        setMode("/etc/init.d/app", mode);

        auto const found = checkInstalled();

        EXPECT_EQ(Names{"The init script '/etc/init.d/app' may not be run."}, problemsOf(found));
        mend(found);
        EXPECT_THAT(problemsOf(checkInstalled()), IsEmpty());
    }
}

TEST_F(CheckDaemon, FindsEachSettingThatADamagedScriptDoesNotTell) {
    installForAccount();
    writeInitScript("#!/bin/sh\ncase $1 in printRunAs | printParams) ;; *) echo; esac\n");
    EXPECT_THAT(problemsOf(checkInstalled()), ElementsAre(HasSubstr("'Params'"), HasSubstr("'RunAs'")));

    writeInitScript("#!/bin/sh\ncase \n");
    EXPECT_EQ(6U, checkInstalled().size());
}

TEST_F(CheckDaemon, FindsWhatAnInstallationIsRefusedFor) {
    installForAccount();
    std::filesystem::remove(kProgram);
    EXPECT_EQ(Names{"The executable '/etc/app-checks/program' is missing."}, problemsOf(checkInstalled()));

    CDaemonController::install(m_info, "app", fdn::Path(), "dmn-nobody", "", "x", "");
    EXPECT_THAT(problemsOf(checkInstalled()),
                ElementsAre(HasSubstr("no control folder"), HasSubstr("Unknown user"),
                            HasSubstr("Unknown group"), HasSubstr("executable")));
}

TEST_F(CheckDaemon, FindsAnExecutableWithoutAnAbsolutePath) {
    installForAccount();
    writeInitScript("#!/bin/sh\ncase $1 in printExePath) echo program ;; printControlFolder) echo " +
                    std::string(kControl) + " ;; *) echo; esac\n");

    EXPECT_THAT(problemsOf(checkInstalled()), ElementsAre(HasSubstr("no absolute path")));
}

TEST_F(CheckDaemon, FindsNoMissingControlFolderThatTheStartMakes) {
    install();
    installForAccount();
    std::filesystem::remove(kControl);

    EXPECT_THAT(problemsOf(dmn::checkDaemon("app", fdn::Path(), dmn::MissingFolder::IsMadeByStart)),
                IsEmpty());
}

TEST_F(CheckDaemon, FindsAMissingControlFolderAndItsRemedyMakesIt) {
    installForAccount();
    std::filesystem::remove(kControl);

    auto const found = checkInstalled();

    EXPECT_EQ(Names{"The control folder '/etc/app-checks/control' is missing."}, problemsOf(found));
    mend(found);
    EXPECT_THAT(problemsOf(checkInstalled()), IsEmpty());
}

TEST_F(CheckDaemon, PrefersTheControlFolderThatItWasGiven) {
    installForAccount();
    CurrentFolder const current(kFolder);

    EXPECT_EQ(Names{"The control folder '/etc/app-checks/given' is missing."},
              problemsOf(dmn::checkDaemon("app", fdn::Path("given"))));
}

TEST_F(CheckDaemon, AllowsTheTransientFolderAsControlFolderWhetherItExistsOrNot) {
    m_control = fdn::Path("/run/app-checks");
    m_appID = "app-checks";
    installForAccount();
    EXPECT_THAT(problemsOf(checkInstalled()), IsEmpty());

    std::filesystem::create_directory("/run/app-checks");

    EXPECT_THAT(problemsOf(checkInstalled()), IsEmpty());
    std::filesystem::remove("/run/app-checks");
}

TEST_F(CheckDaemon, AllowsThePIDFileOfADeadProcessAndOfARunningDaemon) {
    installForAccount();
    writeFile(std::string(kControl) + "/app.pid", "4194304\n");
    EXPECT_THAT(problemsOf(checkInstalled()), IsEmpty());

    Program const daemon({"sleep", "60"});
    writeFile(std::string(kControl) + "/app.pid", std::to_string(daemon.pid()) + "\n");

    EXPECT_THAT(problemsOf(checkInstalled()), IsEmpty());
}

TEST_F(CheckDaemon, FindsAFolderInPlaceOfThePIDFileAndItsRemedyRemovesIt) {
    installForAccount();
    std::filesystem::create_directory(std::string(kControl) + "/app.pid");

    auto const found = checkInstalled();

    EXPECT_EQ(Names{"There is a folder in place of the PID file '/etc/app-checks/control/app.pid'."},
              problemsOf(found));
    mend(found);
    EXPECT_THAT(problemsOf(checkInstalled()), IsEmpty());
}

TEST_F(CheckDaemon, FindsAPIDFileWhoseHolderIsUnclear) {
    installForAccount();
    std::string const file = std::string(kControl) + "/app.pid";
    writeFile(file, "1\n"); // the lock is another's
    Program const other([&file] { lockAndWait(file); });
    ASSERT_TRUE(awaitOutput(other, "locked"));

    EXPECT_THAT(problemsOf(checkInstalled()),
                ElementsAre(AllOf(HasSubstr(file), HasSubstr("is locked by process"))));
}

TEST_F(CheckDaemon, FindsThatItDoesNotStartAtBootAndTheRemedyLinksIt) {
    m_info.startAtBoot = false;
    installForAccount();

    auto const found = checkInstalled();

    EXPECT_EQ(Names{"The daemon does not start at boot: it has no start links."}, problemsOf(found));
    mend(found);
    EXPECT_THAT(problemsOf(checkInstalled()), IsEmpty());
}

TEST_F(CheckDaemon, FindsLinksThatAreMissingInSomeRunLevelsAndTheRemediesMakeThem) {
    installForAccount();
    for (char const* const link : {"rc3.d/S90app", "rc5.d/S90app", "rc6.d/K10app"})
        std::filesystem::remove(std::string("/etc/") + link);

    auto const found = checkInstalled();

    EXPECT_THAT(problemsOf(found),
                ElementsAre(HasSubstr("in run levels 3, 5:"), HasSubstr("in run level 6:")));
    mend(found);
    EXPECT_THAT(problemsOf(checkInstalled()), IsEmpty());
    EXPECT_EQ("/etc/init.d/app", targetOf("/etc/rc6.d/K10app"));
}

TEST_F(CheckDaemon, AllowsRenumberedAndRelativeLinks) {
    installForAccount();
    std::filesystem::rename("/etc/rc2.d/S90app", "/etc/rc2.d/S01app");
    std::filesystem::remove("/etc/rc0.d/K10app");
    std::filesystem::create_symlink("../init.d/app", "/etc/rc0.d/K01app");

    EXPECT_THAT(problemsOf(checkInstalled()), IsEmpty());
}

TEST_F(CheckDaemon, FindsLinksThatLeadElsewhereOrNowhereAndTheRemediesTurnThem) {
    installForAccount();
    for (char const* const link : {"/etc/rc2.d/S90app", "/etc/rc0.d/K10app"})
        std::filesystem::remove(link);
    std::filesystem::create_symlink("../init.d/gone", "/etc/rc2.d/S90app");
    std::filesystem::create_symlink(kProgram, "/etc/rc0.d/K10app");

    auto const found = checkInstalled();

    EXPECT_THAT(problemsOf(found),
                ElementsAre(HasSubstr("'/etc/rc2.d/S90app'"), HasSubstr("'/etc/rc0.d/K10app'")));
    mend(found);
    EXPECT_THAT(problemsOf(checkInstalled()), IsEmpty());
}

TEST_F(CheckDaemon, FindsMissingRunLevelFolders) {
    installForAccount();
    std::filesystem::remove_all("/etc/rc4.d");

    auto const found = checkInstalled();

    EXPECT_THAT(problemsOf(found), ElementsAre(HasSubstr("rc4.d")));
    mend(found);
    EXPECT_THAT(problemsOf(checkInstalled()), ElementsAre(HasSubstr("in run level 4:")));
}

TEST_F(CheckDaemon, FindsABootSequenceThatDoesNotHaveTheDaemon) {
    installForAccount();
    for (char const* const name : {"boot", "start", "stop"})
        writeFile(std::string("/etc/init.d/.depend.") + name, "TARGETS = other\n");

    auto const found = checkInstalled();

    EXPECT_THAT(problemsOf(found), ElementsAre(HasSubstr("insserv")));
    EXPECT_EQ(Names{"update-rc.d app defaults"}, remediesOf(found));
}

TEST_F(CheckDaemon, FindsADefaultRunLevelWithoutTheDaemon) {
    installForAccount();
    writeFile("/etc/inittab", "id:1:initdefault:\n");

    EXPECT_EQ(Names{"The daemon does not start at boot: the default run level has no link to it."},
              problemsOf(checkInstalled()));
}

TEST_F(CheckDaemon, FindsASystemdThatDoesNotStartIt) {
    installForAccount();
    std::filesystem::create_directories("/run/systemd/system");
    std::filesystem::create_directories("/etc/systemd/system-generators");
    writeFile("/etc/systemd/system-generators/systemd-sysv-generator", "");
    auto const unread = checkInstalled();
    std::filesystem::create_directories("/etc/systemd/system");
    writeFile("/etc/systemd/system/app.service", "");
    auto const disabled = checkInstalled();
    std::filesystem::remove_all("/etc/systemd");
    std::filesystem::remove_all("/run/systemd");

    EXPECT_THAT(problemsOf(unread), ElementsAre(HasSubstr("does not read init scripts")));
    EXPECT_EQ(Names{""}, remediesOf(unread));
    EXPECT_THAT(problemsOf(disabled), ElementsAre(HasSubstr("not enabled")));
    EXPECT_EQ(Names{"systemctl enable app"}, remediesOf(disabled));
}

TEST_F(CheckDaemon, MissesNoStartLinksOfADaemonThatItsOwnUnitStarts) {
    m_info.startAtBoot = false;
    installForAccount();
    std::filesystem::create_directories("/run/systemd/system");
    std::filesystem::create_directories("/etc/systemd/system/multi-user.target.wants");
    writeFile("/etc/systemd/system/app.service", "");
    std::filesystem::create_symlink("../app.service",
                                    "/etc/systemd/system/multi-user.target.wants/app.service");
    auto const found = checkInstalled();
    std::filesystem::remove_all("/etc/systemd");
    std::filesystem::remove_all("/run/systemd");

    EXPECT_THAT(problemsOf(found), IsEmpty());
}

TEST_F(CheckDaemon, ChangesNothing) {
    m_info.startAtBoot = false;
    m_control = fdn::Path("/etc/app-checks/new");
    installForAccount();

    checkInstalled();

    EXPECT_EQ((Names{"control", "program"}), entriesOf(kFolder));
    EXPECT_THAT(entriesOf("/etc/rc2.d"), IsEmpty());
}

TEST_F(CheckDaemonAs, TriesTheAccountsRights) {
    setOwner(kControl, kUser, kUser);
    installForAccount();
    EXPECT_THAT(problemsOf(checkInstalled()), IsEmpty());

    setOwner(kControl, 0, 0);

    auto const found = checkInstalled();
    EXPECT_THAT(problemsOf(found), ElementsAre(HasSubstr("may not write")));
    EXPECT_EQ(Names{"chown dmnuser /etc/app-checks/control"}, remediesOf(found));
}

TEST_F(CheckDaemonAs, GivesAMissingControlFolderToTheAccount) {
    installForAccount();
    std::filesystem::remove(kControl);

    mend(checkInstalled());

    EXPECT_EQ(kUser, ownerOf(kControl));
    EXPECT_THAT(problemsOf(checkInstalled()), IsEmpty());
}

TEST_F(CheckDaemonAs, FindsAFileThatIsNotBelievedAndItsRemedyRemovesIt) {
    setOwner(kControl, kUser, kUser);
    installForAccount();
    std::string const file = std::string(kControl) + "/app.pid";
    writeFile(file, "1\n");
    setOwner(file, kUser, kUser);
    Program const other([&file] { lockAndWait(file); });
    ASSERT_TRUE(awaitOutput(other, "locked"));

    auto const found = checkInstalled();

    EXPECT_THAT(problemsOf(found), ElementsAre(HasSubstr("not believed")));
    mend(found);
    EXPECT_THAT(problemsOf(checkInstalled()), IsEmpty());
}

TEST_F(CheckDaemonAs, WorksForAnotherUserToo) {
    setOwner(kControl, kUser, kUser);
    installForAccount();

    Outcome const outcome = runInChild([] {
        becomeOther();
        Names const found = problemsOf(checkInstalled());
        require(found.empty(), found.empty() ? "" : found.front());
        require(problemsOf(dmn::checkDaemon("none", fdn::Path())) ==
                    Names{"The daemon 'none' is not installed."},
                "not found");
    });

    EXPECT_EQ(0, outcome.status) << outcome.errors;
}

TEST_F(CheckDaemonAs, SaysWhatAnotherUserMayNotLookAt) {
    setOwner(kControl, kUser, kUser);
    installForAccount();
    setMode(kControl, 0700);
    setMode("/etc/init.d/app", 0700);

    Outcome const outcome = runInChild([] {
        becomeOther();
        Names const script = problemsOf(checkInstalled());
        require(script == Names{"The init script '/etc/init.d/app' may not be run."}, script.front());
    });
    setMode("/etc/init.d/app", 0755);
    Outcome const second = runInChild([] {
        becomeOther();
        Names const folder = problemsOf(checkInstalled());
        require(folder.size() == 1 &&
                    folder.front().find("/etc/app-checks/control/app.pid") != std::string::npos,
                folder.empty() ? "none" : folder.front());
    });

    EXPECT_EQ(0, outcome.status) << outcome.errors;
    EXPECT_EQ(0, second.status) << second.errors;
}

} // namespace test
