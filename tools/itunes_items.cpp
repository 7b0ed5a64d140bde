// itunes-items: prints an items file as readable text, or counts its records by class.
//
// The file is read record by record. Where an entry ends is told by its own length, so a value that holds the
// marker of a record is read through; each record is then parsed by the library's own reader.

#include <cstdint>
#include <cstdio>
#include <cstring>

#include "common/upnp_memory.h"
#include "server/common/upnp_items.h"
#include "server/common/upnp_property.h"

namespace {

constexpr int exit_done = 0;
constexpr int exit_damaged = 1; // also where a file cannot be read
constexpr int exit_usage = 2;

constexpr uint32_t first_record_capacity = 4096;
constexpr uint32_t record_size_limit = 1U << 26; // far above any record of the import

constexpr char usage_text[] = "usage: itunes-items [--count] [FILE]\n"
                              "       itunes-items --help | --version\n"
                              "Prints the records of an items file, standard input without FILE.\n"
                              "  --count    print only the number of records of each class\n"
                              "  --help     print this text\n"
                              "  --version  print the version\n";

/// Where reading stands: at the end of the last whole entry, when something is wrong behind it.
struct ItemsReader {
    FILE* stream;
    uint64_t offset; // bytes read
    char* record;    // the current record so far, marker included; owned
    uint32_t length;
    uint32_t capacity;
    const char* damage; // what is wrong; null while nothing is
    uint64_t damage_offset;
};

struct ClassCount {
    char* name; // owned
    uint32_t count;
    ClassCount* next;
};

bool fail(ItemsReader* reader, uint64_t offset, const char* reason) {
    reader->damage = reason;
    reader->damage_offset = offset;
    return false;
}

/// Makes room for `added` more bytes of the record.
bool reserve(ItemsReader* reader, uint32_t added) {
    uint32_t capacity = reader->capacity == 0 ? first_record_capacity : reader->capacity;
    while (capacity - reader->length < added) {
        capacity *= 2;
    }
    if (capacity == reader->capacity) {
        return true;
    }
    if (capacity > record_size_limit) {
        return fail(reader, reader->offset, "the record is too large");
    }
    auto* record = static_cast<char*>(upnp_malloc(capacity));
    if (record == nullptr) {
        return fail(reader, reader->offset, "out of memory");
    }
    if (reader->record != nullptr) {
        memcpy(record, reader->record, reader->length);
        upnp_free(reader->record);
    }
    reader->record = record;
    reader->capacity = capacity;
    return true;
}

/// Appends the next `count` bytes of the stream to the record; false at its end, with what there was read.
bool read_bytes(ItemsReader* reader, uint32_t count) {
    if (!reserve(reader, count)) {
        return false;
    }
    const size_t got = fread(reader->record + reader->length, 1, count, reader->stream);
    reader->offset += got;
    reader->length += static_cast<uint32_t>(got);
    return got == count;
}

/// Reads the length of the entry whose header is at `header`; -1 unless all five are hexadecimal digits.
int32_t entry_length(const char* header) {
    char digits[upnp_entry_header_length + 1] = {};
    memcpy(digits, header, upnp_entry_header_length);
    if (strspn(digits, "0123456789ABCDEFabcdef") != upnp_entry_header_length) {
        return -1;
    }
    unsigned length = 0;
    (void)sscanf(digits + 2, "%x", &length); // NOLINT(cert-err34-c): three hexadecimal digits fit
    return static_cast<int32_t>(length);
}

/// Reads the entries of the record whose marker has just been read, up to the next marker, which is taken out
/// of the stream, or the end. False for damage; the record then holds the entries before it.
bool read_entries(ItemsReader* reader, bool* at_end) {
    for (;;) {
        const uint32_t entry = reader->length;
        const uint64_t entry_offset = reader->offset;
        const bool is_whole = read_bytes(reader, upnp_entry_header_length);
        const char* header = reader->record + entry;
        *at_end = !is_whole && reader->length == entry && reader->damage == nullptr;
        const bool is_marker = is_whole && memcmp(header, upnp_record_marker, upnp_entry_header_length) == 0;
        if (*at_end || is_marker) {
            reader->length = entry;
            return true;
        }
        const int32_t length = is_whole ? entry_length(header) : 0;
        const bool has_value =
            is_whole && length >= 0 && read_bytes(reader, static_cast<uint32_t>(length) + 1);
        if (!has_value || reader->record[reader->length - 1] != '\n') {
            reader->length = entry;
            if (reader->damage != nullptr) {
                return false;
            }
            return fail(reader, entry_offset,
                        length < 0  ? "neither an entry nor a record begins here"
                        : has_value ? "the entry's value does not end where its length says"
                                    : "the file ends inside this entry");
        }
    }
}

void print_property(const MediaProperty* property) {
    const PropertyDescriptor* descriptor = upnp_database_property_descriptor(property->id);
    if (descriptor != nullptr && descriptor->name != nullptr) {
        printf("%s: %s\n", descriptor->name, property->value);
    } else {
        printf("property %d: %s\n", property->id, property->value);
    }
}

void print_record(const MediaObject* object, bool is_first) {
    if (!is_first) {
        putchar('\n');
    }
    if (object == nullptr) {
        puts("(no properties)");
    }
    for (; object != nullptr; object = object->next) {
        print_property(object);
    }
}

/// Counts one more record of its class; classes stand in the order in which they first appear.
bool count_record(const MediaObject* object, ClassCount** counts) {
    const char* name = upnp_database_object_get_valid_property(object, upnp_property_class);
    name = name == nullptr ? "(no class)" : name;
    ClassCount** link = counts;
    while (*link != nullptr && strcmp((*link)->name, name) != 0) {
        link = &(*link)->next;
    }
    if (*link == nullptr) {
        *link = static_cast<ClassCount*>(upnp_calloc(1, sizeof(ClassCount)));
        if (*link == nullptr) {
            return false;
        }
        (*link)->name = upnp_strdup(name);
        if ((*link)->name == nullptr) {
            upnp_free(*link);
            *link = nullptr;
            return false;
        }
    }
    ++(*link)->count;
    return true;
}

void print_and_free_counts(ClassCount* counts) {
    while (counts != nullptr) {
        ClassCount* next = counts->next;
        printf("%u %s\n", counts->count, counts->name);
        upnp_free(counts->name);
        upnp_free(counts);
        counts = next;
    }
}

/// Prints or counts every record up to the end or the damage.
void read_items(ItemsReader* reader, bool only_count) {
    ClassCount* counts = nullptr;
    bool is_first = true;
    bool at_end = !read_bytes(reader, upnp_record_marker_length) && reader->offset == 0;
    if (!at_end && (reader->length < upnp_record_marker_length ||
                    memcmp(reader->record, upnp_record_marker, upnp_record_marker_length) != 0)) {
        (void)fail(reader, 0, "no record begins here");
    }
    while (!at_end && reader->damage == nullptr) {
        const bool is_whole = read_entries(reader, &at_end);
        MediaObject* object = upnp_database_object_create_from_data(reader->record, reader->length);
        if (only_count) {
            if (is_whole && !count_record(object, &counts)) {
                (void)fail(reader, reader->offset, "out of memory");
            }
        } else if (is_whole || object != nullptr) {
            print_record(object, is_first);
        }
        is_first = false;
        upnp_database_object_free(object);
        reader->length = upnp_record_marker_length; // the next record's marker, or the same text
    }
    print_and_free_counts(counts);
    upnp_free_unless_null(reader->record);
}

int print_items(const char* path, bool only_count) {
    FILE* stream = path == nullptr ? stdin : fopen(path, "rb");
    if (stream == nullptr) {
        fprintf(stderr, "itunes-items: can not open %s\n", path);
        return exit_damaged;
    }
    ItemsReader reader = {};
    reader.stream = stream;
    read_items(&reader, only_count);
    const char* name = path == nullptr ? "standard input" : path;
    int status = exit_done;
    if (ferror(stream) != 0) {
        fprintf(stderr, "itunes-items: can not read %s\n", name);
        status = exit_damaged;
    } else if (reader.damage != nullptr) {
        fprintf(stderr, "itunes-items: %s: damaged at byte %llu: %s\n", name,
                static_cast<unsigned long long>(reader.damage_offset), reader.damage);
        status = exit_damaged;
    }
    (void)fclose(stream);
    return fflush(stdout) == 0 && ferror(stdout) == 0 ? status : exit_damaged;
}

} // namespace

int main(int argc, char** argv) {
    upnp_mem_init(); // keeps the allocator's note out of what people read
    const char* path = nullptr;
    bool only_count = false;
    for (int index = 1; index < argc; ++index) {
        if (strcmp(argv[index], "--help") == 0) {
            fputs(usage_text, stdout);
            return exit_done;
        }
        if (strcmp(argv[index], "--version") == 0) {
            puts("itunes-items " ITUNES_IMPORT_VERSION);
            return exit_done;
        }
        if (strcmp(argv[index], "--count") == 0) {
            only_count = true;
        } else if (path == nullptr && (argv[index][0] != '-' || argv[index][1] == '\0')) {
            path = argv[index];
        } else {
            fputs(usage_text, stderr);
            return exit_usage;
        }
    }
    return print_items(path != nullptr && strcmp(path, "-") == 0 ? nullptr : path, only_count);
}
