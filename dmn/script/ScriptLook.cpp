#include <dmn/script/ScriptLook.h>

#include <dmn/script/InitScriptText.h>

#include <array>
#include <cerrno>
#include <string>
#include <tuple>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace dmn {

namespace {

using Kind = ScriptLook::Kind;

// O_NONBLOCK, because opening a pipe would wait for somebody who writes to it.
constexpr int kOpenFlags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
constexpr std::size_t kMostBytes = 1U << 20U;
constexpr std::size_t kBlock = 4096; // more than most scripts have
constexpr int kReadings = 10;

/// A script that is open, or the reason why it is not.
class OpenScript {
public:
    explicit OpenScript(fdn::Path const& script) {
        wxCharBuffer const name = fdn::toFileName(script); // freed after errno is read
        do
            m_descriptor = open(name, kOpenFlags);
        while (m_descriptor == -1 && errno == EINTR);
        m_error = m_descriptor == -1 ? errno : 0;
    }

    OpenScript(OpenScript const&) = delete;
    OpenScript& operator=(OpenScript const&) = delete;

    ~OpenScript() {
        if (m_descriptor != -1)
            close(m_descriptor);
    }

    int getError() const { return m_error; }

    bool getInfo(struct stat& info) {
        info = {};
        return succeeds(fstat(m_descriptor, &info));
    }

    /// Reads the text to its end, unless it turns out to be foreign.
    bool read(std::string& text) {
        std::array<char, kBlock> block = {};
        text.clear();
        while (beginsAsInitScript(text) && text.size() < kMostBytes) {
            ssize_t const count = pread(m_descriptor, block.data(), kBlock, static_cast<off_t>(text.size()));
            if (count == 0)
                break;
            if (count > 0)
                text.append(block.data(), static_cast<std::size_t>(count));
            else if (errno != EINTR)
                return succeeds(-1);
        }
        return true;
    }

private:
    bool succeeds(int result) {
        m_error = result == 0 ? 0 : errno;
        return result == 0;
    }

    int m_descriptor = -1;
    int m_error = 0;
};

ScriptLook judgeError(int error) {
    switch (error) {
    case ENOENT:
    case ENOTDIR:
        return {Kind::Missing, error, {}};
    case ELOOP:
        return {Kind::Link, error, {}};
    case ENXIO: // a socket
        return {Kind::NoFile, error, {}};
    default:
        return {Kind::Unreadable, error, {}};
    }
}

ScriptLook judgeText(std::string const& text) {
    std::optional<InitScriptValues> const values = parseInitScript(text);
    return {values ? Kind::Own : Kind::Foreign, 0, values};
}

bool isSameVersion(struct stat const& a, struct stat const& b) {
    auto const compose = [](struct stat const& info) {
        return std::make_tuple(info.st_size, info.st_mtim.tv_sec, info.st_mtim.tv_nsec, info.st_ctim.tv_sec,
                               info.st_ctim.tv_nsec);
    };
    return compose(a) == compose(b);
}

} // namespace

ScriptLook lookAtScript(fdn::Path const& script) {
    OpenScript file(script);
    if (file.getError() != 0)
        return judgeError(file.getError());
    std::string text;
    struct stat before = {};
    struct stat after = {};
    for (int reading = 0; reading < kReadings; ++reading) {
        if (!file.getInfo(before))
            return judgeError(file.getError());
        if (!S_ISREG(before.st_mode))
            return {Kind::NoFile, 0, {}};
        if (!file.read(text) || !file.getInfo(after))
            return judgeError(file.getError());
        if (isSameVersion(before, after))
            return judgeText(text);
    }
    return {Kind::Unreadable, EBUSY, {}};
}

bool mayBeRun(fdn::Path const& script) {
    return faccessat(AT_FDCWD, fdn::toFileName(script), X_OK, AT_EACCESS) == 0 || errno != EACCES;
}

bool tellsWhatItPrints(fdn::Path const& script, ScriptLook const& look) {
    return look.kind == Kind::Own && printsItsValues(*look.values) && mayBeRun(script);
}

} // namespace dmn
