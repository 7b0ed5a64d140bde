#include "tools/itunes-check/check.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "itunes/import_run.h"
#include "itunes/import_workspace.h"
#include "tools/itunes-check/explanation.h"
#include "tools/itunes-check/judgement.h"
#include "tools/itunes-check/output.h"
#include "tools/itunes-check/page.h"
#include "tools/itunes-check/scratch.h"
#include "tools/shared/descriptor.h"
#include "tools/shared/items_reader.h"
#include "tools/shared/text_output.h"
#include "tools/shared/whole_file.h"

namespace {

constexpr char program[] = "itunes-check";
constexpr int exit_done = 0;
constexpr int exit_failed = 1;

constexpr int64_t progress_size = 4 << 20; // bytes of a library that takes long enough to watch

void say(const std::string& path, const std::string& reason) {
    fprintf(stderr, "%s: %s: %s\n", program, escaped(path).c_str(), reason.c_str());
}

/// Why the library can not be read; empty where it can.
std::string access_failure(const std::string& path, int64_t* size) {
    struct stat status = {};
    if (path.size() >= import_path_size) {
        return "the path is too long";
    }
    if (stat(path.c_str(), &status) != 0) {
        return strerror(errno);
    }
    if (!S_ISREG(status.st_mode)) {
        return S_ISDIR(status.st_mode) ? "is a directory" : "is no regular file";
    }
    *size = status.st_size;
    return Descriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC)).is_open() ? "" : strerror(errno);
}

/// The records of the present items file; what keeps them from being counted is said.
PresentItems present_items(const CheckRequest& request) {
    const std::string& path = *request.items_path;
    const ItemsCount count = count_items(path);
    switch (count.state) {
    case ItemsState::whole:
    case ItemsState::absent: break;
    case ItemsState::unreadable: say(path, "can not be read; there is nothing to compare with"); break;
    case ItemsState::no_items_file:
    case ItemsState::damaged:
        say(path, "damaged or no items file; whole records: " + std::to_string(count.records));
    }
    return {path, count.records, request.min_share.value_or(default_min_share)};
}

void show_progress(int percent) {
    fprintf(stderr, "\r%s: %3d %%", program, percent);
}

/// Where the result is printed track by track, progress must not come between.
bool is_watched(const CheckRequest& request, int64_t size) {
    const bool is_quiet = request.form == OutputForm::summary || isatty(STDOUT_FILENO) == 0;
    return size > progress_size && is_quiet && isatty(STDERR_FILENO) != 0;
}

/// What hears of the tracks and playlists beside the tally, and what came of it.
struct Check {
    const CheckRequest& request;
    int64_t size;
    std::optional<PresentItems> present{};
    std::optional<CheckedMedia> media{};
    std::optional<LibraryPage> page{};
    TrackExplanation explanation{};
    std::vector<HeardTrack> tracks{};
    CheckedLibrary library{};
};

void hear_track(Check* check, const TrackReport& report) {
    check->tracks.push_back({report.track_id, report.outcome == TrackOutcome::record});
    switch (check->request.form) {
    case OutputForm::list: print_track_line(report); break;
    case OutputForm::json: print_track_object(report); break;
    case OutputForm::summary: break;
    }
    if (check->page || check->request.form == OutputForm::summary) {
        check->explanation.add_track(report);
    }
    if (check->page) {
        check->page->add_track(report);
    }
}

/// Reads the library as an import does, with its workspace in the empty `directory`.
LibraryTally tally_import(Check* check, const std::string& directory) {
    const std::string& library_path = check->request.library_path;
    ListenerOptions options = {.library_size = check->size,
                               .on_progress = nullptr,
                               .on_track = [check](const TrackReport& report) { hear_track(check, report); },
                               .on_playlist = nullptr,
                               .finds_signs = true};
    if (check->page) {
        options.on_playlist = [check](const PlaylistEvent& event) { check->page->add_event(event); };
    }
    const bool shows_progress = is_watched(check->request, check->size);
    if (shows_progress) {
        options.on_progress = show_progress;
    }
    TallyListener listener(library_path, std::move(options));
    import_run_resolve({directory.c_str(), nullptr, nullptr, library_path.c_str()});
    import_observer = &listener.observer();
    import_prepare_temp_dir();
    import_into_temp_dir();
    import_observer = nullptr;
    if (shows_progress) {
        fputs("\r                     \r", stderr);
    }
    return listener.finish(import_run.temp_dir);
}

/// Where the records are that the library gets.
std::string new_items_path() {
    char items_path[import_path_size];
    import_run_temp_items_path(items_path);
    return items_path;
}

/// Whether the workspace holds all records; not so on a full disk.
bool is_complete(const LibraryTally& tally) {
    return count_items(new_items_path()).records == tally.records();
}

/// Reads the library as an import does and as a property list, and compares.
void check_library(Check* check, const std::string& directory) {
    CheckedLibrary& library = check->library;
    library.path = check->request.library_path;
    library.tally = tally_import(check, directory);
    compare_with_meaning(library.path, check->tracks, new_items_path(), &library);
}

/// Looks for files that are not in their places, where that was asked for. False where the folder can not be
/// read, which is then said.
bool look_for_media(Check* check) {
    if (!check->request.media_path) {
        return true;
    }
    check->media.emplace().folder = *check->request.media_path;
    std::string path;
    const int error = find_media(check->request.library_path, &*check->media, &path);
    for (const UnreadableFolder& folder : check->media->search.folder().unreadable()) {
        say(folder.path, std::string("passed over: ") + strerror(folder.error));
    }
    if (error != 0) {
        say(path, strerror(error));
        check->media.reset();
    }
    return error == 0;
}

/// Prints what is left to print in the form that was asked for.
void print_result(const CheckSummary& summary, OutputForm form) {
    switch (form) {
    case OutputForm::list:
        print_playlist_lines(summary.tally().playlists);
        print_loss_lines(summary.library.losses);
        if (summary.media != nullptr) {
            print_map_lines(*summary.media);
        }
        break;
    case OutputForm::json:
        print_playlist_objects(summary.tally().playlists);
        print_loss_objects(summary.library.losses);
        if (summary.media != nullptr) {
            print_map_objects(*summary.media);
        }
        print_summary_object(summary.library, summary.present);
        break;
    case OutputForm::summary: print_summary(summary); break;
    }
}

/// Writes the page that was asked for; false where that failed, which is then said.
bool write_page(const Check& check, const CheckSummary& summary, const std::vector<std::string>& reasons) {
    const int error =
        check.page ? check.page->write(*check.request.page_path, {program, &summary, reasons}) : 0;
    if (error != 0) {
        say(*check.request.page_path, std::string("can not be written: ") + strerror(error));
    }
    return error == 0;
}

/// Why no page may be written where one was asked for; empty where it may.
std::string page_refusal(const CheckRequest& request) {
    if (!request.page_path) {
        return "";
    }
    const std::string& page = *request.page_path;
    const std::string items = request.items_path.value_or("");
    if (is_same_file(page, request.library_path)) {
        return "is the library itself, which no page may replace";
    }
    if (page == items || is_same_file(page, items)) {
        return "is the items file itself, which no page may replace";
    }
    return output_target(page).is_stream ? "is no regular file, which a page could replace" : "";
}

/// The check in its scratch directory; returns the exit status.
int check_in(const std::string& directory, const CheckRequest& request, int64_t size) {
    Check check = {.request = request, .size = size};
    if (request.items_path) {
        check.present = present_items(request);
    }
    if (request.page_path) {
        check.page.emplace(request.items_path);
    }
    check_library(&check, directory);
    int status = look_for_media(&check) ? exit_done : exit_failed;
    const std::vector<FolderGroup> folders = check.explanation.finish_folders();
    const CheckSummary summary = {check.library, check.explanation, folders, check.present,
                                  check.media ? &*check.media : nullptr};
    print_result(summary, request.form);
    std::vector<std::string> reasons;
    if (!is_complete(check.library.tally)) {
        reasons.emplace_back("the directory below TMPDIR is full: the result is not whole");
        fprintf(stderr, "%s: %s\n", program, reasons.back().c_str());
        status = exit_failed;
    }
    if (!finish_output(program)) {
        status = exit_failed;
    }
    for (const LibraryFailure& failure : library_failures(check.library.tally, check.present)) {
        say(request.library_path, failure.reason);
        reasons.push_back(failure.reason);
        status = exit_failed;
    }
    return write_page(check, summary, reasons) ? status : exit_failed;
}

} // namespace

int run_check(const CheckRequest& request) {
    int64_t size = 0;
    const std::string failure = access_failure(request.library_path, &size);
    if (!failure.empty()) {
        say(request.library_path, failure);
        return exit_failed;
    }
    const std::string refusal = page_refusal(request);
    if (!refusal.empty()) {
        say(*request.page_path, refusal);
        return exit_failed;
    }
    return run_in_scratch(program,
                          [&](const std::string& directory) { return check_in(directory, request, size); });
}
