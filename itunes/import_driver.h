#pragma once
// One run of the program, from the command line to the exit status.

/// Runs as the command line asks: an import, -init, or the usage text. Returns the exit status: 0 for a
/// completed run, whatever failed inside it, and after -init; -1 after the usage text.
int itunes_import_main(int argc, char** argv);
