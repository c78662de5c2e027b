#pragma once

#include <fdn/Path.h>

#include <dmn/script/InitScript.h>

#include <optional>

namespace dmn {

/// What there is at the place of an init script, seen without running it.
struct ScriptLook {
    enum class Kind {
        Missing,    ///< nothing
        Link,       ///< a symbolic link, wherever it leads
        NoFile,     ///< something else that is no regular file
        Unreadable, ///< what cannot be read; the error number says why
        Foreign,    ///< a file with another text than this library writes
        Own,        ///< a script of this library
    };

    Kind kind = Kind::Missing;
    int error = 0;
    std::optional<InitScriptValues> values; ///< of an own script, all from one version of it
};

/// Looks at the script. Reads no more of a foreign file than its beginning, and waits neither for a pipe nor
/// for a device.
ScriptLook lookAtScript(fdn::Path const& script);

/// Whether the effective user may run the script, with whose rights it runs. What cannot be told shows when
/// it is run, so the answer is "yes".
bool mayBeRun(fdn::Path const& script);

/// Whether running this script, at which somebody has looked, would print the values that the look has seen.
bool tellsWhatItPrints(fdn::Path const& script, ScriptLook const& look);

} // namespace dmn
