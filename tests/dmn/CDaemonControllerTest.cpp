#include "ControllerTest.h"

#include "support/errors.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <filesystem>
#include <type_traits>

#include <unistd.h>

namespace test {

namespace {

using Controller = dmn::CDaemonController;
using testing::HasSubstr;

class CDaemonController : public ControllerTest {
protected:
    /// Writes a script that answers every verb with the text and records each call as a line in the file
    /// "calls".
    void writeAnsweringScript(std::string const& answer) const {
        writeInitScript("#!/bin/sh\necho \"$*\" >>" + m_folder.name("calls") + "\nprintf '" + answer + "'\n");
    }

    std::string calls() const { return readFile(m_folder.name("calls")); }

    static std::string scriptPath(fdn::String const& id) {
        return Controller::getInitScriptPath(id).getText().toUTF8();
    }

    /// IDs that cannot name files.
    static std::vector<fdn::String> badIDs() {
        fdn::String withNUL("app");
        withNUL.append(1, L'\0');
        return {"",
                ".",
                "..",
                "/",
                "x/y",
                "/etc/passwd",
                "../cron.d/x",
                "../x",
                withNUL,
                wxString(L'x', 252),
                wxString(L'\u00f6', 126)};
    }

    static std::string attribute(fdn::String const& attr) {
        return Controller::getDaemonAttribute("app", attr).toUTF8();
    }
};

constexpr char kNoInitDirectory[] = "Unknown Linux flavor (cannot locate init.d directory).";

} // namespace

static_assert(std::is_base_of_v<fdn::CBase, Controller>);
static_assert(!std::is_copy_constructible_v<Controller::CMakeRoot>);
static_assert(!std::is_copy_assignable_v<Controller::CMakeRoot>);

TEST_F(CDaemonController, FindsTheScriptInInitDWhereThereAreBothFolders) {
    std::filesystem::create_directories("/etc/rc.d/init.d");

    EXPECT_EQ("/etc/init.d/app", scriptPath("app"));
}

TEST_F(CDaemonController, FindsTheScriptBelowRcDWhereThereIsNoOtherFolder) {
    std::filesystem::create_directories("/etc/rc.d/init.d");
    std::filesystem::remove("/etc/init.d");

    EXPECT_EQ("/etc/rc.d/init.d/app", scriptPath("app"));

    std::filesystem::create_directory("/etc/init.d");

    EXPECT_EQ("/etc/init.d/app", scriptPath("app"));
}

TEST_F(CDaemonController, UsesTheIDAsItStandsAsTheScriptsName) {
    for (char const* const id : {"app", "app.sh", "my app", "-x", "...", "a..b", "$x"})
        EXPECT_EQ(std::string("/etc/init.d/") + id, scriptPath(id));
}

TEST_F(CDaemonController, RefusesAnIDThatIsNoFileName) {
    for (fdn::String const& id : badIDs()) {
        fdn::CError const error = errorOf([&] { scriptPath(id); });

        EXPECT_EQ(("Invalid daemon id: '" + id + "'.").toUTF8(), error.getMessage().toUTF8());
        EXPECT_TRUE(isPlain(error));
    }
}

TEST_F(CDaemonController, TakesAnIDWhosePIDFileHasTheLongestName) {
    std::string const id(251, 'x');

    EXPECT_EQ("/etc/init.d/" + id, scriptPath(fdn::String::fromBytes(id)));
}

TEST_F(CDaemonController, ChangesRunsAndSignalsNothingForAnIDThatIsNoFileName) {
    for (fdn::String const& id : badIDs()) {
        Controller controller(id, m_folder.path());
        std::string const message = ("Invalid daemon id: '" + id + "'.").toUTF8();

        EXPECT_EQ(message, messageOf([&] { controller.start(); }));
        EXPECT_EQ(message, messageOf([&] { controller.stop(); }));
        EXPECT_EQ(message, messageOf([&] { controller.uninstall(); }));
        EXPECT_EQ(message, messageOf([&] { Controller::stop(id); }));
        EXPECT_EQ(message, messageOf([&] { Controller::stop(m_folder.path(), id); }));
        EXPECT_EQ(message, messageOf([&] { Controller::uninstall(id, fdn::Path()); }));
        EXPECT_EQ(message, messageOf([&] { Controller::getDaemonRunAs(id); }));
        EXPECT_EQ(message,
                  messageOf([&] { Controller::install(m_info, id, m_folder.path(), "", "", "", ""); }));
    }
    EXPECT_EQ(std::vector<std::string>{}, entriesOf("/etc/init.d"));
    EXPECT_FALSE(std::filesystem::exists("/etc/x"));
}

TEST_F(CDaemonController, IsNeitherInstalledNorRunningWithAnIDThatIsNoFileName) {
    for (fdn::String const& id : badIDs()) {
        Controller controller(id, m_folder.path());

        EXPECT_FALSE(controller.isInstalled());
        EXPECT_TRUE(controller.isStopped());
        EXPECT_EQ(0, controller.checkRunningAndReady());
        EXPECT_EQ(0, Controller::getActivePID(m_folder.path(), id));
    }
}

TEST_F(CDaemonController, SignalsNobodyByAPIDFileOutsideTheControlFolder) {
    writePIDFile(getpid());
    std::filesystem::create_directory(m_folder.name("control"));

    EXPECT_EQ(0, Controller::getActivePID(m_folder / "control", "../app"));
    EXPECT_EQ("Invalid daemon id: '../app'.",
              messageOf([this] { Controller::stop(m_folder / "control", "../app"); }));
}

TEST_F(CDaemonController, UninstallsNothingForAnIDThatIsNoFileName) {
    writeFile("/etc/rc2.d/S90", "");
    writeFile(m_folder.name(".pid"), std::to_string(getpid()) + "\n");

    EXPECT_EQ("Invalid daemon id: ''.", messageOf([this] { Controller::uninstall("", m_folder.path()); }));
    EXPECT_EQ(std::vector<std::string>{"S90"}, entriesOf("/etc/rc2.d"));
}

TEST_F(CDaemonController, SaysThatThereIsNoInitDirectory) {
    std::filesystem::remove("/etc/init.d");
    writeFile("/etc/init.d", "not a folder");

    fdn::CError const error = errorOf([] { scriptPath("app"); });

    std::filesystem::remove("/etc/init.d");
    EXPECT_EQ(kNoInitDirectory, error.getMessage().toUTF8());
    EXPECT_TRUE(isPlain(error));
}

TEST_F(CDaemonController, NeedsAnInitDirectoryForEverythingThatTouchesTheScript) {
    std::filesystem::remove("/etc/init.d");
    Controller controller("app", fdn::Path());

    EXPECT_EQ(kNoInitDirectory, messageOf([&] { controller.isInstalled(); }));
    EXPECT_EQ(kNoInitDirectory, messageOf([&] { controller.isStopped(); }));
    EXPECT_EQ(kNoInitDirectory, messageOf([&] { controller.getControlFolder(); }));
    EXPECT_EQ(kNoInitDirectory, messageOf([&] { controller.start(); }));
    EXPECT_EQ(kNoInitDirectory, messageOf([&] { controller.stop(); }));
    EXPECT_EQ(kNoInitDirectory, messageOf([&] { controller.uninstall(); }));
    EXPECT_EQ(kNoInitDirectory, messageOf([&] { controller.waitInstalled(0); }));
    EXPECT_EQ(kNoInitDirectory, messageOf([] { attribute("RunAs"); }));
}

TEST_F(CDaemonController, IsMadeWithoutTouchingAnyFile) {
    std::filesystem::remove("/etc/init.d");

    Controller controller("../no file name", fdn::Path("/no/such/../folder/"));

    EXPECT_EQ("/no/such/../folder/", controller.getControlFolder().getText().toUTF8());
}

TEST_F(CDaemonController, IsInstalledWithAnyFileOfTheIDsName) {
    Controller controller("app", fdn::Path());
    EXPECT_FALSE(controller.isInstalled());

    writeFile("/etc/init.d/app", "");
    EXPECT_TRUE(controller.isInstalled());

    setMode("/etc/init.d/app", 0);
    EXPECT_TRUE(controller.isInstalled());

    std::filesystem::remove("/etc/init.d/app");
    EXPECT_FALSE(controller.isInstalled());
}

TEST_F(CDaemonController, IsNotInstalledWithAFolderOrADanglingLinkOfTheIDsName) {
    std::filesystem::create_directory("/etc/init.d/app");
    EXPECT_FALSE(Controller("app", fdn::Path()).isInstalled());

    std::filesystem::create_symlink("/nowhere", "/etc/init.d/other");
    EXPECT_FALSE(Controller("other", fdn::Path()).isInstalled());
}

TEST_F(CDaemonController, ReadsAnAttributeByRunningTheScriptWithOneWord) {
    writeAnsweringScript("value\\n");

    EXPECT_EQ("value", attribute("RunAs"));
    EXPECT_EQ("printRunAs\n", calls());
}

TEST_F(CDaemonController, ReadsAnAttributeWithoutTheWhiteSpaceAroundIt) {
    writeAnsweringScript(R"( \t\r\n  two  \t words\nand a line \t\r\n\n)");

    EXPECT_EQ("two  \t words\nand a line", attribute("RunAs"));
}

TEST_F(CDaemonController, ReadsTheStandardOutputAlone) {
    writeInitScript("#!/bin/sh\necho value\necho error >&2\n");

    EXPECT_EQ("value", attribute("RunAs"));
}

TEST_F(CDaemonController, ReadsWhatAFailingScriptHasWritten) {
    writeInitScript("#!/bin/sh\necho value\nexit 3\n");

    EXPECT_EQ("value", attribute("RunAs"));
}

TEST_F(CDaemonController, DoesNotTakeTheSilenceOfAScriptThatFailsForAnEmptySetting) {
    for (std::string const end : {"exit 2", "exit 127", "kill -9 $$"}) {
        writeInitScript("#!/bin/sh\n" + end + "\n");

        std::string const message = messageOf([] { attribute("RunAs"); });

        EXPECT_THAT(message, testing::HasSubstr("'/etc/init.d/app' has failed without an answer")) << end;
    }
}

TEST_F(CDaemonController, DoesNotTakeNoOutputAtAllForAnEmptySetting) {
    writeInitScript("#!/bin/sh\nexit 0\n");

    for (std::string const attr :
         {"ControlFolder", "RunAs", "TransientFolderAppID", "TransientFolderGroup", "Params", "ExePath"}) {
        EXPECT_EQ("The init script '/etc/init.d/app' has printed nothing for the setting '" + attr + "'.",
                  messageOf([&] { attribute(attr.c_str()); }));
    }
}

TEST_F(CDaemonController, DoesNotTakeNoOutputForAnEmptySettingWhateverTheStatus) {
    writeInitScript("#!/bin/sh\nexit 1\n");

    fdn::CError const error = errorOf([] { attribute("RunAs"); });

    EXPECT_THAT(error.getMessage().toUTF8(), HasSubstr("'RunAs'"));
    EXPECT_TRUE(isPlain(error));
}

TEST_F(CDaemonController, TakesAnEmptyLineForAnEmptySetting) {
    writeInitScript("#!/bin/sh\necho\nexit 1\n");

    EXPECT_EQ("", attribute("RunAs"));
}

TEST_F(CDaemonController, DoesNotTakeAnAccountThatEchoSwallowsForRoots) {
    install("-n");

    EXPECT_THAT(messageOf([] { attribute("RunAs"); }), HasSubstr("'RunAs'"));
}

TEST_F(CDaemonController, ReadsAnUnknownAttributeAsEmpty) {
    install();

    EXPECT_EQ("", attribute("Nothing"));
    EXPECT_EQ("", attribute(""));
}

TEST_F(CDaemonController, ReadsBackWhatWasInstalled) {
    m_info.exePath = fdn::Path(fdn::String::fromBytes("/opt/größe/app"));
    m_info.params = {"--level=3", "al pha", "-n"};

    install("svc", "appid", "staff");

    EXPECT_EQ("svc", Controller::getDaemonRunAs("app").toUTF8());
    EXPECT_EQ("appid", Controller::getDaemonTransientFolderAppID("app").toUTF8());
    EXPECT_EQ("staff", Controller::getDaemonTransientFolderGroup("app").toUTF8());
    EXPECT_EQ("--level%3D3 al%20pha -n", Controller::getDaemonParams("app").toUTF8());
    EXPECT_EQ("/opt/größe/app", Controller::getDaemonExePath("app").getText().toUTF8());
    EXPECT_EQ(m_folder.name(), Controller::getControlFolder("app").getText().toUTF8());
}

TEST_F(CDaemonController, ReadsEmptySettingsBackAsEmpty) {
    install();

    EXPECT_EQ("", Controller::getDaemonRunAs("app").toUTF8());
    EXPECT_EQ("", Controller::getDaemonTransientFolderAppID("app").toUTF8());
    EXPECT_EQ("", Controller::getDaemonTransientFolderGroup("app").toUTF8());
    EXPECT_EQ("", Controller::getDaemonParams("app").toUTF8());
    EXPECT_EQ("", Controller::getDaemonExePath("app").getText().toUTF8());
}

TEST_F(CDaemonController, ReadsRunsOfInnerBlanksAsOne) {
    install("  a \t  b  ");

    EXPECT_EQ("a b", attribute("RunAs"));
}

TEST_F(CDaemonController, ReadsPathsWithoutNormalizingThem) {
    writeAnsweringScript("/x/../y//z/\\n");

    EXPECT_EQ("/x/../y//z/", Controller::getControlFolder("app").getText().toUTF8());
    EXPECT_EQ("/x/../y//z/", Controller::getDaemonExePath("app").getText().toUTF8());
    EXPECT_FALSE(Controller::getControlFolder("app").isNormalized());
    EXPECT_EQ("printControlFolder\nprintExePath\nprintControlFolder\n", calls());
}

TEST_F(CDaemonController, CannotReadAnAttributeOfADaemonThatIsNotInstalled) {
    fdn::CError const error = errorOf([] { attribute("RunAs"); });

    EXPECT_THAT(error.getMessage().toUTF8(), HasSubstr("'/etc/init.d/app'"));
    EXPECT_EQ(ENOENT, error.getCode());
}

TEST_F(CDaemonController, CannotReadAnAttributeFromAScriptThatCannotBeRun) {
    writeFile("/etc/init.d/app", "#!/bin/sh\n");

    fdn::CError const error = errorOf([] { attribute("RunAs"); });

    EXPECT_THAT(error.getMessage().toUTF8(), HasSubstr("'/etc/init.d/app'"));
    EXPECT_EQ(EACCES, error.getCode());
}

TEST_F(CDaemonController, ReadsItsControlFolderFromTheScriptOnce) {
    writeAnsweringScript("/srv/app\\n");
    Controller controller("app", fdn::Path());

    EXPECT_EQ("/srv/app", controller.getControlFolder().getText().toUTF8());
    EXPECT_EQ("/srv/app", controller.getControlFolder().getText().toUTF8());
    EXPECT_EQ("printControlFolder\n", calls());
}

TEST_F(CDaemonController, ReadsItsControlFolderAgainWhileTheScriptHasNone) {
    writeAnsweringScript("\\n");
    Controller controller("app", fdn::Path());
    EXPECT_EQ("", controller.getControlFolder().getText().toUTF8());

    writeAnsweringScript("/srv/app\\n");

    EXPECT_EQ("/srv/app", controller.getControlFolder().getText().toUTF8());
}

TEST_F(CDaemonController, TakesTheControlFolderThatItWasGivenWithoutRunningTheScript) {
    writeAnsweringScript("/srv/other\\n");
    Controller controller("app", fdn::Path("/srv/app/"));

    EXPECT_EQ("/srv/app/", controller.getControlFolder().getText().toUTF8());
    EXPECT_FALSE(std::filesystem::exists(m_folder.name("calls")));
}

TEST_F(CDaemonController, FindsThePIDFileByControlFolderAndID) {
    writeFile(m_folder.name("my app.pid"), std::to_string(getpid()) + "\n");

    EXPECT_EQ(getpid(), Controller::getActivePID(m_folder.path(), "my app"));
    EXPECT_GT(1, Controller::getActivePID(m_folder.path(), "app"));
}

TEST_F(CDaemonController, NamesADaemonsOwnAccountByConvention) {
    EXPECT_EQ("_app_", Controller::getWindowsSpecialDaemonUserName("app").toUTF8());
}

} // namespace test
