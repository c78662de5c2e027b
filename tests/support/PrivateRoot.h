#pragma once

#include <gtest/gtest.h>

namespace test {

/// Skips the running test, or fails it where every test is required, with the reason.
#define DMN_SKIP_TEST(reason)                                                                                \
    do {                                                                                                     \
        if (::test::everyTestIsRequired())                                                                   \
            FAIL() << (reason);                                                                              \
        GTEST_SKIP() << (reason);                                                                            \
    } while (false)

bool everyTestIsRequired();

/// Whether /etc, /run and /var/log are the test's own.
bool isInPrivateRoot();

/// Whether processes can be started under other accounts (the private root was made by root).
bool hasOtherAccounts();

/// The number of the account "dmnuser" and of its group, and that of the group "dmnextra".
constexpr unsigned kUser = 61001;
constexpr unsigned kExtraGroup = 61003;

/// Makes this process, which must be root's, one of "dmnuser" with its groups, for good. For children of a
/// test.
void becomeUser();

/// The base of tests that touch /etc, /run or /var/log. Needs a private root with root's rights over it; the
/// accounts "dmnuser" (user and group 61001, member of the group "dmnextra", 61003) and "dmnother" (61002)
/// are there.
class PrivateRootTest : public testing::Test {
protected:
    void SetUp() override;
};

/// The base of tests that start processes under other accounts.
class AccountsTest : public PrivateRootTest {
protected:
    void SetUp() override;
};

} // namespace test
