#include "support/Program.h"
#include "support/SignalTreatment.h"
#include "support/TemporaryFolder.h"
#include "support/errors.h"
#include "support/processInfo.h"

#include <fdn/CPendingOutput.h>

#include <gtest/gtest.h>

#include <csignal>
#include <set>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

using fdn::CPendingOutput;
using fdn::String;

namespace {

CPendingOutput shell(std::string const& script) {
    fdn::CExecCommand const command(fdn::Path("/bin/sh"), {"-c", String::fromBytes(script)});
    return CPendingOutput(command, false, nullptr, fdn::Path());
}

// Each of two programs waits for the other on a FIFO.
class CPendingOutputTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(mkfifo(m_fifo.c_str(), 0600), 0); }

    void TearDown() override {
        EXPECT_EQ(test::descriptorsOf(getpid()), m_descriptors);
        EXPECT_FALSE(test::hasChild());
    }

    void expectMeeting() {
        CPendingOutput first = shell("read word <" + m_fifo + "; echo $word");
        CPendingOutput second = shell("echo met >" + m_fifo + "; echo done");

        EXPECT_EQ(first.take(), "met\n");
        EXPECT_EQ(second.take(), "done\n");
    }

    test::TemporaryFolder const m_folder;
    std::string const m_fifo = m_folder.name("fifo");
    std::set<int> const m_descriptors = test::descriptorsOf(getpid());
};

} // namespace

TEST_F(CPendingOutputTest, LetsProgramsRunSideBySide) {
    expectMeeting();
}

TEST_F(CPendingOutputTest, LetsProgramsRunSideBySideWhereTheCallerIgnoresItsChildren) {
    test::SignalTreatment const ignored(SIGCHLD, SIG_IGN);

    expectMeeting();
}

TEST_F(CPendingOutputTest, TakesMoreThanAPipeHoldsInAnyOrder) {
    char const* const script = "head -c 1000000 /dev/zero | tr '\\0' x";
    CPendingOutput first = shell(script);
    CPendingOutput second = shell(script);

    EXPECT_EQ(second.take().length(), 1000000U);
    EXPECT_EQ(first.take().length(), 1000000U);
}

TEST_F(CPendingOutputTest, SaysWhenTakenThatTheProgramHasFailed) {
    CPendingOutput failing = shell("exit 2");

    EXPECT_EQ(test::messageOf([&] { failing.take(); }),
              "The program '/bin/sh' has failed without an answer to '-c exit 2': status 2.");
}

TEST_F(CPendingOutputTest, SaysAtOnceThatAProgramCannotBeStarted) {
    fdn::CExecCommand const missing(fdn::Path("/no/such/program"), {});

    EXPECT_EQ(test::messageOf([&] { CPendingOutput(missing, false, nullptr, fdn::Path()); }),
              "execve failed for '/no/such/program': No such file or directory.");
}

TEST_F(CPendingOutputTest, EndsAProgramWhoseOutputNobodyTakes) {
    shell("yes");
}

TEST_F(CPendingOutputTest, WaitsForAProgramWhoseOutputNobodyTakes) {
    std::string const mark = m_folder.name("mark");
    shell("sleep 0.1; mkdir " + mark);

    EXPECT_EQ(access(mark.c_str(), F_OK), 0);
}

TEST_F(CPendingOutputTest, MovesToAnotherOwner) {
    CPendingOutput first = shell("echo a");
    CPendingOutput second(std::move(first));
    CPendingOutput third = shell("echo b");
    third = std::move(second);

    EXPECT_EQ(third.take(), "a\n");
}
