// The floor under the import: the system calls that its design demands, and as good as no other work.
//
//     floor DIRECTORY/LIBRARY DATABASE_DIRECTORY        with a library from generate_library.py
//
// What it does, in the order in which the import does it:
// - opens the library twice and reads it to its end line by line; a line costs a position query, a read of
//   up to 1024 bytes and a seek back to just after the line feed. It yields after every line of the first
//   pass and after the lines inside a track's dictionary in the second one;
// - queries the status of every track's file and writes one record for each that exists;
// - unlinks and opens a file for every playlist, writes a header, a line for each item and a footer, flushes
//   and closes it; the items file too is flushed and closed at its end;
// - prepares the workspace, swaps the items file in, moves the playlists and looks for temporary files beside
//   the library, a status query or two for each entry of the directories that this walks.
// What it leaves out: everything else. Records and lines are constant bytes of the usual sizes. The lines
// that matter are told by their first bytes, which suffice in a generated library. The paths of the tracks
// are not decoded but come ready from the generator's list, which is mapped (four calls more).

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr size_t line_size = 1024;
constexpr size_t path_size = 2048;
// What the tool writes on average for a generated library.
constexpr size_t record_size = 377;
constexpr size_t playlist_header_size = 320;
constexpr size_t playlist_entry_size = 116;
constexpr size_t playlist_footer_size = 27;

constexpr char output[line_size] = {};

struct Library {
    int descriptor;
    off_t size;
    char line[line_size]; // the current line and what the read brought beyond it
};

[[noreturn]] void fail(const char* what, const char* path) {
    fprintf(stderr, "floor: cannot %s %s\n", what, path);
    exit(1);
}

void put(int descriptor, size_t size) {
    if (write(descriptor, output, size) != static_cast<ssize_t>(size)) {
        fail("write", "an output file");
    }
}

void join(char* path, const char* directory, const char* name) {
    if (snprintf(path, path_size, "%s/%s", directory, name) >= static_cast<int>(path_size)) {
        fail("use the long path of", name);
    }
}

void flush_and_close(int descriptor) {
    (void)fsync(descriptor);
    (void)close(descriptor);
}

int open_new(const char* path) {
    (void)unlink(path);
    const int descriptor = open(path, O_WRONLY | O_CREAT, 0644);
    if (descriptor < 0) {
        fail("create", path);
    }
    return descriptor;
}

void open_library(Library* library, const char* path) {
    struct stat status = {};
    library->descriptor = open(path, O_RDONLY);
    if (library->descriptor < 0 || stat(path, &status) != 0) {
        fail("open", path);
    }
    library->size = status.st_size;
}

bool next_line(Library* library) {
    if (lseek(library->descriptor, 0, SEEK_CUR) >= library->size) {
        return false;
    }
    const ssize_t count = read(library->descriptor, library->line, line_size);
    const void* line_feed = count > 0 ? memchr(library->line, '\n', static_cast<size_t>(count)) : nullptr;
    if (line_feed == nullptr) {
        fail("read", "the library: it has lines that no generator wrote");
    }
    const ssize_t length = static_cast<const char*>(line_feed) - library->line + 1;
    (void)lseek(library->descriptor, length - count, SEEK_CUR);
    return true;
}

/// No `beginning` holds a line feed, so none is found in bytes beyond the line.
template <size_t size>
bool line_begins(const Library* library, const char (&beginning)[size]) {
    return memcmp(library->line, beginning, size - 1) == 0;
}

void scan_folders(Library* library) {
    while (next_line(library)) {
        (void)sched_yield();
    }
}

void read_track(Library* library, const char* location, int items) {
    while (next_line(library)) {
        (void)sched_yield();
        if (line_begins(library, "\t\t</dict>")) {
            break;
        }
    }
    struct stat status = {};
    if (stat(location, &status) == 0) {
        put(items, record_size);
    }
}

void finish_playlist(int playlist) {
    if (playlist >= 0) {
        put(playlist, playlist_footer_size);
        flush_and_close(playlist);
    }
}

void export_playlists(Library* library, const char* temp_dir) {
    int playlist = -1;
    int number = 0;
    while (next_line(library)) {
        if (line_begins(library, "\t\t\t\t\t<key>Track ID</key>")) {
            put(playlist, playlist_entry_size);
        } else if (line_begins(library, "\t\t\t<key>Playlist Items</key>")) {
            finish_playlist(playlist);
            char name[32];
            char path[path_size];
            snprintf(name, sizeof name, "floor-playlist-%d.wpl", ++number);
            join(path, temp_dir, name);
            playlist = open_new(path);
            put(playlist, playlist_header_size);
        }
    }
    finish_playlist(playlist);
}

void read_tracks_and_playlists(Library* library, const char* location, int items, const char* temp_dir) {
    while (next_line(library)) {
        if (line_begins(library, "\t\t\t<key>Track ID</key>")) {
            read_track(library, location, items);
            location += strlen(location) + 1;
        } else if (line_begins(library, "\t<key>Playlists</key>")) {
            export_playlists(library, temp_dir);
        }
    }
}

const char* map_locations(const char* library_directory) {
    char path[path_size];
    join(path, library_directory, "locations");
    struct stat status = {};
    const int descriptor = open(path, O_RDONLY);
    if (descriptor < 0 || fstat(descriptor, &status) != 0) {
        fail("open", path);
    }
    if (status.st_size == 0) {
        return ""; // a library without tracks
    }
    void* locations = mmap(nullptr, static_cast<size_t>(status.st_size), PROT_READ,
                           MAP_PRIVATE | MAP_POPULATE, descriptor, 0);
    if (locations == MAP_FAILED) {
        fail("map", path);
    }
    (void)close(descriptor);
    return static_cast<const char*>(locations);
}

/// Queries every visible entry as the tool's directory walk does, and moves the playlists to `destination`
/// unless that is null.
void walk_directory(const char* directory, const char* destination) {
    DIR* stream = opendir(directory);
    if (stream == nullptr) {
        fail("open", directory);
    }
    for (const dirent* entry = readdir(stream); entry != nullptr; entry = readdir(stream)) {
        if (entry->d_name[0] == '.') {
            continue;
        }
        char source[path_size];
        join(source, directory, entry->d_name);
        struct stat status = {};
        (void)lstat(source, &status);
        (void)stat(source, &status);
        if (destination != nullptr) {
            char target[path_size];
            join(target, destination, entry->d_name);
            (void)unlink(target);
            (void)rename(source, target);
        }
    }
    (void)closedir(stream);
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3 || strchr(argv[1], '/') == nullptr) {
        fputs("usage: floor DIRECTORY/LIBRARY DATABASE_DIRECTORY\n", stderr);
        return 2;
    }
    const char* library_path = argv[1];
    const char* database = argv[2];
    char library_directory[path_size];
    snprintf(library_directory, sizeof library_directory, "%s", library_path);
    *strrchr(library_directory, '/') = '\0';
    const char* locations = map_locations(library_directory);
    struct stat status = {};
    char temp_dir[path_size];
    char temp_items[path_size];
    char items_path[path_size];
    join(temp_dir, database, "itunes-import-temp");
    join(temp_items, temp_dir, "itunes.import.temp.items");
    join(items_path, database, "itunes.import.items");
    (void)stat(library_path, &status);
    if (stat(temp_dir, &status) != 0) {
        (void)unlink(temp_dir);
    }
    (void)mkdir(temp_dir, 0777);

    const int items = open_new(temp_items);
    Library library = {};
    open_library(&library, library_path);
    scan_folders(&library);
    (void)close(library.descriptor);
    open_library(&library, library_path);
    read_tracks_and_playlists(&library, locations, items, temp_dir);
    (void)close(library.descriptor);
    flush_and_close(items);

    (void)unlink(items_path);
    (void)rename(temp_items, items_path);
    walk_directory(temp_dir, database);
    (void)unlink(temp_dir);
    walk_directory(library_directory, nullptr);
    return 0;
}
