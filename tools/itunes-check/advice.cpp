// The end of the summary: what its reader can do.

#include <cerrno>
#include <cstdio>
#include <unistd.h>

#include "tools/itunes-check/output.h"
#include "tools/shared/text_output.h"

namespace {

constexpr size_t shown_repairs = 2;

/// The library's path as a word that no program takes for an option.
std::string library_word(const CheckSummary& summary) {
    return (summary.library_path.starts_with('-') ? "./" : "") + shell_word(summary.library_path);
}

/// The folder in front of the '=' of --map: as an address where it holds that sign itself.
std::string mapped_folder(const std::string& folder) {
    if (folder.find('=') == std::string::npos) {
        return shell_word(folder);
    }
    std::string address = folder.starts_with('/') ? "file://localhost" : "file://localhost/";
    for (const char character : folder) {
        switch (character) {
        case '=': address += "%3D"; break;
        case '%': address += "%25"; break;
        default: address += character;
        }
    }
    return shell_word(address);
}

/// Prints the ways to let an absolute path meet its files.
void print_link(const std::string& folder) {
    const std::string parent = folder.substr(0, std::max<size_t>(folder.rfind('/'), 1));
    const std::string word = shell_word(folder);
    printf("    mkdir -p %s &&\n      ln -s DIR %s\n    mkdir -p %s &&\n      mount --bind DIR %s\n",
           shell_word(parent).c_str(), word.c_str(), word.c_str(), word.c_str());
}

/// Prints the ways to let a folder's paths meet its files.
void print_repair(const CheckSummary& summary, const FolderGroup& group) {
    const bool is_absolute = group.folder.starts_with('/');
    printf("  If the files of %s\n", escaped(group.folder).c_str());
    puts(is_absolute ? "  are in DIR, one of these:" : "  are in DIR:");
    if (is_absolute) {
        print_link(group.folder);
    }
    printf("    itunes-prepare --map %s=DIR \\\n      %s prepared.xml\n", mapped_folder(group.folder).c_str(),
           library_word(summary).c_str());
}

/// Whether nothing of an absolute folder, or one on a drive, is there.
bool is_absent(const FolderGroup& group) {
    const std::string& folder = group.folder;
    const bool is_rooted = folder.starts_with('/') || (folder.size() > 1 && folder[1] == ':');
    return group.existing == 0 && is_rooted && access(folder.c_str(), F_OK) != 0 && errno != EACCES;
}

/// The largest folders that are absent; none where every missing file was found.
std::vector<const FolderGroup*> absent_folders(const CheckSummary& summary) {
    std::vector<const FolderGroup*> absent;
    if (summary.explanation.respelled() == summary.tally.tracks_of(TrackOutcome::missing)) {
        return absent;
    }
    for (const FolderGroup& group : summary.folders) {
        if (absent.size() < shown_repairs && is_absent(group)) {
            absent.push_back(&group);
        }
    }
    return absent;
}

} // namespace

void print_what_to_do(const CheckSummary& summary) {
    const bool is_other = summary.is_in_other_layout();
    const bool wants_copy = is_other || summary.explanation.respelled() > 0;
    const std::vector<const FolderGroup*> absent = absent_folders(summary);
    if (!wants_copy && absent.empty()) {
        return;
    }
    puts("\nWhat to do");
    if (wants_copy) {
        printf("  Import a copy %s:\n    itunes-prepare %s prepared.xml\n",
               is_other ? "in the layout that the import reads" : "with the paths that the disk has",
               library_word(summary).c_str());
    }
    for (const FolderGroup* group : absent) {
        print_repair(summary, *group);
    }
    if (absent.size() > 1) {
        puts("  For more than one folder give each its --map in one itunes-prepare command.");
    }
}
