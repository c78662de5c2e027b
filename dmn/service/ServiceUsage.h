#pragma once

#include <dmn/CommandDescription.h>

#include <fdn/String.h>
#include <fdn/containers.h>

#include <wx/cmdline.h>

namespace dmn {

using CommandDescriptions = fdn::TList<CommandDescription>;

/// Whether every service has a command of this name.
bool isServiceCommand(fdn::String const& name);

/// The commands of every service, then these, one a line.
fdn::String composeCommandList(CommandDescriptions const& ownCommands);

/// The options that the parser knows, one a line, with further lines for long descriptions, and those that
/// are answered in place of a command.
fdn::String composeOptionList(wxCmdLineParser const& parser);

} // namespace dmn
