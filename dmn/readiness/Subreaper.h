#pragma once

namespace dmn {

/// Makes this process the parent of its descendants' orphans while the object lives (Linux prctl,
/// PR_SET_CHILD_SUBREAPER), and restores what it was before. A detached process is such an orphan, and only a
/// parent learns how a process has ended. Where the system refuses, nothing changes.
class Subreaper {
public:
    Subreaper();
    Subreaper(Subreaper const&) = delete;
    Subreaper& operator=(Subreaper const&) = delete;
    ~Subreaper();

private:
    bool m_hasChanged = false;
};

} // namespace dmn
