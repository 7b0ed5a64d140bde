#pragma once
// What a preparation did, in numbers with a few examples.

#include <cstdint>
#include <string>
#include <vector>

class PrepareReport {
public:
    enum Kind : uint8_t {
        missing,
        too_long,
        read_otherwise,
        found,
        respelled,
        other,
        mapped,
        elsewhere, // found below the folder that was looked through
        unreadable // folders in it
    };

    void count(Kind kind) { ++counts_[kind]; }
    void count(Kind kind, std::string example);
    void count_track() { ++tracks_; }
    void count_playlist() { ++playlists_; }
    [[nodiscard]] uint64_t playlists() const { return playlists_; }

    /// The lines to print, escaped; none where nothing is amiss and not the whole report is wanted.
    [[nodiscard]] std::string text(bool is_whole) const;

private:
    static constexpr size_t kinds = 9;

    uint64_t tracks_ = 0;
    uint64_t playlists_ = 0;
    uint64_t counts_[kinds] = {};
    std::vector<std::string> examples_[kinds];
};
