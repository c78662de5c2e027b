#pragma once

#include <fdn/CSystemUserID.h>
#include <fdn/Path.h>
#include <fdn/String.h>

#include <string>
#include <vector>

#include <sys/types.h>

namespace fdn {

/// The program whose log is looked for: whatever decides where that log is.
class LogOwner {
public:
    LogOwner() = default;
    LogOwner(LogOwner const&) = delete;
    LogOwner& operator=(LogOwner const&) = delete;
    virtual ~LogOwner();

    /// The effective user.
    virtual uid_t getUser() const = 0;

    /// The name of the executable's file. Throws CError when it is not text.
    virtual String getProgramName() const = 0;

    /// The variable's value; empty when it is not set or must not be trusted. Throws CError when it is not
    /// text.
    virtual String getVariable(char const* name) const = 0;

    virtual Path getCurrentFolder() const = 0;
};

/// This process. Touches nothing but /proc.
class ThisProcess : public LogOwner {
public:
    uid_t getUser() const override;
    String getProgramName() const override;
    String getVariable(char const* name) const override;
    Path getCurrentFolder() const override;
};

/// A program that launchDetached() starts under an account, with this process's environment.
class LaunchedProgram : public LogOwner {
public:
    /// An empty folder stands for the caller's. Throws CError when there is no such account.
    LaunchedProgram(Path const& program, CSystemUserID const& account, Path const& folder);

    uid_t getUser() const override { return m_user; }

    String getProgramName() const override;
    String getVariable(char const* name) const override;
    Path getCurrentFolder() const override;

private:
    void takeFileRights(uid_t user, gid_t group);

    Path m_program;
    Path m_folder;
    uid_t m_user = 0;
    std::vector<std::string> m_environment; // of which it trusts each variable
};

} // namespace fdn
