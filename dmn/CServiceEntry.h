#pragma once

#include <dmn/CDaemonEntry.h>
#include <dmn/CommandDescription.h>
#include <dmn/Export.h>

#include <fdn/CError.h>
#include <fdn/String.h>
#include <fdn/containers.h>

#include <memory>

namespace dmn {

class ServicePolicy;
struct DaemonStatus;
enum class HelpRequest;
struct StartSettings;

/// The front end for new programs. It does what CDaemonEntry does, with the same script, links and PID file,
/// and tells the truth about it: `start` returns when the daemon is ready and fails when it is not, `stop`
/// returns when its process has ended, and `install` refuses what could not work. It also knows the commands
/// status, restart, check and help.
///
/// runService() makes one for a daemon that needs nothing more. A program with options or commands of its own
/// derives from this class as from CDaemonEntry, and calls the base version of whatever it extends.
///
/// An empty exePath in the daemon's description means this executable. No command makes a folder that it only
/// looks at: run and daemon make the control folder if it is missing, install and start make it for the
/// account that the daemon runs under.
///
/// While run and daemon are carried out, SIGTERM stops the daemon, and SIGHUP has a CService read its
/// settings again. With run, the first SIGINT stops it as well, and the log is shown on standard error. Any
/// other command ends at SIGTERM and SIGINT as any program does. What a command tells about its work is lost
/// when nobody reads it.
///
/// Exit statuses are those of CDaemonEntry, but `status` ends with 0, 1, 3 or 4 (getExitStatusOf()), and
/// `check` with 1 if it has found something.
class DMN_EXPORT CServiceEntry : public CDaemonEntry {
public:
    CServiceEntry();
    CServiceEntry(CServiceEntry const&) = delete;
    CServiceEntry& operator=(CServiceEntry const&) = delete;
    ~CServiceEntry() override;

    /// As the base version; "--help", "-h" and "--version" are answered before anything else happens.
    int entry(int argc, char** argv) override;

    /// The application's own commands, for the help. Empty unless overridden.
    virtual fdn::TList<CommandDescription> describeOwnCommands();

    /// Shows what the daemon is doing.
    virtual void doStatus();

    /// Stops the daemon, waits for its end, then starts it and waits until it is ready.
    virtual void doRestart();

    /// Shows why the daemon would not come up.
    virtual void doCheck();

    /// Shows the usage.
    virtual void doHelp();

    void addCommandLineOptions(wxCmdLineParser& parser) override;
    bool verifyCommandParams(fdn::String const& command, wxCmdLineParser& parser) override;
    void handleCommandParams(wxCmdLineParser& parser) override;
    void doCommand(fdn::String const& command) override;
    void doInstall() override;
    void doUninstall() override;
    void doStart() override;
    void doStop() override;
    void doRun() override;
    void doDaemon() override;

private:
    DMN_HIDDEN void completeDaemonInfo();
    DMN_HIDDEN StartSettings composeStartSettings() const;
    DMN_HIDDEN void refuseWhatCannotWork();
    DMN_HIDDEN fdn::Path findDaemonElsewhere();
    DMN_HIDDEN void refuseToLoseDaemon(DaemonStatus const& status);
    DMN_HIDDEN void reportInstallation();
    DMN_HIDDEN void requireInstalled();
    DMN_HIDDEN void provideMissingControlFolder(fdn::Path const& folder);
    DMN_HIDDEN void requireUsableScript();
    DMN_HIDDEN void startAndAwait();
    DMN_HIDDEN void stopAndAwait(fdn::Path const& folder);
    [[noreturn]] DMN_HIDDEN void failToAwait(fdn::CError const& error, fdn::Path const& folder);
    DMN_HIDDEN static fdn::String composeFolderOption(fdn::Path const& folder);
    DMN_HIDDEN fdn::String getName() const;
    DMN_HIDDEN fdn::String composeCommand(char const* word) const;
    DMN_HIDDEN fdn::String composeInstallCommand() const;
    DMN_HIDDEN fdn::String composeHint() const;
    DMN_HIDDEN int answer(HelpRequest request);
    DMN_HIDDEN void printVersion();

    std::unique_ptr<ServicePolicy> m_policy;
};

} // namespace dmn
