#include <dmn/start/launchDaemon.h>

#include <fdn/CExecCommand.h>
#include <fdn/CImpersonateInfo.h>
#include <fdn/P.h>
#include <fdn/programs.h>

#include <dmn/start/DaemonCommand.h>
#include <dmn/start/RunAsAccount.h>
#include <dmn/start/TransientFolder.h>

namespace dmn {

pid_t launchDaemon(fdn::String const& id, StartSettings const& settings,
                   fdn::TMap<fdn::String, fdn::String> const& variables) {
    fdn::CExecCommand const command = composeDaemonCommand(id, settings);
    fdn::P<fdn::CImpersonateInfo> const impersonation = findRunAsAccount(settings.runAs);
    prepareTransientFolder(settings, impersonation.get());
    return fdn::launchDetached(command, impersonation.get(), settings.controlFolder, variables);
}

} // namespace dmn
