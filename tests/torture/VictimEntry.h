#pragma once

#include "Marks.h"

#include <dmn/dmn.h>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>

#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace torture {

// What the victims of both front ends have in common. The environment tells them what to do:
//
//   VICTIM_MARKS   the file in which they mark how far they have got (see Marks)
//   VICTIM_PAUSE   if set, they first stop themselves with SIGSTOP
//   VICTIM_USER    the effective user to run as, if the real one is root
//   VICTIM_RUN     "brief": their work is done at once; "busy": they log an entry every 10 milliseconds, and
//                  count SIGHUP
//
// Their exit status is 99 if their effective user at the end is not the one of the beginning. Each writes its
// user, its group and its word to the file ID.txt in its control folder.

inline constexpr int kUserNotRestored = 99;

inline Marks* marks = nullptr;

// Takes the variable away, because what the victim starts must not do the same.
inline std::string takeVariable(char const* name) {
    char const* const value = std::getenv(name);
    std::string const text = value == nullptr ? "" : value;
    unsetenv(name);
    return text;
}

inline std::string runMode() {
    char const* const value = std::getenv("VICTIM_RUN");
    return value == nullptr ? "" : value;
}

inline void introduce(dmn::CDaemon& daemon, fdn::String const& word) {
    fdn::Path const name(daemon.getId() + ".txt");
    std::ofstream file((daemon.getControlFolder() << name).getText().toUTF8());
    file << getuid() << " " << getgid() << " " << word.toUTF8() << std::endl;
}

/// The front end of a victim, with an option of its own, its word.
template <class FrontEnd>
class TVictimEntry : public FrontEnd {
public:
    fdn::P<dmn::CDaemonInfo> createDaemonInfo() override {
        auto info = fdn::newObj<dmn::CDaemonInfo>();
        info->defaultId = "victim";
        info->displayName = "Victim";
        info->startAtBoot = true;
        info->params = {"--word=" + m_word};
        return info;
    }

    // This is the first hook after the handler is registered.
    void addCommandLineOptions(wxCmdLineParser& parser) override {
        marks->registered = true;
        FrontEnd::addCommandLineOptions(parser);
        parser.AddOption("w", "word", "A word to keep.");
    }

    void handleCommandParams(wxCmdLineParser& parser) override {
        FrontEnd::handleCommandParams(parser);
        wxString word;
        if (parser.Found("word", &word))
            m_word = word;
    }

protected:
    fdn::String m_word;
};

inline void becomeEffectiveUser(std::string const& user) {
    // Not by seteuid(): the library makes that system call as well, and the torturer must tell the two apart.
    if (!user.empty() && getuid() == 0 && syscall(SYS_setreuid, -1, std::stoi(user)) != 0)
        std::exit(kUserNotRestored);
}

/// The whole of a victim's main(): does what the environment says, and what `enter` does.
inline int live(std::function<int()> const& enter) {
    marks = mapMarks(takeVariable("VICTIM_MARKS"));
    marks->inMain = true;
    becomeEffectiveUser(takeVariable("VICTIM_USER"));
    uid_t const user = geteuid();
    if (!takeVariable("VICTIM_PAUSE").empty())
        raise(SIGSTOP);
    int const status = enter();
    marks->left = 1;
    return geteuid() == user ? status : kUserNotRestored;
}

} // namespace torture
