#include "support/PrivateRoot.h"
#include "support/Program.h"
#include "support/errors.h"

#include <fdn/CSystemAccountManager.h>

#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <thread>
#include <vector>

#include <unistd.h>

namespace {

using fdn::CSystemAccountManager;
using fdn::String;
using test::errorOf;

CSystemAccountManager& accounts() {
    return CSystemAccountManager::get();
}

TEST(CSystemAccountManager, IsOnePerProcess) {
    EXPECT_EQ(&CSystemAccountManager::get(), &CSystemAccountManager::get());
}

TEST(CSystemAccountManager, KnowsRootAndItsGroup) {
    EXPECT_EQ(accounts().getUserID("root").getUID(), 0U);
    EXPECT_EQ(accounts().getUserID("root").getName(), "root");
    EXPECT_EQ(accounts().getGroupID("root").getGID(), 0U);
    EXPECT_EQ(accounts().getGroupID("root").getName(), "root");
}

TEST(CSystemAccountManager, TakesTheEmptyGroupForRoots) {
    EXPECT_EQ(accounts().getGroupID("").getGID(), 0U);
    EXPECT_EQ(accounts().getGroupID("").getName(), "root");
}

TEST(CSystemAccountManager, NamesAnUnknownUser) {
    fdn::CError const error = errorOf([] { accounts().getUserID("nobody-has-this-name"); });

    EXPECT_EQ(error.getMessage(), "Unknown user: 'nobody-has-this-name'.");
    EXPECT_EQ(error.getCode(), -1);
}

TEST(CSystemAccountManager, NamesAnUnknownGroup) {
    fdn::CError const error = errorOf([] { accounts().getGroupID("nobody-has-this-name"); });

    EXPECT_EQ(error.getMessage(), "Unknown group: 'nobody-has-this-name'.");
    EXPECT_EQ(error.getCode(), -1);
}

TEST(CSystemAccountManager, DoesNotKnowTheEmptyUser) {
    EXPECT_EQ(errorOf([] { accounts().getUserID(""); }).getMessage(), "Unknown user: ''.");
}

TEST(CSystemAccountManager, DoesNotCutANameAtTheCharacterNUL) {
    String const name = wxString(L"root\0x", 6);

    EXPECT_EQ(errorOf([&] { accounts().getUserID(name); }).getMessage(), "Unknown user: '" + name + "'.");
    EXPECT_EQ(errorOf([&] { accounts().getGroupID(name); }).getMessage(), "Unknown group: '" + name + "'.");
}

TEST(CSystemAccountManager, DoesNotKnowANameThatTheEncodingLacks) {
    wchar_t const halfAPair[] = {static_cast<wchar_t>(0xD800), L'\0'};

    EXPECT_EQ(errorOf([&] { accounts().getUserID(halfAPair); }).getMessage(),
              "Unknown user: '" + String(halfAPair) + "'.");
}

TEST(CSystemAccountManager, TakesNoNumberForAName) {
    EXPECT_THROW(accounts().getUserID("0"), fdn::CError);
    EXPECT_THROW(accounts().getGroupID("0"), fdn::CError);
}

TEST(CSystemAccountManager, TellsRootFromOthersByTheEffectiveUser) {
    EXPECT_EQ(accounts().isProcessUserAdmin(), geteuid() == 0);
}

TEST(CSystemAccountManager, AnswersManyThreadsAtOnce) {
    std::atomic<int> wrong{0};

    std::vector<std::thread> threads;
    for (int thread = 0; thread < 8; ++thread)
        threads.emplace_back([&] {
            for (int i = 0; i < 200; ++i)
                wrong += accounts().getUserID("root").getUID() == 0 ? 0 : 1;
        });
    for (std::thread& thread : threads)
        thread.join();

    EXPECT_EQ(wrong, 0);
}

using AccountDatabasesTest = test::PrivateRootTest;

TEST_F(AccountDatabasesTest, GiveUsersAndGroups) {
    EXPECT_EQ(accounts().getUserID("dmnuser").getUID(), 61001U);
    EXPECT_EQ(accounts().getGroupID("dmnextra").getGID(), 61003U);
}

TEST_F(AccountDatabasesTest, MayHoldVeryLargeGroups) {
    std::ofstream groups("/etc/group", std::ios::app);
    groups << "large:x:61010:";
    for (int member = 0; member < 20000; ++member)
        groups << "member" << member << ",";
    groups << "last\n" << std::flush;

    EXPECT_EQ(accounts().getGroupID("large").getGID(), 61010U);
}

TEST_F(AccountDatabasesTest, MayHoldNamesWithUmlauts) {
    std::ofstream("/etc/passwd", std::ios::app) << "j\xC3\xB6rg:x:61011:61011::/:/bin/sh\n" << std::flush;

    EXPECT_EQ(accounts().getUserID("j\xF6rg").getUID(), 61011U);
}

TEST_F(AccountDatabasesTest, MayBeMissing) {
    unlink("/etc/passwd");
    unlink("/etc/group");

    EXPECT_EQ(errorOf([] { accounts().getUserID("root"); }).getMessage(), "Unknown user: 'root'.");
    EXPECT_EQ(errorOf([] { accounts().getGroupID("root"); }).getMessage(), "Unknown group: 'root'.");
}

using OtherAccountTest = test::AccountsTest;

TEST_F(OtherAccountTest, IsNoAdministrator) {
    test::Outcome const outcome = test::runInChild([] {
        if (seteuid(61001) != 0)
            throw std::runtime_error("seteuid");
        std::cout << std::boolalpha << accounts().isProcessUserAdmin();
    });

    EXPECT_EQ(outcome.output, "false");
}

} // namespace
