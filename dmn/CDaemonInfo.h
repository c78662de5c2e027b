#pragma once

#include <dmn/Export.h>

#include <fdn/CBase.h>
#include <fdn/Path.h>
#include <fdn/String.h>
#include <fdn/containers.h>

namespace dmn {

/// An application's description of its daemon, made in CDaemonEntry::createDaemonInfo(). A plain record: the
/// application fills it in, and the front end hands it to the installation, which checks nothing but the ID
/// and the run parameters. The order of the fields is fixed.
class DMN_EXPORT CDaemonInfo : public fdn::CBase {
public:
    /// Describes nothing yet: all texts are empty.
    CDaemonInfo();

    /// The same description.
    CDaemonInfo(CDaemonInfo const& other);

    /// Takes over the description.
    CDaemonInfo& operator=(CDaemonInfo const& other);

    ~CDaemonInfo() override;

    /// The daemon's ID when the command line names none. The init script, the run-level links and the PID
    /// file are named after it, and it goes into the shell script as it is: use letters, digits, "-" and "_".
    fdn::String defaultId;

    /// The name for people, which the init script shows when it starts and stops the daemon. It goes between
    /// double quotes into the shell script, unescaped.
    fdn::String displayName;

    /// Whether the system starts the daemon in the run levels 2 to 5. At halt and reboot the system stops it
    /// in any case.
    bool startAtBoot = false;

    /// The executable that the init script runs. A relative path counts from the current folder at install.
    ///
    /// The path is read back from the script through the shell's echo. If it holds a blank, only the daemon's
    /// own start command can run it, not the script's. If it holds several blanks in a row or one at its end,
    /// a backslash, "*", "?" or "[", it may read back changed.
    fdn::Path exePath;

    /// What the daemon gets on its command line after the word "daemon", one argument each. Any text is
    /// handed over unchanged, except that empty ones are left out. A text with the character NUL cannot be
    /// installed.
    fdn::TList<fdn::String> params;

    /// For the application's own use, for instance in a command that describes the daemon.
    fdn::String description;
    fdn::String version; ///< likewise

private:
    [[maybe_unused]] void* m_reserved = nullptr; ///< room for later versions of this class
};

} // namespace dmn
