// The program as such: its help, its version, and what it says of a bad command line.

#include "support/Program.h"

#include <dmn/version.h>

#include <gtest/gtest.h>

namespace {

using test::Outcome;

TEST(Program, ShowsItsVersion) {
    Outcome const outcome = test::run({DMN_DMNCTL, "--version"});
    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ("dmnctl " DMN_VERSION_STRING "\n", outcome.output);
}

} // namespace
