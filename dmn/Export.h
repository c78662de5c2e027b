#pragma once

/// Marks what libdmn offers to programs; everything else in the library stays hidden.
#define DMN_EXPORT __attribute__((visibility("default")))

/// Marks the private steps of an exported class, which no inline function calls. They are no part of the
/// library's binary interface and may change in every version.
#define DMN_HIDDEN __attribute__((visibility("hidden")))
