#include "support/PrivateRoot.h"
#include "support/errors.h"
#include "support/fileInfo.h"

#include <fdn/CSystemPaths.h>

#include <gtest/gtest.h>

#include <filesystem>

#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;

using fdn::CSystemPaths;

TEST(CSystemPaths, RefusesANameThatCannotBeAFolders) {
    for (char const* const name : {"", ".", "..", "/", "a/b", "/a"})
        EXPECT_EQ(test::errorOf([&] { CSystemPaths paths(name); }).getMessage(),
                  "Invalid application name: '" + fdn::String(name) + "'.");
}

TEST(CSystemPaths, TakesANameWithDotsInIt) {
    EXPECT_NO_THROW(CSystemPaths("..."));
    EXPECT_NO_THROW(CSystemPaths("a.b"));
}

using CSystemPathsTest = test::PrivateRootTest;

TEST_F(CSystemPathsTest, TransientFolderIsBelowRunAndNotMadeUnlessToldTo) {
    fdn::Path const folder = CSystemPaths("app").getSharedAppTransientFolder(false);

    EXPECT_EQ(folder.getText(), "/run/app");
    EXPECT_FALSE(fs::exists("/run/app"));
}

TEST_F(CSystemPathsTest, TransientFolderIsMadeReadableForAllIfToldTo) {
    mode_t const previous = umask(0);

    fdn::Path const folder = CSystemPaths("app").getSharedAppTransientFolder(true);
    umask(previous);

    EXPECT_EQ(folder.getText(), "/run/app");
    EXPECT_EQ(test::modeOf("/run/app"), 0755U);
}

TEST_F(CSystemPathsTest, TransientFolderThatExistsStaysAsItIs) {
    fs::create_directory("/run/app");
    fs::permissions("/run/app", fs::perms::owner_all);

    CSystemPaths("app").getSharedAppTransientFolder(true);

    EXPECT_EQ(test::modeOf("/run/app"), 0700U);
}

} // namespace
