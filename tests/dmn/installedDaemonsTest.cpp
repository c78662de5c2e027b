#include "ControllerTest.h"

#include "support/Obstacles.h"
#include "support/Program.h"
#include "support/errors.h"

#include <dmn/daemonStatus.h>
#include <dmn/installedDaemons.h>

#include <gmock/gmock.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <sys/syscall.h>

namespace test {

namespace {

using dmn::DaemonSettings;
using testing::AllOf;
using testing::AnyOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

using Texts = std::vector<std::string>;

constexpr char const* kScript = "/etc/init.d/app";
constexpr std::uintmax_t kHuge = std::uintmax_t{1} << 40U; // most of it takes no room
constexpr char const* kShells[] = {"dash", "bash", "/bin/sh"};

fdn::String text(std::string const& utf8) {
    return fdn::String::fromBytes(utf8);
}

Texts list() {
    Texts ids;
    for (fdn::String const& id : dmn::findInstalledDaemons())
        ids.push_back(id.toUTF8());
    return ids;
}

/// Why there is no such daemon; empty if there is.
std::string refusalOf(std::string const& id = "app") {
    std::string refusal;
    try {
        dmn::requireInstalledDaemon(text(id));
    } catch (fdn::CError const& error) {
        refusal = error.getMessage().toUTF8();
    }
    return refusal;
}

std::string describe(DaemonSettings const& settings) {
    std::string params;
    for (fdn::String const& param : settings.params)
        params += "<" + param.toUTF8() + ">";
    return settings.displayName.toUTF8() + "|" + settings.controlFolder.getText().toUTF8() + "|" +
           settings.executable.getText().toUTF8() + "|" + params + "|" + settings.runAs.toUTF8() + "|" +
           settings.transientFolderAppID.toUTF8() + "|" + settings.transientFolderGroup.toUTF8();
}

std::string read() {
    return describe(dmn::readDaemonSettings("app"));
}

/// What the text alone says; "run" where only running the script says it.
std::string readText() {
    BrokenShell const none;
    try {
        return read();
    } catch (fdn::CError const& error) {
        EXPECT_EQ("The init script '/etc/init.d/app' has printed nothing for the setting 'ControlFolder'.",
                  error.getMessage().toUTF8());
        return "run";
    }
}

/// How many bytes this process has read so far (Linux proc).
std::uint64_t countReadBytes() {
    std::ifstream file("/proc/self/io");
    std::string name;
    std::uint64_t bytes = 0;
    file >> name >> bytes;
    EXPECT_EQ("rchar:", name);
    return bytes;
}

/// Text of a script, and what somebody has put in its place.
struct Edit {
    std::string from;
    std::string to;
};

class InstalledDaemons : public ControllerTest {
protected:
    void SetUp() override {
        ControllerTest::SetUp();
        m_info.displayName = "My daemon";
        m_info.exePath = fdn::Path("/usr/sbin/app");
        m_info.params = {"--interval=5", "a b"};
    }

    void installAs(fdn::String const& id) const {
        dmn::CDaemonController::install(m_info, id, fdn::Path("/srv/app"), "svc", "", "folder", "staff");
    }

    void installEdited(Edit const& edit) const {
        installAs("app");
        std::string script = readFile(kScript);
        std::size_t const place = script.find(edit.from);
        ASSERT_NE(std::string::npos, place) << edit.from;
        writeFile(kScript, script.replace(place, edit.from.size(), edit.to));
    }

    void installWithAccount(std::string const& account) const {
        installEdited({"RUNAS=\"svc\"", "RUNAS=\"" + account + "\""});
    }

    void installWithDisplayName(std::string const& name) const {
        installEdited({"\"My daemon\"", "\"" + name + "\""});
    }
};

class InstalledDaemonsForAnOrdinaryUser : public ControllerAccountsTest {};

} // namespace

// Finding them

TEST_F(InstalledDaemons, AreListedInAlphabeticalOrder) {
    for (char const* const id : {"b", "a", "my app", "c"})
        installAs(id);

    EXPECT_THAT(list(), ElementsAre("a", "b", "c", "my app"));
}

TEST_F(InstalledDaemons, AreNoneWhereThereIsNoFolderForScripts) {
    std::filesystem::remove("/etc/init.d");

    EXPECT_THAT(list(), IsEmpty());
}

TEST_F(InstalledDaemons, AreFoundInTheOtherPlaceForScripts) {
    std::filesystem::remove("/etc/init.d");
    std::filesystem::create_directories("/etc/rc.d/init.d");
    installAs("app");

    EXPECT_THAT(list(), ElementsAre("app"));
}

TEST_F(InstalledDaemons, AreOnlyTheFilesThatTheWriterWrote) {
    installAs("app");
    std::string const script = readFile(kScript);
    writeFile("/etc/init.d/foreign", "#!/bin/sh\n### BEGIN INIT INFO\n");
    writeFile("/etc/init.d/empty", "");
    writeFile("/etc/init.d/longer", script + "\n");
    writeFile("/etc/init.d/shorter", script.substr(0, script.size() - 1));
    writeFile("/etc/init.d/copy", script);
    std::filesystem::create_symlink("app", "/etc/init.d/link");
    std::filesystem::create_directory("/etc/init.d/folder");

    EXPECT_THAT(list(), ElementsAre("app"));
}

TEST_F(InstalledDaemons, AreFoundBesidePipesSocketsAndDevicesForWhichNobodyWaits) {
    installAs("app");
    ASSERT_EQ(0, mkfifo("/etc/init.d/pipe", 0755));
    ASSERT_EQ(0, mknod("/etc/init.d/socket", S_IFSOCK | 0755, 0));

    EXPECT_THAT(list(), ElementsAre("app"));
}

TEST_F(InstalledDaemons, AreFoundWithWhateverNamesOtherFilesHave) {
    installAs("app");
    writeFile("/etc/init.d/\xff\xfe", readFile(kScript));
    writeFile("/etc/init.d/" + std::string(255, 'x'), readFile(kScript));

    EXPECT_THAT(list(), ElementsAre("app"));
}

TEST_F(InstalledDaemons, AreNotHiddenByAnErrorOfTheDisk) {
    installAs("app");

    Outcome const outcome = runInChild([] {
        refuseSystemCall(SYS_pread64, EIO);
        std::fputs(messageOf([] { dmn::findInstalledDaemons(); }).c_str(), stdout);
    });

    EXPECT_EQ("read failed for '/etc/init.d/app': Input/output error.", outcome.output);
}

TEST_F(InstalledDaemonsForAnOrdinaryUser, AreThoseThatItMayRead) {
    install();
    writeFile("/etc/init.d/secret", "");
    setMode("/etc/init.d/secret", 0);

    EXPECT_EQ("app\n", runInChild([] {
                           becomeUser();
                           for (std::string const& id : list())
                               std::printf("%s\n", id.c_str());
                       }).output);
}

TEST_F(InstalledDaemons, AreFoundWithoutReadingForeignScriptsToTheirEnds) {
    constexpr std::uint64_t kScripts = 20;
    constexpr std::uint64_t kMostBytes = 8192; // of each
    installAs("app");
    for (std::uint64_t count = 0; count < kScripts; ++count)
        writeFile("/etc/init.d/foreign" + std::to_string(count), "#!/bin/sh\n" + std::string(500000, 'x'));

    std::uint64_t const before = countReadBytes();
    EXPECT_THAT(list(), ElementsAre("app"));

    EXPECT_GT(kScripts * kMostBytes, countReadBytes() - before);
}

// Requiring one

TEST_F(InstalledDaemons, AreRequiredByTheirScripts) {
    installAs("app");

    EXPECT_EQ("", refusalOf());
}

TEST_F(InstalledDaemons, AreRefusedForTheReasonThatIsTrue) {
    constexpr char kRefused[] = "No daemon 'app' is installed: '/etc/init.d/app' ";
    EXPECT_EQ(kRefused + std::string("does not exist."), refusalOf());

    installAs("app");
    std::filesystem::rename(kScript, "/etc/init.d/real");
    std::filesystem::create_symlink("real", kScript);
    EXPECT_EQ(kRefused + std::string("is a symbolic link, which no installation makes."), refusalOf());
    EXPECT_EQ("No daemon 'real' is installed: '/etc/init.d/real' is the script of the daemon 'app'.",
              refusalOf("real"));

    std::filesystem::remove(kScript);
    ASSERT_EQ(0, mkfifo(kScript, 0755));
    EXPECT_EQ(kRefused + std::string("is no regular file."), refusalOf());

    std::filesystem::remove(kScript);
    writeInitScript("#!/bin/sh\n");
    EXPECT_EQ(
        kRefused +
            std::string("is another program's script, or somebody has changed it since the installation."),
        refusalOf());

    EXPECT_EQ("Invalid daemon id: '../app'.", refusalOf("../app"));
}

// Reading their settings

TEST_F(InstalledDaemons, TellTheirSettingsWithoutAShell) {
    installAs("app");

    EXPECT_EQ("My daemon|/srv/app|/usr/sbin/app|<--interval=5><a b>|svc|folder|staff", readText());
}

TEST_F(InstalledDaemons, TellNothingForEmptySettings) {
    dmn::CDaemonController::install(dmn::CDaemonInfo(), "app", fdn::Path(), "", "", "", "");

    EXPECT_EQ("||||||", readText());
}

// In each shell of this machine. The values go into the place of the account.
TEST_F(InstalledDaemons, TellWithoutAShellWhatEveryShellPrints) {
    for (std::string const value : {"", "svc", "www-data", "a b c", "/srv/my.app/x_1", "a=b:c@d%20e+f,g",
                                    "-x", "-nx", "x -n", "-", "--", "--interval%3D5 -n", "A.Z", "0"}) {
        installWithAccount(value);

        EXPECT_THAT(readText(), HasSubstr("|" + value + "|")) << value;
        for (std::string const shell : kShells)
            EXPECT_EQ(value + "\n", run({shell, kScript, "printRunAs"}).output) << shell;
    }
}

TEST_F(InstalledDaemons, AskAShellAboutWhateverSomeShellMightPrintInAnotherWay) {
    for (std::string const value :
         {" a",   "a ",  "a  b", "a\tb", "a\rb", "a\vb",  "a\fb", "\x7f",  "*",       "a?",     "[a]", "-n",
          "-e x", "-E",  "-neE", "-n ",  "~",    "~root", "a:~",  "{a,b}", "a;b",     "a|b",    "a&b", "<a",
          ">a",   "(a)", "#a",   "!!",   "a^b",  "ä",     "€",    "'a'",   "\u00a0a", "\u2003a"}) {
        installWithAccount(value);

        EXPECT_EQ("", refusalOf()) << value;
        EXPECT_EQ("run", readText()) << value;
    }
}

// The two that stand between quotes, and are not printed, hold whatever a shell leaves alone there.
TEST_F(InstalledDaemons, TellDisplayNamesAsTheyStandBetweenQuotes) {
    for (std::string const value : {"Grüße  aus *", "it's", "a;b", "~", " [x] ", "{a,b}", "#1"}) {
        installWithDisplayName(value);

        EXPECT_THAT(readText(), StartsWith(value + "|/srv/app|"));
        for (std::string const shell : kShells)
            EXPECT_EQ("/srv/app\n", run({shell, kScript, "printControlFolder"}).output) << shell;
    }
}

TEST_F(InstalledDaemons, AreNoneIfTheShellCouldTakeASettingForACommand) {
    std::string const command = "$(touch " + m_folder.name("run") + ")";
    for (std::string const& value : Texts{command, "`:`", "$HOME", "a\\", "\"", std::string("a\0b", 3)})
        for (char const* const line :
             {"\"My daemon\"", "\"svc\"", "\"folder\"", "\"staff\"", "\"/srv/app\""}) {
            installEdited({line, '"' + value + '"'});

            EXPECT_THAT(refusalOf(), HasSubstr("on which the shell acts")) << value;
            EXPECT_THAT(list(), IsEmpty()) << value;
            EXPECT_THAT(messageOf([] { read(); }), HasSubstr("on which the shell acts")) << value;
        }
    EXPECT_FALSE(std::filesystem::exists(m_folder.name("run")));
}

TEST_F(InstalledDaemons, AskAShellAboutEachValueOfAScript) {
    Edit const edits[] = {{"DAEMONID=\"app\"", "DAEMONID=\"a$b\""},
                          {"RUNAS=\"svc\"", "RUNAS=\"a  b\""},
                          {"=\"folder\"", "=\"a  b\""},
                          {"=\"staff\"", "=\"a  b\""},
                          {"\"My daemon\"", "\"a$b\""},
                          {"\"/srv/app\"", "\"/a  b\""},
                          {"EXEPATH=/usr/sbin/app", "EXEPATH=\"/a  b\""},
                          {"EXEPATH=/usr/sbin/app", "EXEPATH=~/app"},
                          {"\"--interval%3D5 a%20b\"", "\"a  b\""},
                          {"\"--interval%3D5 a%20b\"", "~"},
                          {"INITFILEPATH=/etc", "INITFILEPATH=~/etc"}};
    for (Edit const& edit : edits) {
        installEdited(edit);
        BrokenShell const none;

        EXPECT_EQ(dmn::DaemonState::Unknown, dmn::getDaemonStatus("app", fdn::Path()).state) << edit.to;
    }
}

TEST_F(InstalledDaemons, AreNoneOnceSomebodyHasEditedTheirScripts) {
    std::vector<Edit> edits = {{"#!/bin/sh\n", "#!/bin/sh -e\n"},
                               {"\n\n", "\n"},
                               {"EXEPATH=/usr/sbin/app", "EXEPATH=\"/usr/sbin/app\""},
                               {"EXEPATH=/usr/sbin/app", "EXEPATH=\"/usr/\\sbin/a b\""},
                               {"EXEPATH=/usr/sbin/app", "EXEPATH=\"/usr/sbin/a b\\\""},
                               {"EXEPATH=/usr/sbin/app", "EXEPATH=\""},
                               {"EXEPATH=/usr/sbin/app", "EXEPATH=/usr/sbin/app "},
                               {"EXEPATH=/usr/sbin/app", "EXEPATH=/usr/sbin/a;b"},
                               {"\"--interval%3D5 a%20b\"", "$X"},
                               {"INITFILEPATH=/etc", "INITFILEPATH=/a:~/etc"},
                               {"echo $EXEPATH", "echo \"$EXEPATH\""},
                               {"exit 0\n", "exit 0\n\n"},
                               {"exit 0\n", "exit 0"}};
    for (std::string const line :
         {"RUNAS=svc", "RUNAS='svc'", "RUNAS=\"svc", "RUNAS=svc\"", "RUNAS=\"svc\" ", " RUNAS=\"svc\"",
          "RUNAS=\"svc\"\r", "RUNAS=\"svc\"\n", "RUNAS=\"svc\"\nPATH=/bin", "RUNAS=\"s\nvc\"",
          "RUNAS=\"\xff\"", "USER=\"svc\"", "#RUNAS=\"svc\"", "RUNAS", "RUNAS=", ""})
        edits.push_back({"RUNAS=\"svc\"", line});
    for (Edit const& edit : edits) {
        installEdited(edit);

        EXPECT_THAT(refusalOf(), HasSubstr("somebody has changed it")) << edit.to;
        EXPECT_THAT(list(), IsEmpty()) << edit.to;
    }
}

TEST_F(InstalledDaemons, TellWhatTheirScriptsPrintIfTheShellActsOnAValue) {
    installWithAccount("  s  vc ");

    EXPECT_EQ("|/srv/app|/usr/sbin/app|<--interval=5><a b>|s vc|folder|staff", read());
}

TEST_F(InstalledDaemons, TellNothingIfTheirScriptsMayNotBeRun) {
    installAs("app");
    setMode(kScript, 0644);

    std::string const problem = messageOf([] { read(); });

    EXPECT_THAT(problem, AllOf(HasSubstr("'/etc/init.d/app'"), HasSubstr("Permission denied")));
    EXPECT_EQ(problem, messageOf([] { dmn::CDaemonController::getControlFolder("app"); }));
}

TEST_F(InstalledDaemons, TellNothingWhereNothingMayBeRun) {
    NoExecFolder const folder("/etc/init.d");
    installAs("app");

    EXPECT_THAT(messageOf([] { read(); }), HasSubstr("Permission denied"));
}

TEST_F(InstalledDaemons, AreReadWithinALimit) {
    writeFile("/etc/init.d/foreign", "#!/bin/sh\n");
    std::filesystem::resize_file("/etc/init.d/foreign", kHuge);
    installAs("app");
    std::filesystem::resize_file(kScript, kHuge);

    EXPECT_THAT(list(), IsEmpty());
    EXPECT_THAT(refusalOf(), HasSubstr("somebody has changed it"));
}

TEST_F(InstalledDaemons, TellTheSettingsOfOneInstallationWhileThereAreOthers) {
    installAs("app");
    std::string const before = read();
    Program const installing([this] {
        for (;;) {
            dmn::CDaemonController::install(m_info, "app", fdn::Path("/srv/b"), "b", "", "b", "b");
            installAs("app");
        }
    });

    for (int count = 0; count < 300; ++count)
        ASSERT_THAT(read(), AnyOf(before, "My daemon|/srv/b|/usr/sbin/app|<--interval=5><a b>|b|b|b"));
}

// Composing their command

TEST_F(InstalledDaemons, AreRunByTheirExecutableWithTheirSettings) {
    installAs("app");

    fdn::CExecCommand const command = dmn::composeDaemonCommand("app", dmn::readDaemonSettings("app"));

    EXPECT_EQ("/usr/sbin/app", command.getProgram().getText().toUTF8());
    EXPECT_THAT(command.getArguments(),
                ElementsAre("--id=app", "--controlFolder=/srv/app", "daemon", "--interval=5", "a b"));
}

TEST_F(InstalledDaemons, AreNotRunInAFolderAboveTheRoot) {
    DaemonSettings settings;
    settings.controlFolder = fdn::Path("/../x");

    EXPECT_THROW(dmn::composeDaemonCommand("app", settings), fdn::CBadPathError);
}

} // namespace test
