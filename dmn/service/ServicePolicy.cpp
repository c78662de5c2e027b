#include <dmn/service/ServicePolicy.h>

#include <dmn/CService.h>
#include <dmn/commandline/CommandLine.h>
#include <dmn/commandline/printText.h>
#include <dmn/commandline/runsDaemon.h>
#include <dmn/service/ServiceUsage.h>

#include <fdn/CSystemSignalReceiver.h>

#include <utility>

namespace dmn {

ServicePolicy::ServicePolicy(std::function<fdn::TList<CommandDescription>()> describeOwnCommands)
    : m_describeOwnCommands(std::move(describeOwnCommands)) {}

fdn::P<fdn::ISystemSignalHandler>
ServicePolicy::chooseTerminationHandler(fdn::P<fdn::ISystemSignalHandler> const& stop) {
    termination = fdn::newObj<TerminationHandler>(stop);
    return termination;
}

int ServicePolicy::parse(CommandLine const& line, wxCmdLineParser& parser) {
    return line.parse(parser, CommandLine::Usage::Hidden);
}

void ServicePolicy::showUsage(wxCmdLineParser&) {} // showCommands() follows

void ServicePolicy::showCommands() {
    printText("\nCommands:\n" + composeCommandList(m_describeOwnCommands()) + "\nThe options: '" + program +
              " --help'.");
}

// Others only look at the control folder, or make it for the account that the daemon runs under.
bool ServicePolicy::beginCommand(fdn::String const& command) {
    if (runsDaemon(command))
        termination->stopDaemon();
    else
        termination->endProcess();
    return runsDaemon(command);
}

void ServicePolicy::setDaemon(CDaemon* daemon) {
    auto* const service = dynamic_cast<CService*>(daemon);
    if (service != nullptr)
        fdn::CSystemSignalReceiver::get().setHandler(fdn::SysSignal::Hangup, m_reload.get());
    m_reload->setService(service);
}

} // namespace dmn
