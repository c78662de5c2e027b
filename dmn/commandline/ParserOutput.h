#pragma once

#include <wx/msgout.h>

namespace dmn {

// Where the parser's usage and error messages go. wxWidgets keeps one output for the whole process, and the
// application may replace it with its own. While an object here lives, none of the application's code may
// run: it could set another output, and delete the one that the object has to restore.

/// While it lives, the parser prints to standard output, or wherever the application has directed it before.
class ParserOutput {
public:
    ParserOutput();
    ParserOutput(ParserOutput const&) = delete;
    ParserOutput& operator=(ParserOutput const&) = delete;
    ~ParserOutput();

private:
    wxMessageOutputStderr m_output; // which prints to the file that it is given, whatever its name says
    wxMessageOutput* m_previous;
};

/// While it lives, the parser says nothing.
class NoParserOutput : public wxMessageOutput {
public:
    NoParserOutput();
    NoParserOutput(NoParserOutput const&) = delete;
    NoParserOutput& operator=(NoParserOutput const&) = delete;
    ~NoParserOutput() override;

    void Output(wxString const& text) override;

private:
    wxMessageOutput* m_previous;
};

} // namespace dmn
