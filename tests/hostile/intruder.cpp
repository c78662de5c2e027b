// A library that a malicious user wants the programs of others to load. It leaves a mark at the path that
// DMN_INTRUDERS_MARK holds.

#include <cstdlib>

#include <fcntl.h>
#include <unistd.h>

namespace {

[[gnu::constructor]] void leaveMark() {
    char const* const mark = std::getenv("DMN_INTRUDERS_MARK");
    if (mark != nullptr)
        close(open(mark, O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
}

} // namespace
