#pragma once
// What is so wrong with a library that it should not be imported unattended.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/itunes-check/tally.h"

constexpr uint32_t default_min_share = 80; // percent

/// The present items file, with which the records to come are compared.
struct PresentItems {
    std::string path;
    uint64_t records = 0;
    uint32_t min_share = default_min_share; // percent of its records that have to come
};

struct LibraryFailure {
    std::string reason;    // for people, to go behind "PROGRAM: LIBRARY: "; values in it are escaped
    bool is_share = false; // fewer records than the share of those that are there
};

/// All failures; none for a library that can be imported. Nothing is compared without present items.
[[nodiscard]] std::vector<LibraryFailure> library_failures(const LibraryTally& tally,
                                                           const std::optional<PresentItems>& present);
