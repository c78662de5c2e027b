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

/// What was seen of a file while this process held it that has ended since.
fdn::PIDFileLook lookBeforeTheEndOf(pid_t process) {
    fdn::PIDFileLook look;
    look.isThere = true;
    look.isLocked = true;
    look.locker = process;
    look.record = {process, fdn::getProcessIdentity(getpid())};
    return look;
}

fdn::PIDFileVerdict judge(fdn::PIDFileLook const& look) {
    return fdn::judgePIDFile(look, fdn::Path("/run/some.pid"));
}

} // namespace

TEST(PIDFileVerdict, IsFreeWhenAnAccountsProcessEndsAfterTheLook) {
    fdn::PIDFileLook look = lookBeforeTheEndOf(makeEndedProcess());
    look.owner = 61001;

    EXPECT_EQ(Standing::Free, judge(look).standing);
}

TEST(PIDFileVerdict, NamesTheProcessInTheFileWhenAnotherOneThatHadItLockedEndsAfterTheLook) {
    fdn::PIDFileLook look = lookBeforeTheEndOf(makeEndedProcess());
    look.record = {getpid(), fdn::getProcessIdentity(getpid())};

    fdn::PIDFileVerdict const verdict = judge(look);

    EXPECT_EQ(Standing::Held, verdict.standing);
    EXPECT_EQ(getpid(), verdict.process);
}

TEST(PIDFileVerdict, IsUnclearWhileAnotherProcessThatHasTheFileLockedLives) {
    fdn::PIDFileLook look = lookBeforeTheEndOf(getppid());
    look.record = {getpid(), "of another boot"};

    EXPECT_EQ(Standing::Unclear, judge(look).standing);
}
