#include <fdn/system/procFiles.h>

#include <fdn/Path.h>
#include <fdn/sysError.h>
#include <fdn/system/Descriptor.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>

#include <fcntl.h>
#include <unistd.h>

namespace fdn {

namespace {

constexpr char kBlanks[] = " \t\n";
constexpr int kStartTimeAfterName = 20; // field 22 of proc_pid_stat(5); the name in parentheses is the second

// The process may end between any two calls.
bool saysNoProcess(int error) {
    return error == ENOENT || error == ENOTDIR || error == ESRCH;
}

// Empty where the number would be another process's.
std::string findProcessFolder(pid_t process) {
    if (process == getpid())
        return "self";
    return readProcLink("self") == std::to_string(getpid()) ? std::to_string(process) : std::string();
}

} // namespace

// Any failure but a missing file says nothing about the process and is thrown, so that the process is not
// taken for gone. What is wanted here is at the beginning of each file.
std::string readProcFile(std::string const& name) {
    std::string const path = "/proc/" + name;
    Descriptor const file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    std::array<char, 4096> content;
    ssize_t size = -1;
    if (file.isOpen())
        size = uninterrupted([&] { return read(file.get(), content.data(), content.size()); });
    if (size == -1 && !saysNoProcess(errno))
        throwLastSysError(file.isOpen() ? "read" : "open", "looking at a process",
                          Path(String::fromBytes(path)));
    return size > 0 ? std::string(content.data(), static_cast<std::size_t>(size)) : std::string();
}

std::string readProcLink(std::string const& name) {
    std::array<char, PATH_MAX> target;
    ssize_t const size = readlink(("/proc/" + name).c_str(), target.data(), target.size());
    return std::string(target.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
}

std::string readProcessFile(pid_t process, char const* name) {
    std::string const folder = findProcessFolder(process);
    return folder.empty() ? std::string() : readProcFile(folder + "/" + name);
}

std::string readProcessLink(pid_t process, char const* name) {
    std::string const folder = findProcessFolder(process);
    return folder.empty() ? std::string() : readProcLink(folder + "/" + name);
}

std::string getProcessStatus(pid_t process, std::string const& name) {
    std::string const status = "\n" + readProcessFile(process, "status");
    std::size_t const start = status.find("\n" + name + ":");
    if (start == std::string::npos)
        return std::string();
    std::size_t const valueStart = start + name.size() + 2;
    return status.substr(valueStart, status.find('\n', valueStart) - valueStart);
}

std::string getProcessStartTime(pid_t process) {
    std::string const stat = readProcessFile(process, "stat");
    // The name may contain anything, even blanks and parentheses, but nothing after it does.
    return getWord(stat.substr(stat.rfind(')') + 1), kStartTimeAfterName);
}

std::string getWord(std::string const& words, int number) {
    std::size_t start = words.find_first_not_of(kBlanks);
    while (--number > 0 && start != std::string::npos)
        start = words.find_first_not_of(kBlanks, words.find_first_of(kBlanks, start));
    return start == std::string::npos ? std::string()
                                      : words.substr(start, words.find_first_of(kBlanks, start) - start);
}

} // namespace fdn
