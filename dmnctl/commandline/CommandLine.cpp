#include <dmnctl/commandline/CommandLine.h>

#include <dmn/version.h>

#include <CLI/CLI.hpp>

#include <sstream>

namespace dmnctl {

namespace {

Answer answerTo(CLI::App const& app, CLI::ParseError const& error) {
    std::ostringstream out;
    std::ostringstream problem;
    int const status = app.exit(error, out, problem);
    return status == 0 ? Answer{out.str(), 0} : Answer{problem.str(), 2};
}

} // namespace

Request parseCommandLine(int argc, char const* const* argv) {
    CLI::App app("Shows and manages the daemons of this machine.", "dmnctl");
    Request request = ListCommand();
    try {
        app.parse(argc, argv);
    } catch (CLI::ParseError const& error) {
        return answerTo(app, error);
    }
    return request;
}

} // namespace dmnctl
