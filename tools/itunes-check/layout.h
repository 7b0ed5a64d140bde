#pragma once
// How the lines of a library are laid out. The import reads no XML: it takes a key with its value from one
// line, as iTunes writes them, and what stands otherwise is lost to it.

#include <cstdint>
#include <string>
#include <string_view>

#include "tools/itunes-check/counted_examples.h"

enum class LibraryLayout : uint8_t {
    as_read,    // every key that the import looks for has its value beside it
    partly,     // most have
    other,      // the fewest have
    no_library, // no line holds such a key
};

/// Hears each line of a library once, in order.
class LayoutCounter {
public:
    void add_line(const char* line);

    [[nodiscard]] LibraryLayout layout() const;
    /// The keys that the import looks for and that have their value on their line.
    [[nodiscard]] uint32_t keys_beside() const { return keys_beside_; }
    /// Those that have not, and keys behind another one on a line, of which the import takes one.
    [[nodiscard]] uint32_t keys_apart() const { return static_cast<uint32_t>(lost_values_.count); }
    /// The same as "line 12: Location".
    [[nodiscard]] const CountedExamples& lost_values() const { return lost_values_; }
    /// The version of the program that wrote the library, at most 63 bytes; empty for none.
    [[nodiscard]] const std::string& version() const { return version_; }
    /// The tracks in the lines so far.
    [[nodiscard]] uint32_t tracks() const { return tracks_; }

private:
    void count_keys(const char* line, std::string_view text);
    void add_lost(std::string_view key);
    void note_version(std::string_view text);

    uint32_t keys_beside_ = 0;
    CountedExamples lost_values_;
    uint32_t line_ = 1; // of the text that comes next
    uint32_t tracks_ = 0;
    bool has_sections_ = false;    // Tracks or Playlists
    bool in_playlists_ = false;    // whose items have track ids, too
    bool version_follows_ = false; // its key stood alone on the last line
    std::string version_;
};

/// Whether the last that stands in the file, blanks and line ends aside, is the end of a property list. False
/// where it can not be read.
[[nodiscard]] bool library_ends_whole(const std::string& path);
