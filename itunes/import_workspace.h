#pragma once
// The first half of a run: the temporary directory inside the database directory, and everything that the
// import writes into it. The other half, import_commit.h, puts the results in place. Paths come from
// import_run.

/// Makes the temporary directory unless an earlier run left it. Failures are logged by the file layer; the
/// items file can then not be opened.
void import_prepare_temp_dir();

/// Reads the whole library into the temporary directory: the items file, which replaces that of an
/// interrupted run, and the playlist files. Each has reached the disk when it is closed, so that what is put
/// in place later survives a power cut. Nothing is read where the items file cannot be opened (logged).
void import_into_temp_dir();
