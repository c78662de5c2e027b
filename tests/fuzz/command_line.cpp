// Command lines: any arguments are either refused or understood, and those with which a daemon is launched
// are understood as they were meant. The command itself is not carried out.

#include "FuzzSupport.h"

#include <dmn/CDaemonEntry.h>

#include <fdn/CError.h>

namespace {

using fuzz::require;

constexpr std::size_t kMostArguments = 16;

class CParsingEntry : public dmn::CDaemonEntry {
public:
    fdn::P<dmn::CDaemonInfo> createDaemonInfo() override {
        auto info = fdn::newObj<dmn::CDaemonInfo>();
        info->defaultId = "fuzz";
        return info;
    }

    fdn::P<dmn::CDaemon> createDaemon(fdn::String const&, fdn::Path const&) override { return nullptr; }

    // Hides the control folder, which would be created otherwise.
    void handleCommandParams(wxCmdLineParser& parser) override {
        CDaemonEntry::handleCommandParams(parser);
        givenFolder = m_controlFolder;
        m_controlFolder = fdn::Path();
    }

    void doCommand(fdn::String const& command) override { doneCommand = command; }

    using CDaemonEntry::m_daemonId;

    fdn::Path givenFolder;
    fdn::String doneCommand;
};

int enter(CParsingEntry& entry, std::vector<std::string> arguments) {
    std::vector<char*> pointers;
    for (std::string& argument : arguments)
        pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    return entry.entry(static_cast<int>(arguments.size()), pointers.data());
}

void checkAnyArguments(std::string const& input) {
    std::vector<std::string> arguments = fuzz::split(input, kMostArguments);
    while (!arguments.empty() && arguments.back().empty())
        arguments.pop_back();
    arguments.insert(arguments.begin(), "fuzz");
    auto const entry = fdn::newObj<CParsingEntry>();

    int const status = enter(*entry, arguments);

    require(status == 0 || entry->doneCommand.empty(), "a refused command is not carried out");
    require(status != 0 || entry->m_daemonId != "", "there is an ID for every command");
}

// The input is an ID and a control folder. When a daemon is launched, both are text and neither is empty.
void checkLaunch(std::string const& input) {
    std::vector<std::string> const pieces = fuzz::split(input, 2);
    if (pieces[0].empty() || pieces[1].empty() || pieces[1].find('\0') != std::string::npos)
        return;
    fdn::String const id = fuzz::toText(pieces[0]);
    fdn::String const folder = fuzz::toText(pieces[1]);
    auto const entry = fdn::newObj<CParsingEntry>();

    int const status =
        enter(*entry, {"fuzz", "--id=" + id.toUTF8(), "--controlFolder=" + folder.toUTF8(), "daemon"});

    require(status == 0, "the command line of a launch is understood");
    require(entry->doneCommand == "daemon", "the command of a launch is carried out");
    require(entry->m_daemonId == id, "the ID arrives unchanged");
    require(entry->givenFolder.getText() == folder, "the control folder arrives unchanged");
}

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string const input = fuzz::toBytes(data, size);
    checkAnyArguments(input);
    checkLaunch(input);
    return 0;
}
