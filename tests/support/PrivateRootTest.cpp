#include "support/PrivateRoot.h"

#include "support/Program.h"
#include "support/TemporaryFolder.h"
#include "support/fileInfo.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <string>
#include <vector>

#include <unistd.h>

namespace {

using test::Outcome;
using testing::HasSubstr;
using testing::Not;

using Words = std::vector<std::string>;

/// scripts/private-root on a machine that refuses namespaces, and gives one reason for a user namespace and
/// another for all others.
class RefusedPrivateRoot : public testing::Test {
protected:
    RefusedPrivateRoot() {
        test::writeFile(m_folder.name("unshare"), "#!/bin/sh\n"
                                                  "case \"$*\" in\n"
                                                  "    *--user*) echo 'no user namespaces' ;;\n"
                                                  "    *) echo 'no mount namespaces' ;;\n"
                                                  "esac >&2\n"
                                                  "exit 1\n");
        test::setMode(m_folder.name("unshare"), 0755);
        test::setMode(m_folder.name(), 0755);
    }

    Words privateRoot(Words const& words) const {
        Words command{DMN_PRIVATE_ROOT};
        command.insert(command.end(), words.begin(), words.end());
        return command;
    }

    Outcome run(Words const& command, char const* everyTestIsRequired = "0") const {
        return test::run(command, {{"PATH", m_folder.name() + ":" + std::getenv("PATH")},
                                   {"DMN_PRIVATE_ROOT", ""},
                                   {"DMN_TEST_REQUIRE_ALL", everyTestIsRequired}});
    }

private:
    test::TemporaryFolder m_folder;
};

TEST_F(RefusedPrivateRoot, DoesNotRunTheCommand) {
    Outcome const outcome = run(privateRoot({"echo", "run"}));

    EXPECT_EQ(125, outcome.status);
    EXPECT_EQ("", outcome.output);
    EXPECT_THAT(outcome.errors, HasSubstr("'echo' was not run. It needs namespaces"));
}

TEST_F(RefusedPrivateRoot, RunsTheCommandOnTheMachineIfToldTo) {
    Outcome const outcome =
        run(privateRoot({"--if-possible", "sh", "-c", "env | grep DMN_PRIVATE_ROOT; exit 7"}));

    EXPECT_EQ(7, outcome.status);
    EXPECT_EQ("", outcome.output + outcome.errors);
}

TEST_F(RefusedPrivateRoot, RunsNothingWhereEveryTestIsRequired) {
    Outcome const outcome = run(privateRoot({"--if-possible", "echo", "run"}), "1");

    EXPECT_EQ(125, outcome.status);
    EXPECT_EQ("", outcome.output);
}

TEST_F(RefusedPrivateRoot, IsNotFoundPossible) {
    Outcome const outcome = run(privateRoot({"--check"}));

    EXPECT_EQ(125, outcome.status);
    EXPECT_THAT(outcome.errors, HasSubstr("a private root needs namespaces"));
}

TEST(PrivateRoot, IsFoundPossible) {
    if (!test::isInPrivateRoot())
        DMN_SKIP_TEST("needs a private root");

    Outcome const outcome = test::run({DMN_PRIVATE_ROOT, "--check"}, {{"DMN_PRIVATE_ROOT", ""}});

    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ("", outcome.output + outcome.errors);
}

TEST_F(RefusedPrivateRoot, TellsRootWhyItGetsNoMountNamespace) {
    if (geteuid() != 0)
        DMN_SKIP_TEST("needs to be root");

    Outcome const outcome = run(privateRoot({"true"}));

    EXPECT_THAT(outcome.errors, HasSubstr("no mount namespaces"));
    EXPECT_THAT(outcome.errors, Not(HasSubstr("no user namespaces")));
}

TEST_F(RefusedPrivateRoot, TellsAnOrdinaryUserWhyItGetsNoUserNamespace) {
    if (!test::hasOtherAccounts())
        DMN_SKIP_TEST("needs a private root that was made by root");

    Outcome const outcome = run(test::asUser("dmnuser", privateRoot({"true"})));

    EXPECT_THAT(outcome.errors, HasSubstr("no user namespaces"));
    EXPECT_THAT(outcome.errors, Not(HasSubstr("no mount namespaces")));
}

} // namespace
