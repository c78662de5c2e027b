#include <fdn/launch/ProgramEnvironment.h>

#include <fdn/CError.h>
#include <fdn/fileName.h>

#include <algorithm>

#include <sys/auxv.h>
#include <unistd.h>

namespace fdn {

namespace {

// What the system's first process gives to the programs that it starts, as far as every program needs it.
constexpr char kSystemsPath[] = "PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin";

// Whether the environment comes from a user with fewer rights, as that of a set-user-ID program does. Shells
// and interpreters obey variables, so a started program must not see any of these.
bool hasForeignEnvironment() {
    return getauxval(AT_SECURE) != 0;
}

std::string toVariableName(String const& name) {
    if (name.empty() || name.find(L'=') != String::npos)
        throw CError("Invalid name of an environment variable: '" + name + "'.");
    return toFileName(name).data();
}

// Values often hold paths.
std::string toVariableValue(String const& value) {
    return toFileName(value).data();
}

// However often it is there: programs differ in which of two they take.
void removeVariable(std::vector<std::string>& texts, std::string const& name) {
    std::string const start = name + "=";
    auto const isOld = [&](std::string const& text) { return text.compare(0, start.size(), start) == 0; };
    texts.erase(std::remove_if(texts.begin(), texts.end(), isOld), texts.end());
}

void setVariable(std::vector<std::string>& texts, std::string const& name, std::string const& value) {
    removeVariable(texts, name);
    texts.push_back(name + "=" + value);
}

} // namespace

std::vector<std::string> composeEnvironment(TMap<String, String> const* given) {
    std::vector<std::string> environment;
    if (given != nullptr) {
        for (auto const& [name, value] : *given)
            environment.push_back(toVariableName(name) + "=" + toVariableValue(value));
    } else if (hasForeignEnvironment()) {
        environment.emplace_back(kSystemsPath);
    } else {
        for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable)
            environment.emplace_back(*variable);
    }
    return environment;
}

std::vector<std::string> composeUnsupervisedEnvironment(TMap<String, String> const& variables) {
    std::vector<std::string> environment = composeEnvironment(nullptr);
    removeVariable(environment, "NOTIFY_SOCKET");
    for (auto const& [name, value] : variables)
        setVariable(environment, toVariableName(name), toVariableValue(value));
    return environment;
}

void setAccountVariables(std::vector<std::string>& environment, UserRecord const& account) {
    setVariable(environment, "HOME", account.home);
    setVariable(environment, "USER", account.name);
    setVariable(environment, "LOGNAME", account.name);
    setVariable(environment, "SHELL", account.shell);
}

} // namespace fdn
