#include "ControllerTest.h"

#include "support/errors.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>

namespace test {

namespace {

using dmn::CDaemonController;
using testing::HasSubstr;

using Names = std::vector<std::string>;

std::string folderOf(int level) {
    return "/etc/rc" + std::to_string(level) + ".d";
}

std::string runLevelDir(int level) {
    return CDaemonController::getRunLevelDir(level).getText().toUTF8();
}

std::string linkName(int level) {
    return CDaemonController::getRunLevelLinkName(level, "app").toUTF8();
}

/// The entries of all run level folders in /etc, in the form "0/K10app 6/K10app".
std::string allLinks() {
    std::string links;
    for (int level = 0; level <= 6; ++level) {
        for (std::string const& name : entriesOf(folderOf(level)))
            links += (links.empty() ? "" : " ") + std::to_string(level) + "/" + name;
    }
    return links;
}

constexpr char kKillLinks[] = "0/K10app 6/K10app";
constexpr char kAllLinks[] = "0/K10app 2/S90app 3/S90app 4/S90app 5/S90app 6/K10app";

/// Moves a folder of /etc to its place in the other layout.
void moveBelowRcD(std::string const& name) {
    std::filesystem::create_directories("/etc/rc.d");
    std::filesystem::rename("/etc/" + name, "/etc/rc.d/" + name);
}

class RunLevels : public ControllerTest {
protected:
    void installAtBoot() {
        m_info.startAtBoot = true;
        install();
    }

    void uninstall() const { CDaemonController::uninstall("app", m_folder.path()); }
};

} // namespace

TEST_F(RunLevels, AreInEtcRatherThanBelowRcD) {
    std::filesystem::create_directories("/etc/rc.d/rc2.d");

    EXPECT_EQ("/etc/rc2.d", runLevelDir(2));
}

TEST_F(RunLevels, AreBelowRcDWhereEtcHasNoFolderOfThatName) {
    moveBelowRcD("rc3.d");
    writeFile("/etc/rc3.d", "not a folder");

    EXPECT_EQ("/etc/rc.d/rc3.d", runLevelDir(3));

    std::filesystem::remove("/etc/rc3.d");
}

TEST_F(RunLevels, AreLookedUpEachTimeAndForEachLevel) {
    EXPECT_EQ("/etc/rc3.d", runLevelDir(3));

    moveBelowRcD("rc3.d");

    EXPECT_EQ("/etc/rc.d/rc3.d", runLevelDir(3));
    EXPECT_EQ("/etc/rc4.d", runLevelDir(4));
}

TEST_F(RunLevels, AreUnknownWithoutAFolderAndTheErrorNamesIt) {
    std::filesystem::remove("/etc/rc3.d");

    fdn::CError const error = errorOf([] { CDaemonController::getRunLevelDir(3); });

    EXPECT_EQ("Unknown Linux flavor (cannot locate rc3.d directory).", error.getMessage().toUTF8());
    EXPECT_TRUE(isPlain(error));
}

TEST_F(RunLevels, HaveKillLinksForHaltAndRebootAndStartLinksForAnyOther) {
    for (int const level : {0, 6})
        EXPECT_EQ("K10app", linkName(level));
    for (int const level : {1, 2, 3, 4, 5, 7, -1})
        EXPECT_EQ("S90app", linkName(level));
}

TEST_F(RunLevels, GetAllLinksForADaemonThatStartsAtBoot) {
    installAtBoot();

    EXPECT_EQ(kAllLinks, allLinks());
    for (int const level : {0, 2, 3, 4, 5, 6})
        EXPECT_EQ("/etc/init.d/app", targetOf(folderOf(level) + "/" + linkName(level)));
}

TEST_F(RunLevels, GetKillLinksAloneForADaemonThatDoesNotStartAtBoot) {
    install();

    EXPECT_EQ(kKillLinks, allLinks());
}

TEST_F(RunLevels, GetTheirLinksWhereverTheirFoldersAre) {
    for (std::string const name : {"init.d", "rc0.d", "rc2.d", "rc5.d"})
        moveBelowRcD(name);

    installAtBoot();

    EXPECT_EQ("/etc/rc.d/init.d/app", targetOf("/etc/rc.d/rc0.d/K10app"));
    EXPECT_EQ("/etc/rc.d/init.d/app", targetOf("/etc/rc.d/rc2.d/S90app"));
    EXPECT_EQ("/etc/rc.d/init.d/app", targetOf("/etc/rc3.d/S90app"));
    EXPECT_EQ("/etc/rc.d/init.d/app", targetOf("/etc/rc.d/rc5.d/S90app"));
    EXPECT_EQ("/etc/rc.d/init.d/app", targetOf("/etc/rc6.d/K10app"));
}

TEST_F(RunLevels, LoseTheirLinksWhereverTheirFoldersAre) {
    for (std::string const name : {"init.d", "rc0.d", "rc2.d", "rc5.d"})
        moveBelowRcD(name);
    installAtBoot();

    uninstall();

    EXPECT_EQ("", allLinks());
    EXPECT_EQ(Names{}, entriesOf("/etc/rc.d/rc0.d"));
    EXPECT_EQ(Names{}, entriesOf("/etc/rc.d/rc2.d"));
    EXPECT_EQ(Names{}, entriesOf("/etc/rc.d/rc5.d"));
}

TEST_F(RunLevels, HaveOneLinkEachAfterASecondInstallation) {
    installAtBoot();

    installAtBoot();

    EXPECT_EQ(kAllLinks, allLinks());
}

TEST_F(RunLevels, GetTheirLinkInTheStepOfWhateverHasItsName) {
    writeFile("/etc/rc0.d/K10app", "a file");
    std::filesystem::create_symlink("/nowhere", "/etc/rc3.d/S90app");

    installAtBoot();

    EXPECT_EQ("/etc/init.d/app", targetOf("/etc/rc0.d/K10app"));
    EXPECT_EQ("/etc/init.d/app", targetOf("/etc/rc3.d/S90app"));
}

TEST_F(RunLevels, KeepTheLinksOfLevelOne) {
    std::filesystem::create_symlink("/etc/init.d/app", "/etc/rc1.d/S90app");
    std::filesystem::create_symlink("/etc/init.d/app", "/etc/rc1.d/K10app");

    installAtBoot();
    uninstall();

    EXPECT_EQ((Names{"K10app", "S90app"}), entriesOf("/etc/rc1.d"));
}

TEST_F(RunLevels, AreNotVisitedAtLevelOne) {
    std::filesystem::remove("/etc/rc1.d");

    installAtBoot();
    EXPECT_EQ(kAllLinks, allLinks());

    uninstall();
    EXPECT_EQ("", allLinks());
}

TEST_F(RunLevels, LoseEveryLinkOfTheIDWhateverItsTwoCharactersAreAndWhateverItIs) {
    install();
    Names const lost{"K01app", "K10app", "S15app", "S20app", "S90app", "Kxyapp", "S--app"};
    for (int const level : {0, 2, 3, 4, 5, 6}) {
        for (std::string const& name : lost)
            writeFile(folderOf(level) + "/" + name, "a file");
    }

    uninstall();

    EXPECT_EQ("", allLinks());
}

TEST_F(RunLevels, KeepEveryOtherEntry) {
    Names kept{"S90myapp", "Sapp",   "S9app", "S900app", "S90app.sh", "X90app",
               "s90app",   "k10app", "app",   "S90",     "S90APP",    "README"};
    std::sort(kept.begin(), kept.end());
    for (int const level : {0, 2, 3, 4, 5, 6}) {
        for (std::string const& name : kept)
            writeFile(folderOf(level) + "/" + name, "a file");
    }
    installAtBoot();

    uninstall();

    for (int const level : {0, 2, 3, 4, 5, 6})
        EXPECT_EQ(kept, entriesOf(folderOf(level)));
}

TEST_F(RunLevels, LoseTheLinksOfAnIDThatIsNoPatternToThem) {
    for (std::string const name : {"S90a.p", "S90axp", "S90*.p"})
        writeFile("/etc/rc2.d/" + name, "a file");

    CDaemonController::uninstall("*.p", m_folder.path());

    EXPECT_EQ((Names{"S90a.p", "S90axp"}), entriesOf("/etc/rc2.d"));
}

TEST_F(RunLevels, LoseTheLinksOfAnIDWithUmlauts) {
    fdn::String const id = fdn::String::fromBytes("grüße");
    CDaemonController::install(m_info, id, m_folder.path(), "", "", "", "");
    ASSERT_EQ(Names{"K10grüße"}, entriesOf("/etc/rc0.d"));

    CDaemonController::uninstall(id, m_folder.path());

    EXPECT_EQ("", allLinks());
}

TEST_F(RunLevels, EndTheUninstallationWithAFolderThatIsNamedAsALink) {
    installAtBoot();
    std::filesystem::create_directory("/etc/rc3.d/K05app");

    EXPECT_THAT(messageOf([this] { uninstall(); }), HasSubstr("'/etc/rc3.d/K05app'"));

    EXPECT_EQ(Names{}, entriesOf("/etc/rc2.d"));
    EXPECT_EQ(Names{"S90app"}, entriesOf("/etc/rc4.d"));
    EXPECT_EQ(Names{"app"}, entriesOf("/etc/init.d"));
}

TEST_F(RunLevels, CannotBeDisabled) {
    CDaemonController controller("app", fdn::Path());

    EXPECT_FALSE(controller.isDisabled());
    controller.enable(false);
    EXPECT_FALSE(controller.isDisabled());

    EXPECT_EQ(Names{}, m_log.entries());
}

TEST_F(RunLevels, EnablingChangesNoLink) {
    CDaemonController controller("app", m_folder.path());
    install();

    controller.enable(true);

    EXPECT_EQ(kKillLinks, allLinks());
}

TEST_F(RunLevels, DisablingIsNotImplemented) {
    CDaemonController controller("app", fdn::Path());

    fdn::CError const error = errorOf([&] { controller.disable(); });

    EXPECT_THROW(controller.disable(), fdn::CNotImplementedError);
    EXPECT_EQ("The function 'CDaemonController::disable' is not implemented.", error.getMessage().toUTF8());
    EXPECT_TRUE(isPlain(error));
}

} // namespace test
