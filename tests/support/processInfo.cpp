#include "support/processInfo.h"

#include "support/TemporaryFolder.h"
#include "support/fileInfo.h"

#include <gtest/gtest.h>

#include <sstream>

#include <sys/wait.h>

namespace test {

namespace {

std::string procFolderOf(pid_t process) {
    return "/proc/" + std::to_string(process);
}

std::string joinWords(std::string const& text) {
    std::istringstream words(text);
    std::string joined;
    for (std::string word; words >> word;)
        joined += (joined.empty() ? "" : " ") + word;
    return joined;
}

} // namespace

std::string statusOf(pid_t process, std::string const& field) {
    std::istringstream lines(readFile(procFolderOf(process) + "/status"));
    for (std::string line; std::getline(lines, line);)
        if (line.compare(0, field.size() + 1, field + ":") == 0)
            return joinWords(line.substr(field.size() + 1));
    ADD_FAILURE() << "The status of process " << process << " has no field " << field << ".";
    return std::string();
}

std::string startTimeOf(pid_t process) {
    std::string const stat = readFile(procFolderOf(process) + "/stat");
    // The second field, the name of the process, may contain anything, parentheses included.
    std::istringstream fields(stat.substr(stat.rfind(')') + 1));
    std::string field;
    for (int i = 3; i <= 22; ++i)
        fields >> field;
    return field;
}

std::string bootIdentifier() {
    return joinWords(readFile("/proc/sys/kernel/random/boot_id"));
}

std::set<int> descriptorsOf(pid_t process) {
    std::string const folder = procFolderOf(process) + "/fd";
    std::set<int> descriptors;
    for (std::string const& name : entriesOf(folder))
        descriptors.insert(std::stoi(name));
    return descriptors;
}

std::string openFileOf(pid_t process, int descriptor) {
    return targetOf(procFolderOf(process) + "/fd/" + std::to_string(descriptor));
}

std::string currentFolderOf(pid_t process) {
    return targetOf(procFolderOf(process) + "/cwd");
}

pid_t childOf(pid_t process) {
    std::string const id = std::to_string(process);
    pid_t child = 0;
    std::istringstream(readFile(procFolderOf(process) + "/task/" + id + "/children")) >> child;
    return child;
}

bool hasChild() {
    siginfo_t info = {};
    return waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0;
}

int reap(pid_t child) {
    int state = 0;
    EXPECT_EQ(waitpid(child, &state, 0), child);
    return WIFSIGNALED(state) ? 128 + WTERMSIG(state) : WEXITSTATUS(state);
}

} // namespace test
