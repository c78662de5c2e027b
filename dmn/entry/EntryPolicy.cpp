#include <dmn/entry/EntryPolicy.h>

#include <dmn/commandline/CommandLine.h>
#include <dmn/commandline/CommandSummary.h>
#include <dmn/commandline/ParserOutput.h>
#include <dmn/entry/exitStatus.h>

namespace dmn {

EntryPolicy::~EntryPolicy() = default;

fdn::P<fdn::ISystemSignalHandler>
EntryPolicy::chooseTerminationHandler(fdn::P<fdn::ISystemSignalHandler> const& stop) {
    return stop;
}

int EntryPolicy::parse(CommandLine const& line, wxCmdLineParser& parser) {
    return line.parse(parser, CommandLine::Usage::Shown);
}

void EntryPolicy::showUsage(wxCmdLineParser& parser) {
    ParserOutput const output;
    parser.Usage();
}

void EntryPolicy::showCommands() {
    printCommandSummary();
}

bool EntryPolicy::beginCommand(fdn::String const&) {
    return true;
}

int EntryPolicy::getExitStatus() const {
    return kStatusDone;
}

void EntryPolicy::setDaemon(CDaemon*) {}

} // namespace dmn
