// The summary of itunes-check for people.

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <unistd.h>

#include "common/upnp_text.h"
#include "itunes/import_run.h"
#include "tools/itunes-check/output.h"
#include "tools/shared/spelling.h"
#include "tools/shared/text_output.h"

namespace {

constexpr uint32_t shown_files = 40;
constexpr uint32_t shown_titles = 5;
constexpr uint32_t shown_repairs = 2;

/// Prints the path as one word of a shell command.
void print_shell_word(const char* text) {
    bool has_control = false;
    for (const char* byte = text; *byte != '\0'; ++byte) {
        has_control = has_control || static_cast<unsigned char>(*byte) < 0x20 || *byte == 0x7F;
    }
    fputs(has_control ? "$'" : "'", stdout); // the shell's own escapes in the former
    for (const char* byte = text; *byte != '\0'; ++byte) {
        if (static_cast<unsigned char>(*byte) < 0x20 || *byte == 0x7F) {
            printf("\\x%02X", static_cast<unsigned>(static_cast<unsigned char>(*byte)));
        } else if (*byte == '\'') {
            fputs(has_control ? "\\'" : "'\\''", stdout);
        } else if (*byte == '\\' && has_control) {
            fputs("\\\\", stdout);
        } else {
            putchar(*byte);
        }
    }
    putchar('\'');
}

const char* plural(uint32_t count) {
    return count == 1 ? "" : "s";
}

void print_library(const LibraryTally* tally) {
    print_escaped(stdout, tally->library_path);
    fputs("\n  written by ", stdout);
    if (tally->version[0] == '\0') {
        fputs("an unknown program", stdout);
    } else {
        // Music began anew with 1; the libraries of iTunes that are still about begin with 4.
        fputs(upnp_parse_int32(tally->version) < 3 ? "Music " : "iTunes ", stdout);
        print_escaped(stdout, tally->version);
    }
    fputs(tally->is_whole ? ", whole (ends with </plist>)\n" : ", CUT SHORT (does not end with </plist>)\n",
          stdout);
    const uint32_t keys = tally->keys_beside + tally->keys_apart;
    switch (library_tally_layout(tally)) {
    case LibraryLayout::as_read:
        puts("  in the layout that the import reads: each key with its value on a line");
        break;
    case LibraryLayout::partly:
        printf("  PARTLY in another layout: %u of %u keys without their value on their line,\n"
               "  so what they say is lost (itunes-prepare writes the layout anew)\n",
               tally->keys_apart, keys);
        break;
    case LibraryLayout::other:
        printf("  in ANOTHER LAYOUT: %u of %u keys without their value on their line,\n"
               "  so the import can not read them (itunes-prepare writes the layout anew)\n",
               tally->keys_apart, keys);
        break;
    case LibraryLayout::no_library: puts("  NO LIBRARY: no line holds a key of one"); break;
    }
}

void print_example(const TrackExample* example) {
    fputs("           ", stdout);
    if (example->title == nullptr || example->title[0] == '\0') {
        fputs("(no title)", stdout);
    } else {
        print_escaped(stdout, example->title);
    }
    if (example->path != nullptr) {
        fputs("\n             ", stdout);
        print_escaped(stdout, example->path);
    }
    putchar('\n');
}

void print_existing_part(const TrackExample* example) {
    const uint32_t root_length = example->path[0] == '/' ? 1 : 0;
    if (example->existing_length > root_length) {
        fputs("             of this path there is ", stdout);
        char path[import_path_size];
        snprintf(path, sizeof path, "%.*s", static_cast<int>(example->existing_length), example->path);
        print_escaped(stdout, path);
        puts(access(path, X_OK) != 0 && errno == EACCES ? ",\n             which this user can not enter"
                                                        : "");
    } else {
        puts("             nothing of this path is there");
    }
}

/// Whether the same was said of the example before.
bool is_same_part(const TrackExample* example, uint32_t index) {
    return index > 0 && example->existing_length == example[-1].existing_length &&
           memcmp(example->path, example[-1].path, example->existing_length) == 0;
}

void print_tracks(const LibraryTally* tally) {
    struct Reason {
        TrackOutcome outcome;
        const char* text;
    };
    const Reason reasons[] = {
        {TrackOutcome::missing, "the file is not there (playlists keep the path)"},
        {TrackOutcome::copy_protected, "protected (playlists leave them out)"},
        {TrackOutcome::no_location, tally->is_whole && library_tally_layout(tally) == LibraryLayout::as_read
                                        ? "no location, as in the cloud (playlists leave them out)"
                                        : "no location that can be read (playlists leave them out)"},
        {TrackOutcome::stream, "stream (playlists keep the address)"},
    };
    printf("\nTracks: %u of %u will arrive\n", tally->tracks[static_cast<size_t>(TrackOutcome::record)],
           library_tally_tracks(tally));
    for (const Reason& reason : reasons) {
        const auto outcome = static_cast<size_t>(reason.outcome);
        if (tally->tracks[outcome] == 0) {
            continue;
        }
        printf("  %6u %s\n", tally->tracks[outcome], reason.text);
        for (uint32_t index = 0; index < tally->examples[outcome].count; ++index) {
            const TrackExample* example = &tally->examples[outcome].tracks[index];
            print_example(example);
            if (reason.outcome == TrackOutcome::missing &&
                example->existing_length != spelling_length_unknown && !is_same_part(example, index)) {
                print_existing_part(example);
            }
        }
    }
}

void print_items(const LibraryTally* tally, const ItemsComparison* items) {
    if (items->path == nullptr) {
        return;
    }
    printf("\nRecords: %u to come, %llu at present in ",
           tally->tracks[static_cast<size_t>(TrackOutcome::record)],
           static_cast<unsigned long long>(items->records));
    print_escaped(stdout, items->path);
    putchar('\n');
}

const char* differences_text(uint32_t differences) {
    switch (differences) {
    case spelling_accents: return "accents composed otherwise";
    case spelling_case: return "upper and lower case";
    case spelling_plus: return "a plus sign, which the import reads as a blank";
    default: return "more than one difference";
    }
}

void print_folders(const LibraryTally* tally) {
    if (tally->tracks[static_cast<size_t>(TrackOutcome::missing)] == 0) {
        return;
    }
    puts("\nFolders that the library's paths begin with\n  tracks  there");
    const FolderTable* table = &tally->folders;
    for (uint32_t index = 0; index < table->count && index < folder_group_shown; ++index) {
        const FolderGroup* group = &table->groups[index];
        printf("  %6u %6u  ", group->tracks, group->existing);
        print_escaped(stdout, group->folder[0] == '\0' ? "(no folder)" : group->folder);
        putchar('\n');
    }
    if (table->count > folder_group_shown) {
        const uint32_t further = table->count - folder_group_shown;
        printf("  and %u more folder%s\n", further, plural(further));
    }
}

void print_spellings(const LibraryTally* tally) {
    if (tally->spelling_unknown > 0) {
        printf("\nOther spellings were not looked for any more for %u of the missing files: it\n"
               "would take too long\n",
               tally->spelling_unknown);
    }
    if (tally->respelled == 0) {
        return;
    }
    printf("\n%u of the missing files %s there under another spelling\n", tally->respelled,
           tally->respelled == 1 ? "is" : "are");
    for (uint32_t index = 0; index < tally->respelled_examples.count; ++index) {
        const TrackExample* example = &tally->respelled_examples.tracks[index];
        print_example(example);
        printf("           on the disk (%s):\n             ", differences_text(example->differences));
        print_escaped(stdout, example->found);
        putchar('\n');
    }
}

/// Prints the library's path as a word that no program takes for an option.
void print_library_word(const LibraryTally* tally) {
    fputs(tally->library_path[0] == '-' ? "./" : "", stdout);
    print_shell_word(tally->library_path);
}

/// Prints the folder in front of the '=' of --map: as an address where it holds that sign itself.
void print_mapped_folder(const char* folder) {
    if (strchr(folder, '=') == nullptr) {
        print_shell_word(folder);
        return;
    }
    char address[size_t{3} * import_path_size + sizeof "file://localhost/"];
    char* end = address + sprintf(address, "file://localhost%s", folder[0] == '/' ? "" : "/");
    for (; *folder != '\0'; ++folder) {
        const bool is_escaped = *folder == '=' || *folder == '%';
        end += sprintf(end, is_escaped ? "%%%02X" : "%c", *folder);
    }
    print_shell_word(address);
}

/// Prints the ways to let an absolute path meet its files.
void print_link(const char* folder) {
    const auto parent_length = static_cast<int>(strrchr(folder, '/') - folder);
    char parent[import_path_size];
    upnp_format(parent, sizeof parent, "%.*s", parent_length > 0 ? parent_length : 1, folder);
    fputs("    mkdir -p ", stdout);
    print_shell_word(parent);
    fputs(" &&\n      ln -s DIR ", stdout);
    print_shell_word(folder);
    fputs("\n    mkdir -p ", stdout);
    print_shell_word(folder);
    fputs(" &&\n      mount --bind DIR ", stdout);
    print_shell_word(folder);
    putchar('\n');
}

/// Prints the ways to let a folder's paths meet its files.
void print_repair(const LibraryTally* tally, const FolderGroup* group) {
    fputs("  If the files of ", stdout);
    print_escaped(stdout, group->folder);
    const bool is_absolute = group->folder[0] == '/';
    puts(is_absolute ? "\n  are in DIR, one of these:" : "\n  are in DIR:");
    if (is_absolute) {
        print_link(group->folder);
    }
    fputs("    itunes-prepare --map ", stdout);
    print_mapped_folder(group->folder);
    fputs("=DIR \\\n      ", stdout);
    print_library_word(tally);
    puts(" prepared.xml");
}

void print_what_to_do(const LibraryTally* tally) {
    const LibraryLayout layout = library_tally_layout(tally);
    const bool is_other = layout == LibraryLayout::partly || layout == LibraryLayout::other;
    const FolderTable* table = &tally->folders;
    const FolderGroup* absent[shown_repairs] = {};
    uint32_t count = 0;
    const bool is_all_found = tally->respelled == tally->tracks[static_cast<size_t>(TrackOutcome::missing)];
    for (uint32_t index = 0; !is_all_found && index < table->count && count < shown_repairs; ++index) {
        const FolderGroup* group = &table->groups[index];
        const bool is_rooted =
            group->folder[0] == '/' || (group->folder[0] != '\0' && group->folder[1] == ':');
        if (group->existing == 0 && is_rooted && access(group->folder, F_OK) != 0 && errno != EACCES) {
            absent[count++] = group;
        }
    }
    if (!is_other && tally->respelled == 0 && count == 0) {
        return;
    }
    puts("\nWhat to do");
    if (is_other || tally->respelled > 0) {
        printf("  Import a copy %s:\n    itunes-prepare ",
               is_other ? "in the layout that the import reads" : "with the paths that the disk has");
        print_library_word(tally);
        puts(" prepared.xml");
    }
    for (uint32_t index = 0; index < count; ++index) {
        print_repair(tally, absent[index]);
    }
    if (count > 1) {
        puts("  For more than one folder give each its --map in one itunes-prepare command.");
    }
}

/// Whether the playlist has this outcome, and this sign unless that is none.
bool is_of(const CheckedPlaylist* playlist, CheckedOutcome outcome, WplSign sign) {
    return playlist->outcome == outcome && (sign == WplSign::none || playlist->sign == sign);
}

uint32_t count_playlists(const CheckedPlaylists* playlists, CheckedOutcome outcome, WplSign sign) {
    uint32_t count = 0;
    for (const CheckedPlaylist* each = playlists->first; each != nullptr; each = each->next) {
        count += is_of(each, outcome, sign) ? 1 : 0;
    }
    return count;
}

/// Prints the first titles.
void print_titles(const CheckedPlaylists* playlists, CheckedOutcome outcome, WplSign sign) {
    uint32_t shown = 0;
    for (const CheckedPlaylist* each = playlists->first; each != nullptr && shown < shown_titles;
         each = each->next) {
        if (is_of(each, outcome, sign) && each->title[0] != '\0') {
            ++shown;
            fputs("           ", stdout);
            print_escaped(stdout, each->title);
            putchar('\n');
        }
    }
}

void print_files(const CheckedPlaylists* playlists, uint32_t files) {
    uint32_t shown = 0;
    for (const CheckedPlaylist* each = playlists->first; each != nullptr && shown < shown_files;
         each = each->next) {
        if (each->outcome != CheckedOutcome::file) {
            continue;
        }
        ++shown;
        char name[import_path_size];
        checked_playlist_file_name(each, name);
        fputs("         ", stdout);
        print_escaped(stdout, each->title);
        printf("\n           %s, %u of %u item%s, ", each->type == 'V' ? "video" : "music", each->entries,
               each->items, plural(each->items));
        print_escaped(stdout, name);
        putchar('\n');
    }
    if (files > shown) {
        printf("         and %u more; --list shows all\n", files - shown);
    }
}

void print_left_out(const CheckedPlaylists* playlists) {
    struct Reason {
        CheckedOutcome outcome;
        const char* text;
    };
    constexpr Reason reasons[] = {
        {CheckedOutcome::replaced, "overwritten by a later one of the same file name"},
        {CheckedOutcome::not_moved, "%% in the name: the file is made but not put in place"},
        {CheckedOutcome::not_writable, "the name is too long for a file"},
        {CheckedOutcome::not_listed, "not in the folder list"},
        {CheckedOutcome::nothing_to_play, "nothing to play"},
        {CheckedOutcome::reserved_name, "with one of the five names that are never exported"},
        {CheckedOutcome::smart, "smart"},
        {CheckedOutcome::built_in, "built in"},
    };
    for (const Reason& reason : reasons) {
        const uint32_t count = count_playlists(playlists, reason.outcome, WplSign::none);
        if (count > 0) {
            printf("  %6u %s\n", count, reason.text);
            print_titles(playlists, reason.outcome, WplSign::none);
        }
    }
}

void print_signs(const CheckedPlaylists* playlists) {
    bool is_first = true;
    for (const WplSign sign : {WplSign::ampersand, WplSign::less_than, WplSign::quote, WplSign::section_end,
                               WplSign::control, WplSign::encoding, WplSign::cut_short}) {
        const uint32_t count = count_playlists(playlists, CheckedOutcome::file, sign);
        if (count == 0) {
            continue;
        }
        if (is_first) {
            puts("\nPlaylist files that are not well-formed XML, so that strict players refuse them");
        }
        is_first = false;
        const bool is_character = sign != WplSign::cut_short;
        printf("  %6u %s%s%s\n", count, is_character ? "by " : "", wpl_sign_text(sign),
               is_character ? " in a title or path" : "");
        print_titles(playlists, CheckedOutcome::file, sign);
    }
}

void print_playlists(const CheckedPlaylists* playlists) {
    const uint32_t files = count_playlists(playlists, CheckedOutcome::file, WplSign::none);
    printf("\nPlaylists: %u of %u will get a file\n", files, playlists->count);
    print_files(playlists, files);
    print_left_out(playlists);
    print_signs(playlists);
}

} // namespace

void print_summary(const LibraryTally* tally, const ItemsComparison* items) {
    print_library(tally);
    print_tracks(tally);
    print_items(tally, items);
    print_folders(tally);
    print_spellings(tally);
    print_playlists(&tally->playlists);
    print_what_to_do(tally);
}
