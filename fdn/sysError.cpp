#include <fdn/sysError.h>

#include <fdn/CError.h>

#include <cerrno>
#include <system_error>

namespace fdn {

namespace {

// One subject is enough for people: the first of these that is there.
String getSubject(CProps const& props) {
    for (char const* const name : {"path", "program", "account"}) {
        auto const found = props.find(name);
        if (found != props.end())
            return " for '" + found->second + "'";
    }
    return String();
}

String getFunction(CProps const& props) {
    auto const found = props.find("func");
    return found != props.end() ? found->second : String("A system call");
}

} // namespace

int getLastSysError() {
    return errno;
}

void throwSysError(int code, CProps const& props) {
    String const reason = String::fromBytes(std::generic_category().message(code));
    throw CError(getFunction(props) + " failed" + getSubject(props) + ": " + reason + ".", String(), code,
                 props, nullptr);
}

void throwLastSysError(char const* func, char const* action) {
    int const code = getLastSysError(); // at once: making the properties may change it
    throwSysError(code, CProps{{"func", func}, {"action", action}});
}

} // namespace fdn
