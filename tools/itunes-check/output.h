#pragma once
// What itunes-check prints on standard output: lines for programs, objects for programs, a summary for
// people.

#include "tools/itunes-check/tally.h"

/// The present items file, with which the check was asked to compare.
struct ItemsComparison {
    const char* path; // null where it was not asked for
    uint64_t records;
};

/// One line a track or playlist, fields between tabs.
void print_track_line(const TrackReport* report);
void print_playlist_lines(const CheckedPlaylists* playlists);

/// One JSON object a track or playlist, and one at the end.
void print_track_object(const TrackReport* report);
void print_playlist_objects(const CheckedPlaylists* playlists);
void print_summary_object(const LibraryTally* tally, const ItemsComparison* items);

/// The summary for people.
void print_summary(const LibraryTally* tally, const ItemsComparison* items);
