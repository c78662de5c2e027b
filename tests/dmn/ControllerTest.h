#pragma once

#include "support/CapturedLog.h"
#include "support/InitLayout.h"
#include "support/PrivateRoot.h"
#include "support/TemporaryFolder.h"
#include "support/fileInfo.h"

#include <dmn/CDaemonController.h>

#include <string>

#include <sys/types.h>

namespace test {

/// The base of tests of the controller, all about the daemon "app". Each begins with empty folders for init
/// scripts and run levels, an empty control folder and an empty log.
template <class Base>
class ControllerFixture : public InitLayoutFixture<Base> {
protected:
    /// Installs the daemon as m_info describes it.
    void install(fdn::String const& runAs = "", fdn::String const& transientFolderAppID = "",
                 fdn::String const& transientFolderGroup = "") const {
        dmn::CDaemonController::install(m_info, "app", m_folder.path(), runAs, "", transientFolderAppID,
                                        transientFolderGroup);
    }

    /// Writes a script of the test in place of the init script.
    static void writeInitScript(std::string const& text) {
        writeFile("/etc/init.d/app", text);
        setMode("/etc/init.d/app", 0755);
    }

    /// Makes the daemon's PID file name the process.
    void writePIDFile(pid_t process) const {
        writeFile(m_folder.name("app.pid"), std::to_string(process) + "\n");
    }

    TemporaryFolder m_folder; ///< the control folder
    CapturedLog m_log;
    dmn::CDaemonInfo m_info;
};

using ControllerTest = ControllerFixture<PrivateRootTest>;
using ControllerAccountsTest = ControllerFixture<AccountsTest>;

} // namespace test
