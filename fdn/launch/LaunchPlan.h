#pragma once

#include <fdn/programs.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <string>
#include <type_traits>
#include <vector>

#include <sys/types.h>

namespace fdn {

/// How long a start may take. A program and its folder are found within milliseconds, where a network is
/// asked within seconds; what lasts longer may last for ever.
constexpr std::chrono::milliseconds kLongestLaunch = std::chrono::seconds(10);

/// What is to be started, as the caller says it; see forkAndExec().
struct LaunchRequest {
    CExecCommand const& command;
    CImpersonateInfo const* impersonate;
    ForkExecLevel level;
    Path const& folder;
    TMap<String, String> const* environment;
    std::chrono::milliseconds longestLaunch = kLongestLaunch;
    int ends = -1; ///< takes how the program ended, as waitpid() tells it, from a process that stays between
};

/// Everything that a new process needs to become the program, computed before the fork: afterwards nothing
/// may be allocated, looked up or destroyed. It owns nothing.
struct LaunchPlan {
    char const* program = nullptr;
    char* const* arguments = nullptr;
    char* const* environment = nullptr;
    char const* folder = nullptr; // null: the caller's
    bool changesAccount = false;
    uid_t user = 0;
    gid_t group = 0;
    gid_t const* groups = nullptr;
    std::size_t groupCount = 0;
    bool startsSession = false;
    bool leavesParent = false;
    std::array<int, 3> streams = {-1, -1,
                                  -1}; // what becomes 0, 1 and 2, none of them itself; -1: the caller's
    int reports = -1;                  // takes LaunchReports; the start of the program closes it
    int ends = -1;                     // see LaunchRequest

    // A process between the starter and the program makes an orphan of the program, or waits for it.
    bool needsProcessBetween() const { return leavesParent || ends != -1; }
};

static_assert(std::is_trivially_copyable_v<LaunchPlan> && std::is_trivially_destructible_v<LaunchPlan>,
              "nothing runs at its end");

/// The steps from a start to the program. The process that is to make one reports it first, so that the
/// starter knows where it hangs; and again with an error, should it fail.
enum class LaunchStep : int {
    Fork,
    Session,
    Pipe,
    Streams,
    Group,
    SupplementaryGroups,
    User,
    Folder,
    Program,
    Done ///< nothing more will be reported
};

struct LaunchReport {
    LaunchStep step;
    pid_t process;
    int error; // the system's error number, or 0
};

/// Owns what a plan points to.
class LaunchMaterial {
public:
    /// Throws for an account that does not exist, and for texts that cannot be handed to the system.
    explicit LaunchMaterial(LaunchRequest const& request);

    LaunchMaterial(LaunchMaterial const&) = delete;
    LaunchMaterial& operator=(LaunchMaterial const&) = delete;

    /// The plan, but for its descriptors.
    LaunchPlan const& getPlan() const { return m_plan; }

private:
    void takeArguments(TArray<String> const& arguments);
    void takeEnvironment(TMap<String, String> const* environment);
    void takeAccount(CSystemUserID const& user);
    void setVariable(std::string const& name, std::string const& value);

    std::string m_program;
    std::string m_folder;
    std::vector<std::string> m_argumentTexts;
    std::vector<std::string> m_environmentTexts;
    std::vector<char*> m_arguments;
    std::vector<char*> m_environment;
    std::vector<gid_t> m_groups;
    LaunchPlan m_plan;
};

} // namespace fdn
