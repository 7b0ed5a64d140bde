// The end of the summary: what its reader can do, the most useful first.

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

#include "tools/itunes-check/output.h"
#include "tools/shared/number_sort.h"
#include "tools/shared/text_output.h"

namespace {

__attribute__((format(printf, 2, 3))) void append(std::string* lines, const char* format, ...) {
    va_list values;
    va_start(values, format);
    char* text = nullptr;
    const int length = vasprintf(&text, format, values);
    va_end(values);
    if (length < 0) {
        throw std::bad_alloc();
    }
    lines->append(text, static_cast<size_t>(length));
    free(text); // NOLINT: vasprintf took it by malloc
}

constexpr size_t shown_repairs = 2;

/// The library's path as a word that no program takes for an option.
std::string library_word(const CheckSummary& summary) {
    return (summary.library.path.starts_with('-') ? "./" : "") + shell_word(summary.library.path);
}

std::string parent_of(const std::string& path) {
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? "" : path.substr(0, std::max<size_t>(slash, 1));
}

/// "sudo " where this user may not make the path.
const char* sudo_for(std::string path) {
    while (!path.empty() && path != "/" && !FileLook().sees(path)) {
        path = parent_of(path);
    }
    return access(path.empty() ? "." : path.c_str(), W_OK) == 0 ? "" : "sudo ";
}

/// Appends the ways to let an absolute path meet its files.
void append_link(std::string* lines, const std::string& folder) {
    const std::string word = shell_word(folder);
    const std::string parent = shell_word(parent_of(folder));
    const char* sudo = sudo_for(folder);
    const char* root = geteuid() == 0 ? "" : "sudo ";
    append(lines, "    %smkdir -p %s &&\n      %sln -s DIR %s\n", sudo, parent.c_str(), sudo, word.c_str());
    append(lines, "    %smkdir -p %s &&\n      %smount --bind DIR %s\n", sudo, word.c_str(), root,
           word.c_str());
}

void append_map(std::string* lines, const CheckSummary& summary, const std::string& folder) {
    append(lines, "    itunes-prepare --map %s=DIR \\\n      %s prepared.xml\n",
           map_start_word(folder).c_str(), library_word(summary).c_str());
}

/// A beginning that paths share and of which nothing is there.
struct AbsentBeginning {
    std::string folder;
    bool is_there; // the folder is, but none of its files
    uint32_t tracks;
};

bool lies_in(const std::string& path, const std::string& folder) {
    return path.starts_with(folder) && (path.size() == folder.size() || path[folder.size()] == '/');
}

/// The folder that both are, or that both lie in directly; empty for none, and for the root.
std::string shared_beginning(const std::string& one, const std::string& other) {
    const std::string parent = parent_of(other);
    const bool is_shared = parent == one || parent == parent_of(one);
    return is_shared && parent != "/" ? parent : "";
}

/// Whether files of the library are found in the folder.
bool holds_files(const CheckSummary& summary, const std::string& folder) {
    return std::ranges::any_of(summary.folders, [&](const FolderGroup& group) {
        return group.existing > 0 && lies_in(group.folder, folder);
    });
}

/// Adds a folder, as one beginning with folders beside it.
void add_beginning(const CheckSummary& summary, const FolderGroup& group, bool is_there,
                   std::vector<AbsentBeginning>* beginnings) {
    for (AbsentBeginning& each : *beginnings) {
        const std::string shared = shared_beginning(each.folder, group.folder);
        if (!shared.empty() && !each.is_there && !is_there && !holds_files(summary, shared)) {
            each.folder = shared;
            each.tracks += group.tracks;
            return;
        }
    }
    beginnings->push_back({group.folder, is_there, group.tracks});
}

/// Whether the paths of a folder are found nowhere, under no other spelling either, and would be if it were elsewhere.
bool is_map_wanted(const FolderGroup& group) {
    const std::string& folder = group.folder;
    const bool is_rooted = folder.starts_with('/') || (folder.size() > 1 && folder[1] == ':');
    return group.existing == 0 && group.respelled * 2 < group.tracks && is_rooted && folder != "/";
}

/// Whether maps that --media found bring most of the beginning's files.
bool is_mostly_found(const CheckSummary& summary, const AbsentBeginning& beginning) {
    uint64_t found = 0;
    if (summary.media != nullptr) {
        for (const MediaMap& map : summary.media->search.maps()) {
            const size_t host_length = map.from.starts_with("//") ? map.from.find('/', 2) : 0;
            const std::string from = map.from.substr(std::min(host_length, map.from.size()));
            const bool is_met = lies_in(beginning.folder, from) || lies_in(from, beginning.folder);
            found += is_met ? map.tracks : 0;
        }
    }
    return found * 2 > beginning.tracks;
}

/// The beginnings of which nothing is there, those with the most tracks first.
std::vector<AbsentBeginning> absent_beginnings(const CheckSummary& summary) {
    std::vector<AbsentBeginning> beginnings;
    for (const FolderGroup& group : summary.folders) {
        const bool is_there = FileLook().sees(group.folder);
        const bool is_closed = !is_there && errno == EACCES;
        if (is_map_wanted(group) && !is_closed) {
            add_beginning(summary, group, is_there, &beginnings);
        }
    }
    std::erase_if(beginnings, [&](const AbsentBeginning& each) { return is_mostly_found(summary, each); });
    sort_largest_first(&beginnings, &AbsentBeginning::tracks);
    return beginnings;
}

/// Appends the ways to let a beginning's paths meet their files. A link does as much as a prepared copy only
/// where nothing else is to be mended.
void append_repair(std::string* lines, const CheckSummary& summary, const AbsentBeginning& beginning) {
    const std::string folder = escaped(beginning.folder);
    if (beginning.is_there) {
        append(lines,
               "  %s is there, none of its %u files is:\n"
               "  where they are a folder higher or deeper, in DIR:\n",
               folder.c_str(), beginning.tracks);
        append_map(lines, summary, beginning.folder);
        return;
    }
    const bool may_link = beginning.folder.starts_with('/') && !summary.is_misread();
    append(lines, "  If the files of %s\n", folder.c_str());
    append(lines, "%s\n", may_link ? "  are in DIR, one of these:" : "  are in DIR:");
    if (may_link) {
        append_link(lines, beginning.folder);
    }
    append_map(lines, summary, beginning.folder);
}

void append_repairs(std::string* lines, const CheckSummary& summary,
                    const std::vector<AbsentBeginning>& beginnings) {
    for (size_t index = 0; index < std::min(beginnings.size(), shown_repairs); ++index) {
        append_repair(lines, summary, beginnings[index]);
    }
    if (beginnings.size() > 1) {
        *lines += "  For more than one folder give each its --map in one itunes-prepare command.\n";
    }
}

/// The first folder on the way that this user may not enter; empty for none.
std::string closed_folder(const std::string& path) {
    for (size_t slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1)) {
        std::string folder = path.substr(0, slash);
        struct stat status = {};
        if (stat(folder.c_str(), &status) != 0) {
            return {};
        }
        if (S_ISDIR(status.st_mode) && access(folder.c_str(), X_OK) != 0) {
            return folder;
        }
    }
    return {};
}

/// Tells of folders that this user may not enter, with whose they are.
std::vector<std::string> closed_folders(const CheckSummary& summary) {
    std::vector<std::string> closed;
    for (const TrackExample& example : summary.explanation.examples(TrackOutcome::missing)) {
        const std::string folder = closed_folder(*example.path);
        if (!folder.empty() && std::ranges::find(closed, folder) == closed.end()) {
            closed.push_back(folder);
        }
    }
    return closed;
}

/// Appends how to open a folder to this user, for whom one of three permissions counts: the owner's, the group's
/// or that of all others.
void append_closed(std::string* lines, const std::string& folder) {
    struct stat status = {};
    (void)stat(folder.c_str(), &status);
    const bool is_own = status.st_uid == geteuid();
    const bool is_of_group = status.st_gid == getegid() || group_member(status.st_gid) != 0;
    append(lines,
           "  This user (%u) may not enter a folder of user %u; whoever owns it can open it:\n"
           "    %schmod %c+x %s\n",
           static_cast<unsigned>(geteuid()), static_cast<unsigned>(status.st_uid), is_own ? "" : "sudo ",
           is_own        ? 'u'
           : is_of_group ? 'g'
                         : 'o',
           shell_word(folder).c_str());
}

void append_copy(std::string* lines, const CheckSummary& summary) {
    const bool is_laid_out_otherwise = summary.tally().layout != LibraryLayout::as_read;
    append(lines, "  Import a copy %s:\n    itunes-prepare %s prepared.xml\n",
           is_laid_out_otherwise  ? "in the layout that the import reads"
           : summary.is_misread() ? "that the import reads as the library means it"
                                  : "with the paths that the disk has",
           library_word(summary).c_str());
    if (is_laid_out_otherwise && (summary.tally().layout == LibraryLayout::no_library ||
                                  summary.tally().records() < summary.tally().track_count())) {
        *lines += "  and check it again, since the layout may hide more:\n    itunes-check prepared.xml\n";
    }
}

/// Appends the recipe for players that read no bare ampersand, if a playlist file has one.
void append_strict_copies(std::string* lines, const CheckSummary& summary) {
    const auto count = std::ranges::count_if(summary.tally().playlists, [](const CheckedPlaylist& each) {
        return each.outcome == CheckedOutcome::file && each.sign == WplSign::ampersand;
    });
    if (count > 0) {
        append(lines,
               "  For players that list nothing from the %zu playlist file%s with a bare &:\n"
               "    mkdir strict && cp PLAYLISTS/*.wpl strict &&\n"
               "      sed -i -E 's/&(amp;)?/\\&amp;/g' strict/*.wpl\n",
               static_cast<size_t>(count), count == 1 ? "" : "s");
    }
}

/// Whether the tracks are all in the cloud or protected, so that no path can help.
bool is_out_of_reach(const LibraryTally& tally) {
    const uint32_t unreachable =
        tally.tracks_of(TrackOutcome::no_location) + tally.tracks_of(TrackOutcome::copy_protected);
    return tally.layout == LibraryLayout::as_read && unreachable > 0 && unreachable == tally.track_count();
}

} // namespace

std::string what_to_do(const CheckSummary& summary) {
    std::string lines;
    if (!summary.library.damage.empty()) { // which itunes-prepare refuses
        lines = "  Export the library anew: it is damaged, and itunes-prepare refuses it.\n";
    } else {
        lines = summary.media == nullptr ? "" : media_advice(*summary.media, library_word(summary));
        if (lines.empty() && (summary.is_misread() || summary.explanation.respelled() > 0)) {
            append_copy(&lines, summary);
        }
        append_repairs(&lines, summary, absent_beginnings(summary));
    }
    for (const std::string& folder : closed_folders(summary)) {
        append_closed(&lines, folder);
    }
    if (is_out_of_reach(summary.tally())) {
        lines += "  Download the tracks that are in the cloud only; of protected ones it takes\n"
                 "  unprotected copies. No track of the library can be played from a file.\n";
    }
    append_strict_copies(&lines, summary);
    return lines;
}
