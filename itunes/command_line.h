#pragma once
// The command line: options that each take one value, scanned from left to right, the last value of an option
// counting. Two act at once: -logfile starts the log file, -init writes the setting file and ends the scan.

#include "itunes/import_run.h"

enum class CommandLineResult {
    import,    // there is a -dbdir: go on with an import
    init_done, // -init has done its work and closed the log: exit with 0
    unusable,  // too few arguments or no -dbdir: print the usage text and fail
};

/// Scans the arguments, program name included, into `options`, which is cleared first. The option values stay
/// the argument vector's. Unknown arguments, and options without a value (none follows, or one that begins
/// with '-'), are ignored. Logging starts in console mode, unless there are no arguments at all.
[[nodiscard]] CommandLineResult import_scan_command_line(int argc, char* const* argv, ImportOptions* options);

/// Prints the usage text to standard output, with the name under which the program was started.
void import_print_usage(const char* program_name);
