#pragma once
// A library as the property list that it is: what it says of tracks and playlists, whatever layout its lines
// have.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "tools/shared/property_list.h"

/// Hears what a library holds, in its order. Values are those that are no containers, each with the element
/// that it came in; a key may come twice. Texts are borrowed for the call. All functions do nothing here.
class LibraryListener {
public:
    LibraryListener() = default;
    LibraryListener(const LibraryListener&) = delete;
    LibraryListener& operator=(const LibraryListener&) = delete;
    virtual ~LibraryListener() = default;

    /// A value of the library itself, such as the Application Version.
    virtual void library_value(std::string_view /*key*/, PlistElement /*element*/,
                               std::string_view /*text*/) {}
    virtual void begin_tracks() {}
    virtual void begin_track(std::string_view /*key*/) {} // under which the track's dictionary stands
    virtual void track_value(std::string_view /*key*/, PlistElement /*element*/, std::string_view /*text*/) {}
    virtual void end_track() {}
    virtual void end_tracks() {}
    virtual void begin_playlist() {}
    virtual void playlist_value(std::string_view /*key*/, PlistElement /*element*/,
                                std::string_view /*text*/) {}
    virtual void playlist_item(int32_t /*track_id*/) {} // never 0
    virtual void end_playlist() {}
    virtual void end_library() {} // it has a list of tracks

    /// Asked after each track and playlist: whether nothing further is wanted.
    [[nodiscard]] virtual bool is_done() const { return false; }
};

/// Reads a library to its end. Damage (property_list.h) are also: a root that is not one dictionary, a second
/// list of tracks or of playlists, and no list of tracks.
[[nodiscard]] PropertyListResult read_library(int descriptor, LibraryListener* listener);

/// Puts an integer's text, as the import reads it, into `number`: digits as they stand, else decimal, from up
/// to 19 digits with blanks and a sign around them or 16 hexadecimal ones behind "0x". False where the text
/// is none.
[[nodiscard]] bool library_integer(std::string_view text, std::string* number);

/// The id of a track in such a text; none where it is no number of 32 bits.
[[nodiscard]] std::optional<int32_t> library_track_id(std::string_view text);
