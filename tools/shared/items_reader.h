#pragma once
// The one reader of items files for the companions: a window over a descriptor, large enough for the largest
// record allowed, in which the server's own library tells where a record ends; so a value that holds a
// record's marker is read through. Memory is bounded, whatever the file holds.
//
//     ItemsReader reader(descriptor);
//     for (ItemsRecord record = reader.next(); !record.data.empty(); record = reader.next()) {
//         ... // record.data; record.is_whole is false for the last one of a file that is damaged inside it
//     }
//     if (reader.fault() != ItemsFault::none) { ... }

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

/// The largest record that is read, marker included: far above any record of the import.
constexpr uint32_t items_record_limit = 1U << 20;

enum class ItemsFault {
    none,
    read_error,    // the reader's error() says which
    no_items_file, // the first bytes are not the marker of a record
    damaged,       // what fault_text() says
};

struct ItemsRecord {
    std::string_view data; // its marker and its whole entries; valid until the next call
    bool is_whole;         // false where something is wrong behind them
};

class ItemsReader {
public:
    /// The descriptor stays the caller's; reading begins where it stands.
    explicit ItemsReader(int descriptor);

    /// The next record. Without data at the end of the file, and behind a fault.
    [[nodiscard]] ItemsRecord next();

    /// What ended the reading; after a fault every further record is empty.
    [[nodiscard]] ItemsFault fault() const { return fault_; }
    /// The errno of a failed read, else 0.
    [[nodiscard]] int error() const { return error_; }
    /// The fault in words that go behind "PROGRAM: FILE: ": "not an items file", "damaged at byte 15: ...",
    /// where bytes count from 0, or the system's reason. Empty without a fault.
    [[nodiscard]] std::string fault_text() const;
    /// Where the next record begins in the file, or the first byte of the damage.
    [[nodiscard]] uint64_t offset() const { return offset_ + start_; }

private:
    void fill_window();
    ItemsRecord end_with(ItemsFault fault, const char* reason, uint32_t length);

    int descriptor_;
    std::vector<char> window_;
    uint64_t offset_ = 0; // of the window in the file
    uint32_t start_ = 0;  // of the next record in the window
    uint32_t length_ = 0; // bytes in the window
    bool at_end_ = false; // nothing of the file follows the window
    ItemsFault fault_ = ItemsFault::none;
    int error_ = 0;
    const char* reason_ = "";
};

enum class ItemsState {
    whole,         // every record was counted; an empty file has none
    absent,        // there is no such file
    unreadable,    // no regular file, or one that can not be opened or read; `error` is the errno
    no_items_file, // it holds something else
    damaged,       // records may follow that are not counted
};

struct ItemsCount {
    ItemsState state;
    uint64_t records;       // whole ones, up to what is wrong
    int error;              // of an unreadable file, else 0
    std::string fault_text; // the reader's, or the system's reason for an unreadable file; else empty
};

/// Calls `use` with the path of each record of the items file at `path`, as far as it can be read.
void for_each_record_path(const std::string& path, const std::function<void(std::string_view)>& use);

/// Counts the records of the items file at `path`.
[[nodiscard]] ItemsCount count_items(const std::string& path);
