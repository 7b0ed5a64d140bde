#include "tools/itunes-import-night/workspace.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "tools/itunes-import-night/lock.h"
#include "tools/shared/directory_stream.h"

namespace {

constexpr std::string_view name_pattern = ".itunes-import-night-XXXXXX";
constexpr std::string_view name_prefix = name_pattern.substr(0, name_pattern.find('X'));
constexpr char mark_name[] = "made-by-itunes-import-night";

bool is_workspace_name(std::string_view name) {
    return name.size() == name_pattern.size() && name.starts_with(name_prefix);
}

/// Whether a night makes files of this name. The preparation writes its file under a name of its own first.
bool is_work_name(std::string_view name) {
    return name == night_items_name || name == night_prepared_name || name.starts_with(".itunes-prepare.") ||
           (name.starts_with("iTunes-playlist-") && name.ends_with(".wpl"));
}

/// Whether the directory holds nothing but the entry `but`. False where it can not be read.
bool holds_only(const char* directory, std::string_view but) {
    DirectoryStream entries(directory);
    while (const dirent* entry = entries.next()) {
        if (entry->d_name != but) {
            return false;
        }
    }
    return entries.error() == 0;
}

bool is_regular_file(int directory, const char* name) {
    struct stat status = {};
    return fstatat(directory, name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(status.st_mode);
}

bool is_own_directory(const std::string& path) {
    struct stat status = {};
    return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == geteuid();
}

/// Removes a workspace, the mark last: what a kill leaves of it is known again. Asks for no memory of its
/// own, since it runs where memory was short, too.
void remove_workspace(const char* path, int directory) {
    DirectoryStream entries(path);
    while (const dirent* entry = entries.next()) {
        if (is_work_name(entry->d_name) && is_regular_file(directory, entry->d_name)) {
            (void)unlinkat(directory, entry->d_name, 0);
        }
    }
    if (holds_only(path, mark_name)) {
        (void)unlinkat(directory, mark_name, 0);
        (void)rmdir(path);
    }
}

/// Removes what a killed run left under this path, if that is what is there. Without anything inside, as a
/// run leaves it that is killed before it makes the mark, the name will do.
void remove_leftover(const std::string& path) {
    if (!is_own_directory(path)) {
        return;
    }
    const LockedDirectory locked = lock_directory(path);
    const int directory = locked.directory.number();
    if (locked.error == 0 && (is_regular_file(directory, mark_name) || holds_only(path.c_str(), ""))) {
        remove_workspace(path.c_str(), directory);
    }
}

} // namespace

int NightWorkspace::make(const std::string& directory) {
    std::string path = directory + "/" + std::string(name_pattern);
    if (mkdtemp(path.data()) == nullptr) {
        return errno;
    }
    LockedDirectory locked = lock_directory(path);
    if (locked.error != 0) {
        (void)rmdir(path.c_str());
        return locked.error;
    }
    path_ = std::move(path);
    lock_ = std::move(locked.directory);
    Descriptor mark(openat(lock_.number(), mark_name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    const int error = mark.is_open() && mark.close() == 0 ? 0 : errno;
    if (error != 0) {
        remove();
    }
    return error;
}

void NightWorkspace::remove() {
    if (!path_.empty()) {
        remove_workspace(path_.c_str(), lock_.number());
        path_.clear();
        (void)lock_.close();
    }
}

void NightWorkspace::remove_leftovers(const std::string& directory) {
    DirectoryStream entries(directory.c_str());
    while (const dirent* entry = entries.next()) {
        if (is_workspace_name(entry->d_name)) {
            remove_leftover(directory + "/" + entry->d_name);
        }
    }
}
