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

class EntryPolicy;

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
/// stop. An application adds words of its own in doCommand(), and options in addCommandLineOptions() and
/// handleCommandParams(). Unless its comment says otherwise, an operation belongs to the thread that called
/// entry(). While a daemon runs, SIGTERM stops it.
class DMN_EXPORT CDaemonEntry : public fdn::CBase, public virtual dmnm::IDaemonEntry {
public:
    /// Carries the termination signal to the manager, even if the signal comes before there is one. Holds a
    /// reference to the manager that is set.
    class DMN_EXPORT CSignalHandler : public fdn::CBase, public virtual fdn::ISystemSignalHandler {
    public:
        CSignalHandler();
        CSignalHandler(CSignalHandler const&) = delete;
        CSignalHandler& operator=(CSignalHandler const&) = delete;
        ~CSignalHandler() override;

        /// Asks the manager to stop, now or as soon as there is one. Called on the signal receiver's thread.
        /// Does not look at the signal: every signal that it is registered for stops the daemon.
        void handleSystemSignal(fdn::SysSignal signal) override;

        /// Sets the manager to forward to, or none (null). A manager that comes after a signal is asked to
        /// stop at once. Blocks until a forwarding call that is under way has returned. Any thread may call
        /// it.
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
    /// The parser prints its usage and messages to standard output, or to the wxMessageOutput that the
    /// application has set before. A bad command line is listed in the log, but not the password in it.
    ///
    /// Every std::exception ends here; others pass through once the log is closed. Meant to be called once,
    /// at the beginning of main(): first of all, it opens /dev/null in place of each standard stream that the
    /// caller of the program has closed. SIGTERM is still handled after it returns.
    int entry(int argc, char** argv) override;

    /// Drops the caller's reference, and so deletes the object if that was the last.
    void dispose() override;

    /// Asks the running daemon to stop, and returns at once. Has no effect when no daemon runs, not even on
    /// one that is run later. Any thread may call it.
    void signalStop() override;

    // The operations from here to doDaemon() are the steps of entry(), which calls them. An exception from
    // any of them fails the command.

    /// Called before all other steps. Does nothing; an override does the application's own preparation.
    virtual void init();

    /// Returns the description of the application's daemon. Called for every command, once the options are
    /// stored. An empty pointer fails the command.
    virtual fdn::P<CDaemonInfo> createDaemonInfo() = 0;

    /// Returns the daemon to run, made for this ID and control folder. Called for the commands run and
    /// daemon. An empty pointer fails the command.
    virtual fdn::P<CDaemon> createDaemon(fdn::String const& id, fdn::Path const& controlFolder) = 0;

    /// Declares the options. Applications with options of their own extend it and call the base version.
    virtual void addCommandLineOptions(wxCmdLineParser& parser);

    /// Whether the parsed command line makes sense for the command. Called before any option is stored. An
    /// override that refuses must tell the user why; entry() then shows the usage. The base version refuses
    /// install without a control folder.
    virtual bool verifyCommandParams(fdn::String const& command, wxCmdLineParser& parser);

    /// Stores the options. Applications with options of their own extend it and call the base version.
    virtual void handleCommandParams(wxCmdLineParser& parser);

    /// Called when the options are stored and the control folder exists. Does nothing.
    virtual void onCommandLineParsed();

    /// Carries out the command. Applications with commands of their own handle them here and call the base
    /// version for the others. The base version throws for a word that it does not know.
    virtual void doCommand(fdn::String const& command);

    /// Installs the daemon and waits until it is installed. Throws when that takes longer than the time-out.
    virtual void doInstall();

    /// Asks the daemon to stop, uninstalls it, and waits until it is no longer installed. Throws when that
    /// takes longer than the time-out.
    virtual void doUninstall();

    /// Launches the installed daemon. Does not wait for it to come up.
    virtual void doStart();

    /// Asks the running daemon to stop and waits until it has. Does not wait for one that is not installed.
    /// Throws when the daemon takes longer than the time-out; it may still stop later.
    virtual void doStop();

    /// Runs the daemon in this process and returns when it has stopped.
    virtual void doRun();

    /// Runs the daemon as the background service: calls doRun(). A process that doStart() has launched is
    /// detached already; an override may do more.
    virtual void doDaemon();

    /// Makes a manager and attaches it to this object and to the signal handler: from here on, signalStop()
    /// and the termination signal reach it. A signal that came before stops it at once. Call it and
    /// destroyDaemonManager() only within entry(), which makes the signal handler.
    void createDaemonManager();

    /// Detaches the manager again. Blocks until a request to stop that is under way has reached it.
    void destroyDaemonManager();

    /// Sets the manager that signalStop() reaches, or none (null). A signalStop() that came before does not
    /// stop it. Any thread may call it.
    void setDaemonManager(CDaemonManager* manager);

    /// Returns the manager of the running daemon, or an empty pointer when none runs. Any thread may call it.
    fdn::P<CDaemonManager> getDaemonManager();

protected:
    bool m_stopRequested = false;           ///< signalStop() was called
    fdn::P<CSignalHandler> m_signalHandler; ///< handles SIGTERM; a replacement must call it
    fdn::P<CDaemonInfo> m_daemonInfo;       ///< what createDaemonInfo() returned
    fdn::Path m_controlFolder;              ///< --controlFolder as it was given
    fdn::Path m_exePath;                    ///< the normal form of how the program was called
    fdn::P<CDaemonController> m_controller; ///< of the daemon m_daemonId
    fdn::P<CDaemonManager> m_daemonManager; ///< only while a daemon runs
    fdn::CMutex m_mutex;                    ///< guards m_daemonManager and m_stopRequested
    std::int32_t m_timeoutMs = 60000;       ///< how long commands wait, whatever the help says
    fdn::String m_idOption;                 ///< --id as it was given
    fdn::String m_daemonId;                 ///< --id, else the daemon's default ID
    fdn::String m_command;                  ///< the command word
    fdn::String m_runAs;                    ///< --runas as it was given
    fdn::String m_runAsPassword; ///< --runas-password as it was given; not used: the interface is fixed
    fdn::String m_transientFolderAppID; ///< --transientFolderAppID as it was given
    fdn::String m_transientFolderGroup; ///< --transientFolderGroup as it was given

private:
    friend class CServiceEntry;

    /// Has this object act by another policy, which must live as long as entry() runs.
    DMN_HIDDEN void setPolicy(EntryPolicy& policy);

    DMN_HIDDEN EntryPolicy& getPolicy() const;
    DMN_HIDDEN int performLogged(int argc, char** argv);
    DMN_HIDDEN void tellSupervisor(std::exception const& error);
    DMN_HIDDEN int perform(int argc, char** argv);
    DMN_HIDDEN void registerSignalHandler();
    DMN_HIDDEN void declareArguments(wxCmdLineParser& parser);
    DMN_HIDDEN int takeCommand(wxCmdLineParser& parser);
    DMN_HIDDEN void performCommand(wxCmdLineParser& parser, char const* program);
    DMN_HIDDEN fdn::P<CDaemonInfo> describeDaemon();

    void* m_reserved = nullptr; ///< the policy that was set; the type was fixed before there was one
};

} // namespace dmn
