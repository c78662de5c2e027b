#include <dmnctl/show/Terminal.h>

#include <cstdlib>
#include <string_view>

#include <sys/ioctl.h>
#include <unistd.h>

namespace dmnctl {

namespace {

bool isSet(char const* name) {
    char const* const value = std::getenv(name);
    return value != nullptr && *value != '\0';
}

bool isDumb() {
    char const* const name = std::getenv("TERM");
    return name == nullptr || std::string_view(name) == "dumb";
}

int askWidth() {
    winsize size = {};
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

// The parameter of SGR (ECMA-48, 8.3.117).
char const* getCode(Colour colour) {
    switch (colour) {
    case Colour::Red:
        return "31";
    case Colour::Yellow:
        return "33";
    case Colour::Green:
        return "32";
    case Colour::Grey:
        break;
    }
    return "90";
}

} // namespace

Terminal::Terminal() {
    if (isatty(STDOUT_FILENO) == 0)
        return;
    m_width = askWidth();
    m_hasColours = !isSet("NO_COLOR") && !isDumb();
}

std::string Terminal::paint(std::string const& text, Colour colour) const {
    return m_hasColours ? std::string("\x1b[") + getCode(colour) + "m" + text + "\x1b[0m" : text;
}

} // namespace dmnctl
