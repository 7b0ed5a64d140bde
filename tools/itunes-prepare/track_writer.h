#pragma once
// Writes tracks in the layout that the import reads, with the paths of this machine.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "itunes/library_key.h"
#include "tools/itunes-prepare/library_line.h"
#include "tools/itunes-prepare/prepare_report.h"
#include "tools/shared/buffered_writer.h"
#include "tools/shared/places.h"
#include "tools/shared/playable_tracks.h"
#include "tools/shared/property_list.h"

class TrackWriter {
public:
    /// Everything is borrowed.
    TrackWriter(BufferedWriter* output, Places* places, PrepareReport* report, PlayableTracks* playable)
        : output_(output), places_(places), report_(report), playable_(playable) {}

    void begin(std::string_view key);
    void add(std::string_view key, PlistElement element, std::string_view text);
    /// Writes the track.
    void end();

private:
    struct KeyLine {
        const LibraryKey* key;
        std::string text;
    };

    std::string* line_of(const LibraryKey* key);
    void note(LineReading reading, std::string_view key);
    LineReading make_location();

    BufferedWriter* output_;
    Places* places_;
    PrepareReport* report_;
    PlayableTracks* playable_;

    std::string number_;         // the dictionary's own Track ID comes to stand here
    std::vector<KeyLine> lines_; // in the order of the library, which is the order of a record's properties
    size_t line_count_ = 0;      // of those that are this track's
    std::string type_;
    std::optional<std::string> location_;
    std::string location_line_;
    bool is_protected_ = false;
};
