#include "support/PrivateRoot.h"
#include "support/Program.h"
#include "support/SignalTreatment.h"
#include "support/SilentFileSystem.h"
#include "support/TemporaryFolder.h"
#include "support/await.h"
#include "support/errors.h"
#include "support/processInfo.h"

#include <fdn/CError.h>
#include <fdn/launch/AwaitedProgram.h>
#include <fdn/launch/Launch.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

// These tests reach what no application can change: how long a start may take.

namespace {

using fdn::CError;
using fdn::CExecCommand;
using fdn::CImpersonateInfo;
using fdn::ForkExecLevel;
using fdn::Path;
using test::SilentFileSystem;
using test::TemporaryFolder;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr std::chrono::milliseconds kShort(300);

CExecCommand program() {
    return CExecCommand(Path("/bin/true"), {});
}

class Launch : public test::AccountsTest {
protected:
    void SetUp() override {
        AccountsTest::SetUp();
        if (!IsSkipped() && !HasFatalFailure() && !test::canMountFuse())
            DMN_SKIP_TEST("needs /dev/fuse");
    }

    // Adopts orphans, so that no process that is left behind goes unnoticed.
    Launch() { prctl(PR_SET_CHILD_SUBREAPER, 1); }

    ~Launch() override { prctl(PR_SET_CHILD_SUBREAPER, 0); }

    static pid_t launchAsUser(ForkExecLevel level, Path const& folder) {
        auto const user = fdn::newObj<CImpersonateInfo>(fdn::CSystemUserID(test::kUser, "dmnuser"));
        fdn::StandardStreams streams = {fdn::useNothing(), fdn::useNothing(), fdn::useNothing()};
        return fdn::launch({program(), user.get(), level, folder, nullptr, kShort}, streams);
    }

    // Whether the account was quick enough to stop a process before it became the program.
    static bool isStoppedOnTheWay() {
        try {
            kill(launchAsUser(ForkExecLevel::Detached, Path("/")), SIGKILL);
            return false;
        } catch (CError const& error) {
            EXPECT_THAT(error.what(), HasSubstr("did not finish"));
            return true;
        }
    }
};

// Performs the action while the folder does not answer and returns its error. Whatever hangs is released in
// the end.
CError errorInSilence(TemporaryFolder const& folder, std::function<void()> const& action) {
    SilentFileSystem const silent(folder.name(), test::kUser);
    return test::errorOf(action);
}

void stopAllOthers() {
    test::becomeUser();
    while (true)
        kill(-1, SIGSTOP);
}

// Reaps all children of the test and returns how they ended.
std::vector<int> reapAll() {
    std::vector<int> states;
    int state = 0;
    while (waitpid(-1, &state, 0) > 0)
        states.push_back(state);
    return states;
}

class LaunchOnEveryLevel : public Launch, public testing::WithParamInterface<ForkExecLevel> {};

TEST_P(LaunchOnEveryLevel, FailsInAFolderThatNeverAnswers) {
    TemporaryFolder const folder;

    CError const error = errorInSilence(folder, [&] { launchAsUser(GetParam(), folder.path()); });

    EXPECT_EQ(error.getMessage(), "The program '/bin/true' could not be started: chdir did not finish for '" +
                                      folder.path().getText() + "'.");
    EXPECT_EQ(error.getCode(), ETIMEDOUT);
    EXPECT_THAT(reapAll(), ElementsAre(SIGKILL));
}

TEST_P(LaunchOnEveryLevel, ThatHangsKeepsNothingOfTheStarterOpen) {
    TemporaryFolder const folder;
    SilentFileSystem const silent(folder.name(), test::kUser);
    fdn::Pipe pipe = fdn::makePipe("test");

    test::errorOf([&] { launchAsUser(GetParam(), folder.path()); });
    pipe.writing.reset();

    char byte = 0;
    EXPECT_EQ(read(pipe.reading.get(), &byte, 1), 0);
}

INSTANTIATE_TEST_SUITE_P(AllLevels, LaunchOnEveryLevel,
                         testing::Values(ForkExecLevel::Child, ForkExecLevel::Session,
                                         ForkExecLevel::Detached));

TEST_F(Launch, FailsWhereTheAccountStopsWhatItMay) {
    std::optional<test::Program> attacker(std::in_place, &stopAllOthers);

    EXPECT_TRUE(test::await(&isStoppedOnTheWay));

    attacker.reset();
    reapAll();
}

TEST_F(Launch, FailsInAFolderThatNeverAnswersWhereAProcessInBetweenWaits) {
    TemporaryFolder const folder;
    test::SignalTreatment const handled(SIGCHLD, [](int) {});
    fdn::StandardStreams streams = {fdn::useNothing(), fdn::useNothing(), fdn::useNothing()};

    CError const error = errorInSilence(folder, [&] {
        fdn::AwaitedProgram({program(), nullptr, ForkExecLevel::Child, folder.path(), nullptr, kShort},
                            streams);
    });

    EXPECT_THAT(error.what(), HasSubstr("chdir did not finish"));
    EXPECT_THAT(reapAll(), ElementsAre(SIGKILL));
}

} // namespace
