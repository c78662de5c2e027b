// Uses global objects in a way that once made somebody wait for ever, with the exit status 0 when nobody
// does. The only argument says how:
//
//   join-in-construction  joins paths while a global object is constructed, and another thread does so for
//   the
//                         first time
//   log-in-construction   logs for the first time while another thread constructs a global object
//   use-destroyed         uses a global object after its destruction

#include <fdn/CFdnInit.h>
#include <fdn/CXMLLog.h>
#include <fdn/Path.h>
#include <fdn/TSafeGlobalPointer.h>
#include <fdn/log.h>

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <map>
#include <string>
#include <thread>

#include <unistd.h>

namespace {

using fdn::P;
using fdn::Path;

constexpr int kFailure = 1;
constexpr int kUsage = 2;

// The separator is a global object.
Path join() {
    return Path(fdn::CUnixPathTraits::getSep()) << Path("b");
}

// Whether the thread waits for something or has ended.
bool isAtRest(pid_t thread) {
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
    std::string line;
    std::getline(file, line);
    std::size_t const endOfName = line.rfind(')');
    return endOfName == std::string::npos || line[endOfName + 2] != 'R';
}

void awaitRest(std::atomic<pid_t> const& thread) {
    while (thread == 0 || !isAtRest(thread))
        usleep(1000);
}

std::thread other;

P<Path> createPath() {
    static std::atomic<pid_t> id{0};
    other = std::thread([] {
        id = gettid();
        join();
    });
    awaitRest(id);
    return fdn::newObj<Path>(join());
}

char& guard() {
    static char flag = 0;
    return flag;
}

Path& globalPath(P<Path> (*create)()) {
    static fdn::TSafeGlobalPointer<Path> path(&guard, create);
    return *path;
}

int joinInConstruction() {
    globalPath(&createPath);
    other.join();
    return 0;
}

int logInConstruction() {
    fdn::CXMLLog::getGlobal();
    // What a create function holds.
    fdn::CMutexLock const lock(fdn::getGlobalMutex());
    std::thread([] {
        fdn::logInfo("one entry");
        setenv("FDN_LOG_FILE", "relative/log", 1);
        fdn::CXMLLog::CGlobalLogCloser();
        fdn::logInfo("another entry");
    }).join();
    return 0;
}

class UserInTheEnd {
public:
    ~UserInTheEnd() {
        try {
            globalPath(&create);
        } catch (fdn::CError const& error) {
            _exit(error.getMessage() == "The static object has been destroyed." ? 0 : kFailure);
        }
        _exit(kFailure);
    }

    static P<Path> create() { return fdn::newObj<Path>("/a"); }
};

int useDestroyed() {
    // Made before the global, and so destroyed after it.
    static UserInTheEnd const last;
    globalPath(&UserInTheEnd::create);
    return kFailure;
}

} // namespace

int main(int argc, char** argv) {
    std::map<std::string, int (*)()> const ways = {{"join-in-construction", &joinInConstruction},
                                                   {"log-in-construction", &logInConstruction},
                                                   {"use-destroyed", &useDestroyed}};
    alarm(20); // where somebody waits for ever
    fdn::CFdnInit const init(true);
    auto const way = ways.find(argc == 2 ? argv[1] : "");
    return way == ways.end() ? kUsage : way->second();
}
