#pragma once

#include <dmn/CDaemon.h>
#include <dmn/CDaemonController.h>
#include <dmn/CDaemonInfo.h>
#include <dmn/CDaemonManager.h>
#include <dmn/Export.h>
#include <dmn/IDaemonEntry.h>

#include <fdn/CBase.h>
#include <fdn/CMutex.h>
#include <fdn/CSystemSignalReceiver.h>
#include <fdn/P.h>
#include <fdn/Path.h>
#include <fdn/String.h>

#include <wx/cmdline.h>

#include <cstdint>

namespace dmn {

/// The front end of a program that is a daemon and the daemon's own management tool.
///
/// An application derives its front end from this class, makes one object of it in main() and returns what
/// entry() returns:
///
///     class CMyEntry : public dmn::CDaemonEntry {
///         fdn::P<dmn::CDaemonInfo> createDaemonInfo() override;
///         fdn::P<dmn::CDaemon> createDaemon(fdn::String const& id, fdn::Path const& controlFolder) override;
///     };
///
///     int main(int argc, char** argv) {
///         fdn::P<CMyEntry> const entry = fdn::newObj<CMyEntry>();
///         return entry->entry(argc, argv);
///     }
///
/// The command line is one command word and options. The words are run, daemon, install, uninstall, start and
/// stop; an application adds words of its own in doCommand(), and options in addCommandLineOptions() and
/// handleCommandParams(). Everything is called on the thread that called entry(), except for signalStop(),
/// which any thread may call. While a daemon runs, SIGTERM stops it.
class DMN_EXPORT CDaemonEntry : public fdn::CBase, public virtual dmnm::IDaemonEntry {
public:
    /// Carries the termination signal to the manager, also when it came before there was one.
    class DMN_EXPORT CSignalHandler : public fdn::CBase, public virtual fdn::ISystemSignalHandler {
    public:
        CSignalHandler();
        CSignalHandler(CSignalHandler const&) = delete;
        CSignalHandler& operator=(CSignalHandler const&) = delete;
        ~CSignalHandler() override;

        /// Asks the manager to stop, now or as soon as there is one. Called on the signal receiver's thread,
        /// whatever the signal.
        void handleSystemSignal(fdn::SysSignal signal) override;

        /// Sets the manager to forward to, or none. Waits until a forwarding call has returned; a manager
        /// that comes after a signal is asked to stop at once. Any thread may call it.
        void setDaemonManager(CDaemonManager* manager);

    private:
        fdn::CMutex m_mutex;
        bool m_stopRequested = false;
        fdn::P<CDaemonManager> m_daemonManager;
    };

    CDaemonEntry();
    CDaemonEntry(CDaemonEntry const&) = delete;
    CDaemonEntry& operator=(CDaemonEntry const&) = delete;
    ~CDaemonEntry() override;

    /// Runs the command that the command line names, on the calling thread, and returns the process's exit
    /// status:
    ///
    /// - 0: the command was carried out;
    /// - 2: it failed; the reason is in the log and on standard output;
    /// - -1: verifyCommandParams() refused the command line, or help was shown;
    /// - another number: the command line could not be parsed.
    ///
    /// The parser's usage and messages go to standard output, or to the wxMessageOutput that the application
    /// has set before. The log lists a bad command line, but no password.
    ///
    /// Every std::exception ends here; others pass through. Meant to be called once. Standard streams that
    /// the caller has closed are opened on /dev/null first.
    int entry(int argc, char** argv) override;

    /// Drops the caller's reference.
    void dispose() override;

    /// Asks the running daemon to stop. Without one it has no effect, also not on a daemon that is run later.
    /// Any thread may call it.
    void signalStop() override;

    /// Called first in entry(). Does nothing; for the application's own preparation.
    virtual void init();

    /// The description of the application's daemon. Called for every command, after the options are stored.
    virtual fdn::P<CDaemonInfo> createDaemonInfo() = 0;

    /// The daemon to run, made for this ID and control folder. Called for the commands run and daemon.
    virtual fdn::P<CDaemon> createDaemon(fdn::String const& id, fdn::Path const& controlFolder) = 0;

    /// Declares the options. Applications with options of their own extend it and call the base version.
    virtual void addCommandLineOptions(wxCmdLineParser& parser);

    /// Whether the parsed command line makes sense for the command; called before any option is stored. An
    /// override that refuses tells the user why. The base version wants a control folder for install.
    virtual bool verifyCommandParams(fdn::String const& command, wxCmdLineParser& parser);

    /// Stores the options. Applications with options of their own extend it and call the base version.
    virtual void handleCommandParams(wxCmdLineParser& parser);

    /// Called when the options are stored and the control folder is there. Does nothing.
    virtual void onCommandLineParsed();

    /// Carries out the command. Applications with commands of their own handle them here and call the base
    /// version for the others; it throws for a word that it does not know.
    virtual void doCommand(fdn::String const& command);

    /// Installs the daemon and waits until it is installed.
    virtual void doInstall();

    /// Asks the daemon to stop, uninstalls it, and waits until it is no longer installed.
    virtual void doUninstall();

    /// Launches the installed daemon. Does not wait for it to come up.
    virtual void doStart();

    /// Asks the running daemon to stop and waits until it has. One that is not installed is not waited for.
    virtual void doStop();

    /// Runs the daemon in this process until it stops.
    virtual void doRun();

    /// The same, as the background service. The process is detached already when the daemon was started by
    /// doStart(); an override may do more.
    virtual void doDaemon();

    /// Makes a manager and attaches it to this object and to the signal handler: from here on signalStop()
    /// and the termination signal reach it. A signal that came before stops it at once. For use within
    /// entry(), which makes the signal handler; so is destroyDaemonManager().
    void createDaemonManager();

    /// Detaches the manager again.
    void destroyDaemonManager();

    /// Sets the manager that signalStop() reaches, or none. Any thread may call it.
    void setDaemonManager(CDaemonManager* manager);

    /// The manager of the running daemon, or an empty pointer. Any thread may call it.
    fdn::P<CDaemonManager> getDaemonManager();

protected:
    bool m_stopRequested = false;           ///< signalStop() was called
    fdn::P<CSignalHandler> m_signalHandler; ///< handles SIGTERM; what replaces it must call it
    fdn::P<CDaemonInfo> m_daemonInfo;       ///< what createDaemonInfo() has made
    fdn::Path m_controlFolder;              ///< --controlFolder as it was given
    fdn::Path m_exePath;                    ///< the normal form of how the program was called
    fdn::P<CDaemonController> m_controller; ///< of the daemon m_daemonId
    fdn::P<CDaemonManager> m_daemonManager; ///< only while a daemon runs
    fdn::CMutex m_mutex;                    ///< guards m_daemonManager and m_stopRequested
    std::int32_t m_timeoutMs = 60000;       ///< how long install, uninstall and stop wait
    fdn::String m_idOption;                 ///< --id as it was given
    fdn::String m_daemonId;                 ///< --id, else the daemon's default ID
    fdn::String m_command;                  ///< the command word
    fdn::String m_runAs;                    ///< --runas as it was given
    fdn::String m_runAsPassword;            ///< --runas-password as it was given; not used
    fdn::String m_transientFolderAppID;     ///< --transientFolderAppID as it was given
    fdn::String m_transientFolderGroup;     ///< --transientFolderGroup as it was given

private:
    DMN_HIDDEN int performLogged(int argc, char** argv);
    DMN_HIDDEN int perform(int argc, char** argv);
    DMN_HIDDEN void registerSignalHandler();
    DMN_HIDDEN void declareArguments(wxCmdLineParser& parser);
    DMN_HIDDEN int takeCommand(wxCmdLineParser& parser);
    DMN_HIDDEN void performCommand(wxCmdLineParser& parser, char const* program);
};

} // namespace dmn
