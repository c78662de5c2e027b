#pragma once

#include <dmn/CDaemonInfo.h>
#include <dmn/Export.h>

#include <fdn/CBase.h>
#include <fdn/Path.h>
#include <fdn/String.h>

#include <sys/types.h>

namespace dmn {

/// The handle through which any process installs, starts, stops, uninstalls and queries one daemon.
///
/// A daemon is known by its ID. It is installed exactly when its init script exists. The script stores all
/// its settings, and running it reads them back. Every call asks the system: of all that, the object keeps
/// nothing but the control folder. Destroying it does not affect the daemon.
///
/// Operations that change the system or signal a process raise the effective user to root for their duration,
/// so they need root's rights or a set-user-ID executable.
///
/// Failures are thrown as fdn::CError. An ID that cannot name files stands for no daemon: queries answer that
/// it is stopped and not installed, and everything else throws "Invalid daemon id: '...'." before it touches
/// anything. Such IDs are the empty one, ".", "..", any with a "/" or the character NUL, and any of more than
/// 251 bytes, which is too long for the name of a PID file.
///
/// The class takes no lock. Use an object from one thread at a time, and only one object at a time, because
/// the effective user is that of the whole process.
///
///     dmn::CDaemonController controller("backupd", fdn::Path());
///     controller.stop();
///     bool const stopped = controller.waitStopped(10000);
class DMN_EXPORT CDaemonController : public fdn::CBase {
public:
    /// Raises the effective user of the process to root while the object lives, and restores it on every way
    /// out. Guards nest. The effective user is that of all threads (POSIX setreuid).
    class DMN_EXPORT CMakeRoot {
    public:
        /// Throws "The process does not have the necessary root privileges for this operation." when neither
        /// the real nor the saved user is root (EPERM), and a system error for any other reason. The
        /// effective user is unchanged then.
        CMakeRoot();
        CMakeRoot(CMakeRoot const&) = delete;
        CMakeRoot& operator=(CMakeRoot const&) = delete;
        ~CMakeRoot();

    private:
        uid_t m_effectiveUser;
    };

    /// Touches no file and accepts any ID. Pass an empty control folder to have it read from the init script
    /// when it is first needed.
    CDaemonController(fdn::String const& id, fdn::Path const& controlFolder);
    ~CDaemonController() override;

    /// Installs the daemon: writes its init script and links it into the run levels 0 and 6, and also 2 to 5
    /// when it starts at boot. Replaces an existing installation. Does not start the daemon and looks at
    /// neither the account nor the executable. The password is neither used nor stored, but
    /// the interface has it and is fixed.
    ///
    /// When a step fails, uninstalls the daemon as far as possible, even if it was replacing an earlier
    /// installation, and throws the error of that step. A run parameter that holds the character NUL, which
    /// no program can be given, is refused before anything is changed. Nothing keeps apart two processes that
    /// install the same ID at once.
    ///
    /// The ID, the display name, the control folder, the account and the two texts about the transient folder
    /// go between double quotes into a shell script, as they are: the shell acts on a double quote, "$", "`"
    /// or backslash in them.
    static void install(CDaemonInfo const& info, fdn::String const& id, fdn::Path const& controlFolder,
                        fdn::String runAs, fdn::String runAsPassword, fdn::String transientFolderAppID,
                        fdn::String transientFolderGroup);

    /// Asks the daemon to stop without waiting for it, then removes its run-level links and, last, its init
    /// script. An empty control folder is read from the script. Ends at the first error; whatever it has not
    /// reached by then stays.
    static void uninstall(fdn::String const& id, fdn::Path const& controlFolder);

    /// The same for this controller's daemon. Does nothing when it is not installed.
    void uninstall();

    /// Launches the installed daemon as a detached process with the settings in its init script, all from one
    /// installation, after making its transient folder if it wants one. Returns as soon as the process runs
    /// the executable; waitRunningAndReady() tells whether the daemon comes up. Does not notice that the
    /// daemon is already running: the second process then fails to claim the PID file. A failure leaves no
    /// process behind, but the transient folder stays once it is complete.
    void start();

    /// Sends SIGTERM to the process that holds the daemon's PID file, if there is one, and returns at once.
    /// Whether the signal arrived is not reported: see waitStopped(). Throws when the holder cannot be
    /// determined.
    static void stop(fdn::Path const& controlFolder, fdn::String const& id);

    /// The same, with the control folder from the init script.
    static void stop(fdn::String const& id);

    /// The same for this controller's daemon.
    void stop();

    /// Whether the daemon's init script exists, whatever is in it. Throws when the system has no folder for
    /// init scripts.
    bool isInstalled();

    /// Whether the daemon is not installed, or no live process holds its PID file. Throws when that cannot be
    /// determined.
    bool isStopped();

    /// 0 when the daemon is stopped or not installed, -1 when it runs. Never 1, "running and ready": on this
    /// system a daemon has no way to say so.
    int checkRunningAndReady();

    /// Blocks until the predicate gives the expected answer, for at most `timeoutMs` milliseconds, and
    /// returns whether it did. Asks at once and then every 50 ms; only once for a time-out of 0 or less. What
    /// the predicate throws ends the wait.
    bool waitForStatus(bool (CDaemonController::*predicate)(), bool expected, int timeoutMs);

    /// Waits in the same way until isStopped(). Returns false on time-out.
    bool waitStopped(int timeoutMs);

    /// Waits until isInstalled(). Returns false on time-out.
    bool waitInstalled(int timeoutMs);

    /// Waits until no longer isInstalled(). Returns false on time-out.
    bool waitUninstalled(int timeoutMs);

    /// Waits until checkRunningAndReady() is not 0 and returns its answer, or 0 on time-out.
    int waitRunningAndReady(int timeoutMs);

    /// The control folder: the one given to the constructor, else the init script's, which the object keeps
    /// once it has read it. Empty when the script's is.
    fdn::Path getControlFolder();

    /// The process identifier of the running daemon, or a value below 1 when none runs. Throws when a process
    /// holds the PID file but cannot be identified.
    static int getActivePID(fdn::Path const& controlFolder, fdn::String const& id);

    /// Where the init script of this ID belongs, whether or not it exists: in "/etc/init.d" or, where that is
    /// missing, in "/etc/rc.d/init.d". Throws when both are missing.
    static fdn::Path getInitScriptPath(fdn::String const& id);

    /// The setting that the init script prints for "print" followed by the attribute, without white space
    /// around it. The text is empty when the setting is, and for an unknown attribute. Throws when the script
    /// cannot be run, fails without a word, or prints not even an empty line for a setting that every script
    /// has. Blocks until the script ends; so do the getters below.
    static fdn::String getDaemonAttribute(fdn::String const& id, fdn::String const& attr);

    /// The run parameters as they are stored: URI-escaped, with blanks between them. Empty when there are
    /// none.
    static fdn::String getDaemonParams(fdn::String const& id);

    /// The account that the daemon runs under. Empty for the account of whoever starts it.
    static fdn::String getDaemonRunAs(fdn::String const& id);

    /// The name of the daemon's transient folder. Empty when it has none.
    static fdn::String getDaemonTransientFolderAppID(fdn::String const& id);

    /// The group of the transient folder. Empty for the group with the account's name.
    static fdn::String getDaemonTransientFolderGroup(fdn::String const& id);

    /// The control folder, in the normal form that install() gave it. Empty when it was installed without
    /// one.
    static fdn::Path getControlFolder(fdn::String const& id);

    /// The executable, in the normal form that install() gave it.
    static fdn::Path getDaemonExePath(fdn::String const& id);

    /// Writes the init script in place of an existing one, makes it executable for everybody, and returns its
    /// path. The caller needs root's rights; this does not raise them. After a failure the old script is
    /// still there, or the new one is, possibly not executable.
    static fdn::Path createInitScript(CDaemonInfo const& info, fdn::String const& id,
                                      fdn::Path const& controlFolder, fdn::String const& runAs,
                                      fdn::String const& transientFolderAppID,
                                      fdn::String const& transientFolderGroup);

    /// The folder of the run level's links: "/etc/rcN.d" or, where that is missing, "/etc/rc.d/rcN.d".
    /// Throws, naming the folder, when both are missing.
    static fdn::Path getRunLevelDir(int level);

    /// The name of the daemon's link in a run level: a kill link for 0 and 6, a start link for any other
    /// number.
    static fdn::String getRunLevelLinkName(int level, fdn::String const& id);

    // On this system an installed daemon cannot be disabled. The interface is fixed and has these operations
    // nevertheless: do not complete them.

    /// Always false.
    bool isDisabled();

    /// Does nothing.
    void enable(bool enabled);

    /// Throws fdn::CNotImplementedError.
    void disable();

    /// The name that a daemon's own account has by convention: the ID between underscores. The interface
    /// fixes the operation's name, although nothing here concerns Windows, and the library does not call it.
    static fdn::String getWindowsSpecialDaemonUserName(fdn::String const& id);

private:
    fdn::String m_id;
    fdn::Path m_controlFolder;
};

} // namespace dmn
