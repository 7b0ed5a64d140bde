#pragma once
// A night: the whole import of a library, unattended. It looks at the library while the import's own code
// reads it, looks at what came out, and only then puts it in place.

#include "tools/itunes-import-night/request.h"

/// Does it, says on standard error what went wrong, and returns the exit status: 0 where everything is new
/// and whole, else 1. A signal that orders the end removes what was begun and ends the process.
[[nodiscard]] int run_night(const NightRequest& request);

/// The program: does what its command line asks and returns its exit status.
[[nodiscard]] int itunes_import_night_main(int argc, char** argv);
