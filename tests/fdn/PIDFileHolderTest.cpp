#include <fdn/pidfile/PIDFileHolder.h>
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

fdn::PIDFileHolder findHolder(fdn::PIDFileLook const& look) {
    return fdn::findHolder(look, fdn::Path("/run/some.pid"));
}

} // namespace

TEST(PIDFileHolder, IsNobodyWhenAnAccountsProcessEndsAfterTheLook) {
    fdn::PIDFileLook look = lookBeforeTheEndOf(makeEndedProcess());
    look.owner = 61001;

    EXPECT_EQ(Standing::Free, findHolder(look).standing);
}

TEST(PIDFileHolder, IsTheProcessInTheFileWhenAnotherOneThatHadItLockedEndsAfterTheLook) {
    fdn::PIDFileLook look = lookBeforeTheEndOf(makeEndedProcess());
    look.record = {getpid(), fdn::getProcessIdentity(getpid())};

    fdn::PIDFileHolder const holder = findHolder(look);

    EXPECT_EQ(Standing::Held, holder.standing);
    EXPECT_EQ(getpid(), holder.process);
}

TEST(PIDFileHolder, IsUnclearWhileAnotherProcessThatHasTheFileLockedLives) {
    fdn::PIDFileLook look = lookBeforeTheEndOf(getppid());
    look.record = {getpid(), "of another boot"};

    EXPECT_EQ(Standing::Unclear, findHolder(look).standing);
}
