#include "Comparison.h"

#include <fdn/uri.h>

#include <glib.h>

namespace {

constexpr char kPlain[] = "--message=still alive & kicking; 100% sure";
constexpr char kEscaped[] = "--message%3Dstill%20alive%20%26%20kicking%3B%20100%25%20sure";

void escape(benchmark::State& state) {
    fdn::String const text(kPlain);
    for (auto _ : state)
        benchmark::DoNotOptimize(fdn::uriEscape(text));
}

void escapeWithGLib(benchmark::State& state) {
    for (auto _ : state) {
        char* const escaped = g_uri_escape_string(kPlain, nullptr, 0);
        benchmark::DoNotOptimize(escaped);
        g_free(escaped);
    }
}

void unescape(benchmark::State& state) {
    fdn::String const text(kEscaped);
    for (auto _ : state)
        benchmark::DoNotOptimize(fdn::uriUnescape(text));
}

void unescapeWithGLib(benchmark::State& state) {
    for (auto _ : state) {
        char* const plain = g_uri_unescape_string(kEscaped, nullptr);
        benchmark::DoNotOptimize(plain);
        g_free(plain);
    }
}

constexpr char kReason[] =
    "Texts are wide: each is turned into UTF-8 first, and the result is made wide again.";

Comparison const escaping("escape a run parameter", kReason,
                          {{"fdn::uriEscape", &escape}, {"GLib", &escapeWithGLib}});

Comparison const unescaping("unescape a run parameter", kReason,
                            {{"fdn::uriUnescape", &unescape}, {"GLib", &unescapeWithGLib}});

} // namespace
