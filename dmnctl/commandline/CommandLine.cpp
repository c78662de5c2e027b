#include <dmnctl/commandline/CommandLine.h>

#include <dmn/version.h>

#include <CLI/CLI.hpp>
#include <fmt/core.h>

#include <limits>
#include <sstream>

namespace dmnctl {

namespace {

constexpr char kSomeOrAll[] = "the IDs of the daemons";
constexpr char kSomeOrEach[] = "the IDs of the daemons (default: all that are installed)";

// The libraries count in milliseconds.
constexpr int kLongestTimeoutSeconds = std::numeric_limits<int>::max() / 1000;

constexpr int kMostLines = 1000000000;

std::string checkBootState(std::string const& text) {
    return text == "on" || text == "off" ? std::string() : "'" + text + "' is neither on nor off";
}

/// The commands and their options, and what has become of them.
class Parser {
public:
    Parser();

    Request parse(int argc, char const* const* argv);

private:
    template <class Command>
    CLI::App& addCommand(char const* name, Command& target, char const* description, char const* examples);

    void addList();
    void addStatus();
    void addStart();
    void addStop();
    void addRestart();
    void addCheck();
    void addLog();
    void addBoot();
    void addUnit();
    Answer answerTo(CLI::ParseError const& error) const;
    std::string describeProblem(CLI::ParseError const& error) const;

    CLI::App m_app{"Shows and manages the daemons of this machine.", "dmnctl"};
    Request m_request = ListCommand();
    ListCommand m_list;
    StatusCommand m_status;
    StartCommand m_start;
    StopCommand m_stop;
    RestartCommand m_restart;
    CheckCommand m_check;
    LogCommand m_log;
    BootCommand m_boot;
    UnitCommand m_unit;
};

void addFormat(CLI::App& command, Format& format) {
    command.add_flag_callback(
        "--json", [&format] { format = Format::Json; }, "answer with JSON, for programs");
}

void addTimeout(CLI::App& command, int& seconds) {
    command.add_option("--timeout", seconds, "how long to wait for each daemon (default: 60)")
        ->check(CLI::Range(0, kLongestTimeoutSeconds).description(""))
        ->type_name("SECONDS");
}

void addKill(CLI::App& command, bool& kill) {
    command.add_flag("--kill", kill, "end by force what does not stop in time");
}

void addDaemons(CLI::App& command, Daemons& daemons) {
    command.add_option("ID", daemons.ids, kSomeOrEach)->type_name("");
}

// What changes the machine is never done to all daemons because a name was forgotten, or because a script's
// variable was empty.
void addNamedDaemons(CLI::App& command, Daemons& daemons) {
    CLI::Option* const ids = command.add_option("ID", daemons.ids, kSomeOrAll)->type_name("");
    CLI::Option* const all = command.add_flag("--all", "all that are installed");
    command.final_callback([ids, all] {
        if (ids->empty() == all->empty())
            throw CLI::ValidationError(all->empty() ? "no daemon is named. Name some, or say --all"
                                                    : "either name daemons or say --all");
    });
}

Parser::Parser() {
    m_app.require_subcommand(0, 1); // further words are IDs, even those that are also commands
    m_app.set_version_flag("--version", "dmnctl " DMN_VERSION_STRING, "show the version");
    m_app.set_help_flag("-h,--help", "show this text");
    m_app.get_formatter()->label("SUBCOMMAND", "COMMAND");
    m_app.get_formatter()->label("Positionals", "Arguments");
    m_app.get_formatter()->label("REQUIRED", "");
    m_app.footer(
        "Without a command, the daemons are listed. Each command has examples: dmnctl COMMAND --help");
    addList();
    addStatus();
    addStart();
    addStop();
    addRestart();
    addCheck();
    addLog();
    addBoot();
    addUnit();
}

template <class Command>
CLI::App& Parser::addCommand(char const* name, Command& target, char const* description,
                             char const* examples) {
    CLI::App& command = *m_app.add_subcommand(name, description);
    command.parse_complete_callback([this, &target] { m_request = target; });
    command.footer(examples);
    command.group("Commands");
    return command;
}

void Parser::addList() {
    CLI::App& command = addCommand("list", m_list, "list the daemons and what they do",
                                   "Examples:\n"
                                   "  dmnctl\n"
                                   "  dmnctl list --json | jq -r '.[] | select(.state == \"dead\").id'");
    addFormat(command, m_list.format);
    command.add_flag_callback(
        "--names", [this] { m_list.format = Format::Names; }, "show the IDs alone, one a line");
}

void Parser::addStatus() {
    CLI::App& command =
        addCommand("status", m_status, "show whether daemons run",
                   "The exit status is 0 if the daemon runs, 1 if it is dead and has left its PID file,\n"
                   "3 if it does not run, and 4 if that is unknown; of several daemons, the worst.\n\n"
                   "Examples:\n"
                   "  dmnctl status\n"
                   "  dmnctl status --verbose backupd");
    addDaemons(command, m_status.daemons);
    addFormat(command, m_status.format);
    command.add_flag("-v,--verbose", m_status.isVerbose, "show settings, process and log as well");
}

void Parser::addStart() {
    CLI::App& command = addCommand("start", m_start, "start daemons and wait until they are ready",
                                   "Examples:\n"
                                   "  dmnctl start backupd\n"
                                   "  dmnctl start --timeout=120 backupd indexd\n"
                                   "  dmnctl start --all");
    addNamedDaemons(command, m_start.daemons);
    addTimeout(command, m_start.timeoutSeconds);
}

void Parser::addStop() {
    CLI::App& command = addCommand("stop", m_stop, "stop daemons and wait for their end",
                                   "Examples:\n"
                                   "  dmnctl stop backupd\n"
                                   "  dmnctl stop --kill --timeout=10 backupd");
    addNamedDaemons(command, m_stop.daemons);
    addTimeout(command, m_stop.timeoutSeconds);
    addKill(command, m_stop.kill);
}

void Parser::addRestart() {
    CLI::App& command = addCommand("restart", m_restart, "stop daemons, then start them",
                                   "Examples:\n"
                                   "  dmnctl restart backupd\n"
                                   "  dmnctl restart --all --kill");
    addNamedDaemons(command, m_restart.daemons);
    addTimeout(command, m_restart.timeoutSeconds);
    addKill(command, m_restart.kill);
}

void Parser::addCheck() {
    CLI::App& command =
        addCommand("check", m_check, "show why daemons would not come up, now or at boot",
                   "The exit status is 1 if something was found. As root, more can be looked at.\n\n"
                   "Examples:\n"
                   "  dmnctl check\n"
                   "  dmnctl check backupd");
    addDaemons(command, m_check.daemons);
    addFormat(command, m_check.format);
}

void Parser::addLog() {
    CLI::App& command = addCommand("log", m_log, "show the log; of several daemons, merged by time",
                                   "Examples:\n"
                                   "  dmnctl log backupd\n"
                                   "  dmnctl log -f --errors\n"
                                   "  dmnctl log --since='2026-11-22 08:00' backupd indexd");
    addDaemons(command, m_log.daemons);
    addFormat(command, m_log.format);
    command.add_option("-n,--lines", m_log.lines, "show the last N entries")
        ->check(CLI::Range(0, kMostLines).description(""))
        ->type_name("N");
    command.add_flag("-f,--follow", m_log.follow, "go on, and show what is added");
    command.add_flag("--errors", m_log.errorsOnly, "show errors alone");
    command.add_option("--since", m_log.since, "show no entry older than TIME")->type_name("TIME");
}

void Parser::addBoot() {
    CLI::App& command =
        addCommand("boot", m_boot, "show or change whether this machine starts a daemon at boot",
                   "Examples:\n"
                   "  dmnctl boot backupd\n"
                   "  dmnctl boot backupd on");
    command.add_option("ID", m_boot.id, "the ID of the daemon")->required()->type_name("");
    command
        .add_option_function<std::string>(
            "STATE",
            [this](std::string const& state) {
                m_boot.wish = state == "on" ? BootCommand::Wish::On : BootCommand::Wish::Off;
            },
            "on or off; without it, what holds is shown")
        ->check(checkBootState)
        ->type_name("");
}

void Parser::addUnit() {
    CLI::App& command = addCommand("unit", m_unit, "print a native systemd unit for a daemon",
                                   "Example:\n"
                                   "  dmnctl unit backupd");
    command.add_option("ID", m_unit.id, "the ID of the daemon")->required()->type_name("");
}

Request Parser::parse(int argc, char const* const* argv) {
    try {
        m_app.parse(argc, argv);
        return m_request;
    } catch (CLI::ParseError const& error) {
        return answerTo(error);
    }
}

Answer Parser::answerTo(CLI::ParseError const& error) const {
    if (error.get_exit_code() != 0)
        return Answer{describeProblem(error), 2};
    std::ostringstream out;
    std::ostringstream problem;
    m_app.exit(error, out, problem);
    return Answer{out.str(), 0};
}

std::string Parser::describeProblem(CLI::ParseError const& error) const {
    if (!m_app.get_subcommands().empty()) {
        std::string const command = m_app.get_subcommands().front()->get_name();
        return command + ": " + error.what() + ". See dmnctl " + command + " --help";
    }
    std::string const word = m_app.remaining().empty() ? std::string() : m_app.remaining().front();
    char const* const kind = word[0] == '-' ? "option" : "command";
    return fmt::format("There is no {} '{}'. See dmnctl --help", kind, word);
}

} // namespace

Request parseCommandLine(int argc, char const* const* argv) {
    return Parser().parse(argc, argv);
}

} // namespace dmnctl
