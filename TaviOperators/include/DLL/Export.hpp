#pragma once

/// Marks the exported frames of the library.
#define TAVI_OPERATORS_EXPORT __attribute__((visibility("default")))
