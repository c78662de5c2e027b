#include "support/PrivateRoot.h"

#include <cerrno>
#include <cstdlib>
#include <string>
#include <system_error>

#include <grp.h>
#include <unistd.h>

namespace test {

namespace {

std::string environment(char const* name) {
    char const* const value = std::getenv(name);
    return value == nullptr ? "" : value;
}

void become(char const* account, unsigned number) {
    if (initgroups(account, number) != 0 || setresgid(number, number, number) != 0 ||
        setresuid(number, number, number) != 0)
        throw std::system_error(errno, std::generic_category(), account);
}

} // namespace

bool everyTestIsRequired() {
    return environment("DMN_TEST_REQUIRE_ALL") == "1";
}

bool isInPrivateRoot() {
    return !environment("DMN_PRIVATE_ROOT").empty();
}

bool hasOtherAccounts() {
    return environment("DMN_PRIVATE_ROOT") == "accounts";
}

void becomeUser() {
    become("dmnuser", kUser);
}

void becomeOther() {
    become("dmnother", kOther);
}

void PrivateRootTest::SetUp() {
    if (!isInPrivateRoot())
        DMN_SKIP_TEST("needs a private root");
}

void AccountsTest::SetUp() {
    if (!hasOtherAccounts())
        DMN_SKIP_TEST("needs a private root that was made by root");
}

} // namespace test
