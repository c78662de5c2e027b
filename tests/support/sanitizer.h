#pragma once

#include "support/Program.h"

#include <cstdlib>
#include <string>

namespace test {

/// Whether the tests were built with ThreadSanitizer, which does not support everything in a forked process,
/// or with AddressSanitizer, which looks for leaks for a while when a process exits.
#if defined(__has_feature)
constexpr bool kHasThreadSanitizer = __has_feature(thread_sanitizer);
constexpr bool kHasAddressSanitizer = __has_feature(address_sanitizer);
#else
#if defined(__SANITIZE_THREAD__)
constexpr bool kHasThreadSanitizer = true;
#else
constexpr bool kHasThreadSanitizer = false;
#endif
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kHasAddressSanitizer = true;
#else
constexpr bool kHasAddressSanitizer = false;
#endif
#endif

/// Sanitizers handle the signals of a crash themselves unless they are told to leave them alone.
inline Environment withoutSanitizersHandlers() {
    Environment environment;
    for (char const* const name : {"ASAN_OPTIONS", "TSAN_OPTIONS", "UBSAN_OPTIONS"}) {
        char const* const options = std::getenv(name);
        environment[name] = (options == nullptr ? "" : std::string(options) + ":") +
                            "handle_segv=0:handle_sigbus=0:handle_sigfpe=0:handle_sigill=0:handle_abort=0:"
                            "use_sigaltstack=0";
    }
    return environment;
}

} // namespace test
