#include "support/CurrentFolder.h"
#include "support/TemporaryFolder.h"
#include "support/errors.h"

#include <fdn/CError.h>
#include <fdn/currentFolder.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>

namespace {

namespace fs = std::filesystem;

using fdn::String;
using test::CurrentFolder;
using test::errorOf;
using test::TemporaryFolder;

TEST(getCurrentWorkDirectoryAsString, FailsWhereNoTextNamesTheFolder) {
    TemporaryFolder const folder;
    fs::create_directory(folder.name("\xE9"));
    CurrentFolder const current(folder.name("\xE9"));

    fdn::CError const error = errorOf([] { fdn::getCurrentWorkDirectoryAsString(); });

    EXPECT_EQ(error.getCode(), EILSEQ);
    EXPECT_THAT(error.getProps().at("path").toUTF8(), testing::EndsWith("/\xC3\xA9"));
}

TEST(getCurrentWorkDirectoryAsString, IsTheCurrentFolder) {
    TemporaryFolder const folder;
    CurrentFolder const current(folder.name());

    EXPECT_EQ(fdn::getCurrentWorkDirectoryAsString(), String::fromBytes(fs::current_path().string()));
}

TEST(getCurrentWorkDirectoryAsString, FailsInADeletedFolder) {
    TemporaryFolder const folder;
    CurrentFolder const current(folder.name());
    fs::remove(folder.name());

    EXPECT_EQ(errorOf([] { fdn::getCurrentWorkDirectoryAsString(); }).getCode(), ENOENT);
}

} // namespace
