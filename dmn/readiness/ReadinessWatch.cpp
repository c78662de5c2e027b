#include <dmn/readiness/ReadinessWatch.h>

#include <fdn/CError.h>
#include <fdn/CPIDFile.h>
#include <fdn/files.h>
#include <fdn/sysError.h>

#include <dmn/start/printable.h>

#include <algorithm>
#include <cerrno>
#include <iterator>

#include <poll.h>
#include <signal.h>

namespace dmn {

namespace {

constexpr int kLookMs = 50;

// A daemon that fails says why and ends. What it has said is then part of the error, and no step.
constexpr int kLastWordsMs = 500;

// More than wait at a socket (net.unix.max_dgram_qlen), so that one round takes all that an ended process has
// sent; but not without end, for somebody may send faster than this process reads.
constexpr int kMessagesPerRound = 1000;

// Enough for a script's children. A stranger can send from as many processes as he likes.
constexpr std::size_t kMostOthers = 16;
constexpr std::size_t kLongestStatus = 500;

std::optional<fdn::String> getStatus(fdn::Notification const& message) {
    auto const status = message.assignments.find("STATUS");
    return status == message.assignments.end()
               ? std::nullopt
               : std::optional(makePrintable(status->second.substr(0, kLongestStatus)));
}

bool tellsReadiness(fdn::Notification const& message) {
    auto const ready = message.assignments.find("READY");
    return ready != message.assignments.end() && ready->second == "1";
}

bool isReadable(int descriptor) {
    pollfd event = {descriptor, POLLIN, 0};
    return poll(&event, 1, 0) == 1;
}

bool isAlive(pid_t process) {
    return kill(process, 0) == 0 || errno == EPERM;
}

// The process that a claim of this file names which fails because of it (see fdn::CPIDFile), or 0. The daemon
// may also claim files of other programs, whose holders are no daemon.
pid_t findHolderIn(fdn::String const& status, fdn::Path const& pidFile) {
    fdn::String rest;
    long number = 0;
    fdn::String const start = "The PID file '" + pidFile.getText() + "' is held by process ";
    if (!status.StartsWith(makePrintable(start), &rest) || !rest.BeforeFirst('.').ToLong(&number))
        return 0;
    return static_cast<pid_t>(number);
}

bool isGone(fdn::Path const& file) {
    try {
        return !fdn::isSilent(file) && !fdn::fileExists(file);
    } catch (fdn::CError const&) { // what cannot be looked at may be there
        return false;
    }
}

} // namespace

ReadinessWatch::ReadinessWatch(fdn::Path const& pidFile, fdn::CNotificationReceiver& receiver,
                               LaterChildren const& children, pid_t launched,
                               std::function<void(fdn::String const& step)> const& progress)
    : m_pidFile(pidFile), m_receiver(receiver), m_children(children), m_progress(progress),
      m_process(std::make_unique<StartedProcess>(launched)) {}

ReadinessWatch::Result ReadinessWatch::await(Deadline const& deadline) {
    for (;;) {
        // Looked at before the messages: all that ended processes have sent are there.
        pid_t const ended = m_process->hasEnded() ? m_process->getNumber() : 0;
        bool const mayOneCome = ended > 0 && m_children.anyLives();
        bool const holdsFile = m_isSilent && findHolder() == m_process->getNumber();
        readMessages();
        if (m_isReady || (holdsFile && isSilentHolder()))
            return Result::Ready;
        if (ended == m_process->getNumber()) {
            if (std::optional<Result> const result = judgeEnd(mayOneCome))
                return *result;
        }
        if (deadline.hasPassed())
            return m_process->hasEnded() ? Result::Ended : Result::Late;
        if (m_stepDue && m_stepDue->hasPassed())
            tellStep();
        awaitNews(deadline);
    }
}

void ReadinessWatch::readMessages() {
    for (int message = 0; message < kMessagesPerRound && !m_isReady; ++message) {
        if (!isReadable(m_receiver.getDescriptor()))
            return;
        m_isSilent = false;
        if (std::optional<fdn::Notification> const notification = m_receiver.receive())
            take(*notification);
    }
}

void ReadinessWatch::take(fdn::Notification const& message) {
    if (message.sender != m_process->getNumber()) {
        if (message.sender != findHolder())
            return remember(message);
        adopt(message.sender);
    }
    if (tellsReadiness(message))
        m_isReady = isReady();
    else if (std::optional<fdn::String> const status = getStatus(message))
        takeStatus(*status);
}

void ReadinessWatch::takeStatus(fdn::String const& status) {
    if (status == m_lastStatus)
        return;
    tellStep();
    m_lastStatus = status;
    m_stepDue.emplace(kLastWordsMs);
}

void ReadinessWatch::tellStep() {
    if (m_stepDue && m_progress)
        m_progress(m_lastStatus);
    m_stepDue.reset();
}

// A daemon tells of its claim before it makes it. One that holds the file and has not said a word will never
// say one: it was built with an earlier library, or is a set-user-ID program. That it is up is all that there
// is to learn of it. While anybody else sends, the daemon's words may be lost, or yet to come.
bool ReadinessWatch::isSilentHolder() {
    return m_isSilent && isReady();
}

// A daemon that fails at once gives its PID file up, or ends, before it waits for anything.
bool ReadinessWatch::isReady() {
    tellStep();
    m_lastStatus.clear(); // the initialization is over: it cannot explain an end
    return m_process->livesOn() && fdn::CPIDFile::getActivePID(m_pidFile) == m_process->getNumber();
}

// Nothing means that a process may come up yet.
std::optional<ReadinessWatch::Result> ReadinessWatch::judgeEnd(bool mayOneCome) {
    pid_t const holder = findHolder();
    bool const mayHaveLeftOne = m_process->getEnd().maySucceed();
    if (mayHaveLeftOne && adoptOrphan(holder))
        return std::nullopt;
    m_holder = holder > 0 ? holder : findLateHolder();
    if (m_holder > 0)
        return Result::RunsAlready;
    if (mayHaveLeftOne && mayOneCome) // who has not claimed the file yet
        return std::nullopt;
    return Result::Ended;
}

pid_t ReadinessWatch::findHolder() const {
    try {
        return fdn::CPIDFile::getActivePID(m_pidFile);
    } catch (fdn::CError const&) { // what the daemon says about it tells more
        return 0;
    }
}

// The process that held the file when the daemon was to come up, if it has ended or given the file up since.
// One that lives and keeps a file without being its holder only keeps the daemon from coming up.
pid_t ReadinessWatch::findLateHolder() const {
    pid_t const process = findHolderIn(m_lastStatus, m_pidFile);
    if (process < 1)
        return 0;
    return !isAlive(process) || isGone(m_pidFile) ? process : findHolder(); // who may be the next one
}

void ReadinessWatch::adopt(pid_t process) {
    // It may be the same one, by now a child of this process, which can tell how it has ended.
    if (process != m_process->getNumber()) {
        tellStep();
        m_lastStatus = m_others[process];
    }
    m_process = std::make_unique<StartedProcess>(process);
}

bool ReadinessWatch::adoptOrphan(pid_t holder) {
    if (holder > 0 && isChild(holder)) {
        adopt(holder);
        return true;
    }
    auto const orphan = std::find_if(m_others.begin(), m_others.end(),
                                     [](auto const& other) { return isChild(other.first); });
    if (orphan == m_others.end())
        return false;
    adopt(orphan->first);
    return true;
}

void ReadinessWatch::remember(fdn::Notification const& message) {
    if (m_others.size() < kMostOthers || m_others.count(message.sender) != 0)
        m_others[message.sender] = getStatus(message).value_or(m_others[message.sender]);
}

void ReadinessWatch::awaitNews(Deadline const& deadline) {
    int const process = m_process->hasEnded() ? -1 : m_process->getDescriptor();
    pollfd events[] = {{m_receiver.getDescriptor(), POLLIN, 0}, {process, POLLIN, 0}};
    int const rest = deadline.getRestMs();
    // Nobody tells of processes without a descriptor, of those that nobody knows yet, and of silent ones.
    int const step = m_stepDue ? m_stepDue->getRestMs() : rest;
    int const longest = std::min(process == -1 || m_isSilent ? std::min(rest, kLookMs) : rest, step);
    if (poll(events, std::size(events), longest) == -1 && errno != EINTR)
        fdn::throwLastSysError("poll", "CDaemonStarter::start");
}

} // namespace dmn
