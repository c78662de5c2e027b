#include "support/cases.h"
#include "support/errors.h"

#include <fdn/CError.h>
#include <fdn/Path.h>

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <thread>
#include <typeinfo>
#include <vector>

using fdn::CError;
using fdn::P;

namespace {

void expectNothingBesideTheMessage(CError const& error) {
    EXPECT_EQ(error.getSecondText(), "");
    EXPECT_EQ(error.getCode(), -1);
    EXPECT_TRUE(error.getProps().empty());
    EXPECT_FALSE(error.getCause());
}

/// An error that sets a flag when it goes.
class WatchedError : public CError {
public:
    explicit WatchedError(bool& isGone) : CError("watched"), m_isGone(isGone) {}

    ~WatchedError() override { m_isGone = true; }

private:
    bool& m_isGone;
};

} // namespace

TEST(CError, OfAMessageCarriesNothingElse) {
    CError const error("It failed.");

    EXPECT_EQ(error.getMessage(), "It failed.");
    expectNothingBesideTheMessage(error);
}

TEST(CError, CarriesWhatItIsMadeFrom) {
    P<CError> const cause = fdn::newObj<CError>("the disk");

    CError const error("message", "second", 0x123456789ABCDEF, {{"func", "open"}, {"path", "/a"}},
                       cause.get());

    EXPECT_EQ(error.getMessage(), "message");
    EXPECT_EQ(error.getSecondText(), "second");
    EXPECT_EQ(error.getCode(), 0x123456789ABCDEF);
    EXPECT_EQ(error.getProps().size(), 2U);
    EXPECT_EQ(error.getProps().at("func"), "open");
    EXPECT_EQ(error.getProps().at("path"), "/a");
    EXPECT_EQ(error.getCause(), cause);
}

TEST(CError, HasNoCauseWhenMadeWithNull) {
    CError const error("message", "", -1, fdn::CProps(), nullptr);

    EXPECT_FALSE(error.getCause());
}

TEST(CError, KeepsItsCauseAliveAndGivesItUpWithItself) {
    bool isGone = false;

    {
        P<CError> cause = fdn::newObj<WatchedError>(isGone);
        CError const error("message", "", -1, fdn::CProps(), cause.get());
        cause.reset();
        EXPECT_FALSE(isGone);
        EXPECT_EQ(error.getCause()->getMessage(), "watched");
    }

    EXPECT_TRUE(isGone);
}

TEST(CError, CopyCarriesTheSameAndSharesTheCause) {
    P<CError> const cause = fdn::newObj<CError>("the disk");
    CError const original("message", "second", 7, {{"func", "open"}}, cause.get());
    original.what();

    CError const copy(original);

    EXPECT_STREQ(copy.what(), "message");
    EXPECT_EQ(copy.getMessage(), "message");
    EXPECT_EQ(copy.getSecondText(), "second");
    EXPECT_EQ(copy.getCode(), 7);
    EXPECT_EQ(copy.getProps(), original.getProps());
    EXPECT_EQ(copy.getCause(), cause);
}

TEST(CError, WhatIsTheMessageAsNarrowText) {
    EXPECT_STREQ(CError("It failed.").what(), "It failed.");
    EXPECT_STREQ(CError("").what(), "");
    EXPECT_STREQ(CError("Stra\xDF"
                        "e")
                     .what(),
                 "Stra\xC3\x9F"
                 "e");
}

TEST(CError, WhatStaysWhereItIs) {
    CError const error("It failed.");

    char const* const first = error.what();

    EXPECT_EQ(error.what(), first);
}

TEST(CError, WhatOfAMessageThatNoEncodingHasSaysSo) {
    CError const error(L"half a pair: \xD800");

    EXPECT_STREQ(error.what(), "An error whose message cannot be represented.");
}

TEST(CError, WhatMayBeAskedByManyThreads) {
    for (char const* const message : {"It failed.", ""}) {
        CError const error(message);
        std::vector<std::thread> threads;

        for (int i = 0; i < 8; ++i)
            threads.emplace_back([&] { EXPECT_STREQ(error.what(), message); });
        for (std::thread& thread : threads)
            thread.join();
    }
}

TEST(CError, CloneOutlivesTheOriginal) {
    P<CError> clone;
    {
        CError const original("message", "second", 7, {{"func", "open"}},
                              fdn::newObj<CError>("the disk").get());
        clone = original.clone();
    }

    EXPECT_EQ(clone->getMessage(), "message");
    EXPECT_EQ(clone->getSecondText(), "second");
    EXPECT_EQ(clone->getCode(), 7);
    EXPECT_EQ(clone->getProps().at("func"), "open");
    EXPECT_EQ(clone->getCause()->getMessage(), "the disk");
}

TEST(CError, CloneHasOneReferenceOfItsOwn) {
    CError const original("message");
    original.addRef();

    CError* const clone = original.clone().detach();

    EXPECT_FALSE(clone->release());
}

namespace {

/// A class of errors: an instance, its message, and a check that a handler for this very class catches what
/// an action throws.
struct ErrorClass {
    char const* name;
    P<CError> error;
    char const* message;
    std::function<bool(std::function<void()> const&)> isCaughtIn;
};

std::ostream& operator<<(std::ostream& stream, ErrorClass const& errorClass) {
    return stream << errorClass.name;
}

template <class Error>
bool isCaughtAs(std::function<void()> const& action) {
    try {
        action();
    } catch (Error const& error) {
        return typeid(error) == typeid(Error);
    } catch (...) {
        // The error is of another class.
    }
    return false;
}

template <class Error, class... Arguments>
ErrorClass makeErrorClass(char const* name, char const* message, Arguments const&... arguments) {
    return {name, fdn::newObj<Error>(arguments...), message, &isCaughtAs<Error>};
}

class ErrorClasses : public testing::TestWithParam<ErrorClass> {};

} // namespace

TEST_P(ErrorClasses, HasItsMessageAndNothingElse) {
    EXPECT_EQ(GetParam().error->getMessage(), GetParam().message);
    EXPECT_STREQ(GetParam().error->what(), GetParam().message);
    expectNothingBesideTheMessage(*GetParam().error);
}

TEST_P(ErrorClasses, CloneKeepsTheClass) {
    P<CError> const clone = GetParam().error->clone();

    CError const& original = *GetParam().error;
    CError const& copy = *clone;
    EXPECT_EQ(typeid(copy), typeid(original));
    EXPECT_NE(clone, GetParam().error);
    EXPECT_EQ(clone->getMessage(), GetParam().message);
}

TEST_P(ErrorClasses, ThrowCloneIsCaughtByAHandlerForTheClass) {
    EXPECT_TRUE(GetParam().isCaughtIn([] { GetParam().error->throwClone(); }));
}

TEST_P(ErrorClasses, ThrowCloneThrowsACopyWithTheMessage) {
    CError const caught = test::errorOf([] { GetParam().error->throwClone(); });

    EXPECT_EQ(caught.getMessage(), GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(
    CError, ErrorClasses,
    testing::Values(
        makeErrorClass<CError>("CError", "It failed.", "It failed."),
        makeErrorClass<fdn::CBadPathError>("CBadPathError", "Invalid path: /../a", fdn::Path("/../a")),
        makeErrorClass<fdn::CUnencodableStringError>(
            "CUnencodableStringError",
            "The string or parts of the string cannot be represented in the specified encoding."),
        makeErrorClass<fdn::CNotImplementedError>(
            "CNotImplementedError", "The function 'CDaemonController::disable' is not implemented.",
            "CDaemonController::disable")),
    test::nameOfCase);

TEST(CProps, AreOrderedByNameWithOneValueEach) {
    fdn::CProps props{{"path", "/a"}, {"func", "open"}};

    props["func"] = "close";
    props["action"];

    fdn::TMap<fdn::String, fdn::String> const expected{{"action", ""}, {"func", "close"}, {"path", "/a"}};
    EXPECT_EQ(props, expected);
    EXPECT_EQ(props.begin()->first, "action");
}

TEST(CProps, CopyHasACountOfItsOwn) {
    fdn::CProps const original{{"func", "open"}};
    original.addRef();

    auto* const copy = new fdn::CProps(original);

    EXPECT_EQ(*copy, original);
    EXPECT_FALSE(copy->release());
}

TEST(getMessageOf, IsTheMessageOfACErrorEvenWhereNoEncodingHasIt) {
    EXPECT_EQ(fdn::getMessageOf(CError(L"a\xD800")), fdn::String(L"a\xD800"));
}

TEST(getMessageOf, ReadsOtherExceptionsAsUTF8OrElseISO8859_1) {
    EXPECT_EQ(fdn::getMessageOf(std::runtime_error("\xC3\x9F")), "\xDF");
    EXPECT_EQ(fdn::getMessageOf(std::runtime_error("\xDF")), "\xDF");
}
