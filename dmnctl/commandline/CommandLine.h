#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace dmnctl {

/// The daemons that a command is for. No IDs stand for all that are installed.
struct Daemons {
    std::vector<std::string> ids;
};

enum class Format {
    ForPeople,
    Json,
    Names, ///< of `list` alone: the IDs, one a line
};

struct ListCommand {
    Format format = Format::ForPeople;
};

struct StatusCommand {
    Daemons daemons;
    Format format = Format::ForPeople;
    bool isVerbose = false;
};

struct StartCommand {
    Daemons daemons;
    int timeoutSeconds = 60;
};

struct StopCommand {
    Daemons daemons;
    int timeoutSeconds = 60;
    bool kill = false; ///< what does not end in time
};

struct RestartCommand {
    Daemons daemons;
    int timeoutSeconds = 60;
    bool kill = false;
};

struct CheckCommand {
    Daemons daemons;
    Format format = Format::ForPeople;
};

struct LogCommand {
    Daemons daemons;
    Format format = Format::ForPeople;
    std::optional<std::size_t> lines; ///< the last ones; nothing for the default
    bool follow = false;
    bool errorsOnly = false;
    std::string since; ///< as typed; empty for no limit
};

struct BootCommand {
    std::string id;
    enum class Wish { Show, On, Off } wish = Wish::Show;
};

struct UnitCommand {
    std::string id;
};

/// What is answered by a text alone: the help, the version, or an error of the command line.
struct Answer {
    std::string text;
    int status = 0; ///< if not 0, the text is an error
};

using Request = std::variant<Answer, ListCommand, StatusCommand, StartCommand, StopCommand, RestartCommand,
                             CheckCommand, LogCommand, BootCommand, UnitCommand>;

/// Understands a command line. Never throws for what people type: that is an Answer.
Request parseCommandLine(int argc, char const* const* argv);

} // namespace dmnctl
