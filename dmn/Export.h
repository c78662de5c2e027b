#pragma once

/// Marks what libdmn offers to programs; everything else in the library stays hidden.
#define DMN_EXPORT __attribute__((visibility("default")))
