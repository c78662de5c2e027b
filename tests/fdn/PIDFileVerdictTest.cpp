#include <fdn/pidfile/PIDFileVerdict.h>
#include <fdn/pidfile/ProcessIdentity.h>

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

namespace {

using fdn::Standing;

pid_t makeEndedProcess() {
    pid_t const process = fork();
    if (process == 0)
        _exit(0);
    waitpid(process, nullptr, 0);
    return process;
}

/// A file of an account's, while its process holds it.
fdn::PIDFileLook lookAtFileOf(pid_t process) {
    fdn::PIDFileLook look;
    look.isThere = true;
    look.isLocked = true;
    look.locker = process;
    look.record = {process, fdn::getProcessIdentity(getpid())};
    look.owner = 61001;
    return look;
}

fdn::PIDFileVerdict judge(fdn::PIDFileLook const& look, fdn::PIDFileLook const& next) {
    return fdn::judgePIDFile(
        look, [&] { return next; }, fdn::Path("/run/some.pid"));
}

} // namespace

TEST(PIDFileVerdict, IsThatOfTheNextLookWhenTheProcessHasEndedSince) {
    fdn::PIDFileLook const gone;

    EXPECT_EQ(Standing::Free, judge(lookAtFileOf(makeEndedProcess()), gone).standing);
}

TEST(PIDFileVerdict, IsThatOfTheNextLookWhenTheFileWasDeletedMeanwhile) {
    fdn::PIDFileLook deleted = lookAtFileOf(getpid());
    deleted.isDeleted = true;
    deleted.mayBeAnothersFile = true;
    fdn::PIDFileLook const gone;

    EXPECT_EQ(Standing::Free, judge(deleted, gone).standing);
    EXPECT_EQ(Standing::Unclear, judge(deleted, deleted).standing);
}

TEST(PIDFileVerdict, StaysUnclearWhileTheLockOfAProcessThatIsNotHereIsKept) {
    fdn::PIDFileLook const look = lookAtFileOf(makeEndedProcess());

    EXPECT_EQ(Standing::Unclear, judge(look, look).standing);
}

TEST(PIDFileVerdict, IsThatOfTheFirstLookWhileTheProcessLives) {
    fdn::PIDFileLook const gone;

    EXPECT_EQ(Standing::Unclear, judge(lookAtFileOf(getpid()), gone).standing);
}
