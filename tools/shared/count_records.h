#pragma once
// Counting the records of an items file.

#include <cstdint>

struct RecordCount {
    uint64_t records; // whole ones; of a damaged file those before the damage
    bool is_damaged;  // records may follow that are not counted, or the file holds something else
};

/// Counts the records of the items file at `path`: none where it is missing, empty or no regular file, so that
/// there is nothing to compare with. A file that is there and can not be read is said on standard error.
[[nodiscard]] RecordCount count_records(const char* path);
