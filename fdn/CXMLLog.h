#pragma once

#include <fdn/CBase.h>
#include <fdn/LogLevel.h>
#include <fdn/P.h>
#include <fdn/Path.h>
#include <fdn/String.h>

#include <exception>
#include <memory>

namespace fdn {

class LogWriter;

/// The log of the process, which programs write to with logDebug(), logInfo(), logWarning() and
/// logError().
///
/// **Form.** The log is a text file with one XML element per line, in UTF-8:
///
///     <entry time="2026-11-21T02:48:52.123456Z" level="info" process="123" thread="456">text</entry>
///
/// The time is UTC (RFC 3339); the level is "debug", "info", "warning" or "error"; process and thread are the
/// system's numbers for the writer of the entry. In the text only "&", "<" and ">" are escaped; control
/// characters, line feeds for example, become character references ("&#10;"), and characters that XML 1.0
/// forbids become U+FFFD. An entry about an exception has elements instead, except for empty texts:
///
///     <text>situation</text><where>where it was caught</where><what>message</what>
///
/// For a CError, `<second>`, `<code>`, a `<property name="func">` for each property, and `<cause>` with the
/// same about the error that caused it follow.
///
/// **Place.** /var/log/NAME/NAME.log when the effective user is root, otherwise NAME/NAME.log in the folder
/// XDG_STATE_HOME or, if that is no absolute path, in .local/state of HOME (XDG Base Directory); NAME is the
/// name of the executable's file. Missing folders are made (mode 0750 for root, otherwise 0700); the file
/// gets the mode 0640 or 0600, less the umask. It must be a regular file, not a symbolic link.
///
/// The environment variable FDN_LOG_FILE names another file, whose folder must exist. It may be anything that
/// can be written to, but a pipe, socket or terminal misses an entry that it does not take at once.
/// /dev/stdout, /dev/stderr, /dev/fd/N and /proc/self/fd/N also stand for a descriptor that cannot be opened
/// by name again: a socket, or a pipe or file of another user. A set-user-ID program ignores all three
/// variables. The first entry chooses the place, and so does the first one after close().
///
/// **Several processes** may share the file: each entry is appended with one write. A file that would grow
/// beyond 10 MiB is renamed first: ".1" is added to its name, older files become ".2" to ".5", and the oldest
/// is dropped. When another tool has moved the file away or deleted it, the next entry begins a new one. When
/// a file ends in the middle of a line, because an entry was written only in part, the next one begins on a
/// new line. A file that FDN_LOG_FILE reaches through a symbolic link is never renamed.
///
/// **Failure.** An entry that cannot be written to the file goes to syslog unchanged, with the facility
/// "daemon" and the priority "info" or "err", under the name and number of the process; the next entry tries
/// the file again. Nothing waits for a syslog that does not read: an entry that it does not take at once is
/// lost. The next entry that can be written anywhere is preceded by one that says how many were lost.
///
/// Any thread may use it. It lives until the process ends, after all other objects, so destructors of globals
/// may log.
class FDN_EXPORT CXMLLog : public CBase {
public:
    /// Closes the process's log at the end of a scope, however it is left:
    ///
    ///     CXMLLog::CGlobalLogCloser const closer;
    class FDN_EXPORT CGlobalLogCloser : public CBase {
    public:
        CGlobalLogCloser() = default;
        CGlobalLogCloser(CGlobalLogCloser const&) = delete;
        CGlobalLogCloser& operator=(CGlobalLogCloser const&) = delete;

        /// Closes the log, after constructing it if nobody has used it yet. Throws nothing.
        ~CGlobalLogCloser() override;
    };

    /// The process's log, constructed by the first call. Throws CError when its construction has failed.
    static CXMLLog& getGlobal();

    /// Constructs the log for getGlobal(). Touches no file.
    static P<CXMLLog> createGlobalInstance();

    /// The flag by which getGlobal() knows whether somebody has begun to construct the log.
    static char& globalGuard();

    CXMLLog();
    CXMLLog(CXMLLog const&) = delete;
    CXMLLog& operator=(CXMLLog const&) = delete;
    ~CXMLLog() override;

    /// Writes one entry of this level, unless setLogLevel() asks for more serious ones only.
    void write(LogLevel level, String const& text);

    /// Writes one entry of the level "info", as write() does.
    void writeInfo(String const& text);

    /// Writes one entry of the level "error", as write() does.
    void writeError(String const& text);

    /// Writes one entry of the level "error" about an exception, as logError() does.
    void writeError(std::exception const& error, String const& situation, String const& where);

    /// Closes the file. The next entry chooses the place again and opens it.
    void close();

    /// Where the log is, or would be once an entry is written. Empty where there is no place for it. Touches
    /// no file.
    Path getFile() const;

private:
    std::unique_ptr<LogWriter> m_writer;
};

} // namespace fdn
