#pragma once

/// Marks what libfdn offers to programs; everything else in the library stays hidden.
#define FDN_EXPORT __attribute__((visibility("default")))

/// Marks the private steps of an exported class, which no inline function calls. They are no part of the
/// library's binary interface and may change in every version.
#define FDN_HIDDEN __attribute__((visibility("hidden")))
