#pragma once
// Finds where the files of a library's tracks are on this machine.

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/shared/file_look.h"
#include "tools/shared/media_search.h"
#include "tools/shared/path_map.h"
#include "tools/shared/spelling_search.h"

/// How far a file is looked for.
enum class PlaceSearch {
    none,      // not at all: the likeliest path is taken
    as_it_is,  // whether it is there
    spellings, // under other spellings, too
};

struct Place {
    enum class State {
        not_looked_for,
        found,
        respelled, // found under another spelling
        elsewhere, // found by the search below a folder
        missing,
    };
    std::string path; // the likeliest one where nothing was found
    State state = State::not_looked_for;
    bool is_mapped = false;
};

class Places {
public:
    /// Of maps that fit a path, that with the longest start counts. `at_each_look` is called before each search.
    Places(std::vector<PathMap> maps, PlaceSearch search, std::function<void()> at_each_look = nullptr);

    /// From now on, files that are not in their places are where this search, borrowed, has found them. They
    /// are missing where it has not.
    void use_media(const MediaSearch* media) { media_ = media; }

    /// Where the file is that the library has at `path` (library_location.h).
    [[nodiscard]] Place find(std::string_view path);

    /// The likeliest path, without looking for a file.
    [[nodiscard]] std::string mapped(std::string_view path) const;

    /// The first error that has left open whether a file is there; 0 for none.
    [[nodiscard]] int error() const { return look_.error() != 0 ? look_.error() : spellings_.error(); }

private:
    struct Candidates {
        std::vector<std::string> paths; // the likeliest first
        bool are_mapped;
    };
    [[nodiscard]] Candidates candidates(std::string_view path) const;

    std::vector<PathMap> maps_;
    PlaceSearch search_;
    std::function<void()> at_each_look_;
    FileLook look_;
    const MediaSearch* media_ = nullptr;
    SpellingSearch spellings_{spelling_accents | spelling_case};
};
