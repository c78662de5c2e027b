#pragma once

#include <fdn/CSystemUserID.h>
#include <fdn/String.h>
#include <fdn/containers.h>
#include <fdn/launch/LaunchPlan.h>
#include <fdn/launch/LaunchRequest.h>

#include <string>
#include <vector>

#include <sys/types.h>

namespace fdn {

/// Turns a request into a plan, and owns what the plan points to.
class LaunchMaterial {
public:
    /// Throws CError for an account that was not looked up yet and does not exist, and for a variable without
    /// a proper name, and CUnencodableStringError for texts that the system cannot be given.
    explicit LaunchMaterial(LaunchRequest const& request);

    LaunchMaterial(LaunchMaterial const&) = delete;
    LaunchMaterial& operator=(LaunchMaterial const&) = delete;

    /// The plan, without its streams and the descriptor for reports. Valid as long as this object lives.
    LaunchPlan const& getPlan() const { return m_plan; }

private:
    void takeArguments(TArray<String> const& arguments);
    void takeAccount(CSystemUserID const& user);

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
