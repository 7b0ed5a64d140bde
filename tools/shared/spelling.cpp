#include "tools/shared/spelling.h"

#include <algorithm>
#include <cstring>
#include <dirent.h>
#include <initializer_list>
#include <iterator>
#include <sys/stat.h>

#include "common/upnp_memory.h"
#include "tools/shared/canonical_decomposition.h"

namespace {

constexpr uint32_t library_path_size = 1024; // no path of the import is longer
constexpr uint32_t depth_limit = 64;         // deeper paths are not looked for
constexpr uint32_t work_limit = 1'000'000;   // names read and files asked for, all calls together
constexpr uint32_t listing_limit = 100'000;  // names kept, of all directories

/// A name in a directory.
struct ListedName {
    uint64_t hash;   // of the folded name
    uint32_t offset; // of the name among the listing's texts
};

/// The names in a directory, sorted by their hashes.
struct Listing {
    ListedName* names; // owned, as the texts
    char* texts;       // each with its NUL
    uint32_t count;
    uint32_t capacity;
    uint32_t text_length;
    uint32_t text_capacity;
    bool is_partial; // there was no room for all
};

/// A directory on the way to a file.
struct Level {
    uint32_t path_length; // of the library's path up to here
    uint32_t real_length; // of the path on the disk up to here
    uint32_t differences;
    bool is_listed;
    Listing listing;
};

/// What is known from earlier paths: the directories of the last one, as far as they were found.
struct Search {
    char path[library_path_size]; // as the library has it
    char real[spelling_path_size];
    Level levels[depth_limit + 1]; // the first stands for the root or the working directory
    uint32_t depth;                // levels[depth] is the deepest that was found
    uint32_t failed_length;        // the path up to here was not found below it; 0 for none
    bool is_begun;
    uint32_t work;
    uint32_t kept_names; // in the listings of all levels
};

Search search;

/// Reads the character at *text and moves on; a byte of no character stands for itself, beyond all
/// characters.
uint32_t next_character(const char** text, const char* end) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(*text);
    const unsigned lead = bytes[0];
    const uint32_t length = lead < 0xC2 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF5 ? 4 : 1;
    uint32_t character = length == 1 ? lead : lead & (0x7FU >> length);
    bool is_valid = (lead < 0x80 || length > 1) && static_cast<size_t>(end - *text) >= length;
    for (uint32_t index = 1; is_valid && index < length; ++index) {
        is_valid = (bytes[index] & 0xC0U) == 0x80;
        character = character << 6 | (bytes[index] & 0x3FU);
    }
    *text += is_valid ? length : 1;
    return is_valid ? character : 0x110000 + lead;
}

/// The small letter of a capital; small final sigma counts as sigma.
uint32_t small_letter(uint32_t character) {
    const auto within = [character](uint32_t first, uint32_t last) {
        return character >= first && character <= last;
    };
    if (within('A', 'Z') || (within(0xC0, 0xDE) && character != 0xD7) || within(0x391, 0x3AB) ||
        within(0x410, 0x42F)) {
        return character + 32;
    }
    if (within(0x400, 0x40F)) {
        return character + 80;
    }
    if (within(0x139, 0x148) || within(0x179, 0x17E)) {
        return character % 2 != 0 ? character + 1 : character;
    }
    if ((within(0x100, 0x177) && character != 0x130 && character != 0x131 && character != 0x138) ||
        within(0x460, 0x481) || within(0x48A, 0x4BF) || within(0x4D0, 0x52F)) {
        return character | 1U;
    }
    switch (character) {
    case 0x178: return 0xFF;
    case 0x386: return 0x3AC;
    case 0x388:
    case 0x389:
    case 0x38A: return character + 37;
    case 0x38C: return 0x3CC;
    case 0x38E:
    case 0x38F: return character + 63;
    case 0x3C2: return 0x3C3;
    default: return character;
    }
}

uint64_t hash_character(uint64_t hash, uint32_t character, uint32_t differences) {
    if ((differences & spelling_plus) != 0 && character == '+') {
        character = ' ';
    }
    if ((differences & spelling_case) != 0) {
        character = small_letter(character);
    }
    return (hash ^ character) * 0x100000001B3U;
}

uint64_t hash_decomposed(uint64_t hash, uint32_t character, uint32_t differences) {
    if (character >= 0xAC00 && character < 0xAC00 + 11172) { // a Hangul syllable: two or three letters
        const uint32_t index = character - 0xAC00;
        hash = hash_character(hash, 0x1100 + index / 588, differences);
        hash = hash_character(hash, 0x1161 + index % 588 / 28, differences);
        return index % 28 == 0 ? hash : hash_character(hash, 0x11A7 + index % 28, differences);
    }
    const auto* row =
        std::ranges::lower_bound(canonical_decompositions, character, {}, &CanonicalDecomposition::composed);
    if (row == std::end(canonical_decompositions) || row->composed != character) {
        return hash_character(hash, character, differences);
    }
    return hash_character(hash_decomposed(hash, row->base, differences), row->mark, differences);
}

/// A number that is the same for names that differ in these ways only.
uint64_t folded(const char* name, size_t length, uint32_t differences) {
    uint64_t hash = 0xCBF29CE484222325U;
    const char* end = name + length;
    while (name < end) {
        const uint32_t character = next_character(&name, end);
        hash = (differences & spelling_accents) != 0 && character >= 0xC0
                   ? hash_decomposed(hash, character, differences)
                   : hash_character(hash, character, differences);
    }
    return hash;
}

/// In which ways the names differ that are the same otherwise; the fewest that explain it.
uint32_t differences_of(const char* name, size_t length, const char* other) {
    const size_t other_length = strlen(other);
    for (const uint32_t differences :
         {spelling_accents, spelling_case, spelling_plus, spelling_accents | spelling_case,
          spelling_accents | spelling_plus, spelling_case | spelling_plus}) {
        if (folded(name, length, differences) == folded(other, other_length, differences)) {
            return differences;
        }
    }
    return spelling_any;
}

bool exists() {
    struct stat status = {};
    ++search.work;
    return stat(search.real, &status) == 0;
}

/// Makes room for `added` more units in a block of `count`; false without memory.
template <typename Unit>
bool reserve(Unit** units, uint32_t count, uint32_t* capacity, uint32_t added) {
    if (*capacity - count >= added) {
        return true;
    }
    const uint32_t wanted = 2 * *capacity + added + 64;
    auto* block = static_cast<Unit*>(upnp_malloc(wanted * static_cast<uint32_t>(sizeof(Unit))));
    if (block == nullptr) {
        return false;
    }
    std::copy_n(*units, count, block);
    upnp_free_unless_null(*units);
    *units = block;
    *capacity = wanted;
    return true;
}

/// Adds a name; false where there is no room for more.
bool add_name(Listing* listing, const char* name) {
    const auto size = static_cast<uint32_t>(strlen(name) + 1);
    if (search.kept_names >= listing_limit ||
        !reserve(&listing->names, listing->count, &listing->capacity, 1) ||
        !reserve(&listing->texts, listing->text_length, &listing->text_capacity, size)) {
        return false;
    }
    memcpy(listing->texts + listing->text_length, name, size);
    listing->names[listing->count++] = {folded(name, size - 1, spelling_any), listing->text_length};
    listing->text_length += size;
    ++search.kept_names;
    return true;
}

/// Notes the names in the directory, to which search.real leads, once.
void list_level(Level* level) {
    if (level->is_listed) {
        return;
    }
    level->is_listed = true;
    Listing* listing = &level->listing;
    DIR* stream = opendir(search.real[0] == '\0' ? "." : search.real);
    ++search.work;
    while (stream != nullptr) {
        const dirent* entry = readdir(stream);
        if (entry == nullptr || ++search.work > work_limit) {
            break;
        }
        if (!add_name(listing, entry->d_name)) {
            listing->is_partial = true;
            break;
        }
    }
    if (stream != nullptr) {
        (void)closedir(stream);
    }
    std::sort(listing->names, listing->names + listing->count,
              [](const ListedName& one, const ListedName& other) { return one.hash < other.hash; });
}

/// Puts a name behind the first bytes of search.real, which are a directory; false where it does not fit.
bool append_name(uint32_t directory_length, const char* name, size_t length) {
    if (directory_length + length + 2 > sizeof search.real) {
        return false;
    }
    char* end = search.real + directory_length;
    if (directory_length > 0 && end[-1] != '/') {
        *end++ = '/';
    }
    memcpy(end, name, length);
    end[length] = '\0';
    return true;
}

/// Finds a name of the directory that is spelled otherwise, and puts it behind the directory's path.
bool find_other_spelling(Level* level, const char* name, size_t length, uint32_t* differences) {
    list_level(level);
    const Listing* listing = &level->listing;
    const uint64_t wanted = folded(name, length, spelling_any);
    const ListedName* first = listing->names;
    const ListedName* end = first + listing->count;
    const ListedName* found = std::lower_bound(
        first, end, wanted, [](const ListedName& one, uint64_t hash) { return one.hash < hash; });
    for (; found != end && found->hash == wanted; ++found) {
        const char* text = listing->texts + found->offset;
        if (append_name(level->real_length, text, strlen(text)) && exists()) { // no link that leads nowhere
            *differences |= differences_of(name, length, text);
            return true;
        }
    }
    return false;
}

/// Goes to a name in a directory as it is spelled, or else as it is found; search.real then leads there.
bool find_name(Level* level, const char* name, size_t length, uint32_t* differences) {
    if (append_name(level->real_length, name, length) && exists()) {
        return true;
    }
    search.real[level->real_length] = '\0';
    return find_other_spelling(level, name, length, differences);
}

void free_levels_from(uint32_t depth) {
    for (uint32_t index = depth; index <= search.depth; ++index) {
        search.kept_names -= search.levels[index].listing.count;
        upnp_free_unless_null(search.levels[index].listing.names);
        upnp_free_unless_null(search.levels[index].listing.texts);
        search.levels[index] = {};
    }
}

/// Keeps the directories that the path shares with the last one.
void keep_shared_levels(const char* path) {
    uint32_t shared = 0;
    while (path[shared] != '\0' && path[shared] == search.path[shared]) {
        ++shared;
    }
    uint32_t depth = 0;
    while (search.is_begun && depth < search.depth) {
        const uint32_t length = search.levels[depth + 1].path_length;
        if (length > shared || path[length] != '/') {
            break;
        }
        ++depth;
    }
    const bool fails_again = depth == search.depth && search.failed_length != 0 &&
                             search.failed_length <= shared && path[search.failed_length] == '/';
    if (!fails_again) {
        search.failed_length = 0;
    }
    const bool is_same_root = search.is_begun && (path[0] == '/') == (search.real[0] == '/');
    free_levels_from(is_same_root ? depth + 1 : 0);
    search.depth = depth;
    if (!is_same_root) {
        search.depth = 0;
        search.failed_length = 0;
        search.levels[0].path_length = path[0] == '/' ? 1 : 0;
        search.levels[0].real_length = search.levels[0].path_length;
        memcpy(search.real, path, search.levels[0].real_length);
        search.is_begun = true;
    }
    memcpy(search.path, path, strlen(path) + 1);
}

/// Goes down to the directory of the path. Returns what stands behind it, or null where it was not found.
const char* find_directory(const char* path) {
    const char* name = path + search.levels[search.depth].path_length;
    for (;;) {
        name += strspn(name, "/");
        const size_t length = strcspn(name, "/");
        if (name[length] == '\0') {
            return name;
        }
        const auto name_end = static_cast<uint32_t>(name + length - path);
        Level* level = &search.levels[search.depth];
        uint32_t differences = level->differences;
        if (search.failed_length != 0 || search.depth == depth_limit ||
            !find_name(level, name, length, &differences)) {
            search.failed_length = search.failed_length == 0 ? name_end : search.failed_length;
            return nullptr;
        }
        search.levels[++search.depth] = {
            name_end, static_cast<uint32_t>(strlen(search.real)), differences, false, {}};
        name += length;
    }
}

/// How much of the library's path leads to a directory as it stands.
uint32_t existing_length() {
    uint32_t length = 0;
    for (uint32_t index = 0; index <= search.depth && search.levels[index].differences == 0; ++index) {
        length = search.levels[index].path_length;
    }
    return length;
}

} // namespace

void spelling_search(const char* path, SpellingResult* result) {
    result->is_found = false;
    result->existing_length = spelling_length_unknown;
    result->is_known = search.work < work_limit;
    if (!result->is_known || strlen(path) >= sizeof search.path) {
        result->is_known = false;
        return;
    }
    keep_shared_levels(path);
    const char* name = find_directory(path);
    result->existing_length = existing_length();
    Level* level = &search.levels[search.depth];
    result->differences = level->differences;
    const bool is_name = name != nullptr && name[0] != '\0';
    if (is_name && find_name(level, name, strlen(name), &result->differences)) {
        result->is_found = true;
        memcpy(result->found, search.real, strlen(search.real) + 1);
    }
    result->is_known = search.work < work_limit && (result->is_found || !level->listing.is_partial);
}
