#pragma once

#include <dmn/CDaemonInfo.h>
#include <dmn/Export.h>

#include <fdn/CBase.h>
#include <fdn/Path.h>
#include <fdn/String.h>

#include <sys/types.h>

namespace dmn {

/// The handle through which one daemon is installed, started, stopped, uninstalled and looked at, from any
/// process.
///
/// A daemon is known by its ID. It is installed exactly when its init script exists, and everything else that
/// is known of an installed daemon is read back from that script by running it; nothing is cached but the
/// control folder. Operations that change the system or signal a process raise the effective user to root for
/// their duration, so they need root's rights or a set-user-ID executable.
///
/// Failures are thrown as fdn::CError. An ID that cannot name files stands for no daemon: the queries say
/// that it is not installed and stopped, and everything else throws "Invalid daemon id: '...'." before
/// anything is touched. Such are the empty ID, ".", "..", one with a "/" or the character NUL, and one of
/// more than 251 bytes, because of its PID file.
///
/// The class takes no lock: use it from one thread, and because the
/// effective user is the whole process's, from one controller at a time.
///
///     dmn::CDaemonController controller("backupd", fdn::Path());
///     controller.stop();
///     bool const stopped = controller.waitStopped(10000);
class DMN_EXPORT CDaemonController : public fdn::CBase {
public:
    /// Raises the effective user of the process to root while it lives, and restores it on every way out.
    /// Guards nest.
    class DMN_EXPORT CMakeRoot {
    public:
        /// Throws "The process does not have the necessary root privileges for this operation." when neither
        /// the real nor the saved user is root (POSIX setreuid, EPERM); nothing is changed then.
        CMakeRoot();
        CMakeRoot(CMakeRoot const&) = delete;
        CMakeRoot& operator=(CMakeRoot const&) = delete;
        ~CMakeRoot();

    private:
        uid_t m_effectiveUser;
    };

    /// Touches no file. An empty control folder means that it is read from the init script when it is needed.
    CDaemonController(fdn::String const& id, fdn::Path const& controlFolder);
    ~CDaemonController() override;

    /// Installs the daemon: writes its init script and links it into the run levels 0 and 6, and 2 to 5 when
    /// it starts at boot. An existing installation is replaced. The daemon is not started, and neither the
    /// account nor the executable is looked at. When something fails, the daemon is uninstalled again as far
    /// as that gets, also where an earlier installation was to be replaced, and the error is thrown. The
    /// password is neither used nor stored. Nothing keeps two processes from installing the same ID at once.
    /// A run parameter that holds the character NUL, which no program can be given, is refused before
    /// anything is changed.
    ///
    /// The ID, the display name, the control folder, the account and the two texts about the transient folder
    /// stand in double quotes in a shell script, as they are: a double quote, "$", "`" or backslash in them
    /// means what it means to the shell.
    static void install(CDaemonInfo const& info, fdn::String const& id, fdn::Path const& controlFolder,
                        fdn::String runAs, fdn::String runAsPassword, fdn::String transientFolderAppID,
                        fdn::String transientFolderGroup);

    /// Asks the daemon to stop, without waiting, then removes its run-level links and last its init script.
    /// An empty control folder is read from the script. The first error ends it; what was not reached stays.
    static void uninstall(fdn::String const& id, fdn::Path const& controlFolder);

    /// The same for this controller's daemon. Does nothing when it is not installed.
    void uninstall();

    /// Launches the installed daemon as a detached process with the settings that its init script holds, all
    /// of one installation, after making its transient folder if it wants one. Returns as soon as the process
    /// is launched: whether the daemon comes up shows in waitRunningAndReady(). An already running daemon is
    /// not noticed here; the second process fails to claim the PID file.
    void start();

    /// Sends SIGTERM to the process that holds the daemon's PID file, if there is one, and returns at once.
    static void stop(fdn::Path const& controlFolder, fdn::String const& id);

    /// The same, with the control folder from the init script.
    static void stop(fdn::String const& id);

    /// The same for this controller's daemon.
    void stop();

    /// Whether the daemon's init script exists; what it holds is not examined.
    bool isInstalled();

    /// Whether the daemon is not installed, or no live process holds its PID file.
    bool isStopped();

    /// 0 when the daemon is stopped or not installed, -1 when it runs. Never 1, "running and ready": a daemon
    /// has no way to say so on this system.
    int checkRunningAndReady();

    /// Waits, for so many milliseconds at most, until the predicate gives the expected answer, and returns
    /// whether it did. The predicate is asked at once and then every 50 ms; with 0 or less, only once. What
    /// it throws ends the wait.
    bool waitForStatus(bool (CDaemonController::*predicate)(), bool expected, int timeoutMs);

    /// Waits until isStopped(). Returns false on time-out.
    bool waitStopped(int timeoutMs);

    /// Waits until isInstalled(). Returns false on time-out.
    bool waitInstalled(int timeoutMs);

    /// Waits until no longer isInstalled(). Returns false on time-out.
    bool waitUninstalled(int timeoutMs);

    /// Waits until checkRunningAndReady() is not 0 and returns its answer, or 0 on time-out.
    int waitRunningAndReady(int timeoutMs);

    /// The control folder: the one given to the constructor, else the init script's, which is read once.
    fdn::Path getControlFolder();

    /// The process identifier of the running daemon, or a value below 1 when none runs.
    static int getActivePID(fdn::Path const& controlFolder, fdn::String const& id);

    /// Where the init script of this ID is: in "/etc/init.d", or in "/etc/rc.d/init.d" where that is missing.
    /// Throws when both are.
    static fdn::Path getInitScriptPath(fdn::String const& id);

    /// The setting that the init script answers to "print" and the attribute, without white space around it.
    /// An unknown attribute gives the empty text; throws when the script cannot be run, fails without a word,
    /// or prints not even an empty line for a setting that every script has.
    static fdn::String getDaemonAttribute(fdn::String const& id, fdn::String const& attr);

    /// The run parameters as they are stored: URI-escaped, with blanks between them.
    static fdn::String getDaemonParams(fdn::String const& id);

    /// The account that the daemon runs under; empty for that of whoever starts it.
    static fdn::String getDaemonRunAs(fdn::String const& id);

    /// The name of the daemon's transient folder; empty when it has none.
    static fdn::String getDaemonTransientFolderAppID(fdn::String const& id);

    /// The group of the transient folder; empty for the one named like the account.
    static fdn::String getDaemonTransientFolderGroup(fdn::String const& id);

    /// The control folder, in the normal form that install() has given it.
    static fdn::Path getControlFolder(fdn::String const& id);

    /// The executable, in the normal form that install() has given it.
    static fdn::Path getDaemonExePath(fdn::String const& id);

    /// Writes the init script, the one place where the daemon's settings live, in place of an existing one,
    /// and makes it executable. Returns its path. The caller needs root's rights.
    static fdn::Path createInitScript(CDaemonInfo const& info, fdn::String const& id,
                                      fdn::Path const& controlFolder, fdn::String const& runAs,
                                      fdn::String const& transientFolderAppID,
                                      fdn::String const& transientFolderGroup);

    /// The folder of the run level's links: "/etc/rcN.d", or "/etc/rc.d/rcN.d" where that is missing. Throws,
    /// naming the folder, when both are.
    static fdn::Path getRunLevelDir(int level);

    /// The name of the daemon's link in a run level: a kill link for 0 and 6, a start link for every other.
    static fdn::String getRunLevelLinkName(int level, fdn::String const& id);

    /// Always false: an installed daemon cannot be disabled on this system.
    bool isDisabled();

    /// Does nothing.
    void enable(bool enabled);

    /// Throws fdn::CNotImplementedError.
    void disable();

    /// The name that a daemon's own account has by convention: the ID between underscores.
    static fdn::String getWindowsSpecialDaemonUserName(fdn::String const& id);

private:
    fdn::String m_id;
    fdn::Path m_controlFolder;
};

} // namespace dmn
