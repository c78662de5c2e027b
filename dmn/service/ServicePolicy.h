#pragma once

#include <dmn/CommandDescription.h>
#include <dmn/entry/EntryPolicy.h>
#include <dmn/entry/exitStatus.h>
#include <dmn/service/ServiceOptions.h>
#include <dmn/service/ServiceSignals.h>

#include <fdn/P.h>
#include <fdn/String.h>
#include <fdn/containers.h>

#include <functional>

namespace dmn {

/// How the front end for services differs from the base, and what it knows beyond that.
class ServicePolicy final : public EntryPolicy {
public:
    /// The function gives the application's own commands.
    explicit ServicePolicy(std::function<fdn::TList<CommandDescription>()> describeOwnCommands);

    fdn::P<fdn::ISystemSignalHandler>
    chooseTerminationHandler(fdn::P<fdn::ISystemSignalHandler> const& stop) override;
    int parse(CommandLine const& line, wxCmdLineParser& parser) override;
    void showUsage(wxCmdLineParser& parser) override;
    void showCommands() override;
    bool beginCommand(fdn::String const& command) override;

    int getExitStatus() const override { return exitStatus; }

    void setDaemon(CDaemon* daemon) override;

    fdn::String program; ///< as it was called
    ServiceOptions options;
    int exitStatus = kStatusDone; ///< of a command that does not fail
    bool isInForeground = true;
    fdn::P<TerminationHandler> termination;

private:
    std::function<fdn::TList<CommandDescription>()> m_describeOwnCommands;
    fdn::P<ReloadHandler> m_reload = fdn::newObj<ReloadHandler>();
};

} // namespace dmn
