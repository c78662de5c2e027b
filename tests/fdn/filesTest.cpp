#include "support/BackgroundCall.h"
#include "support/CurrentFolder.h"
#include "support/Obstacles.h"
#include "support/PrivateRoot.h"
#include "support/Program.h"
#include "support/TemporaryFolder.h"
#include "support/errors.h"
#include "support/fileInfo.h"

#include <fdn/CError.h>
#include <fdn/files.h>
#include <fdn/system/Descriptor.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

using fdn::Path;
using fdn::String;
using test::CurrentFolder;
using test::entriesOf;
using test::errorOf;
using test::modeOf;
using test::readFile;
using test::setMode;
using test::TemporaryFolder;
using test::writeFile;
using testing::ElementsAre;
using testing::IsEmpty;

class Umask {
public:
    explicit Umask(mode_t mask) : m_previous(umask(mask)) {}

    Umask(Umask const&) = delete;
    Umask& operator=(Umask const&) = delete;

    ~Umask() { umask(m_previous); }

private:
    mode_t m_previous;
};

class MountPoint {
public:
    explicit MountPoint(std::string const& path) : m_path(path) {
        if (mount(path.c_str(), path.c_str(), nullptr, MS_BIND, nullptr) != 0)
            throw std::system_error(errno, std::generic_category(), "mount");
    }

    MountPoint(MountPoint const&) = delete;
    MountPoint& operator=(MountPoint const&) = delete;

    ~MountPoint() { unmount(); }

    void unmount() const { umount2(m_path.c_str(), MNT_DETACH); }

private:
    std::string m_path;
};

std::size_t countDescriptors() {
    return entriesOf("/proc/self/fd").size();
}

TEST(fileExists, HoldsForARegularFile) {
    TemporaryFolder const folder;
    writeFile(folder.name("file"), "");

    EXPECT_TRUE(fdn::fileExists(folder / "file"));
}

TEST(fileExists, HoldsForAPipe) {
    TemporaryFolder const folder;
    mkfifo(folder.name("pipe").c_str(), 0600);

    EXPECT_TRUE(fdn::fileExists(folder / "pipe"));
}

TEST(fileExists, HoldsForALinkToAFile) {
    TemporaryFolder const folder;
    writeFile(folder.name("file"), "");
    fs::create_symlink("file", folder.name("link"));

    EXPECT_TRUE(fdn::fileExists(folder / "link"));
}

TEST(fileExists, DoesNotHoldForAFolder) {
    TemporaryFolder const folder;

    EXPECT_FALSE(fdn::fileExists(folder.path()));
}

TEST(fileExists, DoesNotHoldForALinkToAFolder) {
    TemporaryFolder const folder;
    fs::create_symlink(".", folder.name("link"));

    EXPECT_FALSE(fdn::fileExists(folder / "link"));
}

TEST(fileExists, DoesNotHoldForADanglingLink) {
    TemporaryFolder const folder;
    fs::create_symlink("missing", folder.name("link"));

    EXPECT_FALSE(fdn::fileExists(folder / "link"));
}

TEST(fileExists, DoesNotHoldWhereNothingIs) {
    TemporaryFolder const folder;

    EXPECT_FALSE(fdn::fileExists(folder / "missing"));
    EXPECT_FALSE(fdn::fileExists(Path()));
}

TEST(fileExists, DoesNotHoldBelowAFile) {
    TemporaryFolder const folder;
    writeFile(folder.name("file"), "");

    EXPECT_FALSE(fdn::fileExists(folder / "file/below"));
}

TEST(fileExists, FailsWithThePathWhenLinksLeadInACircle) {
    TemporaryFolder const folder;
    fs::create_symlink("link", folder.name("link"));

    fdn::CError const error = errorOf([&] { fdn::fileExists(folder / "link"); });

    EXPECT_EQ(error.getCode(), ELOOP);
    EXPECT_EQ(error.getProps().at("path"), (folder / "link").getText());
}

using FilesOfAccountsTest = test::AccountsTest;

TEST_F(FilesOfAccountsTest, FileExistsFailsBelowAFolderThatMayNotBeSearched) {
    TemporaryFolder const folder;

    test::Outcome const outcome = test::runInChild([&] {
        test::becomeUser();
        std::cout << errorOf([&] { fdn::fileExists(folder / "file"); }).getCode() << std::flush;
    });

    EXPECT_EQ(outcome.output, std::to_string(EACCES));
}

TEST(folderExists, HoldsForAFolder) {
    TemporaryFolder const folder;

    EXPECT_TRUE(fdn::folderExists(folder.path()));
}

TEST(folderExists, HoldsForALinkToAFolder) {
    TemporaryFolder const folder;
    fs::create_symlink(".", folder.name("link"));

    EXPECT_TRUE(fdn::folderExists(folder / "link"));
}

TEST(folderExists, DoesNotHoldForAFile) {
    TemporaryFolder const folder;
    writeFile(folder.name("file"), "");

    EXPECT_FALSE(fdn::folderExists(folder / "file"));
}

TEST(folderExists, DoesNotHoldWhereNothingIs) {
    TemporaryFolder const folder;

    EXPECT_FALSE(fdn::folderExists(folder / "missing"));
}

TEST(folderExists, FailsWithThePathForANameThatIsTooLong) {
    TemporaryFolder const folder;
    Path const path = folder / std::string(256, 'x').c_str();

    fdn::CError const error = errorOf([&] { fdn::folderExists(path); });

    EXPECT_EQ(error.getCode(), ENAMETOOLONG);
    EXPECT_EQ(error.getProps().at("path"), path.getText());
}

TEST(ensureFolderExists, MakesMissingParentsWithTheSameMode) {
    TemporaryFolder const folder;
    Umask const umask(0);

    fdn::ensureFolderExists(folder / "a/b/c", 0751);

    EXPECT_EQ(modeOf(folder.name("a")), 0751U);
    EXPECT_EQ(modeOf(folder.name("a/b")), 0751U);
    EXPECT_EQ(modeOf(folder.name("a/b/c")), 0751U);
}

TEST(ensureFolderExists, AppliesTheUmask) {
    TemporaryFolder const folder;
    Umask const umask(027);

    fdn::ensureFolderExists(folder / "a", 0777);

    EXPECT_EQ(modeOf(folder.name("a")), 0750U);
}

TEST(ensureFolderExists, LeavesAnExistingFolderAsItIs) {
    TemporaryFolder const folder;
    fs::permissions(folder.name(), fs::perms::owner_all);

    fdn::ensureFolderExists(folder.path(), 0777);

    EXPECT_EQ(modeOf(folder.name()), 0700U);
}

TEST(ensureFolderExists, TakesALinkToAFolder) {
    TemporaryFolder const folder;
    fs::create_symlink(".", folder.name("link"));

    fdn::ensureFolderExists(folder / "link", 0777);
    fdn::ensureFolderExists(folder / "link/a", 0777);

    EXPECT_TRUE(fs::is_symlink(folder.name("link")));
    EXPECT_TRUE(fs::is_directory(folder.name("a")));
}

TEST(ensureFolderExists, TakesSeparatorsAndDotsAsTheyCome) {
    TemporaryFolder const folder;

    fdn::ensureFolderExists(folder / "a//b/./c/../d//", 0777);

    EXPECT_TRUE(fs::is_directory(folder.name("a/b/c")));
    EXPECT_TRUE(fs::is_directory(folder.name("a/b/d")));
}

TEST(ensureFolderExists, TakesARelativePath) {
    TemporaryFolder const folder;
    CurrentFolder const current(folder.name());

    fdn::ensureFolderExists(Path("a/b"), 0777);

    EXPECT_TRUE(fs::is_directory(folder.name("a/b")));
}

TEST(ensureFolderExists, NamesTheFileThatIsInTheWay) {
    TemporaryFolder const folder;
    writeFile(folder.name("file"), "");

    for (char const* const name : {"file", "file/a", "file/a/b"}) {
        fdn::CError const error = errorOf([&] { fdn::ensureFolderExists(folder / name, 0777); });

        EXPECT_EQ(error.getCode(), ENOTDIR);
        EXPECT_EQ(Path(error.getProps().at("path")).toNormalized(false, Path()).getText(),
                  (folder / "file").getText());
    }
}

TEST(ensureFolderExists, NamesADanglingLinkThatIsInTheWay) {
    TemporaryFolder const folder;
    fs::create_symlink("missing", folder.name("link"));

    fdn::CError const error = errorOf([&] { fdn::ensureFolderExists(folder / "link", 0777); });

    EXPECT_EQ(error.getCode(), ENOTDIR);
    EXPECT_EQ(error.getProps().at("path"), (folder / "link").getText());
}

TEST(ensureFolderExists, FailsForTheEmptyPath) {
    EXPECT_EQ(errorOf([] { fdn::ensureFolderExists(Path(), 0777); }).getCode(), ENOENT);
}

TEST(ensureFolderExists, FailsInADeletedFolder) {
    TemporaryFolder const folder;
    CurrentFolder const current(folder.name());
    fs::remove(folder.name());

    EXPECT_EQ(errorOf([] { fdn::ensureFolderExists(Path("a/b"), 0777); }).getCode(), ENOENT);
}

TEST(ensureFolderExists, SucceedsForAllThatMakeTheSameFolderAtOnce) {
    TemporaryFolder const folder;
    Path const path = folder / "a/b/c/d/e/f/g/h";
    std::atomic<int> failures{0};
    std::atomic<bool> go{false};

    std::vector<std::thread> makers;
    for (int maker = 0; maker < 8; ++maker)
        makers.emplace_back([&] {
            while (!go)
                std::this_thread::yield();
            try {
                fdn::ensureFolderExists(path, 0777);
            } catch (std::exception const&) {
                ++failures;
            }
        });
    go = true;
    for (std::thread& maker : makers)
        maker.join();

    EXPECT_EQ(failures, 0);
    EXPECT_TRUE(fdn::folderExists(path));
}

void makeOwnFolder(Path const& path) {
    fdn::ensureOwnedFolderExists(path, 0750, geteuid(), getegid());
}

TEST(ensureOwnedFolderExists, GivesTheModeWhateverTheUmask) {
    TemporaryFolder const folder;
    Umask const umask(0777);

    makeOwnFolder(folder / "a");

    EXPECT_EQ(modeOf(folder.name("a")), 0750U);
    EXPECT_THAT(entriesOf(folder.name()), ElementsAre("a"));
}

TEST(ensureOwnedFolderExists, KeepsTheSetGroupIDBitThatTheFolderInherits) {
    TemporaryFolder const folder;
    setMode(folder.name(), 02755);

    makeOwnFolder(folder / "a");

    EXPECT_EQ(modeOf(folder.name("a")), 02750U);
}

TEST(ensureOwnedFolderExists, MakesMissingParentsWithTheModeThatTheUmaskLeaves) {
    TemporaryFolder const folder;
    Umask const umask(022);

    makeOwnFolder(folder / "a/b/c//");

    EXPECT_EQ(modeOf(folder.name("a")), 0755U);
    EXPECT_EQ(modeOf(folder.name("a/b")), 0755U);
    EXPECT_EQ(modeOf(folder.name("a/b/c")), 0750U);
}

TEST(ensureOwnedFolderExists, TakesARelativePath) {
    TemporaryFolder const folder;
    CurrentFolder const current(folder.name());

    makeOwnFolder(Path("a"));

    EXPECT_EQ(modeOf(folder.name("a")), 0750U);
}

TEST(ensureOwnedFolderExists, LeavesAnExistingFolderAsItIs) {
    TemporaryFolder const folder;
    setMode(folder.name(), 0700);

    makeOwnFolder(folder.path());

    EXPECT_EQ(modeOf(folder.name()), 0700U);
}

TEST(ensureOwnedFolderExists, ShowsTheFolderUnderItsNameOnlyWhenItIsComplete) {
    TemporaryFolder const folder;
    unsigned unfinishedMode = 0;
    test::Program maker([&] {
        test::awaitPerformBefore();
        makeOwnFolder(folder / "a");
    });

    test::performBefore(SYS_renameat2, maker.pid(), [&] {
        EXPECT_THAT(entriesOf(folder.name()), ElementsAre(".folder.new"));
        unfinishedMode = modeOf(folder.name(".folder.new"));
    });

    EXPECT_EQ(maker.wait().status, 0) << maker.errors();
    EXPECT_EQ(unfinishedMode, 0750U);
    EXPECT_THAT(entriesOf(folder.name()), ElementsAre("a"));
}

TEST(ensureOwnedFolderExists, LeavesNoFolderThatItCannotGiveAway) {
    TemporaryFolder const folder;

    test::Outcome const outcome = test::runInChild([&] {
        test::refuseSystemCall(test::kLchownCall, EPERM);
        std::cout << errorOf([&] { makeOwnFolder(folder / "a"); }).getCode();
    });

    EXPECT_EQ(outcome.output, std::to_string(EPERM)) << outcome.errors;
    EXPECT_THAT(entriesOf(folder.name()), IsEmpty());
}

TEST(ensureOwnedFolderExists, NamesTheFileThatIsInTheWay) {
    TemporaryFolder const folder;
    writeFile(folder.name("file"), "");
    std::size_t const descriptors = countDescriptors();

    fdn::CError const error = errorOf([&] { makeOwnFolder(folder / "file"); });

    EXPECT_EQ(error.getCode(), EEXIST);
    EXPECT_EQ(error.getProps().at("path"), (folder / "file").getText());
    EXPECT_THAT(entriesOf(folder.name()), ElementsAre("file"));
    EXPECT_EQ(countDescriptors(), descriptors);
}

TEST(ensureOwnedFolderExists, TidiesUpAfterOneThatWasKilled) {
    TemporaryFolder const folder;
    test::Program maker([&] {
        test::endAtSystemCall(test::kLchownCall);
        makeOwnFolder(folder / "a");
    });
    ASSERT_EQ(maker.wait().signal, SIGSYS);
    ASSERT_THAT(entriesOf(folder.name()), ElementsAre(".folder.new"));

    makeOwnFolder(folder / "a");

    EXPECT_THAT(entriesOf(folder.name()), ElementsAre("a"));
}

TEST(deleteFile, DeletesAFile) {
    TemporaryFolder const folder;
    writeFile(folder.name("file"), "");

    fdn::deleteFile(folder / "file", true, 20, true);

    EXPECT_THAT(entriesOf(folder.name()), IsEmpty());
}

TEST(deleteFile, TakesThePathAsTextToo) {
    TemporaryFolder const folder;
    writeFile(folder.name("file"), "");

    fdn::deleteFile((folder / "file").getText(), true, 20, true);

    EXPECT_THAT(entriesOf(folder.name()), IsEmpty());
}

TEST(deleteFile, DeletesALinkAndKeepsItsTarget) {
    TemporaryFolder const folder;
    writeFile(folder.name("file"), "");
    fs::create_symlink("file", folder.name("link"));

    fdn::deleteFile(folder / "link", true, 20, true);

    EXPECT_THAT(entriesOf(folder.name()), ElementsAre("file"));
}

TEST(deleteFile, DeletesAFileThatMayNotBeWritten) {
    TemporaryFolder const folder;
    writeFile(folder.name("file"), "");
    fs::permissions(folder.name("file"), fs::perms::none);

    fdn::deleteFile(folder / "file", false, 1, false);

    EXPECT_THAT(entriesOf(folder.name()), IsEmpty());
}

TEST(deleteFile, SucceedsWhereNothingIs) {
    TemporaryFolder const folder;
    writeFile(folder.name("file"), "");

    EXPECT_NO_THROW(fdn::deleteFile(folder / "missing", true, 20, true));
    EXPECT_NO_THROW(fdn::deleteFile(folder / "missing/below", true, 20, true));
    EXPECT_NO_THROW(fdn::deleteFile(folder / "file/below", true, 20, true));
}

TEST(deleteFile, FailsWhereNothingIsIfThatIsNotIgnored) {
    TemporaryFolder const folder;

    fdn::CError const error = errorOf([&] { fdn::deleteFile(folder / "missing", false, 20, true); });

    EXPECT_EQ(error.getCode(), ENOENT);
    EXPECT_EQ(error.getProps().at("path"), (folder / "missing").getText());
}

TEST(deleteFile, KeepsAFolder) {
    TemporaryFolder const folder;
    fs::create_directory(folder.name("folder"));

    EXPECT_EQ(errorOf([&] { fdn::deleteFile(folder / "folder", true, 20, true); }).getCode(), EISDIR);
    EXPECT_THAT(entriesOf(folder.name()), ElementsAre("folder"));
}

using BusyFileTest = test::PrivateRootTest;

TEST_F(BusyFileTest, IsAnErrorOnceTheAttemptsAreUsedUp) {
    TemporaryFolder const folder;
    writeFile(folder.name("file"), "");
    MountPoint const busy(folder.name("file"));

    for (int const attempts : {-1, 0, 1, 3})
        EXPECT_EQ(errorOf([&] { fdn::deleteFile(folder / "file", true, attempts, true); }).getCode(), EBUSY);
}

TEST_F(BusyFileTest, IsDeletedWhenItIsFreeBeforeTheLastAttempt) {
    TemporaryFolder const folder;
    writeFile(folder.name("file"), "");
    MountPoint const busy(folder.name("file"));

    {
        test::BackgroundCall const deleting(
            [&] { EXPECT_NO_THROW(fdn::deleteFile(folder / "file", true, 1000, true)); });
        EXPECT_TRUE(deleting.getsBlocked());
        busy.unmount();
    }

    EXPECT_THAT(entriesOf(folder.name()), IsEmpty());
}

TEST(createFileSymLink, MakesALinkWithTheTargetAsItStands) {
    TemporaryFolder const folder;

    fdn::createFileSymLink(Path("../some//where"), folder / "link");

    EXPECT_EQ(fs::read_symlink(folder.name("link")), "../some//where");
}

TEST(createFileSymLink, KeepsWhatIsThereAndNamesIt) {
    TemporaryFolder const folder;
    writeFile(folder.name("link"), "old");

    fdn::CError const error = errorOf([&] { fdn::createFileSymLink(Path("target"), folder / "link"); });

    EXPECT_EQ(error.getCode(), EEXIST);
    EXPECT_EQ(error.getProps().at("path"), (folder / "link").getText());
    EXPECT_EQ(readFile(folder.name("link")), "old");
}

TEST(writeUTF8TextFile, WritesUTF8WithoutAByteOrderMark) {
    TemporaryFolder const folder;

    fdn::writeUTF8TextFile((folder / "file").getText(), L"a\u00E4\u20AC\U0001F600\n");

    EXPECT_EQ(readFile(folder.name("file")), "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\n");
}

TEST(writeUTF8TextFile, WritesTheEmptyText) {
    TemporaryFolder const folder;

    fdn::writeUTF8TextFile((folder / "file").getText(), "");

    EXPECT_EQ(readFile(folder.name("file")), "");
}

TEST(writeUTF8TextFile, TakesARelativeName) {
    TemporaryFolder const folder;
    CurrentFolder const current(folder.name());

    fdn::writeUTF8TextFile("file", "text");

    EXPECT_EQ(readFile(folder.name("file")), "text");
}

TEST(writeUTF8TextFile, TakesANameOfTheGreatestLength) {
    TemporaryFolder const folder;
    std::string const name(255, 'x');

    fdn::writeUTF8TextFile((folder / name.c_str()).getText(), "text");

    EXPECT_THAT(entriesOf(folder.name()), ElementsAre(name));
}

TEST(writeUTF8TextFile, GivesANewFileTheModeThatTheUmaskLeaves) {
    TemporaryFolder const folder;
    Umask const umask(026);

    fdn::writeUTF8TextFile((folder / "file").getText(), "text");
    fdn::writeUTF8TextFile((folder / "program").getText(), "text", 0755);

    EXPECT_EQ(modeOf(folder.name("file")), 0640U);
    EXPECT_EQ(modeOf(folder.name("program")), 0751U);
}

TEST(writeUTF8TextFile, KeepsTheModeOfTheOldFileWhateverTheUmask) {
    TemporaryFolder const folder;
    Umask const umask(077);
    for (unsigned const mode : {0755U, 0604U, 0777U, 0U}) {
        writeFile(folder.name("file"), "old");
        setMode(folder.name("file"), mode);

        fdn::writeUTF8TextFile((folder / "file").getText(), "new", 0711);

        EXPECT_EQ(modeOf(folder.name("file")), mode);
    }
}

TEST(writeUTF8TextFile, HasTheModeOfTheOldFileBeforeItTakesItsPlace) {
    TemporaryFolder const folder;
    writeFile(folder.name("file"), "old");
    setMode(folder.name("file"), 0755);

    test::Program writer([&] {
        test::endAtSystemCall(SYS_renameat);
        fdn::writeUTF8TextFile((folder / "file").getText(), "new");
    });

    EXPECT_EQ(writer.wait().signal, SIGSYS);
    EXPECT_EQ(modeOf(folder.name(".text-file.new")), 0755U);
}

TEST(writeUTF8TextFile, IsOpenToNobodyMeanwhileWhoMayNotReadTheOldFile) {
    TemporaryFolder const folder;
    writeFile(folder.name("file"), "old");
    setMode(folder.name("file"), 0600);

    test::Program writer([&] {
        test::endAtSystemCall(SYS_fchmod);
        fdn::writeUTF8TextFile((folder / "file").getText(), "secret");
    });

    EXPECT_EQ(writer.wait().signal, SIGSYS);
    EXPECT_EQ(modeOf(folder.name(".text-file.new")), 0600U);
}

TEST(writeUTF8TextFile, GivesNobodyItsOwnersRights) {
    TemporaryFolder const folder;
    writeFile(folder.name("file"), "old");
    setMode(folder.name("file"), 06755);

    fdn::writeUTF8TextFile((folder / "file").getText(), "new");

    EXPECT_EQ(modeOf(folder.name("file")), 0755U);
}

TEST(writeUTF8TextFile, TakesNoModeOfALinkOrAPipe) {
    TemporaryFolder const folder;
    Umask const umask(022);
    fs::create_symlink("nowhere", folder.name("link"));
    mkfifo(folder.name("pipe").c_str(), 0600);

    fdn::writeUTF8TextFile((folder / "link").getText(), "new");
    fdn::writeUTF8TextFile((folder / "pipe").getText(), "new");

    EXPECT_EQ(modeOf(folder.name("link")), 0644U);
    EXPECT_EQ(modeOf(folder.name("pipe")), 0644U);
}

TEST(writeUTF8TextFile, ReplacesALongerFile) {
    TemporaryFolder const folder;
    writeFile(folder.name("file"), "something long");

    fdn::writeUTF8TextFile((folder / "file").getText(), "short");

    EXPECT_EQ(readFile(folder.name("file")), "short");
    EXPECT_THAT(entriesOf(folder.name()), ElementsAre("file"));
}

TEST(writeUTF8TextFile, LeavesOtherNamesOfTheOldFileAlone) {
    TemporaryFolder const folder;
    writeFile(folder.name("file"), "old");
    fs::create_hard_link(folder.name("file"), folder.name("other"));

    fdn::writeUTF8TextFile((folder / "file").getText(), "new");

    EXPECT_EQ(readFile(folder.name("other")), "old");
}

TEST(writeUTF8TextFile, ReplacesALinkRatherThanItsTarget) {
    TemporaryFolder const folder;
    writeFile(folder.name("target"), "old");
    fs::create_symlink("target", folder.name("link"));

    fdn::writeUTF8TextFile((folder / "link").getText(), "new");

    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(folder.name("link"))));
    EXPECT_EQ(readFile(folder.name("link")), "new");
    EXPECT_EQ(readFile(folder.name("target")), "old");
}

TEST(writeUTF8TextFile, ReplacesAPipeWithoutWaitingForItsReader) {
    TemporaryFolder const folder;
    mkfifo(folder.name("pipe").c_str(), 0600);

    fdn::writeUTF8TextFile((folder / "pipe").getText(), "new");

    EXPECT_EQ(readFile(folder.name("pipe")), "new");
}

TEST(writeUTF8TextFile, IsSeenWholeAtAnyTime) {
    TemporaryFolder const folder;
    std::string const path = folder.name("file");
    std::string const first(100000, 'a');
    std::string const second(200000, 'b');
    writeFile(path, first);
    std::atomic<bool> hasEnded{false};

    std::thread writer([&] {
        for (int i = 0; i < 50; ++i)
            fdn::writeUTF8TextFile(path.c_str(), (i % 2 == 0 ? second : first).c_str());
        hasEnded = true;
    });
    int torn = 0;
    while (!hasEnded) {
        std::string const content = readFile(path);
        torn += content == first || content == second ? 0 : 1;
    }
    writer.join();

    EXPECT_EQ(torn, 0);
    EXPECT_THAT(entriesOf(folder.name()), ElementsAre("file"));
}

TEST(writeUTF8TextFile, LeavesTheOldFileWhenTheTextIsNoUnicode) {
    TemporaryFolder const folder;
    writeFile(folder.name("file"), "old");
    wchar_t const halfAPair[] = {L'a', static_cast<wchar_t>(0xD800), L'\0'};

    EXPECT_THROW(fdn::writeUTF8TextFile((folder / "file").getText(), halfAPair),
                 fdn::CUnencodableStringError);

    EXPECT_EQ(readFile(folder.name("file")), "old");
    EXPECT_THAT(entriesOf(folder.name()), ElementsAre("file"));
}

TEST(writeUTF8TextFile, TidiesUpAfterOneThatWasKilled) {
    TemporaryFolder const folder;
    test::Program writer([&] {
        test::endAtSystemCall(SYS_fsync);
        fdn::writeUTF8TextFile((folder / "file").getText(), "half");
    });
    ASSERT_EQ(writer.wait().signal, SIGSYS);
    ASSERT_EQ(entriesOf(folder.name()).size(), 1U);

    fdn::writeUTF8TextFile((folder / "file").getText(), "new");

    EXPECT_THAT(entriesOf(folder.name()), ElementsAre("file"));
}

TEST(writeUTF8TextFile, DoesNotWaitForTheFoldersLock) {
    TemporaryFolder const folder;
    fdn::Descriptor const locked(open(folder.name().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ASSERT_EQ(flock(locked.get(), LOCK_EX), 0);

    fdn::writeUTF8TextFile((folder / "file").getText(), "new");

    EXPECT_THAT(entriesOf(folder.name()), ElementsAre("file"));
}

TEST(writeUTF8TextFile, LeavesAFolderThatIsInTheWay) {
    TemporaryFolder const folder;
    fs::create_directory(folder.name("folder"));
    std::size_t const descriptors = countDescriptors();

    fdn::CError const error = errorOf([&] { fdn::writeUTF8TextFile((folder / "folder").getText(), "new"); });

    EXPECT_EQ(error.getProps().at("path"), (folder / "folder").getText());
    EXPECT_THAT(entriesOf(folder.name()), ElementsAre("folder"));
    EXPECT_EQ(countDescriptors(), descriptors);
}

TEST(writeUTF8TextFile, NamesTheFileWhenItsFolderIsMissing) {
    TemporaryFolder const folder;

    fdn::CError const error =
        errorOf([&] { fdn::writeUTF8TextFile((folder / "missing/file").getText(), ""); });

    EXPECT_EQ(error.getCode(), ENOENT);
    EXPECT_EQ(error.getProps().at("path"), (folder / "missing/file").getText());
}

TEST(writeUTF8TextFile, RefusesANameWithTheCharacterNUL) {
    TemporaryFolder const folder;
    String const name = wxString((folder / "file").getText()) + wxString(L"\0x", 2);

    EXPECT_THROW(fdn::writeUTF8TextFile(name, "new"), fdn::CUnencodableStringError);

    EXPECT_THAT(entriesOf(folder.name()), IsEmpty());
}

TEST(writeUTF8TextFile, LeavesTheOldFileWhenTheDiskFails) {
    TemporaryFolder const folder;
    writeFile(folder.name("file"), "old");

    test::Outcome const outcome = test::runInChild([&] {
        test::refuseSystemCall(SYS_fsync, EIO);
        std::cout << errorOf([&] { fdn::writeUTF8TextFile((folder / "file").getText(), "new"); }).getCode();
    });

    EXPECT_EQ(outcome.output, std::to_string(EIO));
    EXPECT_EQ(readFile(folder.name("file")), "old");
    EXPECT_THAT(entriesOf(folder.name()), ElementsAre("file"));
}

TEST(writeUTF8TextFile, LeavesTheOldFileWhenFilesMayNotGrow) {
    TemporaryFolder const folder;
    writeFile(folder.name("file"), "old");
    long long code = 0;
    {
        test::NoFileMayGrow const limit;
        code = errorOf([&] { fdn::writeUTF8TextFile((folder / "file").getText(), "new"); }).getCode();
    }

    EXPECT_EQ(code, EFBIG);
    EXPECT_EQ(readFile(folder.name("file")), "old");
    EXPECT_THAT(entriesOf(folder.name()), ElementsAre("file"));
}

using FullDiskTest = test::PrivateRootTest;

TEST_F(FullDiskTest, LeavesTheOldTextFile) {
    test::FullFolder const full("/run/lock");

    fdn::CError const error = errorOf([] { fdn::writeUTF8TextFile("/run/lock/full", "new"); });

    EXPECT_EQ(error.getCode(), ENOSPC);
    EXPECT_EQ(readFile("/run/lock/full"), "x");
    EXPECT_THAT(entriesOf("/run/lock"), ElementsAre("full"));
}

} // namespace
