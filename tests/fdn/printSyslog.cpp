// What goes to syslog(3) goes to standard output instead, in this program and the libraries that it uses: the
// machine's own log is not for tests.

#include <cstdarg>
#include <cstdio>

// Not declared by <syslog.h>, which defines syslog() itself where the compiler fortifies programs.
extern "C" {
void syslog(int priority, char const* format, ...) __attribute__((format(printf, 2, 3)));
void __syslog_chk(int priority, int flag, char const* format, ...) // NOLINT(bugprone-reserved-identifier)
    __attribute__((format(printf, 3, 4)));
}

namespace {

__attribute__((format(printf, 2, 0))) void print(int priority, char const* format, std::va_list arguments) {
    std::printf("syslog %d: ", priority);
    std::vprintf(format, arguments);
    std::printf("\n");
}

} // namespace

void syslog(int priority, char const* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    print(priority, format, arguments);
    va_end(arguments);
}

// What fortified programs call.
void __syslog_chk(int priority, int, char const* format, ...) { // NOLINT(bugprone-reserved-identifier)
    std::va_list arguments;
    va_start(arguments, format);
    print(priority, format, arguments);
    va_end(arguments);
}
