#pragma once
// Looks for a file that is not at its path under another spelling of the path.
//
// Directories are listed, files only asked for (stat). Listings are remembered, those used last, up to a
// bound, so that neighbouring calls for paths of the same directories are fast; a file that comes while a
// search lives may stay unseen. A directory of more than 100,000 names is not searched: in it, a name counts
// as it stands.

#include <cstddef>
#include <cstdint>
#include <list>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "tools/shared/file_look.h"
#include "tools/shared/folded_text.h"

struct SpellingAnswer {
    std::string found;        // the path that is there; empty for none
    uint32_t differences = 0; // in what it differs
    bool is_known = true;     // false where nothing was found and a bound ended the search
};

class SpellingSearch {
public:
    /// A search for spellings that differ in these ways (folded_text.h), which reads no more than
    /// `names_limit` names from directories in all.
    explicit SpellingSearch(uint32_t differences, uint64_t names_limit = default_names_limit)
        : differences_(differences), names_limit_(names_limit) {}
    SpellingSearch(const SpellingSearch&) = delete;
    SpellingSearch& operator=(const SpellingSearch&) = delete;

    /// Finds the only existing path that is like `path`: in accents alone or, where no such one is there, in
    /// case too and, last, in plus signs. Where several are there, none is found. Paths have any bytes but 0.
    [[nodiscard]] SpellingAnswer find(std::string_view path);

    /// How many bytes of the path, as it stands, lead to something that exists: whole components without the
    /// slash behind them; 0 for none.
    [[nodiscard]] size_t existing_length(std::string_view path);

    /// The first error that has left open whether a file is there; 0 for none.
    [[nodiscard]] int error() const { return look_.error(); }

private:
    static constexpr uint64_t default_names_limit = 20'000'000; // some 20 seconds

    /// The names in a directory by what they are folded to.
    struct Listing {
        struct Name {
            uint32_t hash;   // of the folded name
            uint32_t offset; // in the texts
        };
        std::string directory;
        std::string texts;       // each name with a NUL
        std::vector<Name> names; // sorted by hash
        bool is_searched = true; // false for one with too many names

        [[nodiscard]] size_t size() const { // about, in bytes
            return sizeof *this + directory.size() + texts.size() + names.size() * sizeof(Name);
        }
    };
    using Listings = std::list<Listing>;

    bool read_listing(Listing* listing, int* error);
    const Listing* listing(const std::string& directory, bool* is_dead);
    void forget_oldest();
    void add_alike(const std::string& directory, std::string_view name, std::vector<std::string>* paths);
    const std::vector<std::string>& all_alike(const std::string& directory);

    const uint32_t differences_;
    const uint64_t names_limit_;
    FileLook look_;
    uint64_t names_read_ = 0;
    bool is_known_ = true;
    Listings listings_; // that used last first
    std::unordered_map<std::string_view, Listings::iterator> by_directory_;
    size_t remembered_bytes_ = 0;
    std::unordered_set<std::string> not_again_; // large ones that were forgotten
    std::string directory_;                     // of the path that was looked for last
    std::vector<std::string> found_;            // what it may be
    bool is_directory_known_ = false;           // no bound was met then
    std::string existing_;                      // what existing_length found last
    std::string not_existing_;                  // the same with the name behind it
};
