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
#include "tools/itunes-check/scratch.h"
#include "tools/shared/items_reader.h"
#include "tools/shared/text_output.h"

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
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        return strerror(errno);
    }
    (void)close(descriptor);
    *size = status.st_size;
    return {};
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

/// Reads the library as an import does, with its workspace in the empty `directory`.
LibraryTally tally_import(const CheckRequest& request, int64_t size, const std::string& directory,
                          std::function<void(const TrackReport&)> on_track) {
    ListenerOptions options = {size, nullptr, std::move(on_track), true};
    const bool shows_progress = is_watched(request, size);
    if (shows_progress) {
        options.on_progress = show_progress;
    }
    TallyListener listener(request.library_path, std::move(options));
    import_run_resolve({directory.c_str(), nullptr, nullptr, request.library_path.c_str()});
    import_observer = &listener.observer();
    import_prepare_temp_dir();
    import_into_temp_dir();
    import_observer = nullptr;
    if (shows_progress) {
        fputs("\r                     \r", stderr);
    }
    return listener.finish(import_run.temp_dir);
}

/// Whether the workspace holds all records; not so on a full disk.
bool is_complete(const LibraryTally& tally) {
    char items_path[import_path_size];
    import_run_temp_items_path(items_path);
    return count_items(items_path).records == tally.records();
}

/// Reads the library as an import does and as a property list, and compares.
CheckedLibrary check_library(const CheckRequest& request, int64_t size, const std::string& directory,
                             const std::function<void(const TrackReport&)>& on_track) {
    HeardTitles titles;
    const auto note_track = [&](const TrackReport& report) {
        const bool is_compared = report.outcome == TrackOutcome::record && report.title != nullptr;
        titles.push_back(is_compared ? track_title_number(report.title) : 0);
        on_track(report);
    };
    CheckedLibrary library;
    library.path = request.library_path;
    library.tally = tally_import(request, size, directory, note_track);
    if (library.tally.layout == LibraryLayout::no_library) {
        return library; // which says it all
    }
    const LibraryMeaning meaning(request.library_path, titles);
    library.damage = meaning.damage();
    library.losses = find_losses(meaning, library.tally);
    library.main_lists = count_unlisted_main(meaning, library.tally);
    return library;
}

/// Checks the library and prints the result in the form that was asked for.
CheckedLibrary check_and_print(const CheckRequest& request, int64_t size, const std::string& directory,
                               const std::optional<PresentItems>& present) {
    if (request.form == OutputForm::list) {
        CheckedLibrary library = check_library(request, size, directory, print_track_line);
        print_playlist_lines(library.tally.playlists);
        print_loss_lines(library.losses);
        return library;
    }
    if (request.form == OutputForm::json) {
        CheckedLibrary library = check_library(request, size, directory, print_track_object);
        print_playlist_objects(library.tally.playlists);
        print_loss_objects(library.losses);
        print_summary_object(library, present);
        return library;
    }
    TrackExplanation explanation;
    CheckedLibrary library = check_library(request, size, directory,
                                           [&](const TrackReport& report) { explanation.add_track(report); });
    print_summary({library, explanation, explanation.finish_folders(), present});
    return library;
}

/// The check in its scratch directory; returns the exit status.
int check_in(const std::string& directory, const CheckRequest& request, int64_t size) {
    std::optional<PresentItems> present;
    if (request.items_path) {
        present = present_items(request);
    }
    const LibraryTally tally = check_and_print(request, size, directory, present).tally;
    int status = exit_done;
    if (!is_complete(tally)) {
        fprintf(stderr, "%s: the directory below TMPDIR is full: the result is not whole\n", program);
        status = exit_failed;
    }
    if (!finish_output(program)) {
        status = exit_failed;
    }
    for (const LibraryFailure& failure : library_failures(tally, present)) {
        say(request.library_path, failure.reason);
        status = exit_failed;
    }
    return status;
}

} // namespace

int run_check(const CheckRequest& request) {
    int64_t size = 0;
    const std::string failure = access_failure(request.library_path, &size);
    if (!failure.empty()) {
        say(request.library_path, failure);
        return exit_failed;
    }
    return run_in_scratch(program,
                          [&](const std::string& directory) { return check_in(directory, request, size); });
}
