#include <dmn/dmn.h>

#include "support/CapturedLog.h"
#include "support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <memory>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

void requireSpool(fdn::Path const& folder) {
    if (!fdn::folderExists(folder))
        throw fdn::CError("The spool folder '" + folder.getText() + "' is missing.");
}

off_t getSize(fdn::Path const& path) {
    struct stat info = {};
    if (stat(fdn::toFileName(path), &info) == -1)
        fdn::throwLastSysError("stat", "getSize", path);
    return info.st_size;
}

bool isThereAnythingAt(fdn::Path const& path) {
    try {
        getSize(path);
        return true;
    } catch (fdn::CError const& e) {
        if (e.getCode() != ENOENT)
            throw;
        return false;
    }
}

void requireConfiguration(fdn::Path const& path) {
    try {
        getSize(path);
    } catch (fdn::CError const& e) {
        throw fdn::CError("There is no configuration.", fdn::String(), -1, fdn::CProps(), e.clone().get());
    }
}

void handleItem(fdn::Path const& item) {
    try {
        getSize(item);
    } catch (std::exception const& e) {
        fdn::logError(e, "handling an item of the spool", "handleItem");
    }
}

TEST(GuideErrors, MessageNamesTheFolder) {
    test::TemporaryFolder const folder;

    try {
        requireSpool(folder / "spool");
        FAIL();
    } catch (fdn::CError const& e) {
        EXPECT_THAT(e.what(), HasSubstr(folder.name("spool")));
        EXPECT_EQ(-1, e.getCode());
    }
}

TEST(GuideErrors, SystemErrorCarriesItsNumberAndProperties) {
    test::TemporaryFolder const folder;

    try {
        getSize(folder / "item");
        FAIL();
    } catch (fdn::CError const& e) {
        EXPECT_EQ(ENOENT, e.getCode());
        EXPECT_EQ("stat", e.getProps().at("func"));
        EXPECT_EQ("stat failed for '" + folder.name("item") + "': No such file or directory.", e.what());
    }
}

TEST(GuideErrors, HandlerPicksItsErrorByTheCode) {
    test::TemporaryFolder const folder;

    EXPECT_FALSE(isThereAnythingAt(folder / "item"));
    EXPECT_TRUE(isThereAnythingAt(folder.path()));
}

TEST(GuideErrors, CauseIsKept) {
    test::TemporaryFolder const folder;

    try {
        requireConfiguration(folder / "config");
        FAIL();
    } catch (fdn::CError const& e) {
        EXPECT_STREQ("There is no configuration.", e.what());
        EXPECT_EQ(ENOENT, e.getCause()->getCode());
    }
}

TEST(GuideErrors, LoggedErrorTellsWhatAndWhere) {
    test::CapturedLog const log;
    test::TemporaryFolder const folder;

    handleItem(folder / "item");

    EXPECT_THAT(log.entries(), ElementsAre(AllOf(HasSubstr("<text>handling an item of the spool</text>"),
                                                 HasSubstr("<where>handleItem</where>"),
                                                 HasSubstr("<property name=\"func\">stat</property>"))));
}

} // namespace
