#include "tools/shared/count_records.h"

#include <cstdio>

#include "tools/shared/items_reader.h"
#include "tools/shared/text_output.h"

RecordCount count_records(const char* path) {
    const ItemsCount count = count_items(path);
    if (count.state == ItemsState::unreadable) {
        fprintf(stderr, "itunes-check: %s: can not be read; there is nothing to compare with\n",
                escaped(path).c_str());
        return {};
    }
    return {count.records, count.state == ItemsState::damaged || count.state == ItemsState::no_items_file};
}
