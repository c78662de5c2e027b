#include <fdn/pidfile/PIDRecord.h>

#include <fdn/pidfile/ProcessIdentity.h>

#include <charconv>

#include <unistd.h>

namespace fdn {

namespace {

// 0 unless the line is a number that a process can have.
pid_t parseProcess(std::string line) {
    line.erase(line.find_last_not_of(" \t\r") + 1);
    pid_t process = 0;
    auto const [end, error] = std::from_chars(line.data(), line.data() + line.size(), process);
    bool const isNumber = error == std::errc() && end == line.data() + line.size();
    return isNumber && process > 0 ? process : 0;
}

} // namespace

PIDRecord parsePIDRecord(std::string const& content) {
    PIDRecord record;
    std::size_t const endOfFirst = content.find('\n');
    record.process = parseProcess(content.substr(0, endOfFirst));
    if (endOfFirst != std::string::npos)
        record.identity = content.substr(endOfFirst + 1, content.find('\n', endOfFirst + 1) - endOfFirst - 1);
    return record;
}

std::string composePIDRecord() {
    std::string const identity = getProcessIdentity(getpid());
    return std::to_string(getpid()) + "\n" + (identity.empty() ? "" : identity + "\n");
}

} // namespace fdn
