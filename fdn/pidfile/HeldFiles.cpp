#include <fdn/pidfile/HeldFiles.h>

#include <algorithm>
#include <vector>

#include <pthread.h>
#include <unistd.h>

namespace fdn {

namespace {

struct HeldFile {
    FileId id;
    pid_t process = 0;
    std::vector<Descriptor> keptOpen;
};

// Neither is ever destroyed, because the destructor of a global object may give a PID file up.
std::mutex heldFilesMutex;

std::vector<HeldFile>& heldFiles() {
    static auto* const files = new std::vector<HeldFile>;
    return *files;
}

auto find(FileId const& file) {
    return std::find_if(heldFiles().begin(), heldFiles().end(),
                        [&](HeldFile const& held) { return held.id == file && held.process == getpid(); });
}

void lockBeforeFork() {
    heldFilesMutex.lock();
}

void unlockAfterFork() {
    heldFilesMutex.unlock();
}

// The child of a fork has only the thread that called it. If another one were looking at a file just then,
// the child would find the mutex locked forever.
std::mutex& getMutexKeptFromForks() {
    static int const registered = pthread_atfork(&lockBeforeFork, &unlockAfterFork, &unlockAfterFork);
    static_cast<void>(registered);
    return heldFilesMutex;
}

} // namespace

HeldFilesGuard::HeldFilesGuard() : m_lock(getMutexKeptFromForks()) {
    heldFiles(); // made here, because the child of a fork may not allocate
}

bool isHeldHere(FileId const& file) {
    return find(file) != heldFiles().end();
}

void addHeldFile(FileId const& file) {
    HeldFile held;
    held.id = file;
    held.process = getpid();
    heldFiles().push_back(std::move(held));
}

void removeHeldFile(FileId const& file) {
    auto const found = find(file);
    if (found != heldFiles().end())
        heldFiles().erase(found);
}

void keepOpen(FileId const& file, Descriptor descriptor) {
    find(file)->keptOpen.push_back(std::move(descriptor));
}

} // namespace fdn
