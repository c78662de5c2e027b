#include "support/Obstacles.h"
#include "support/Program.h"
#include "support/TemporaryFolder.h"
#include "support/errors.h"

#include <fdn/CFileSystemIterator.h>
#include <fdn/files.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include <sys/syscall.h>

namespace {

namespace fs = std::filesystem;

using fdn::CFileSystemIterator;
using fdn::Path;
using test::errorOf;
using test::TemporaryFolder;
using test::writeFile;
using testing::UnorderedElementsAre;

std::vector<std::string> namesIn(Path const& folder) {
    std::vector<std::string> names;
    CFileSystemIterator entry(folder);
    while (entry.next())
        names.push_back(entry.getItemName().toUTF8());
    return names;
}

TEST(CFileSystemIterator, YieldsEntriesOfEveryKindOnce) {
    TemporaryFolder const folder;
    writeFile(folder.name("file"), "");
    writeFile(folder.name(".hidden"), "");
    fs::create_directory(folder.name("folder"));
    fs::create_symlink("missing", folder.name("link"));

    EXPECT_THAT(namesIn(folder.path()), UnorderedElementsAre("file", ".hidden", "folder", "link"));
}

TEST(CFileSystemIterator, YieldsNothingInAnEmptyFolder) {
    TemporaryFolder const folder;
    CFileSystemIterator entry(folder.path());

    EXPECT_FALSE(entry.next());
    EXPECT_FALSE(entry.next());
}

TEST(CFileSystemIterator, HasNoNameBeforeTheFirstEntry) {
    TemporaryFolder const folder;
    writeFile(folder.name("file"), "");

    EXPECT_EQ(CFileSystemIterator(folder.path()).getItemName(), "");
}

TEST(CFileSystemIterator, JoinsThePathOfAnEntryFromFolderAndName) {
    TemporaryFolder const folder;
    writeFile(folder.name("file"), "");
    CFileSystemIterator entry(Path(folder.path().getPathWithSep()));

    ASSERT_TRUE(entry.next());

    EXPECT_EQ(entry.getItemPath().getText(), (folder / "file").getText());
}

TEST(CFileSystemIterator, ReadsNamesAsUTF8AndOthersAsLatin1) {
    TemporaryFolder const folder;
    writeFile(folder.name("\xC3\xA4"), "");
    writeFile(folder.name("\xE9"), "");

    EXPECT_THAT(namesIn(folder.path()), UnorderedElementsAre("\xC3\xA4", "\xC3\xA9"));
}

TEST(CFileSystemIterator, HasNoPathForANameThatIsNoTextRatherThanThatOfAnotherFile) {
    TemporaryFolder const folder;
    writeFile(folder.name("\xE9"), "");
    CFileSystemIterator entry(folder.path());
    ASSERT_TRUE(entry.next());

    fdn::CError const error = errorOf([&] { entry.getItemPath(); });

    EXPECT_EQ(error.getCode(), EILSEQ);
    EXPECT_EQ(error.getProps().at("path"), (folder / "\xE9").getText());
    EXPECT_FALSE(entry.next());
}

TEST(CFileSystemIterator, HasThePathOfEveryNameThatIsText) {
    TemporaryFolder const folder;
    for (char const* const name : {"a", "gr\xC3\xBCn", "\xE2\x82\xAC", " "})
        writeFile(folder.name(name), "");

    CFileSystemIterator entry(folder.path());
    while (entry.next())
        EXPECT_TRUE(fdn::fileExists(entry.getItemPath())) << entry.getItemName();
}

TEST(CFileSystemIterator, SeesEachOfManyEntries) {
    TemporaryFolder const folder;
    for (int i = 0; i < 3000; ++i)
        writeFile(folder.name(std::to_string(i).c_str()), "");

    EXPECT_EQ(namesIn(folder.path()).size(), 3000U);
}

TEST(CFileSystemIterator, NamesAMissingFolder) {
    TemporaryFolder const folder;

    fdn::CError const error = errorOf([&] { CFileSystemIterator entry(folder / "missing"); });

    EXPECT_EQ(error.getCode(), ENOENT);
    EXPECT_EQ(error.getProps().at("path"), (folder / "missing").getText());
}

TEST(CFileSystemIterator, NamesAFileThatIsNoFolder) {
    TemporaryFolder const folder;
    writeFile(folder.name("file"), "");

    fdn::CError const error = errorOf([&] { CFileSystemIterator entry(folder / "file"); });

    EXPECT_EQ(error.getCode(), ENOTDIR);
    EXPECT_EQ(error.getProps().at("path"), (folder / "file").getText());
}

TEST(CFileSystemIterator, NamesTheFolderThatCannotBeRead) {
    TemporaryFolder const folder;

    test::Outcome const outcome = test::runInChild([&] {
        CFileSystemIterator entry(folder.path());
        test::refuseSystemCall(SYS_getdents64, EIO);
        fdn::CError const error = errorOf([&] { entry.next(); });
        std::cout << error.getCode() << " " << error.getProps().at("path").toUTF8();
    });

    EXPECT_EQ(outcome.output, std::to_string(EIO) + " " + folder.name());
}

TEST(CFileSystemIterator, ClosesTheFolder) {
    TemporaryFolder const folder;
    std::size_t const before = namesIn(Path("/proc/self/fd")).size();

    namesIn(folder.path());

    EXPECT_EQ(namesIn(Path("/proc/self/fd")).size(), before);
}

} // namespace
