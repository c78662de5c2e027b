#include <dmn/service/HelpRequest.h>

#include <dmn/commandline/runsDaemon.h>
#include <dmn/service/ServiceOptions.h>

#include <algorithm>
#include <iterator>

namespace dmn {

namespace {

template <std::size_t size>
bool isOneOf(std::string_view word, std::string_view const (&words)[size]) {
    return std::find(std::begin(words), std::end(words), word) != std::end(words);
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
