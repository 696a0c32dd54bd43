#pragma once

/// Marks what is visible outside the shared object that compiled it: polymorphic types whose identity must be one
/// on both sides of a library boundary, and the process-wide tables.
#define TAVI_EXPORT __attribute__((visibility("default")))
