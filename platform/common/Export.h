#pragma once

/// Marks what a shared library of this project offers to others; everything else stays hidden.
#define VELK_EXPORT __attribute__((visibility("default")))
