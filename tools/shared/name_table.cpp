#include "tools/shared/name_table.h"

#include <new>

#include "tools/shared/folded_text.h"
#include "tools/shared/text_hash.h"

namespace {

constexpr size_t first_slot_count = 1024;

} // namespace

size_t NameTable::slot_of(std::string_view name) const {
    size_t slot = static_cast<size_t>(text_hash(name)) & (slots_.size() - 1);
    while (slots_[slot] != none && text(slots_[slot]) != name) {
        slot = (slot + 1) & (slots_.size() - 1);
    }
    return slot;
}

void NameTable::grow() {
    slots_.assign(slots_.empty() ? first_slot_count : 2 * slots_.size(), none);
    for (uint32_t number = 0; number < names_.size(); ++number) {
        slots_[slot_of(text(number))] = number;
    }
}

uint32_t NameTable::find(std::string_view name) const {
    return slots_.empty() ? none : slots_[slot_of(name)];
}

uint32_t NameTable::add_as_it_is(std::string_view name) {
    if (2 * names_.size() >= slots_.size()) {
        grow();
    }
    uint32_t& number = slots_[slot_of(name)];
    if (number == none) {
        if (name.size() > UINT32_MAX - texts_.size() || names_.size() >= none - 1) {
            throw std::bad_alloc();
        }
        number = static_cast<uint32_t>(names_.size());
        names_.push_back(
            {static_cast<uint32_t>(texts_.size()), static_cast<uint32_t>(name.size()), none, none});
        texts_ += name;
    }
    return number;
}

uint32_t NameTable::add(std::string_view name) {
    const uint32_t number = add_as_it_is(name);
    if (names_[number].folded == none) {
        const std::string kept(name); // it may lie among the texts, which move
        const uint32_t composed = add_as_it_is(folded_text(kept, spelling_accents));
        const uint32_t folded = add_as_it_is(folded_text(kept, spelling_accents | spelling_case));
        names_[number].composed = composed;
        names_[number].folded = folded;
    }
    return number;
}
