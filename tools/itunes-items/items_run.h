#pragma once
// The program itunes-items: its command line, and the file from its first record to its end or its damage.

/// Prints what the command line asks for and closes standard output. Returns the exit status: 0, 1 for a file
/// or an output that failed, which is said on standard error, 2 for wrong usage.
[[nodiscard]] int items_run(int argc, char** argv);
