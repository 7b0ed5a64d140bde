#pragma once
// Writes a library as it is read: its head and its tracks at once, and so its playlists once the tracks are
// there; playlists that come before them wait in a file.

#include <string>

#include "tools/itunes-prepare/playlist_writer.h"
#include "tools/itunes-prepare/prepare_report.h"
#include "tools/itunes-prepare/track_writer.h"
#include "tools/itunes-prepare/waiting_playlists.h"
#include "tools/shared/buffered_writer.h"
#include "tools/shared/library_reader.h"
#include "tools/shared/places.h"

class LibraryWriter : public LibraryListener {
public:
    /// Borrows output, places and report; what has to wait does so in `folder`, if it can.
    LibraryWriter(BufferedWriter* output, Places* places, PrepareReport* report, std::string folder);

    void library_value(std::string_view key, PlistElement element, std::string_view text) override;
    void begin_tracks() override;
    void begin_track(std::string_view key) override { track_.begin(key); }
    void track_value(std::string_view key, PlistElement element, std::string_view text) override {
        track_.add(key, element, text);
    }
    void end_track() override { track_.end(); }
    void end_tracks() override;
    void begin_playlist() override { playlist_.begin(); }
    void playlist_value(std::string_view key, PlistElement element, std::string_view text) override {
        playlist_.add(key, element, text);
    }
    void playlist_item(int32_t track_id) override { playlist_.add_item(track_id); }
    void end_playlist() override;
    void end_library() override;
    [[nodiscard]] bool is_done() const override { return output_->error() != 0 || !failure_.empty(); }

    /// Writes what is kept; 0 or the error's number.
    [[nodiscard]] int finish() { return output_->flush(); }
    /// What failed beside the output; empty for nothing.
    [[nodiscard]] const std::string& failure() const { return failure_; }

private:
    void fail(int error);

    BufferedWriter* output_;
    std::string folder_;
    PlayableTracks playable_;
    TrackWriter track_;
    PlaylistMaker playlist_;
    WaitingPlaylists waiting_;
    bool has_tracks_ = false; // all of them
    std::string failure_;
};
