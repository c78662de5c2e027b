#include "support/PrivateRoot.h"
#include "support/TemporaryFolder.h"
#include "support/errors.h"
#include "support/fileInfo.h"

#include <fdn/CFileRef.h>
#include <fdn/COnDemandFileInfo.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <utility>

#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;

using fdn::CFileRef;
using fdn::COnDemandFileInfo;
using test::errorOf;
using test::kExtraGroup;
using test::kUser;
using test::modeOf;
using test::TemporaryFolder;
using test::writeFile;

std::pair<unsigned, unsigned> ownerAndGroupOf(std::string const& path) {
    return {test::ownerOf(path), test::groupOf(path)};
}

TEST(CFileRef, SetsThePermissionBitsWhateverTheUmask) {
    TemporaryFolder const folder;
    writeFile(folder.name("file"), "");
    mode_t const previous = umask(077);

    CFileRef(folder / "file").setUnixMode(0755);
    umask(previous);

    EXPECT_EQ(modeOf(folder.name("file")), 0755U);
}

TEST(CFileRef, SetsTheSetIDAndStickyBits) {
    TemporaryFolder const folder;

    CFileRef(folder.path()).setUnixMode(07750);

    EXPECT_EQ(modeOf(folder.name()), 07750U);
}

TEST(CFileRef, SetsTheModeOfALinksTarget) {
    TemporaryFolder const folder;
    writeFile(folder.name("file"), "");
    fs::create_symlink("file", folder.name("link"));

    CFileRef(folder / "link").setUnixMode(0604);

    EXPECT_EQ(modeOf(folder.name("file")), 0604U);
}

TEST(CFileRef, NamesAMissingFile) {
    TemporaryFolder const folder;
    CFileRef const missing(folder / "missing");

    for (fdn::CError const& error : {errorOf([&] { missing.setUnixMode(0644); }),
                                     errorOf([&] { missing.setUnixOwnerAndGroup(0, 0, false); }),
                                     errorOf([&] { missing.setUnixOwnerAndGroup(0, 0, true); })}) {
        EXPECT_EQ(error.getCode(), ENOENT);
        EXPECT_EQ(error.getProps().at("path"), (folder / "missing").getText());
    }
}

using FileOwnerTest = test::AccountsTest;

TEST_F(FileOwnerTest, AndGroupOfAFileChange) {
    TemporaryFolder const folder;
    writeFile(folder.name("file"), "");

    CFileRef(folder / "file").setUnixOwnerAndGroup(kUser, kExtraGroup, false);

    EXPECT_EQ(ownerAndGroupOf(folder.name("file")), std::pair(kUser, kExtraGroup));
}

TEST_F(FileOwnerTest, OfALinkItselfChangesUnlessLinksAreFollowed) {
    TemporaryFolder const folder;
    writeFile(folder.name("file"), "");
    fs::create_symlink("file", folder.name("link"));

    CFileRef(folder / "link").setUnixOwnerAndGroup(kUser, kUser, false);

    EXPECT_EQ(ownerAndGroupOf(folder.name("link")), std::pair(kUser, kUser));
    EXPECT_EQ(ownerAndGroupOf(folder.name("file")), std::pair(0U, 0U));
}

TEST_F(FileOwnerTest, OfALinksTargetChangesIfLinksAreFollowed) {
    TemporaryFolder const folder;
    writeFile(folder.name("file"), "");
    fs::create_symlink("file", folder.name("link"));

    CFileRef(folder / "link").setUnixOwnerAndGroup(kUser, kUser, true);

    EXPECT_EQ(ownerAndGroupOf(folder.name("link")), std::pair(0U, 0U));
    EXPECT_EQ(ownerAndGroupOf(folder.name("file")), std::pair(kUser, kUser));
}

TEST(COnDemandFileInfo, FollowsALinkIfToldTo) {
    TemporaryFolder const folder;
    writeFile(folder.name("file"), "");
    fs::create_symlink("file", folder.name("link"));
    CFileRef(folder / "file").setUnixMode(0640);

    EXPECT_EQ(COnDemandFileInfo(folder / "link", true).getUnixMode(), 0640U);
    EXPECT_EQ(COnDemandFileInfo(folder / "link", false).getUnixMode(), 0777U);
}

TEST(COnDemandFileInfo, ReadsTheModeEachTime) {
    TemporaryFolder const folder;
    COnDemandFileInfo const info(folder.path(), false);
    CFileRef(folder.path()).setUnixMode(0700);
    unsigned const before = info.getUnixMode();

    CFileRef(folder.path()).setUnixMode(0750);

    EXPECT_EQ(before, 0700U);
    EXPECT_EQ(info.getUnixMode(), 0750U);
}

TEST(COnDemandFileInfo, NamesAMissingFile) {
    TemporaryFolder const folder;

    fdn::CError const error = errorOf([&] { COnDemandFileInfo(folder / "missing", false).getUnixMode(); });

    EXPECT_EQ(error.getCode(), ENOENT);
    EXPECT_EQ(error.getProps().at("path"), (folder / "missing").getText());
}

} // namespace
