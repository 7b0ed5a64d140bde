#pragma once
// The whole check of a library: the import's own code reads it into a scratch directory, a listener hears
// what it decides, and what came out is printed and judged.

#include "tools/itunes-check/request.h"

/// Checks the library as it was asked for and prints the result on standard output, failures on standard
/// error. Returns the exit status: 0 for a library that can be imported, else 1.
[[nodiscard]] int run_check(const CheckRequest& request);
