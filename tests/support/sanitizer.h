#pragma once

namespace test {

/// Whether the tests were built with ThreadSanitizer, which does not support everything in a forked process.
#if defined(__SANITIZE_THREAD__)
constexpr bool kHasThreadSanitizer = true;
#elif defined(__has_feature)
constexpr bool kHasThreadSanitizer = __has_feature(thread_sanitizer);
#else
constexpr bool kHasThreadSanitizer = false;
#endif

} // namespace test
