#pragma once
// One stable sort for everything that goes by a number. A sort of the standard library for each type would bring three
// kilobytes of code each, which count on a small box.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

/// The places of `numbers` from the smallest to the largest; equal ones stay in their order.
std::vector<size_t> places_in_order(const std::vector<int64_t>& numbers);

/// Sorts `things` by `number`, a member or a function of each: smallest first, equal ones stay in their order. Takes
/// as much memory again.
template <typename Thing, typename Number>
void sort_by_number(std::vector<Thing>* things, Number number) {
    std::vector<int64_t> numbers;
    for (const Thing& thing : *things) {
        numbers.push_back(static_cast<int64_t>(std::invoke(number, thing)));
    }
    std::vector<Thing> sorted;
    for (const size_t place : places_in_order(numbers)) {
        sorted.push_back(std::move((*things)[place]));
    }
    *things = std::move(sorted);
}

/// Sorts as `sort_by_number` does, but with the largest number first.
template <typename Thing, typename Number>
void sort_largest_first(std::vector<Thing>* things, Number number) {
    sort_by_number(things,
                   [&](const Thing& thing) { return -static_cast<int64_t>(std::invoke(number, thing)); });
}
