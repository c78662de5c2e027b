#include <dmn/commandline/ParserOutput.h>

#include <cstdio>
#include <typeinfo>

namespace dmn {

namespace {

/// What wxWidgets prints with unless somebody has told it otherwise: an object that prints to standard error.
class DefaultOutput : public wxMessageOutputStderr {
public:
    /// Whether the output is that object. wxWidgets makes it for the first message; until then it is null.
    /// Its file is protected: only a pointer to the member, taken in a derived class, reaches it.
    static bool is(wxMessageOutput const* output) {
        return output == nullptr ||
               (typeid(*output) == typeid(wxMessageOutputStderr) &&
                static_cast<wxMessageOutputStderr const*>(output)->*(&DefaultOutput::m_fp) == stderr);
    }
};

} // namespace

ParserOutput::ParserOutput() : m_output(stdout), m_previous(wxMessageOutput::Set(&m_output)) {
    if (!DefaultOutput::is(m_previous))
        wxMessageOutput::Set(m_previous);
}

ParserOutput::~ParserOutput() {
    wxMessageOutput::Set(m_previous);
}

NoParserOutput::NoParserOutput() : m_previous(wxMessageOutput::Set(this)) {}

NoParserOutput::~NoParserOutput() {
    wxMessageOutput::Set(m_previous);
}

void NoParserOutput::Output(wxString const&) {}

} // namespace dmn
