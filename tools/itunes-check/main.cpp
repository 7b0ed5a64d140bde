// itunes-check: tells what an import of a library will bring and why the rest will not arrive. The import's
// own code reads the library, with a scratch directory for its results; an observer hears what it decides.

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/upnp_memory.h"
#include "common/upnp_text.h"
#include "itunes/import_run.h"
#include "tools/shared/count_records.h"
#include "tools/itunes-check/output.h"
#include "tools/itunes-check/scratch.h"
#include "tools/itunes-check/tally.h"
#include "tools/shared/text_output.h"

namespace {

constexpr int exit_done = 0;
constexpr int exit_failed = 1;
constexpr int exit_usage = 2;

constexpr int32_t default_share = 80;
constexpr int64_t progress_size = 4 << 20; // bytes of a library that takes long enough to watch

constexpr char usage_text[] = "usage: itunes-check [--list | --json] [--items FILE] [--min-share PERCENT]\n"
                              "                    [--] LIBRARY.xml\n"
                              "       itunes-check --help | --version\n"
                              "Tells what an import of the library will bring, and why the rest will not\n"
                              "arrive.\n"
                              "  --list               print a line for each track and playlist\n"
                              "  --json               print a JSON object for each, and one that sums up\n"
                              "  --items FILE         compare with the present items file\n"
                              "  --min-share PERCENT  fail below this share of its records (80)\n"
                              "  --help               print this text\n"
                              "  --version            print the version\n";

enum class OutputForm {
    summary,
    list,
    json
};

struct CheckOptions {
    OutputForm form;
    const char* items_path; // null for none
    int32_t min_share;      // percent; -1 while it is not given
    const char* library_path;
};

/// Begins a line about a file; the rest follows.
void begin_line(const char* path) {
    fputs("itunes-check: ", stderr);
    print_escaped(stderr, path);
    fputs(": ", stderr);
}

int fail(const char* path, const char* reason) {
    begin_line(path);
    fprintf(stderr, "%s\n", reason);
    return exit_failed;
}

/// Takes a whole number from 0 to 100.
bool read_share(const char* text, int32_t* share) {
    const size_t length = strlen(text);
    if (length == 0 || length > 3 || strspn(text, "0123456789") != length) {
        return false;
    }
    *share = upnp_parse_int32(text);
    return *share <= 100;
}

/// Takes the option at argv[*index] with its value, if it has one; false for wrong usage.
bool read_option(CheckOptions* options, char** argv, int* index) {
    const char* option = argv[*index];
    if (strcmp(option, "--list") == 0 || strcmp(option, "--json") == 0) {
        const OutputForm form = option[2] == 'l' ? OutputForm::list : OutputForm::json;
        const bool is_free = options->form == OutputForm::summary || options->form == form;
        options->form = form;
        return is_free;
    }
    const char* value = argv[*index + 1];
    if (value == nullptr) {
        return false;
    }
    ++*index;
    if (strcmp(option, "--items") == 0) {
        options->items_path = value;
        return value[0] != '\0'; // as from a variable that is not set
    }
    return strcmp(option, "--min-share") == 0 && read_share(value, &options->min_share);
}

bool read_arguments(CheckOptions* options, int argc, char** argv) {
    bool takes_options = true;
    for (int index = 1; index < argc; ++index) {
        if (takes_options && strcmp(argv[index], "--") == 0) {
            takes_options = false;
        } else if (takes_options && argv[index][0] == '-') {
            if (!read_option(options, argv, &index)) {
                return false;
            }
        } else if (options->library_path == nullptr) {
            options->library_path = argv[index];
        } else {
            return false;
        }
    }
    return options->library_path != nullptr && (options->min_share < 0 || options->items_path != nullptr);
}

/// Says why the library can not be read, if so.
int check_access(const char* path, int64_t* size) {
    struct stat status = {};
    if (strlen(path) >= import_path_size) {
        return fail(path, "the path is too long");
    }
    if (stat(path, &status) != 0) {
        return fail(path, strerror(errno));
    }
    if (!S_ISREG(status.st_mode)) {
        return fail(path, S_ISDIR(status.st_mode) ? "is a directory" : "is no regular file");
    }
    const int descriptor = open(path, O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        return fail(path, strerror(errno));
    }
    (void)close(descriptor);
    *size = status.st_size;
    return exit_done;
}

/// Says what is wrong with the library, a line for each failure.
int judge(const LibraryTally* tally, const CheckOptions* options, const ItemsComparison* items) {
    const char* path = options->library_path;
    int status = exit_done;
    if (!tally->is_whole) {
        status = fail(path, "is cut short: it does not end with </plist>");
    }
    if (library_tally_layout(tally) == LibraryLayout::no_library) {
        status = fail(path, "is no iTunes library: no line holds a key of one");
    } else if (library_tally_layout(tally) == LibraryLayout::other) {
        begin_line(path);
        fprintf(stderr, "has another layout: %u of %u keys without their value on their line\n",
                tally->keys_apart, tally->keys_beside + tally->keys_apart);
        status = exit_failed;
    }
    const uint32_t records = tally->tracks[static_cast<size_t>(TrackOutcome::record)];
    const uint32_t tracks = library_tally_tracks(tally);
    if (records == 0 && tracks == 1) {
        status = fail(path, "its only track will not arrive");
    } else if (records == 0 && tracks > 1) {
        begin_line(path);
        fprintf(stderr, "none of its %u tracks will arrive\n", tracks);
        status = exit_failed;
    }
    const int32_t share = options->min_share < 0 ? default_share : options->min_share;
    if (uint64_t{records} * 100 < items->records * static_cast<uint64_t>(share)) {
        begin_line(path);
        fprintf(stderr, "records to come: %u, less than %d percent of the %llu in ", records, share,
                static_cast<unsigned long long>(items->records));
        print_escaped(stderr, items->path);
        putc('\n', stderr);
        status = exit_failed;
    }
    return status;
}

void print_result(const LibraryTally* tally, OutputForm form, const ItemsComparison* items) {
    switch (form) {
    case OutputForm::summary: print_summary(tally, items); break;
    case OutputForm::list: print_playlist_lines(&tally->playlists); break;
    case OutputForm::json:
        print_playlist_objects(&tally->playlists);
        print_summary_object(tally, items);
        break;
    }
}

struct Check {
    const CheckOptions* options;
    LibraryTally* tally;
};

/// The whole check, with a scratch directory.
int check_library(const char* directory, void* context) {
    const auto* check = static_cast<Check*>(context);
    const CheckOptions* options = check->options;
    LibraryTally* tally = check->tally;
    ItemsComparison items = {options->items_path, 0};
    if (items.path != nullptr) {
        const RecordCount present = count_records(items.path);
        items.records = present.records;
        if (present.is_damaged) {
            begin_line(items.path);
            fprintf(stderr, "damaged or no items file; whole records: %llu\n",
                    static_cast<unsigned long long>(items.records));
        }
    }
    int status = exit_done;
    if (!library_tally_fill(tally, directory)) {
        fputs(
            "itunes-check: the directory below TMPDIR is full, or memory is short: the result is not whole\n",
            stderr);
        status = exit_failed;
    }
    print_result(tally, options->form, &items);
    if (!finish_output("itunes-check")) {
        status = exit_failed;
    }
    if (judge(tally, options, &items) != exit_done) {
        status = exit_failed;
    }
    return status;
}

/// Takes the places of closed standard streams, so that no file is opened there and written to by mistake.
void fill_standard_descriptors() {
    int descriptor = open("/dev/null", O_RDONLY);
    while (descriptor >= 0 && descriptor <= STDERR_FILENO) {
        descriptor = open("/dev/null", O_RDONLY);
    }
    if (descriptor >= 0) {
        (void)close(descriptor);
    }
}

int run(const CheckOptions* options) {
    static LibraryTally tally;
    tally.library_path = options->library_path;
    if (check_access(options->library_path, &tally.size) != exit_done) {
        return exit_failed;
    }
    tally.explains = options->form == OutputForm::summary;
    // Not into lines that are printed on the way.
    const bool is_quiet = tally.explains || isatty(STDOUT_FILENO) == 0;
    tally.shows_progress = tally.size > progress_size && is_quiet && isatty(STDERR_FILENO) != 0;
    tally.print_track = options->form == OutputForm::list   ? print_track_line
                        : options->form == OutputForm::json ? print_track_object
                                                            : nullptr;
    Check check = {options, &tally};
    const int status = scratch_run("itunes-check", check_library, &check);
    return status < 0 ? exit_failed : status;
}

} // namespace

int main(int argc, char** argv) {
    upnp_mem_init(); // keeps the allocator's note out of what people read
    fill_standard_descriptors();
    if (argc == 2 && strcmp(argv[1], "--help") == 0) {
        fputs(usage_text, stdout);
        return finish_output("itunes-check") ? exit_done : exit_failed;
    }
    if (argc == 2 && strcmp(argv[1], "--version") == 0) {
        puts("itunes-check " ITUNES_IMPORT_VERSION);
        return finish_output("itunes-check") ? exit_done : exit_failed;
    }
    CheckOptions options = {OutputForm::summary, nullptr, -1, nullptr};
    if (!read_arguments(&options, argc, argv)) {
        fputs(usage_text, stderr);
        return exit_usage;
    }
    return run(&options);
}
