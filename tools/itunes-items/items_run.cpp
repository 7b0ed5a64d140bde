#include "tools/itunes-items/items_run.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <string>
#include <unistd.h>

#include "server/common/upnp_items.h"
#include "tools/itunes-items/class_counts.h"
#include "tools/itunes-items/record_text.h"
#include "tools/shared/command_options.h"
#include "tools/shared/items_reader.h"
#include "tools/shared/text_output.h"

namespace {

constexpr int exit_done = 0;
constexpr int exit_failed = 1;

constexpr char program[] = "itunes-items";
constexpr char usage_text[] = "usage: itunes-items [--count | --json] [--] [FILE]\n"
                              "       itunes-items --help | --version\n"
                              "Prints the records of an items file, standard input without FILE.\n"
                              "  --count     print only the number of records of each class, and of all\n"
                              "  --json      print each record as a JSON object on a line of its own\n"
                              "  -h, --help  print this text\n"
                              "  --version   print the version\n";
constexpr char version_text[] = "itunes-items " ITUNES_IMPORT_VERSION "\n";

enum class Form {
    text,
    json,
    count,
};

constexpr int option_version = 256;
constexpr int option_count = 257;
constexpr int option_json = 258;
constexpr option known_options[] = {{"count", no_argument, nullptr, option_count},
                                    {"json", no_argument, nullptr, option_json},
                                    {"help", no_argument, nullptr, 'h'},
                                    {"version", no_argument, nullptr, option_version},
                                    {}};

struct FreeObject {
    void operator()(MediaObject* object) const { upnp_database_object_free(object); }
};
using OwnedObject = std::unique_ptr<MediaObject, FreeObject>;

void put_record(const MediaObject* object, Form form, bool is_first) {
    if (form == Form::json) {
        put_output(record_json(object) + "\n");
    } else {
        put_output((is_first ? "" : "\n") + record_text(object));
    }
}

/// Prints every record up to the end or the fault. A record that is damaged itself is printed as far as it is
/// whole, but not counted.
void print_records(ItemsReader* reader, Form form) {
    ClassCounts counts;
    bool is_first = true;
    for (ItemsRecord record = reader->next(); !record.data.empty() && ferror(stdout) == 0;
         record = reader->next()) {
        const auto size = static_cast<uint32_t>(record.data.size());
        const OwnedObject object(upnp_database_object_create_from_data(record.data.data(), size));
        if (form == Form::count) {
            if (record.is_whole) {
                counts.add(object.get());
            }
        } else if (record.is_whole || object != nullptr) {
            put_record(object.get(), form, is_first);
            is_first = false;
        }
    }
    if (form == Form::count &&
        (reader->fault() == ItemsFault::none || reader->fault() == ItemsFault::damaged)) {
        put_output(counts.text());
    }
}

/// Says on standard error what failed with a file, and why.
void say(const char* what, const char* name, const std::string& reason) {
    fprintf(stderr, "%s: %s%s: %s\n", program, what, escaped(name).c_str(), reason.c_str());
}

/// Prints the file at `path`, standard input for null, and returns the exit status.
int print_items(const char* path, Form form) {
    const char* name = path == nullptr ? "standard input" : path;
    const int descriptor = path == nullptr ? STDIN_FILENO : open(path, O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        say("can not open ", name, strerror(errno));
        return exit_failed;
    }
    ItemsReader reader(descriptor);
    print_records(&reader, form);
    const bool is_printed = finish_output(program); // first, so that the damage is told behind it
    if (path != nullptr) {
        (void)close(descriptor);
    }
    if (reader.fault() != ItemsFault::none) {
        say(reader.fault() == ItemsFault::read_error ? "can not read " : "", name, reader.fault_text());
        return exit_failed;
    }
    return is_printed ? exit_done : exit_failed;
}

} // namespace

int items_run(int argc, char** argv) {
    CommandOptions options(argc, argv, "h", known_options);
    Form form = Form::text;
    for (int code = options.next(); code != CommandOptions::end; code = options.next()) {
        const Form asked = code == option_json ? Form::json : Form::count;
        switch (code) {
        case 'h': return print_answer(program, usage_text);
        case option_version: return print_answer(program, version_text);
        case option_json:
        case option_count:
            if (form != Form::text && form != asked) {
                return wrong_usage(program, "either --count or --json", usage_text);
            }
            form = asked;
            break;
        default: return wrong_usage(program, options.fault(), usage_text);
        }
    }
    const auto operands = options.operands();
    if (operands.size() > 1) {
        return wrong_usage(program, "one FILE at most, not '" + escaped(operands[1]) + "'", usage_text);
    }
    const bool is_file = !operands.empty() && strcmp(operands[0], "-") != 0;
    return print_items(is_file ? operands[0] : nullptr, form);
}
