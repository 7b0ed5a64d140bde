#pragma once
// Names of files and folders, each kept once and known by a number, together with what it is folded to, so
// that names which differ in accents' composition or in case only are told to be alike by comparing two
// numbers.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

class NameTable {
public:
    static constexpr uint32_t none = UINT32_MAX;

    /// Returns the name's number: they count from 0 in the order in which names first came. Throws
    /// std::bad_alloc for more than 4 GiB of names.
    uint32_t add(std::string_view name);

    /// Returns the number of a name that came before; `none` for any other.
    [[nodiscard]] uint32_t find(std::string_view name) const;

    /// The number of what a name is folded to.
    [[nodiscard]] uint32_t folded(uint32_t name) const { return names_[name].folded; }

    /// The number of the name with its accents composed; the name's own for most.
    [[nodiscard]] uint32_t composed(uint32_t name) const { return names_[name].composed; }

    /// Borrowed until the next name is added.
    [[nodiscard]] std::string_view text(uint32_t name) const {
        return std::string_view(texts_).substr(names_[name].offset, names_[name].length);
    }

private:
    struct Name {
        uint32_t offset; // in the texts
        uint32_t length;
        uint32_t folded;
        uint32_t composed;
    };

    [[nodiscard]] size_t slot_of(std::string_view name) const;
    uint32_t add_as_it_is(std::string_view name);
    void grow();

    std::string texts_;
    std::vector<Name> names_;
    std::vector<uint32_t> slots_; // numbers by hash, `none` where free; a power of two, never full
};
