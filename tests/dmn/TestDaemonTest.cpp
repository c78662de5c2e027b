#include "TestDaemonTest.h"

#include <fdn/String.h>

#include <wx/msgout.h>

namespace test {

namespace {

/// Keeps the text that the parser would print.
class CapturedMessages : public wxMessageOutput {
public:
    CapturedMessages() : m_previous(wxMessageOutput::Set(this)) {}

    CapturedMessages(CapturedMessages const&) = delete;
    CapturedMessages& operator=(CapturedMessages const&) = delete;

    ~CapturedMessages() override { wxMessageOutput::Set(m_previous); }

    void Output(wxString const& text) override { m_text += fdn::String(text).toUTF8(); }

    std::string const& text() const { return m_text; }

private:
    wxMessageOutput* m_previous;
    std::string m_text;
};

std::string lines(std::string const& first, unsigned blanks, std::vector<std::string> const& others) {
    std::string text = first;
    for (std::string const& other : others)
        text += "\n" + std::string(blanks, ' ') + other;
    return text;
}

void setArguments(wxCmdLineParser& parser, std::vector<std::string> const& arguments) {
    std::vector<std::wstring> texts;
    std::vector<wchar_t*> pointers;
    for (std::string const& argument : arguments)
        texts.push_back(fdn::String::fromBytes(argument).ToStdWstring());
    for (std::wstring& text : texts)
        pointers.push_back(text.data());
    parser.SetCmdLine(static_cast<int>(pointers.size()), pointers.data());
}

} // namespace

char const* const commandSummary = "\n"
                                   "COMMAND can be either of the following:\n"
                                   "    run       run in normal console mode\n"
                                   "    daemon    run in daemon mode\n"
                                   "    install   install the daemon\n"
                                   "    uninstall uninstall the daemon\n"
                                   "    start     starts the daemon (if it is not already running)\n"
                                   "    stop      stops the daemon\n"
                                   "\n"
                                   "\n";

void declareCommandLine(wxCmdLineParser& parser) {
    std::string const gap(33, ' ');
    auto const add = [&parser](char const* shortName, char const* longName, std::string const& help) {
        parser.AddOption(shortName, longName, help, wxCMD_LINE_VAL_STRING, 0);
    };
    parser.SetSwitchChars("-");
    parser.AddParam("COMMAND", wxCMD_LINE_VAL_STRING, 1);
    add("c", "controlFolder", lines("Path of the daemon's control folder", 32, {"Commands: install, run"}));
    add("i", "id",
        lines("ID of the daemon. For install this is the ID ", 32,
              {"the daemon will be installed as.", "For the other commands it is the ID of",
               "the daemon to control.", "If this is not specified then",
               "the daemon's default ID will be used.", "Commands: install, start, stop"}));
    add("t", "timeout",
        lines("Timeout for the command to finish (in seconds).", 33,
              {"Default: 30", "Commands: install, uninstall, start, stop"}));
    add("r", "runas",
        lines("Specifies the user account name that the daemon", 33,
              {"should run under.", "Windows Default: depends on the daemon. If it",
               "  requires network access AND admin access then",
               "  a new user account is created. Otherwise it runs",
               "  in the LocalSystem or NetworkService account", "Unix Default: root", "Commands: install"}));
    add("p", "runas-password",
        lines("Specifies the password for the user account", 33,
              {"name that the daemon should run under.",
               "ONLY needed on Windows!!" + gap + "Default: <empty>", "Commands: install"}));
    add("s", "transientFolderAppID",
        lines("Specifies the app id to be used when", 33,
              {"generating the transient folder path that", "is created each time the daemon is run.",
               "Only has an effect on Linux.", "Default: <empty> (do not create transient folder)",
               "Commands: install"}));
    add("g", "transientFolderGroup",
        lines("Specifies the group that should", 33,
              {"be assigned to the transient folder.", "Default: root", "Commands: install"}));
}

std::string parserReportFor(std::vector<std::string> const& arguments) {
    CapturedMessages const messages;
    wxCmdLineParser parser;
    setArguments(parser, arguments);
    declareCommandLine(parser);
    EXPECT_NE(0, parser.Parse(true));
    return messages.text();
}

std::string usageOf(std::string const& program) {
    CapturedMessages const messages;
    wxCmdLineParser parser;
    setArguments(parser, {program});
    declareCommandLine(parser);
    parser.Usage();
    return messages.text();
}

} // namespace test
