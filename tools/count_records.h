#pragma once
// Counting the records of an items file.

#include <cstdint>

/// Returns the number of whole records in the items file at `path`, of a damaged file those before the
/// damage; 0 where it is missing, empty or no regular file, so that there is nothing to compare with. A file
/// that is there and can not be read is said on standard error. Sets *is_damaged, if not null, where records
/// may follow that are not counted, or the file holds something else.
[[nodiscard]] uint64_t count_records(const char* path, bool* is_damaged);
