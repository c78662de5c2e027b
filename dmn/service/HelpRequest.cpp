#include <dmn/service/HelpRequest.h>

#include <dmn/commandline/runsDaemon.h>

#include <algorithm>
#include <iterator>

namespace dmn {

namespace {

template <std::size_t size>
bool isOneOf(std::string_view word, std::string_view const (&words)[size]) {
    return std::find(std::begin(words), std::end(words), word) != std::end(words);
}

// Of an option that is given without its value, that is the next argument.
bool takesNextArgument(std::string_view argument) {
    constexpr std::string_view kOptions[] = {"-c",
                                             "-g",
                                             "-i",
                                             "-p",
                                             "-r",
                                             "-s",
                                             "-t",
                                             "--controlFolder",
                                             "--id",
                                             "--log-level",
                                             "--runas",
                                             "--runas-password",
                                             "--timeout",
                                             "--transientFolderAppID",
                                             "--transientFolderGroup"};
    return isOneOf(argument, kOptions);
}

} // namespace

HelpRequest findHelpRequest(int argc, char const* const* argv) {
    bool isBeforeCommand = true;
    for (int i = 1; i < argc && argv[i] != nullptr; ++i) {
        std::string_view const argument = argv[i];
        if (takesNextArgument(argument))
            ++i;
        else if (isOneOf(argument, {"--help", "-h"}) || (isBeforeCommand && argument == "help"))
            return HelpRequest::Usage;
        else if (argument == "--version")
            return HelpRequest::Version;
        else if (isBeforeCommand && runsDaemon(argv[i]))
            return HelpRequest::None;
        else if (argument.substr(0, 1) != "-")
            isBeforeCommand = false;
    }
    return HelpRequest::None;
}

std::string_view findCommand(int argc, char const* const* argv) {
    for (int i = 1; i < argc && argv[i] != nullptr; ++i) {
        std::string_view const argument = argv[i];
        if (takesNextArgument(argument))
            ++i;
        else if (argument.substr(0, 1) != "-")
            return argument;
    }
    return {};
}

} // namespace dmn
