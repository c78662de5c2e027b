#include <fdn/system/closeDescriptors.h>

#include <algorithm>
#include <climits>

#include <sys/syscall.h>
#include <unistd.h>

namespace fdn {

namespace {

constexpr int kEndOnOldKernels = 65536;

// Closes the numbers from `first` up to but not including `end`. By the system call's number, because not
// every C library has a function for it.
void closeRange(int first, int end) {
    if (first >= end || syscall(SYS_close_range, first, end - 1, 0) == 0)
        return;
    // Not up to the limit on descriptors, which may be a thousand million.
    for (int descriptor = first; descriptor < std::min(end, kEndOnOldKernels); ++descriptor)
        close(descriptor);
}

} // namespace

void closeOthersBut(int one, int other) {
    int first = STDERR_FILENO + 1;
    for (int const kept : {std::min(one, other), std::max(one, other)}) {
        closeRange(first, kept);
        first = std::max(first, kept + 1);
    }
    closeRange(first, INT_MAX);
}

void closeAllBut(int kept) {
    dup2(kept, STDIN_FILENO);
    closeRange(STDIN_FILENO + 1, INT_MAX);
}

} // namespace fdn
