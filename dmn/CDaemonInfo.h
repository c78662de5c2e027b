#pragma once

#include <dmn/Export.h>

#include <fdn/CBase.h>
#include <fdn/Path.h>
#include <fdn/String.h>
#include <fdn/containers.h>

namespace dmn {

/// An application's description of its daemon, made in CDaemonEntry::createDaemonInfo(). A plain record: the
/// application fills it in, the front end hands it to the installation.
class DMN_EXPORT CDaemonInfo : public fdn::CBase {
public:
    ~CDaemonInfo() override;

    /// The daemon's ID where the command line names none. The ID is the name of the init script, of the
    /// run-level links and of the PID file, and is used in them as it stands: take letters, digits, "-" and
    /// "_".
    fdn::String defaultId;

    /// The name for people, shown when the init script starts and stops the daemon. It stands in double
    /// quotes in a shell script, unescaped.
    fdn::String displayName;

    /// Whether the system starts the daemon in the run levels 2 to 5. It is stopped at halt and reboot in any
    /// case.
    bool startAtBoot = false;

    /// The executable that the init script runs. A relative path is taken from the current folder at install.
    /// The path is read back from the script through the shell's echo: one with a blank in it can be started
    /// by the daemon's own command alone, not by the script's; and one with several blanks in a row or at its
    /// end, with a backslash, or with "*", "?" or "[" may not read back as it was.
    fdn::Path exePath;

    /// What the daemon gets on its command line after the word "daemon", an argument each. Any text may stand
    /// here but an empty first one, which leaves no trace, as any empty one leaves none when the daemon is
    /// started.
    fdn::TList<fdn::String> params;

    /// For the application's own use, such as in a command that tells about the daemon.
    fdn::String description;
    fdn::String version; ///< likewise
};

} // namespace dmn
