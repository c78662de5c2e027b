#pragma once

#include "support/CapturedLog.h"
#include "support/InitLayout.h"
#include "support/PrivateRoot.h"
#include "support/Program.h"
#include "support/TemporaryFolder.h"
#include "support/await.h"
#include "support/fileInfo.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <utility>
#include <vector>

namespace test {

using Words = std::vector<std::string>;

/// The base of tests that use a daemon's program as an administrator does. Each begins with an empty init
/// layout and an empty log.
template <class Base>
class ProgramLifeFixture : public InitLayoutFixture<Base> {
protected:
    /// For the daemon with this ID.
    explicit ProgramLifeFixture(std::string id) : m_id(std::move(id)) { setMode(m_folder.name(), 0755); }

    std::string script() const { return "/etc/init.d/" + m_id; }

    std::string pidFile() const { return m_controlFolder + "/" + m_id + ".pid"; }

    /// The process that the PID file names, or 0.
    pid_t daemonPID() const {
        pid_t pid = 0;
        std::ifstream(pidFile()) >> pid;
        return pid;
    }

    /// Whether the log holds an entry with this text in it.
    bool hasLogged(std::string const& text) const {
        for (std::string const& entry : m_log.entries()) {
            if (entry.find(text) != std::string::npos)
                return true;
        }
        return false;
    }

    std::string m_id;
    TemporaryFolder m_folder;
    CapturedLog m_log;
    std::string m_controlFolder = m_folder.name("control");
};

} // namespace test
