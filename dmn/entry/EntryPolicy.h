#pragma once

#include <fdn/ISystemSignalHandler.h>
#include <fdn/P.h>
#include <fdn/String.h>

#include <wx/cmdline.h>

namespace dmn {

class CDaemon;
class CommandLine;

/// The decisions of a front end that applications cannot change, because they are no virtual operations of
/// CDaemonEntry, whose table is fixed. These are its own; other front ends of this library override them.
/// entry() asks in the order of the operations, on its thread.
class EntryPolicy {
public:
    EntryPolicy() = default;
    EntryPolicy(EntryPolicy const&) = delete;
    EntryPolicy& operator=(EntryPolicy const&) = delete;
    virtual ~EntryPolicy();

    /// Returns what handles SIGTERM from now on. `stop` carries the signal to the daemon.
    virtual fdn::P<fdn::ISystemSignalHandler>
    chooseTerminationHandler(fdn::P<fdn::ISystemSignalHandler> const& stop);

    /// Has the parser read the arguments, and returns its result. Tells the user what is wrong with them.
    virtual int parse(CommandLine const& line, wxCmdLineParser& parser);

    /// Shows the usage because the application has refused the command line.
    virtual void showUsage(wxCmdLineParser& parser);

    /// Shows the commands, below anything else about a bad command line.
    virtual void showCommands();

    /// Called before the command's options are stored. Returns whether its control folder is made if it is
    /// missing.
    virtual bool beginCommand(fdn::String const& command);

    /// Returns the status of a command that has not failed.
    virtual int getExitStatus() const;

    /// Called with the daemon before it is run, and with null before it is given up.
    virtual void setDaemon(CDaemon* daemon);
};

} // namespace dmn
