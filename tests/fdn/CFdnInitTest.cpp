#include "support/Program.h"
#include "support/TemporaryFolder.h"
#include "support/processInfo.h"

#include <fdn/CFdnInit.h>

#include <gtest/gtest.h>

#include <set>
#include <stdexcept>
#include <string>

#include <unistd.h>

namespace {

using fdn::openMissingStandardStreams;
using test::openFileOf;

void require(bool condition, char const* text) {
    if (!condition)
        throw std::runtime_error(text);
}

std::string streamFile(int stream) {
    return openFileOf(getpid(), stream);
}

TEST(OpenMissingStandardStreams, PutsTheNullDeviceInPlaceOfTheClosedOnes) {
    test::Outcome const outcome = test::runInChild([] {
        std::set<int> const descriptors = test::descriptorsOf(getpid());
        for (int stream : {0, 1, 2})
            close(stream);

        openMissingStandardStreams();

        for (int stream : {0, 1, 2})
            require(streamFile(stream) == "/dev/null", "another file");
        require(test::descriptorsOf(getpid()) == descriptors, "another descriptor");
    });

    EXPECT_EQ(outcome.status, 0);
}

TEST(OpenMissingStandardStreams, LeavesTheOthersAlone) {
    test::Outcome const outcome = test::runInChild([] {
        std::string const input = streamFile(0);
        std::string const errors = streamFile(2);
        close(1);

        openMissingStandardStreams();

        require(streamFile(0) == input && streamFile(2) == errors, "another file in an open stream's place");
        require(streamFile(1) == "/dev/null", "another file");
    });

    EXPECT_EQ(outcome.status, 0) << outcome.errors;
}

TEST(OpenMissingStandardStreams, OpensThemForStartedProgramsAsWell) {
    test::Outcome const outcome = test::runInChild([] {
        close(0);

        openMissingStandardStreams();

        execl("/bin/sh", "sh", "-c", "readlink /proc/$$/fd/0", nullptr);
    });

    EXPECT_EQ(outcome.output, "/dev/null\n");
}

} // namespace
