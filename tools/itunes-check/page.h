#pragma once
// A page for those who would rather look than read: how much of a library arrives and why the rest does not,
// every track that will not, every playlist with its entries. It is one file that needs nothing else, can be
// read without its script, and holds whatever a library says as text.
//
//     LibraryPage page(items_path);
//     ... page.add_track(report), page.add_event(event) while the import reads ...
//     const int error = page.write("page.html", {"itunes-check", &summary, reasons});
//
// Its size grows with the tracks and the entries of playlists.

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "itunes/import_observer.h"
#include "tools/itunes-check/output.h"
#include "tools/shared/path_set.h"

struct PageContents {
    const char* program;              // that writes the page
    const CheckSummary* summary;      // null where nothing came of the library; borrowed, as all of this
    std::vector<std::string> reasons; // what failed, escaped; they stand on top
    std::string preparation{};        // what it did, as escaped lines; empty for none
};

/// Rows of a list in blocks, so that a browser lays out the few alone that are looked at: of tens of thousands
/// it would take a minute.
class PageRows {
public:
    explicit PageRows(bool are_numbered) : are_numbered_(are_numbered) {}

    void add(const std::string& row);

    [[nodiscard]] uint64_t count() const { return count_; }
    /// An element with all rows; empty for none.
    [[nodiscard]] std::string html() const;

private:
    bool are_numbered_;
    std::string html_;
    uint64_t count_ = 0;
};

class LibraryPage {
public:
    /// With a present items file, the page shows which of its files are new and which are gone.
    explicit LibraryPage(const std::optional<std::string>& items_path);

    void add_track(const TrackReport& report);
    void add_event(const PlaylistEvent& event);

    /// Writes the page, whole or not at all; returns 0 or the error's number. The present items file has to
    /// be as it was.
    [[nodiscard]] int write(const std::string& path, const PageContents& contents) const;

private:
    struct Track {
        TrackOutcome outcome;
        size_t title; // in titles_
    };

    void add_entry(const PlaylistEvent& event);
    [[nodiscard]] std::string tracks_part() const;
    [[nodiscard]] std::string playlists_part(const CheckSummary& summary) const;
    [[nodiscard]] std::string changes_part() const;

    std::optional<std::string> items_path_;
    PathSet present_; // of the present records
    PathSet records_; // of those to come
    std::unordered_map<int32_t, Track> tracks_;
    std::string titles_;            // as HTML, each behind the other with a NUL
    PageRows lost_{false};          // tracks that will not arrive
    PageRows added_{false};         // tracks that are new
    std::vector<PageRows> entries_; // of each playlist
};
