#pragma once

#include <wx/debug.h>

namespace dmn {

/// While it lives, wxWidgets does not report what it takes for a programming error. The handler belongs to
/// the whole process: keep the object for single calls on the main thread.
class IgnoredAssertions {
public:
    IgnoredAssertions() : m_previous(wxSetAssertHandler(nullptr)) {}

    IgnoredAssertions(IgnoredAssertions const&) = delete;
    IgnoredAssertions& operator=(IgnoredAssertions const&) = delete;

    ~IgnoredAssertions() { wxSetAssertHandler(m_previous); }

private:
    wxAssertHandler_t m_previous;
};

} // namespace dmn
