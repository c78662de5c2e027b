#pragma once

#include <string>

namespace dmnctl {

/// What a command reports while it changes the machine. The change must not depend on whether anybody reads
/// that, or on a full disk: while the object lives, SIGPIPE is ignored, and what cannot be written is lost.
class Notices {
public:
    Notices();
    Notices(Notices const&) = delete;
    Notices& operator=(Notices const&) = delete;
    ~Notices();

    /// Writes the printable text and a line feed to standard output.
    void say(std::string const& text);

    /// Whether everything was written, or nobody wanted to read it. Says on standard error why not.
    bool areSaid() const;

private:
    std::string m_problem;
};

} // namespace dmnctl
