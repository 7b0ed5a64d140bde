// itunes-items: prints an items file for people or as JSON, or counts its records by class.
//
// A window of the file is in memory, large enough for the largest record allowed. Where a record ends and
// what it holds is told by the server's own library, so a value that holds a record's marker is read through.

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "common/upnp_memory.h"
#include "common/upnp_text.h"
#include "server/common/upnp_class.h"
#include "server/common/upnp_items.h"
#include "server/common/upnp_property.h"
#include "tools/shared/text_output.h"

namespace {

constexpr int exit_done = 0;
constexpr int exit_damaged = 1; // also where something cannot be opened, read or written
constexpr int exit_usage = 2;

constexpr uint32_t record_size_limit = 1U << 20; // far above any record of the import
constexpr uint32_t value_capacity = 4096;        // the longest value and its end
constexpr uint32_t property_ids = 256;           // as many as an entry's two digits tell apart
constexpr uint32_t known_classes = sizeof upnp_database_classes / sizeof upnp_database_classes[0];
constexpr uint32_t other_classes = 16; // counted by name beside the known ones

constexpr char no_class[] = "(no class)";

constexpr char usage_text[] = "usage: itunes-items [--count | --json] [--] [FILE]\n"
                              "       itunes-items --help | --version\n"
                              "Prints the records of an items file, standard input without FILE.\n"
                              "  --count    print only the number of records of each class, and of all\n"
                              "  --json     print each record as a JSON object on a line of its own\n"
                              "  --help     print this text\n"
                              "  --version  print the version\n";
constexpr char version_text[] = "itunes-items " ITUNES_IMPORT_VERSION "\n";

enum class Form {
    text,
    json,
    count,
};

struct Arguments {
    const char* path;   // null for standard input
    const char* answer; // a text that is asked for instead of a file's, or null
    Form form;
};

struct ItemsReader {
    FILE* stream;
    uint64_t offset; // of the window in the file
    uint32_t start;  // of the next record in the window
    uint32_t length; // bytes in the window
    bool at_end;     // nothing of the file follows the window
    int error;       // errno of a failed read, or 0
};

// With room for the marker behind the largest record.
char window[record_size_limit + upnp_record_marker_length];

/// The next record, which begins at the window's start.
struct Record {
    uint32_t length;    // bytes of its marker and its whole entries; 0 at the end of the file
    const char* damage; // what is wrong behind them, or null
};

constexpr char not_an_items_file[] = "not an items file";

struct ClassCount {
    const char* name;
    uint64_t count;
};

struct Counts {
    ClassCount classes[known_classes + other_classes + 1]; // as they first occur; one is for no class
    uint32_t class_count;
    char other_names[other_classes][value_capacity];
    uint32_t other_name_count;
    uint64_t further; // records of yet other classes
    uint64_t records;
};

/// Drops what was read from the window and fills it up.
void fill_window(ItemsReader* reader) {
    reader->length -= reader->start;
    memmove(window, window + reader->start, reader->length);
    reader->offset += reader->start;
    reader->start = 0;
    const size_t room = sizeof window - reader->length;
    const size_t got = fread(window + reader->length, 1, room, reader->stream);
    reader->error = ferror(reader->stream) == 0 ? 0 : errno;
    reader->length += static_cast<uint32_t>(got);
    reader->at_end = got < room;
}

/// Whether the record may go on behind the window.
bool is_open(UpnpRecordEndKind kind) {
    return kind == UpnpRecordEndKind::data_end || kind == UpnpRecordEndKind::cut;
}

const char* damage_text(UpnpRecordEndKind kind) {
    switch (kind) {
    case UpnpRecordEndKind::marker:
    case UpnpRecordEndKind::data_end: break;
    case UpnpRecordEndKind::cut: return "the file ends inside this entry";
    case UpnpRecordEndKind::no_record: return not_an_items_file;
    case UpnpRecordEndKind::no_entry: return "neither an entry nor a record begins here";
    case UpnpRecordEndKind::open_value: return "the entry's value does not end where its length says";
    }
    return nullptr;
}

Record read_record(ItemsReader* reader) {
    UpnpRecordEnd end = upnp_database_record_end(window + reader->start, reader->length - reader->start);
    if (is_open(end.kind) && !reader->at_end) {
        fill_window(reader);
        end = upnp_database_record_end(window, reader->length);
    }
    if (end.length > record_size_limit || (is_open(end.kind) && !reader->at_end)) {
        return {0, "the record that begins here is larger than 1 MiB"};
    }
    return {end.length, damage_text(end.kind)};
}

/// The name of a property, or null.
const char* property_name(int16_t id) {
    const PropertyDescriptor* descriptor = upnp_database_property_descriptor(id);
    return descriptor == nullptr ? nullptr : descriptor->name;
}

/// What a property is called: its name, or "property N". Valid until the next call.
const char* property_label(int16_t id) {
    static char number[sizeof "property 255"];
    const char* name = property_name(id);
    if (name != nullptr) {
        return name;
    }
    upnp_format(number, sizeof number, "property %d", int{id});
    return number;
}

void print_text(const MediaObject* object, bool is_first) {
    if (!is_first) {
        putchar('\n');
    }
    if (object == nullptr) {
        puts("(no properties)");
    }
    for (; object != nullptr; object = object->next) {
        printf("%s: ", property_label(object->id));
        print_escaped(stdout, object->value);
        putchar('\n');
    }
}

/// The id that stands for all with the same name, which have to share one key: there are two of cover art.
int16_t key_id(int16_t id) {
    static int16_t key_ids[property_ids]; // looked up once each, since that takes a search through the table
    if (key_ids[id] == 0) {
        const char* name = property_name(id);
        key_ids[id] = name == nullptr ? id : upnp_database_property_id(name);
    }
    return key_ids[id];
}

/// The properties of one key, in their order.
struct Member {
    MediaProperty* first; // owned
    MediaProperty** link; // the end of the list, to be filled
};

void print_member(const MediaProperty* property) {
    print_json_string(stdout, property_label(property->id));
    const bool is_array = property->next != nullptr;
    fputs(is_array ? ":[" : ":", stdout);
    for (; property != nullptr; property = property->next) {
        print_json_string(stdout, property->value);
        fputs(property->next == nullptr ? "" : ",", stdout);
    }
    fputs(is_array ? "]" : "", stdout);
}

/// Prints the object with its keys as they first occur, and frees it: its list is split into one a key, at a
/// cost that grows with the properties and not with their square.
void print_json_and_free(MediaObject* object) {
    Member members[property_ids] = {};
    int16_t keys[property_ids];
    uint32_t key_count = 0;
    while (object != nullptr) {
        MediaProperty* property = object;
        object = property->next;
        property->next = nullptr;
        const int16_t key = key_id(property->id);
        Member* member = &members[key];
        if (member->first == nullptr) {
            member->link = &member->first;
            keys[key_count++] = key;
        }
        *member->link = property;
        member->link = &property->next;
    }
    putchar('{');
    for (uint32_t index = 0; index < key_count; ++index) {
        fputs(index == 0 ? "" : ",", stdout);
        print_member(members[keys[index]].first);
        upnp_database_object_free(members[keys[index]].first);
    }
    puts("}");
}

/// Returns the class's name in a memory that stays, or null if it is one too many.
const char* keep_class_name(Counts* counts, const char* name) {
    if (name == no_class) {
        return no_class;
    }
    for (const char* known : upnp_database_classes) {
        if (strcmp(known, name) == 0) {
            return known;
        }
    }
    if (counts->other_name_count == other_classes) {
        return nullptr;
    }
    char* copy = counts->other_names[counts->other_name_count++];
    upnp_copy_text(copy, value_capacity, name);
    return copy;
}

void count_record(Counts* counts, const MediaObject* object) {
    ++counts->records;
    const char* name = upnp_database_object_get_valid_property(object, upnp_property_class);
    name = name == nullptr ? no_class : name;
    uint32_t index = 0;
    while (index < counts->class_count && strcmp(counts->classes[index].name, name) != 0) {
        ++index;
    }
    if (index == counts->class_count) {
        const char* kept = keep_class_name(counts, name);
        if (kept == nullptr) {
            ++counts->further;
            return;
        }
        counts->classes[index].name = kept;
        ++counts->class_count;
    }
    ++counts->classes[index].count;
}

void print_count(uint64_t count, const char* name) {
    printf("%llu ", static_cast<unsigned long long>(count));
    print_escaped(stdout, name);
    putchar('\n');
}

void print_counts(const Counts* counts) {
    for (uint32_t index = 0; index < counts->class_count; ++index) {
        print_count(counts->classes[index].count, counts->classes[index].name);
    }
    if (counts->further != 0) {
        print_count(counts->further, "(other classes)");
    }
    print_count(counts->records, "records");
}

/// Prints every record up to the end or the damage, and returns what that is, or null; the reader then stands
/// there. A record that is damaged itself is printed as far as it is whole, but not counted.
const char* print_records(ItemsReader* reader, Form form) {
    static Counts counts;
    Record record = {};
    do {
        record = read_record(reader);
        MediaObject* object = upnp_database_object_create_from_data(window + reader->start, record.length);
        const bool is_whole = record.length != 0 && record.damage == nullptr;
        if (form == Form::count) {
            if (is_whole) {
                count_record(&counts, object);
            }
        } else if (is_whole || object != nullptr) {
            if (form == Form::json) {
                print_json_and_free(object);
                object = nullptr;
            } else {
                print_text(object, reader->offset + reader->start == 0);
            }
        }
        upnp_database_object_free(object);
        reader->start += record.length;
    } while (record.length != 0 && record.damage == nullptr && ferror(stdout) == 0);
    if (form == Form::count && reader->error == 0 && record.damage != not_an_items_file) {
        print_counts(&counts);
    }
    return record.damage;
}

/// Says on standard error what failed with a file, and why.
void say(const char* what, const char* name, const char* reason) {
    fprintf(stderr, "itunes-items: %s", what);
    print_escaped(stderr, name);
    fprintf(stderr, ": %s\n", reason);
}

int print_items(const char* path, Form form) {
    const char* name = path == nullptr ? "standard input" : path;
    ItemsReader reader = {};
    reader.stream = path == nullptr ? stdin : fopen(path, "rb");
    if (reader.stream == nullptr) {
        say("can not open ", name, strerror(errno));
        return exit_damaged;
    }
    const char* damage = print_records(&reader, form);
    (void)fclose(reader.stream);
    const bool is_printed = finish_output("itunes-items"); // first, so that the damage is told behind it
    if (reader.error != 0) {
        say("can not read ", name, strerror(reader.error));
    } else if (damage == not_an_items_file) {
        say("", name, damage);
    } else if (damage != nullptr) {
        const unsigned long long offset = reader.offset + reader.start;
        char reason[128];
        upnp_format(reason, sizeof reason, "damaged at byte %llu: %s", offset, damage);
        say("", name, reason);
    }
    return is_printed && reader.error == 0 && damage == nullptr ? exit_done : exit_damaged;
}

/// Reads the command line; false where it is wrong. A text that is asked for ends it.
bool read_arguments(int argc, char** argv, Arguments* arguments) {
    bool only_files = false;
    for (int index = 1; index < argc && arguments->answer == nullptr; ++index) {
        const char* argument = argv[index];
        const bool is_option = !only_files && argument[0] == '-' && argument[1] != '\0';
        if (is_option && strcmp(argument, "--") == 0) {
            only_files = true;
        } else if (is_option && strcmp(argument, "--help") == 0) {
            arguments->answer = usage_text;
        } else if (is_option && strcmp(argument, "--version") == 0) {
            arguments->answer = version_text;
        } else if (is_option && arguments->form != Form::json && strcmp(argument, "--count") == 0) {
            arguments->form = Form::count;
        } else if (is_option && arguments->form != Form::count && strcmp(argument, "--json") == 0) {
            arguments->form = Form::json;
        } else if (!is_option && arguments->path == nullptr) {
            arguments->path = argument;
        } else {
            return false;
        }
    }
    return true;
}

} // namespace

int main(int argc, char** argv) {
    upnp_mem_init(); // keeps the allocator's note out of what people read
    Arguments arguments = {};
    if (!read_arguments(argc, argv, &arguments)) {
        fputs(usage_text, stderr);
        return exit_usage;
    }
    if (arguments.answer != nullptr) {
        fputs(arguments.answer, stdout);
        return finish_output("itunes-items") ? exit_done : exit_damaged;
    }
    const bool is_file = arguments.path != nullptr && strcmp(arguments.path, "-") != 0;
    return print_items(is_file ? arguments.path : nullptr, arguments.form);
}
