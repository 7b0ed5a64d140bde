#pragma once
// The command line of itunes-prepare.

#include <optional>

#include "tools/itunes-prepare/prepare.h"

/// Reads the arguments into `request`. Returns nothing where the preparation is to go on, else the status to
/// end with: what was asked for has been printed, or what was wrong.
[[nodiscard]] std::optional<int> read_options(int argc, char** argv, PrepareRequest* request);
