#include "tools/shared/number_sort.h"

#include <algorithm>

std::vector<size_t> places_in_order(const std::vector<int64_t>& numbers) {
    std::vector<size_t> places(numbers.size());
    for (size_t place = 0; place < places.size(); ++place) {
        places[place] = place;
    }
    std::ranges::sort(places, {}, [&](size_t place) { return std::pair(numbers[place], place); });
    return places;
}
