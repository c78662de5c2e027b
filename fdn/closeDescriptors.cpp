#include <fdn/closeDescriptors.h>

#include <fcntl.h>
#include <unistd.h>

namespace fdn {

namespace {

constexpr int kFirstOtherDescriptor = 3;
constexpr int kOldKernelDescriptors = 65536;

} // namespace

void leaveOtherDescriptorsBehind() {
    if (close_range(kFirstOtherDescriptor, ~0U, CLOSE_RANGE_CLOEXEC) == 0)
        return;
    // Descriptors with higher numbers are inherited there unless they are close-on-exec already; the limit on
    // their number may be too large to go through.
    for (int descriptor = kFirstOtherDescriptor; descriptor < kOldKernelDescriptors; ++descriptor)
        fcntl(descriptor, F_SETFD, FD_CLOEXEC);
}

void closeAllBut(int kept) {
    dup2(kept, STDIN_FILENO);
    if (close_range(STDIN_FILENO + 1, ~0U, 0) == 0)
        return;
    for (int descriptor = STDIN_FILENO + 1; descriptor < kOldKernelDescriptors; ++descriptor)
        close(descriptor);
}

} // namespace fdn
