// Pure questions and answers: each file in tables/ holds rows "input => answer" for the function of its name.
// \xHH is a byte, \*Nc the character c N times, \\ a backslash; (null) stands for no text, (none) for no
// answer.

#include "tests/support.h"

#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>

#include "common/upnp_log.h"
#include "common/upnp_memory.h"
#include "common/upnp_string.h"
#include "common/upnp_text.h"
#include "itunes/playlist_file.h"
#include "itunes/plist_scanner.h"
#include "itunes/track_list.h"
#include "itunes/track_reader.h"
#include "server/common/upnp_items.h"
#include "server/common/upnp_property.h"
#include "server/common/upnp_wpl.h"

namespace {

struct Input {
    std::string text;
    bool is_null;
    char* data() { return is_null ? nullptr : text.data(); }
    int32_t number() const { return upnp_parse_int32(text.c_str()); }
};

std::string take(char* text) {
    std::string answer = text == nullptr ? "(none)" : text;
    upnp_free_unless_null(text);
    return answer;
}

/// What the reader makes of data in a heap block of just its size, so that the address sanitizer sees any
/// byte read outside, here and for every shorter piece of the data.
std::string read_record(const Input& input) {
    std::string answer;
    for (size_t size = 1; size <= input.text.size(); ++size) {
        const std::vector<char> exact(input.text.begin(), input.text.begin() + static_cast<std::ptrdiff_t>(size));
        answer = take_listing(upnp_database_object_create_from_data(exact.data(), static_cast<uint32_t>(size)));
    }
    return answer;
}

std::string read_lines(const Input& input) {
    const TempDir folder;
    write_file("lines", input.text);
    UpnpFile* file = upnp_file_open_read("lines");
    std::string lines;
    while (upnp_file_at_end(file) == 0) {
        const int64_t start = file->position;
        std::string buffer(8, '?');
        EXPECT_EQ(upnp_file_read_line(buffer.data(), 8, file), buffer.data());
        const auto length = static_cast<size_t>(file->position - start);
        EXPECT_TRUE(length == 8 || buffer[length] == '\0') << "terminated behind the line";
        lines += "[" + buffer.substr(0, length) + "]";
    }
    upnp_file_close(file);
    return lines;
}

std::string describe(const Input& input) {
    const PropertyDescriptor* row = upnp_database_property_descriptor(input.number());
    if (row == nullptr) { return "(none)"; }
    std::ostringstream columns;
    columns << row->id << ' ' << row->flag_a << ' ' << row->flag_b << ' ' << row->is_online << ' '
            << static_cast<int>(row->type) << ' ' << (row->separator == 0 ? '-' : row->separator) << ' '
            << (row->default_value == nullptr ? "-" : row->default_value);
    return columns.str();
}

/// Replaces "now" and a difference by the seconds that they come to.
std::string with_time(const std::string& text) {
    return text.starts_with("now") ? std::to_string(time(nullptr) + std::stoll(text.substr(3))) : text;
}

/// The answer to a question about an object, which is freed.
std::string answer_about(MediaObject* object, char question, int16_t id) {
    const char* value = upnp_database_object_get_valid_property(object, id);
    std::string answer = value == nullptr ? "(none)" : value;
    if (question == '!') {
        answer = std::to_string(upnp_database_object_get_long(object, id, 7));
    } else if (question == '*') {
        uint32_t size = 0;
        upnp_database_object_free(upnp_database_object_copy(object, &size));
        answer = std::to_string(size);
    } else if (question != '?') {
        upnp_string_t* record = upnp_database_object_serialize(object);
        answer = record == nullptr ? "(none)" : std::string(record->data, record->length);
        upnp_string_free(record);
        if (question == '<') {
            answer = take_listing(
                upnp_database_object_create_from_data(answer.data(), static_cast<uint32_t>(answer.size())));
        }
    }
    upnp_database_object_free(object);
    return answer;
}

std::string handle_object(const Input& input) {
    std::vector<std::string> lent; // outlives the object
    const std::vector<std::string> steps = split(input.text, ';');
    lent.reserve(steps.size());
    MediaObject* object = nullptr;
    for (std::string step : steps) {
        const bool padded = step.starts_with("0#");
        step.erase(0, padded ? 1 : 0);
        const auto id = static_cast<int16_t>(upnp_parse_int32(step.c_str() + 1));
        const size_t equals = step.find('=', 1);
        const std::string text = with_time(equals == std::string::npos ? "" : step.substr(equals + 1));
        switch (step[0]) {
        case '+': object = upnp_database_object_add_property(object, id, upnp_strdup(text.c_str()), 0); break;
        case '~': object = upnp_database_object_add_property(object, id, lent.emplace_back(text).data(), 1); break;
        case '=': object = upnp_database_object_set_property(object, id, upnp_strdup(text.c_str()), 0); break;
        case '-': object = upnp_database_object_remove_property(object, id); break;
        case '#':
            object = (padded ? db_object_createobject_set_numprop_padded
                             : db_object_createobject_set_numprop)(object, id, upnp_parse_int32(text.c_str()));
            break;
        default: return answer_about(object, step[0], id);
        }
    }
    MediaObject* copy = upnp_database_object_copy(object, nullptr);
    upnp_database_object_free(object);
    return take_listing(copy);
}

std::string name_playlist_file(const Input& input) {
    const TempDir folder;
    const std::string type = input.text.substr(0, 1);
    upnp_file_close(itunes_playlist_file_open(".", 0, type.c_str(), input.text.c_str() + 2, 0));
    const Tree tree = read_tree(".");
    if (tree.empty()) { return "(none)"; }
    EXPECT_NE(tree.begin()->second.find("<title>" + input.text.substr(2) + "</title>"), std::string::npos);
    return tree.begin()->first;
}

std::string check_log(const Input& input) {
    const std::vector<std::string> words = split(input.text, ' ');
    upnp_log_set_mask(static_cast<uint32_t>(std::stol(words[0])));
    const int32_t wanted =
        upnp_log_check(static_cast<uint32_t>(std::stol(words[1])), static_cast<uint32_t>(std::stol(words[2])));
    upnp_log_set_mask(0);
    return std::to_string(wanted);
}

std::string sort_tracks(const Input& input) {
    const std::vector<std::string> parts = split(input.text, ';');
    std::istringstream added(parts[0]);
    std::istringstream wanted(parts[1]);
    int32_t lowest = INT32_MAX;
    size_t place = 0;
    for (int32_t id = 0; added >> id; lowest = std::min(lowest, id)) {
        itunes_track_list_add(std::to_string(place++).c_str(), nullptr, id);
    }
    std::string answer;
    for (const TrackPath* entry = itunes_track_list_find(lowest); entry != nullptr; entry = entry->next) {
        answer += std::to_string(entry->track_id) + ":" + entry->location + " ";
    }
    answer += "| ";
    for (int32_t id = 0; wanted >> id;) {
        const TrackPath* found = itunes_track_list_find(id);
        answer += std::string(found == nullptr ? "-" : found->location) + " ";
    }
    itunes_track_list_free();
    return answer;
}

const char* text_or_null(const std::string& text) { return text == "(null)" ? nullptr : text.c_str(); }

std::string append_text(const Input& input) {
    const std::vector<std::string> words = split(input.text, '|');
    upnp_string_t* text = words[0] == "(null)"
                              ? nullptr
                              : upnp_string_new(text_or_null(words[1]), static_cast<uint32_t>(std::stoi(words[0])));
    text = upnp_string_append(text, text_or_null(words[2]));
    std::string answer = std::to_string(text->capacity) + " " + std::to_string(text->length) + " " + text->data;
    upnp_string_free(text);
    return answer;
}

std::string write_wpl(const Input& input) {
    const TempDir folder;
    std::vector<std::string> words = split(input.text, '|');
    const bool fails = words[0] == "full" || words[0] == "null";
    UpnpFile* file = words[0] == "null" ? nullptr : upnp_file_open_write(fails ? "/dev/full" : "wpl");
    words.erase(words.begin(), words.begin() + (fails ? 1 : 0));
    uint32_t result = 0;
    if (words[0] == "header") {
        result = upnp_wpl_write_header(file, text_or_null(words[1]), text_or_null(words[2]), text_or_null(words[3]),
                                       words[4] != "0", words[5] != "0");
    } else if (words[0] == "entry") {
        result = upnp_wpl_add_media(file, text_or_null(words[1]));
    } else if (words[0] == "params") {
        std::vector<WplParam> params;
        for (size_t word = 2; word < words.size(); word += 3) {
            params.push_back({text_or_null(words[word]), words[word + 1].c_str(), std::stoi(words[word + 2])});
        }
        const WplMedia media = {text_or_null(words[1]), params.data(), static_cast<int32_t>(params.size())};
        result = upnp_wpl_add_media_params(file, &media);
    } else {
        result = upnp_wpl_write_footer(file);
    }
    upnp_file_close(file);
    return std::to_string(result) + " " + read_file("wpl");
}

std::string fail_operation(const Input& input) {
    const TempDir folder;
    write_file("file", "x");
    write_file("dir/file", "");
    const std::vector<std::string> words = split(input.text, ' ');
    const char* path = text_or_null(words[1]);
    auto* stale = static_cast<UpnpFile*>(upnp_calloc(1, sizeof(UpnpFile)));
    *stale = {999, 9, 0, nullptr}; // a descriptor that nothing has
    char line[8] = "";
    const auto opened = [](UpnpFile* file) { return std::string(file == nullptr ? "none" : "open"); };
    const auto number = [](int32_t result) { return std::to_string(result); };
    const std::map<std::string, std::function<std::string()>> operations = {
        {"open_write", [&] { return opened(upnp_file_open_write(path)); }},
        {"open_read", [&] { return opened(upnp_file_open_read(path)); }},
        {"open_append", [&] { return opened(upnp_file_open_append(path)); }},
        {"exists", [&] { return number(upnp_file_exists(path)); }},
        {"rename", [&] { return number(upnp_file_rename(path, "to")); }},
        {"unlink", [&] { return number(upnp_file_unlink(path)); }},
        {"dir_unlink", [&] { return number(upnp_dir_unlink(path)); }},
        {"mkdir", [&] { return number(upnp_file_mkdir(path)); }},
        {"create_path", [&] { return number(upnp_file_create_path(path)); }},
        {"write", [&] { return number(upnp_file_write(stale, path, static_cast<uint32_t>(strlen(path)))); }},
        {"read", [&] { return number(*upnp_file_read_line(line, static_cast<uint32_t>(std::stoi(path)), stale)); }},
        {"at_end", [&] { return number(upnp_file_at_end(stale)); }},
        {"parse",
         [&] {
             return take_listing(upnp_database_object_create_from_data(path, static_cast<uint32_t>(strlen(path)))) +
                    "none";
         }},
        {"close", [&] { return upnp_file_close(std::exchange(stale, nullptr)), number(0); }},
    };
    std::string answer;
    upnp_log_init(nullptr);
    upnp_log_set_mask(upnp_log_system | upnp_log_db);
    const std::string log = mask_times(stdout_of([&] { answer = operations.at(words[0])(); }));
    upnp_log_set_mask(0);
    upnp_log_close();
    upnp_free_unless_null(stale);
    return answer + " " + log;
}

const std::map<std::string, std::function<std::string(Input)>> subjects = {
    {"parse_int32", [](Input input) { return std::to_string(upnp_parse_int32(input.data())); }},
    {"value", [](Input input) { return take(itunes_get_value(input.data(), "string")); }},
    {"duration", [](const Input& input) { return take(itunes_format_duration(input.number())); }},
    {"location", [](Input input) { return take(itunes_location_to_path(input.data())); }},
    {"stamp", [](Input input) { return std::to_string(itunes_modification_stamp(input.data())); }},
    {"property_id", [](Input input) { return std::to_string(upnp_database_property_id(input.data())); }},
    {"object", handle_object},
    {"descriptor", describe},
    {"record", read_record},
    {"read_line", read_lines},
    {"playlist_file", name_playlist_file},
    {"log_check", check_log},
    {"track_list", sort_tracks},
    {"string", append_text},
    {"wpl", write_wpl},
    {"failure", fail_operation},
};

class Table : public testing::Test {
public:
    explicit Table(std::string path) : path_(std::move(path)) {}

private:
    void TestBody() override {
        const auto subject = subjects.find(std::filesystem::path(path_).stem());
        ASSERT_NE(subject, subjects.end());
        std::ifstream file(path_);
        for (std::string line; std::getline(file, line);) {
            const size_t arrow = line.find(" => ");
            if (!line.starts_with('#') && arrow != std::string::npos) {
                const std::string input = line.substr(0, arrow);
                EXPECT_EQ(subject->second({unescape(input), input == "(null)"}),
                          with_time(unescape(line.substr(arrow + 4))))
                    << line;
            }
        }
    }

    std::string path_;
};

const bool registered = [] {
    for (const auto& [name, subject] : subjects) {
        testing::RegisterTest("Table", name.c_str(), nullptr, nullptr, __FILE__, __LINE__,
                              [name = name] { return new Table(source_path("tests/tables/" + name + ".table")); });
    }
    return true;
}();

} // namespace
