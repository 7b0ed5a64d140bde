#pragma once
// How many records of each class an items file has. Named are the classes that the server knows, the first 16
// others, and "(no class)"; so memory is bounded, whatever the file holds.

#include <cstdint>
#include <string>
#include <vector>

#include "server/common/upnp_database.h"

class ClassCounts {
public:
    /// Counts a record; null is one without properties.
    void add(const MediaObject* object);

    /// A line a class, "12 object.item", in the order in which they first occurred; the records of all
    /// further classes as "(other classes)"; at last the number of all records: "14 records".
    [[nodiscard]] std::string text() const;

private:
    struct ClassCount {
        std::string name;
        uint64_t count;
    };
    std::vector<ClassCount> classes_;
    uint32_t others_ = 0;  // classes among them that the server does not know
    uint64_t further_ = 0; // records of yet other classes
    uint64_t records_ = 0;
};
