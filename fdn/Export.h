#pragma once

/// Marks what libfdn offers to programs; everything else in the library stays hidden.
#define FDN_EXPORT __attribute__((visibility("default")))

/// Hides a member of a class that is marked with FDN_EXPORT: a private step that no inline function calls.
#define FDN_HIDDEN __attribute__((visibility("hidden")))
