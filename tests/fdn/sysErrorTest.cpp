#include "support/errors.h"

#include <fdn/Path.h>
#include <fdn/sysError.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <thread>

namespace {

using fdn::CProps;
using fdn::Path;
using test::errorOf;

TEST(throwSysError, MakesAnErrorWithTheCodeAndTheProperties) {
    CProps const props{{"func", "chmod"}, {"action", "installing"}, {"path", "/etc/init.d/app"}};

    fdn::CError const error = errorOf([&] { fdn::throwSysError(EPERM, props); });

    EXPECT_EQ(error.getCode(), EPERM);
    EXPECT_EQ(error.getProps(), props);
    EXPECT_EQ(error.getSecondText(), "");
    EXPECT_FALSE(error.getCause());
}

TEST(throwSysError, SaysWhichCallFailedForWhatAndWhy) {
    CProps const props{{"func", "chmod"}, {"action", "installing"}, {"path", "/etc/init.d/app"}};

    EXPECT_EQ(errorOf([&] { fdn::throwSysError(EPERM, props); }).getMessage(),
              "chmod failed for '/etc/init.d/app': Operation not permitted.");
}

TEST(throwSysError, NamesProgramsAndAccountsToo) {
    EXPECT_EQ(errorOf([] {
                  fdn::throwSysError(ENOENT, {{"func", "execve"}, {"program", "/bin/x"}});
              }).getMessage(),
              "execve failed for '/bin/x': No such file or directory.");
    EXPECT_EQ(errorOf([] {
                  fdn::throwSysError(EIO, {{"func", "getpwnam_r"}, {"account", "joe"}});
              }).getMessage(),
              "getpwnam_r failed for 'joe': Input/output error.");
}

TEST(throwSysError, MakesDoWithoutProperties) {
    EXPECT_EQ(errorOf([] { fdn::throwSysError(EIO, CProps()); }).getMessage(),
              "A system call failed: Input/output error.");
}

TEST(throwSysError, TakesACodeThatTheSystemDoesNotKnow) {
    EXPECT_EQ(errorOf([] { fdn::throwSysError(99999, CProps()); }).getCode(), 99999);
}

TEST(throwLastSysError, TakesTheCodeFromTheFailedCall) {
    errno = ENOTDIR;

    fdn::CError const error = errorOf([] { fdn::throwLastSysError("open", "reading"); });

    EXPECT_EQ(error.getCode(), ENOTDIR);
    EXPECT_EQ(error.getProps(), (CProps{{"func", "open"}, {"action", "reading"}}));
}

TEST(throwLastSysError, NamesThePath) {
    errno = EACCES;

    fdn::CError const error = errorOf([] { fdn::throwLastSysError("open", "reading", Path("/x")); });

    EXPECT_EQ(error.getMessage(), "open failed for '/x': Permission denied.");
    EXPECT_EQ(error.getProps(), (CProps{{"func", "open"}, {"action", "reading"}, {"path", "/x"}}));
}

TEST(getLastSysError, IsTheCallingThreadsOwn) {
    errno = EPERM;

    std::thread([] { errno = EIO; }).join();

    EXPECT_EQ(fdn::getLastSysError(), EPERM);
}

} // namespace
