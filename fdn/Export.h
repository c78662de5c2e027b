#pragma once

/// Marks what libfdn offers to programs; everything else in the library stays hidden.
#define FDN_EXPORT __attribute__((visibility("default")))
