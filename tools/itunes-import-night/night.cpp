#include "tools/itunes-import-night/night.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "common/upnp_text.h"
#include "itunes/import_commit.h"
#include "itunes/import_run.h"
#include "tools/itunes-check/explanation.h"
#include "tools/itunes-check/judgement.h"
#include "tools/itunes-check/losses.h"
#include "tools/itunes-check/page.h"
#include "tools/itunes-import-night/ending_signals.h"
#include "tools/itunes-import-night/guarded_import.h"
#include "tools/itunes-import-night/lock.h"
#include "tools/itunes-import-night/messages.h"
#include "tools/itunes-import-night/night_log.h"
#include "tools/itunes-import-night/publication.h"
#include "tools/itunes-import-night/record_comparison.h"
#include "tools/itunes-import-night/verification.h"
#include "tools/itunes-import-night/workspace.h"
#include "tools/itunes-prepare/prepare.h"
#include "tools/shared/companion_main.h"
#include "tools/shared/items_reader.h"
#include "tools/shared/text_output.h"
#include "tools/shared/whole_file.h"

namespace {

constexpr int exit_done = 0;
constexpr int exit_failed = 1;
constexpr char present_items_name[] = "itunes.import.items";
constexpr char night_program[] = "itunes-import-night"; // as the page has it

using std::to_string;

class Night {
public:
    explicit Night(const NightRequest& request)
        : request_(request), items_path_(request.database_dir + "/" + present_items_name) {}

    int run();

private:
    [[nodiscard]] bool lock_database();
    [[nodiscard]] bool take_paths();
    [[nodiscard]] bool spares_what_is_read() const;
    [[nodiscard]] bool look_at_library();
    [[nodiscard]] bool look_at_present_items();
    [[nodiscard]] bool make_workspaces();
    [[nodiscard]] bool prepare();
    [[nodiscard]] bool import_library();
    [[nodiscard]] bool judge();
    [[nodiscard]] bool verify();
    [[nodiscard]] bool spares_library() const;
    [[nodiscard]] bool publish_all();
    void tell() const;
    void compare_for_page();
    [[nodiscard]] bool write_page();

    void end_where_ordered();
    [[nodiscard]] std::string playlist_path(const CheckedPlaylist& playlist) const;
    [[nodiscard]] std::vector<FileMove> moves() const;
    [[nodiscard]] bool work();

    const NightRequest& request_;
    const std::string items_path_; // of the present items file
    LockedDirectory database_;
    NightLog log_;
    struct stat library_status_ = {};
    ItemsCount present_ = {};
    NightWorkspace items_workspace_;
    NightWorkspace playlists_workspace_; // where the playlists go to another directory
    std::string source_path_;            // of the library that is read
    std::string new_items_path_;
    LibraryTally tally_;
    bool is_read_ = false; // the tally holds what came of the library
    RecordDifference new_records_;
    RecordDifference gone_records_;
    std::optional<LibraryPage> page_; // nothing where none was asked for
    TrackExplanation explanation_;    // for the page, as all below
    std::vector<FolderGroup> folders_;
    std::vector<HeardTrack> heard_;
    CheckedLibrary library_;
    std::string preparation_; // what it did
};

/// Says why a night ends; false, for the caller to hand on.
bool fail(const std::string& value, const std::string& reason) {
    say_night(value, reason);
    return false;
}

bool Night::lock_database() {
    database_ = lock_directory(request_.database_dir);
    if (database_.error == EWOULDBLOCK) {
        return fail(request_.database_dir, "another run is at work there; nothing was done");
    }
    return database_.error == 0 ||
           fail(request_.database_dir, "can not be locked: " + std::string(strerror(database_.error)));
}

/// Sets the paths of the run, all but the temporary directory, as an import has them.
bool Night::take_paths() {
    for (const std::string& path : {request_.database_dir, request_.playlist_dir}) {
        if (path.size() > night_directory_limit) {
            return fail(path, "the path is too long");
        }
    }
    if (request_.library_path.size() >= import_path_size) {
        return fail(request_.library_path, "the path is too long");
    }
    import_run_resolve({request_.database_dir.c_str(), request_.playlist_dir.c_str(), nullptr,
                        request_.library_path.c_str()});
    return true;
}

/// A page would replace the library or the items file, also one that is yet to come, and a log be appended; no page
/// takes the place of a device or a pipe.
bool Night::spares_what_is_read() const {
    for (const std::string& written : {request_.page_path, request_.log_path}) {
        const size_t name = written.rfind('/') + 1; // 0 without a directory
        const bool becomes_items =
            written.substr(name) == present_items_name &&
            is_same_file(name == 0 ? "." : written.substr(0, name), request_.database_dir);
        if (becomes_items || is_same_file(written, request_.library_path) ||
            is_same_file(written, items_path_)) {
            return fail(written, "is read by this run, and can be neither its page nor its log");
        }
    }
    return !output_target(request_.page_path).is_stream ||
           fail(request_.page_path, "is no regular file, which a page could replace");
}

bool Night::look_at_library() {
    const std::string& path = request_.library_path;
    if (stat(path.c_str(), &library_status_) != 0) {
        const int error = errno;
        log_.write("can not access " + path);
        return fail(path, strerror(error));
    }
    if (!S_ISREG(library_status_.st_mode)) {
        return fail(path, S_ISDIR(library_status_.st_mode) ? "is a directory" : "is no regular file");
    }
    return access(path.c_str(), R_OK) == 0 || fail(path, strerror(errno));
}

/// The records that the new ones are compared with. A file that is damaged or holds something else is no
/// reason to keep it, but one that can not be read may be whole.
bool Night::look_at_present_items() {
    present_ = count_items(items_path_);
    return present_.state != ItemsState::unreadable || fail(items_path_, present_.fault_text);
}

bool Night::make_workspaces() {
    const auto make = [](NightWorkspace* workspace, const std::string& directory) {
        NightWorkspace::remove_leftovers(directory);
        const int error = workspace->make(directory);
        return error == 0 ||
               fail(directory, "no directory can be made there: " + std::string(strerror(error)));
    };
    // Compared as they are spelt: from one mount of a directory to another one of the same nothing moves.
    const bool are_apart = request_.playlist_dir != request_.database_dir;
    if (!make(&items_workspace_, request_.database_dir) ||
        (are_apart && !make(&playlists_workspace_, request_.playlist_dir))) {
        return false;
    }
    new_items_path_ = items_workspace_.path() + "/" + night_items_name;
    upnp_copy_text(import_run.temp_dir, sizeof import_run.temp_dir,
                   (are_apart ? playlists_workspace_ : items_workspace_).path().c_str());
    return true;
}

/// Has the library prepared, if that was asked for. The paths of the run go on naming the user's own.
bool Night::prepare() {
    source_path_ = request_.library_path;
    if (!request_.prepares) {
        return true;
    }
    source_path_ = items_workspace_.path() + "/" + night_prepared_name;
    PrepareRequest preparation;
    preparation.input = request_.library_path;
    preparation.output = source_path_;
    preparation.maps = request_.maps;
    preparation.media = request_.media_dir;
    preparation.wants_report = !request_.page_path.empty();
    preparation.at_each_look = [this] { end_where_ordered(); };
    const PrepareResult result = prepare_library(preparation);
    end_where_ordered();
    preparation_ = result.report;
    if (result.failure.empty() && result.look_error == 0) {
        return true;
    }
    std::string reason = result.failure.empty()
                             ? "looking for files failed: " + std::string(strerror(result.look_error))
                             : result.failure;
    const std::string output = escaped(source_path_); // a name that would be gone
    if (const size_t at = reason.find(output); at != std::string::npos) {
        reason.replace(at, output.size(), "the prepared library");
    }
    return fail(request_.library_path, "could not be prepared: " + reason);
}

bool Night::import_library() {
    ListenerOptions options;
    if (!request_.page_path.empty()) {
        // A damaged items file has nothing to compare with.
        page_.emplace(present_.state == ItemsState::whole ? std::optional(items_path_) : std::nullopt);
        options.on_track = [this](const TrackReport& report) {
            page_->add_track(report);
            explanation_.add_track(report);
            heard_.push_back({report.track_id, report.outcome == TrackOutcome::record});
        };
        options.on_playlist = [this](const PlaylistEvent& event) { page_->add_event(event); };
    }
    ImportResult result =
        run_guarded_import({source_path_, new_items_path_, options, [this] { end_where_ordered(); }});
    tally_ = std::move(result.tally);
    folders_ = explanation_.finish_folders();
    is_read_ = true;
    compare_for_page();
    for (const std::string& reason : result.failures) {
        (void)fail(request_.library_path, "while it was imported, " + reason);
    }
    struct stat status = {};
    const bool is_unchanged = stat(request_.library_path.c_str(), &status) == 0 &&
                              status.st_ino == library_status_.st_ino &&
                              status.st_size == library_status_.st_size &&
                              status.st_mtim.tv_sec == library_status_.st_mtim.tv_sec &&
                              status.st_mtim.tv_nsec == library_status_.st_mtim.tv_nsec;
    if (!is_unchanged) {
        (void)fail(request_.library_path, "has changed while it was imported; run it again");
    }
    return is_unchanged && result.failures.empty();
}

bool Night::judge() {
    std::optional<PresentItems> present;
    if (present_.state == ItemsState::whole) {
        present = PresentItems{items_path_, present_.records, request_.min_share};
    }
    const std::vector<LibraryFailure> failures = library_failures(tally_, present);
    for (const LibraryFailure& failure : failures) {
        std::string reason = failure.reason;
        if (failure.is_share) {
            reason = to_string(tally_.records()) + " records to come, less than " +
                     to_string(request_.min_share) + " percent of the " + to_string(present_.records) +
                     " in " + escaped(items_path_) +
                     "; if that is meant, run it once with --min-share 0 (gone would be " +
                     difference_text(records_missing(items_path_, new_items_path_)) + ")";
        }
        say_night(request_.library_path, reason);
    }
    return failures.empty();
}

std::string Night::playlist_path(const CheckedPlaylist& playlist) const {
    return std::string(import_run.temp_dir) + "/" + playlist.file_name;
}

/// Reads back all that was written.
bool Night::verify() {
    const std::string fault = items_fault(new_items_path_, tally_.records());
    bool is_whole = fault.empty() || fail(items_path_, fault);
    for (const CheckedPlaylist& playlist : tally_.playlists) {
        end_where_ordered();
        if (playlist.outcome == CheckedOutcome::file) {
            const std::string playlist_trouble = playlist_fault(playlist_path(playlist), playlist);
            is_whole = (playlist_trouble.empty() ||
                        fail(playlist.file_name, "the new playlist " + playlist_trouble)) &&
                       is_whole;
        }
    }
    return is_whole;
}

/// What is to be published: the items file first, then the playlists, which refer to the same files.
std::vector<FileMove> Night::moves() const {
    std::vector<FileMove> moves = {{new_items_path_, items_path_}};
    for (const CheckedPlaylist& playlist : tally_.playlists) {
        if (playlist.outcome == CheckedOutcome::file) {
            moves.push_back({playlist_path(playlist), request_.playlist_dir + "/" + playlist.file_name});
        }
    }
    return moves;
}

/// The library itself may lie where a file is published.
bool Night::spares_library() const {
    for (const FileMove& move : moves()) {
        if (is_same_file(move.to, request_.library_path)) {
            return fail(request_.library_path, "would be replaced by the new file of this name");
        }
    }
    return true;
}

/// Puts all files in their places. The workspaces go before the directories are flushed, so that a power cut
/// does not bring them back either.
bool Night::publish_all() {
    const std::vector<FileMove> files = moves();
    const std::vector<std::string> directories = {request_.database_dir, request_.playlist_dir};
    end_where_ordered();
    const bool are_moved = move_into_place(files);
    items_workspace_.remove();
    playlists_workspace_.remove();
    return flush_directories(directories) && are_moved;
}

/// What there is to say of a good night.
void Night::tell() const {
    if (present_.state == ItemsState::damaged || present_.state == ItemsState::no_items_file) {
        say_night(items_path_,
                  "there was nothing to compare with, the file has been made anew: " + present_.fault_text);
    } else if (present_.state == ItemsState::whole && present_.records == 0 && tally_.records() > 0) {
        say_night(items_path_, "was empty and has been made anew");
    }
    if (request_.is_verbose) {
        say_night(request_.library_path,
                  to_string(tally_.records()) + " of " + to_string(tally_.track_count()) + " tracks and " +
                      to_string(tally_.playlist_files()) + " of " + to_string(tally_.playlists.size()) +
                      " playlists arrived; new since the last time: " + difference_text(new_records_) +
                      ", gone: " + difference_text(gone_records_));
    }
}

/// Compares what was read with the library as a property list, which takes one more reading. Of a prepared one
/// the preparation tells.
void Night::compare_for_page() {
    if (!page_) {
        return;
    }
    library_.path = request_.library_path;
    library_.tally = tally_;
    if (!request_.prepares) {
        compare_with_meaning(source_path_, heard_, new_items_path_, &library_);
    }
}

/// Writes the page that was asked for: what came of the library, below all that was said. The present items
/// file is still that of last night.
bool Night::write_page() {
    if (request_.page_path.empty()) {
        return true;
    }
    if (!page_) {
        page_.emplace(std::nullopt);
    }
    const std::optional<PresentItems> present;
    const CheckSummary summary = {library_, explanation_, folders_, present, nullptr};
    const int error = page_->write(
        request_.page_path, {night_program, is_read_ ? &summary : nullptr, night_said(), preparation_});
    return error == 0 ||
           fail(request_.page_path, "the page can not be written: " + std::string(strerror(error)));
}

void Night::end_where_ordered() {
    const int number = ending_signal();
    if (number != 0) {
        items_workspace_.remove();
        playlists_workspace_.remove();
        say_night(request_.library_path,
                  "ended by a signal (" + std::string(strsignal(number)) + "); last night's files stay");
        end_by_signal(number);
    }
}

/// All that happens before anything is published.
bool Night::work() {
    return look_at_library() && look_at_present_items() && make_workspaces() && prepare() &&
           import_library() && judge() && verify() && spares_library();
}

int Night::run() {
    if (!take_paths() || !lock_database() || !spares_what_is_read()) {
        return exit_failed;
    }
    log_.open(request_.log_path);
    log_.write("starting with (" + request_.library_path + ") (" + request_.database_dir + ")");
    if (!work()) {
        (void)fail(request_.library_path, "was not imported; last night's files stay");
        (void)write_page();
        return exit_failed;
    }
    const bool has_page = write_page(); // while there is last night's items file to compare with
    if (request_.is_verbose) {
        new_records_ = records_missing(new_items_path_, items_path_);
        gone_records_ = records_missing(items_path_, new_items_path_);
    }
    if (!publish_all()) {
        (void)write_page();
        return exit_failed;
    }
    import_remove_library_temp_files(import_run.library_path);
    log_.write(request_.library_path + " imported");
    tell();
    return has_page && log_.is_good() ? exit_done : exit_failed;
}

int run_command_line(int argc, char** argv) {
    int exit_status = 0;
    const std::optional<NightRequest> request = read_night_request(argc, argv, &exit_status);
    return request ? run_night(*request) : exit_status;
}

} // namespace

int run_night(const NightRequest& request) {
    return Night(request).run();
}

int itunes_import_night_main(int argc, char** argv) {
    catch_ending_signals();
    return companion_main(night_program, run_command_line, argc, argv);
}
