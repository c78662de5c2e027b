#pragma once

#include "support/TemporaryFolder.h"

#include <string>
#include <vector>

namespace test {

/// The entries of a log file: the text of each one, unescaped. Those of errors begin with "error: ".
std::vector<std::string> readLog(std::string const& path);

/// While it lives, this process's log, and that of programs which it starts, goes to a fresh file that every
/// account can write to.
class CapturedLog {
public:
    CapturedLog();
    CapturedLog(CapturedLog const&) = delete;
    CapturedLog& operator=(CapturedLog const&) = delete;
    ~CapturedLog();

    std::string path() const { return m_folder.name("log"); }

    std::vector<std::string> entries() const { return readLog(path()); }

    /// Makes the log empty again.
    void clear() const;

private:
    TemporaryFolder m_folder;
};

} // namespace test
