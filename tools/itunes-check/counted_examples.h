#pragma once
// How many there are of something, with the first few.

#include <cstddef>
#include <string>
#include <vector>

struct CountedExamples {
    size_t count = 0;
    std::vector<std::string> examples;

    void add(std::string example) {
        constexpr size_t example_limit = 5;
        ++count;
        if (examples.size() < example_limit) {
            examples.push_back(std::move(example));
        }
    }
};
