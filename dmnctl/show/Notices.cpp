#include <dmnctl/show/Notices.h>

#include <dmnctl/show/text.h>

#include <fdn/CError.h>

#include <signal.h>

namespace dmnctl {

Notices::Notices() {
    signal(SIGPIPE, SIG_IGN);
}

Notices::~Notices() {
    signal(SIGPIPE, SIG_DFL);
}

void Notices::say(std::string const& text) {
    try {
        print(text + "\n");
    } catch (fdn::CError const& error) {
        m_problem = toUTF8(error.getMessage());
    }
}

bool Notices::areSaid() const {
    if (!m_problem.empty())
        printError(m_problem);
    return m_problem.empty();
}

} // namespace dmnctl
