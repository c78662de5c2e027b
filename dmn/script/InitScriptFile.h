#pragma once

#include <fdn/CExecCommand.h>
#include <fdn/CPendingOutput.h>
#include <fdn/Path.h>
#include <fdn/String.h>

#include <optional>

namespace dmn {

// The init script as a file: the one place where an installed daemon's settings are stored.

/// The settings that every init script has, by the names under which it prints them.
namespace setting {

inline constexpr char kControlFolder[] = "ControlFolder";
inline constexpr char kRunAs[] = "RunAs";
inline constexpr char kTransientFolderAppID[] = "TransientFolderAppID";
inline constexpr char kTransientFolderGroup[] = "TransientFolderGroup";
inline constexpr char kParams[] = "Params";
inline constexpr char kExePath[] = "ExePath";

} // namespace setting

/// Where the script of this ID is, whether or not it exists. Throws a CError for an ID that cannot name
/// files, and where the system has no folder for init scripts.
fdn::Path locateInitScript(fdn::String const& id);

/// Writes the script in place of an existing one, in UTF-8, and lets everybody run it. Throws a CError that
/// names the file; if only its mode cannot be set, the new file stays.
void writeInitScript(fdn::Path const& script, fdn::String const& text);

/// A run of the script that prints a setting, so that several runs go on side by side. Ends with the object.
class SettingReading {
public:
    /// Throws a CError where there can be no script of this ID. If the system has no room for one more run
    /// beside the others, the run begins with take().
    SettingReading(fdn::String const& id, fdn::String const& name);

    /// Does what readSetting() does. To be called once.
    fdn::String take();

private:
    fdn::CPendingOutput run() const;

    fdn::String m_name;
    fdn::CExecCommand m_command;
    std::optional<fdn::CPendingOutput> m_output;
};

/// Runs the script to have it print the setting, and returns what it prints without white space around it:
/// the empty text for a name that it does not know. Throws a CError when the script cannot be run, fails
/// without a word, or prints not even an empty line for a setting that every script has. Blocks until the
/// script ends.
fdn::String readSetting(fdn::String const& id, fdn::String const& name);

} // namespace dmn
