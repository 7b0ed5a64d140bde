#include "tools/shared/count_records.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/upnp_memory.h"
#include "server/common/upnp_items.h"
#include "tools/shared/text_output.h"

namespace {

constexpr uint32_t first_capacity = 1U << 16;
constexpr uint32_t capacity_limit = 1U << 24; // far above any record of the import

/// A window over the file.
struct RecordReader {
    int descriptor;
    char* data; // owned
    uint32_t capacity;
    uint32_t start; // where the current record begins
    uint32_t end;   // where the bytes that were read end
    bool at_end;    // nothing follows them in the file
};

/// Makes room behind the current record and reads on; false at the end of the file and without memory.
bool read_more(RecordReader* reader) {
    const uint32_t kept = reader->end - reader->start;
    if (reader->start > 0) {
        memmove(reader->data, reader->data + reader->start, kept);
    } else if (kept == reader->capacity) {
        auto* data = static_cast<char*>(kept == capacity_limit ? nullptr : upnp_malloc(2 * kept));
        if (data == nullptr) {
            return false;
        }
        memcpy(data, reader->data, kept);
        upnp_free(reader->data);
        reader->data = data;
        reader->capacity = 2 * kept;
    }
    reader->start = 0;
    reader->end = kept;
    const ssize_t count = read(reader->descriptor, reader->data + kept, reader->capacity - kept);
    reader->at_end = count <= 0;
    reader->end += count > 0 ? static_cast<uint32_t>(count) : 0;
    return count > 0;
}

RecordCount count_all(RecordReader* reader) {
    uint64_t records = 0;
    for (;;) {
        const UpnpRecordEnd end =
            upnp_database_record_end(reader->data + reader->start, reader->end - reader->start);
        const bool goes_on = end.kind == UpnpRecordEndKind::data_end || end.kind == UpnpRecordEndKind::cut;
        if (end.kind == UpnpRecordEndKind::marker) {
            reader->start += end.length;
            ++records;
        } else if (!goes_on || !read_more(reader)) {
            const bool is_whole = reader->at_end && end.kind == UpnpRecordEndKind::data_end;
            return {records + (is_whole && end.length > 0 ? 1 : 0), !is_whole};
        }
    }
}

RecordCount count_open(int descriptor) {
    RecordReader reader = {descriptor, static_cast<char*>(upnp_malloc(first_capacity)), first_capacity, 0, 0,
                           false};
    if (reader.data == nullptr) {
        return {};
    }
    const RecordCount count = count_all(&reader);
    upnp_free(reader.data);
    return count;
}

} // namespace

RecordCount count_records(const char* path) {
    struct stat status = {};
    if (stat(path, &status) != 0 && errno == ENOENT) {
        return {};
    }
    const int descriptor = S_ISREG(status.st_mode) ? open(path, O_RDONLY | O_CLOEXEC) : -1;
    if (descriptor < 0) {
        fputs("itunes-check: ", stderr);
        print_escaped(stderr, path);
        fputs(": can not be read; there is nothing to compare with\n", stderr);
        return {};
    }
    const RecordCount count = count_open(descriptor);
    (void)close(descriptor);
    return count;
}
