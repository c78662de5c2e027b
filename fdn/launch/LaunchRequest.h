#pragma once

#include <fdn/CExecCommand.h>
#include <fdn/CImpersonateInfo.h>
#include <fdn/ForkExecLevel.h>
#include <fdn/Path.h>
#include <fdn/String.h>
#include <fdn/containers.h>

#include <chrono>

namespace fdn {

/// How long a start may take. A program and its folder are found within milliseconds, or within seconds on a
/// network; what takes longer may never finish.
constexpr std::chrono::milliseconds kLongestLaunch = std::chrono::seconds(10);

/// What to start, in the caller's terms; see forkAndExec(). It owns nothing, so what it refers to must
/// outlive the launch.
struct LaunchRequest {
    CExecCommand const& command;
    CImpersonateInfo const* impersonate; ///< null: the caller's account
    ForkExecLevel level;
    Path const& folder;                      ///< empty: the caller's
    TMap<String, String> const* environment; ///< null: the caller's, or what the variables make of it
    std::chrono::milliseconds longestLaunch = kLongestLaunch;

    /// The descriptor to which a process between the caller and the program writes how the program ended, as
    /// waitpid() gives it. -1 for no such process.
    int endReport = -1;

    /// Variables for a program that no supervisor of the caller's waits for: its environment is the caller's
    /// with these set and without NOTIFY_SOCKET. Null for any other program.
    TMap<String, String> const* variables = nullptr;
};

} // namespace fdn
