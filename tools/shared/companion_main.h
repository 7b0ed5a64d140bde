#pragma once
// What the mains of the companions have in common.

/// Runs a companion and returns its exit status; where memory runs out, it says so and returns 1. First it
/// takes the places of closed standard streams, so that no file is opened there and written to by mistake:
/// reading from such a place ends at once, and writing to it fails.
int companion_main(const char* program, int (*run)(int argc, char** argv), int argc, char** argv);
