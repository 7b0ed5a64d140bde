#pragma once
// A directory in which a night works, fresh and with a name that nobody else has, in the directory where its
// results are to stand: so each result gets there with one rename, whatever is mounted where.
//
//     NightWorkspace::remove_leftovers(directory);
//     NightWorkspace workspace;
//     if (workspace.make(directory) != 0) ...
//
// What a killed run left is known by all of this: the name, a directory that is a directory and this user's
// own, a mark inside, and a lock that nobody holds. What is removed has the shape of what a night makes, file
// by file; anything else stays, and the directory with it. No link is followed.

#include <string>
#include <string_view>

#include "tools/shared/descriptor.h"

class NightWorkspace {
public:
    NightWorkspace() = default;
    ~NightWorkspace() { remove(); }
    NightWorkspace(const NightWorkspace&) = delete;
    NightWorkspace& operator=(const NightWorkspace&) = delete;

    /// Makes it below `directory`, once. 0, or the errno of what failed; nothing is there then.
    [[nodiscard]] int make(const std::string& directory);

    /// Its path; empty before it is made and after it is removed.
    [[nodiscard]] const std::string& path() const { return path_; }

    /// Removes it with what a night leaves in it.
    void remove();

    /// Removes what killed runs left in `directory`. What can not be removed stays.
    static void remove_leftovers(const std::string& directory);

private:
    std::string path_;
    Descriptor lock_; // on the directory, so that no other run takes it for a leftover
};

/// The names in a workspace beside those of playlists.
inline constexpr char night_items_name[] = "itunes.import.temp.items";
inline constexpr char night_prepared_name[] = "library.xml";

/// Longer paths of directories would be cut, with a playlist's name behind them, in the import's buffers.
constexpr size_t night_directory_limit = 640;
