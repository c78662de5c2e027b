#pragma once

#include <gtest/gtest.h>

namespace test {

/// Skips the running test for this reason or, where every test is required, fails it. Returns from the
/// function in which it stands.
#define DMN_SKIP_TEST(reason)                                                                                \
    do {                                                                                                     \
        if (::test::everyTestIsRequired())                                                                   \
            FAIL() << (reason);                                                                              \
        GTEST_SKIP() << (reason);                                                                            \
    } while (false)

/// Whether a test that cannot run fails instead of being skipped (DMN_TEST_REQUIRE_ALL=1).
bool everyTestIsRequired();

/// Whether /etc, /run and /var/log are the test's own, so that it may change them.
bool isInPrivateRoot();

/// Whether processes can run under other accounts, because root made the private root.
bool hasOtherAccounts();

/// The numbers of the accounts "dmnuser" and "dmnother", each that of a group as well, and of the group
/// "dmnextra".
constexpr unsigned kUser = 61001;
constexpr unsigned kOther = 61002;
constexpr unsigned kExtraGroup = 61003;

/// These turn this process, which must be root's, into one of "dmnuser" or "dmnother" with the account's
/// groups, for good; so they are for children of a test. They throw std::system_error when they cannot.
void becomeUser();
void becomeOther();

/// The base of tests that touch /etc, /run or /var/log; skips them outside a private root. There, the test
/// has root's rights, and there are the accounts "dmnuser" (user and group 61001, member of the group
/// "dmnextra", 61003) and "dmnother" (61002).
class PrivateRootTest : public testing::Test {
protected:
    void SetUp() override;
};

/// The base of tests that start processes under other accounts; skips them where hasOtherAccounts() is false.
class AccountsTest : public PrivateRootTest {
protected:
    void SetUp() override;
};

} // namespace test
