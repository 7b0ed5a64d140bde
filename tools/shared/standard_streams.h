#pragma once
// Standard input, output and error as a program needs them before it opens anything.

/// Takes the places of closed standard streams, so that no file is opened there and written to by mistake.
/// Reading from such a place ends at once, and writing to it fails. Call it first.
void fill_standard_descriptors();
