#pragma once

#include "support/TemporaryFolder.h"

#include <string>
#include <vector>

namespace test {

/// Returns the unescaped text of each entry of a log file, in order; that of an error begins with "error: ".
/// A missing file has no entries. Fails the running test at a line that is not an entry.
std::vector<std::string> readLog(std::string const& path);

/// Closes this process's log, which opens its file at the next entry, where FDN_LOG_FILE says by then.
void closeLog();

/// While it lives, the log of this process and of the programs that it starts goes to a fresh file that every
/// account can write to. It sets the variable FDN_LOG_FILE and removes it in the end, so there can be only
/// one at a time.
class CapturedLog {
public:
    CapturedLog();
    CapturedLog(CapturedLog const&) = delete;
    CapturedLog& operator=(CapturedLog const&) = delete;
    ~CapturedLog();

    std::string path() const { return m_folder.name("log"); }

    std::vector<std::string> entries() const { return readLog(path()); }

    /// Empties the log.
    void clear() const;

private:
    TemporaryFolder m_folder;
};

} // namespace test
