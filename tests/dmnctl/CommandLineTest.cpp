#include <dmnctl/commandline/CommandLine.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace dmnctl;

Request parse(std::vector<char const*> words) {
    words.insert(words.begin(), "dmnctl");
    return parseCommandLine(static_cast<int>(words.size()), words.data());
}

template <class Command>
Command parseAs(std::vector<char const*> const& words) {
    return std::get<Command>(parse(words));
}

using Ids = std::vector<std::string>;

TEST(CommandLine, ListsWithoutArguments) {
    EXPECT_EQ(Format::ForPeople, parseAs<ListCommand>({}).format);
    EXPECT_EQ(Format::ForPeople, parseAs<ListCommand>({"list"}).format);
    EXPECT_EQ(Format::Json, parseAs<ListCommand>({"list", "--json"}).format);
    EXPECT_EQ(Format::Names, parseAs<ListCommand>({"list", "--names"}).format);
}

TEST(CommandLine, TakesIdsAndOptionsInAnyOrder) {
    auto const command = parseAs<StartCommand>({"start", "a", "--timeout=5", "b"});
    EXPECT_EQ((Ids{"a", "b"}), command.daemons.ids);
    EXPECT_EQ(5, command.timeoutSeconds);
    EXPECT_EQ(60, parseAs<StartCommand>({"start", "a"}).timeoutSeconds);
}

// A daemon may be called as a command is.
TEST(CommandLine, TakesTheNameOfACommandAsAnId) {
    EXPECT_EQ((Ids{"log", "start"}), parseAs<StopCommand>({"stop", "log", "start"}).daemons.ids);
}

TEST(CommandLine, KnowsTheOptionsOfEachCommand) {
    EXPECT_TRUE(parseAs<StatusCommand>({"status", "--verbose"}).isVerbose);
    EXPECT_TRUE(parseAs<StopCommand>({"stop", "--kill", "a"}).kill);
    EXPECT_TRUE(parseAs<RestartCommand>({"restart", "--kill", "--all"}).kill);
    EXPECT_EQ(Format::Json, parseAs<CheckCommand>({"check", "--json"}).format);
    auto const log = parseAs<LogCommand>({"log", "-f", "-n", "5", "--errors", "--since=08:00", "a"});
    EXPECT_TRUE(log.follow);
    EXPECT_EQ(5U, log.lines);
    EXPECT_TRUE(log.errorsOnly);
    EXPECT_EQ("08:00", log.since);
    EXPECT_EQ((Ids{"a"}), log.daemons.ids);
    EXPECT_FALSE(parseAs<LogCommand>({"log"}).lines);
    EXPECT_EQ("a", parseAs<UnitCommand>({"unit", "a"}).id);
}

TEST(CommandLine, KnowsWhatBootIsToDo) {
    EXPECT_EQ(BootCommand::Wish::Show, parseAs<BootCommand>({"boot", "a"}).wish);
    EXPECT_EQ(BootCommand::Wish::On, parseAs<BootCommand>({"boot", "a", "on"}).wish);
    EXPECT_EQ(BootCommand::Wish::Off, parseAs<BootCommand>({"boot", "a", "off"}).wish);
    EXPECT_EQ("a", parseAs<BootCommand>({"boot", "a", "off"}).id);
}

} // namespace
