#pragma once

namespace fdn {

/// How serious an entry of the log is, in rising order. The log names them "debug", "info", "warning" and
/// "error".
enum class LogLevel : int {
    Debug = 0,   ///< for whoever looks for a fault; not written unless setLogLevel() asks for it
    Info = 1,    ///< what happens in the normal course
    Warning = 2, ///< what may become an error, or what somebody should look at
    Error = 3,   ///< what has failed
};

} // namespace fdn
