#pragma once
// One run of the program, from the command line to the exit status.

/// Runs as the command line asks: an import, -init, or the usage text. Returns the exit status: 0 for a
/// completed run, whatever failed inside it, and after -init; -1 after the usage text. The process ignores
/// SIGPIPE and SIGXFSZ from then on, and a standard output or error that was closed leads to /dev/null.
int itunes_import_main(int argc, char** argv);
