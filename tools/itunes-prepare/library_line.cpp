#include "tools/itunes-prepare/library_line.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "common/upnp_memory.h"
#include "itunes/plist_scanner.h"
#include "itunes/track_reader.h"
#include "tools/shared/library_location.h"
#include "tools/shared/utf8.h"

namespace {

constexpr size_t line_limit =
    itunes_line_size;              // bytes with the line feed: what the import takes in one piece
constexpr size_t date_limit = 127; // characters; a date has 20
constexpr std::string_view indentation = "\t\t\t";

struct FreeText {
    void operator()(char* text) const { upnp_free(text); }
};
using ImportText = std::unique_ptr<char, FreeText>;

/// Makes a line with an element that holds a text.
void make_line(std::string* line, std::string_view indent, std::string_view key, std::string_view element,
               std::string_view text) {
    line->assign(indent).append("<key>").append(key).append("</key><").append(element).append(">");
    line->append(text).append("</").append(element).append(">\n");
}

/// A copy of a line, which the import's functions change.
class LineCopy {
public:
    explicit LineCopy(std::string_view line) {
        memcpy(bytes_, line.data(), line.size());
        bytes_[line.size()] = '\0';
    }
    [[nodiscard]] ImportText value(const char* tag) { return ImportText(itunes_get_value(bytes_, tag)); }
    [[nodiscard]] int32_t number(const char* tag) { return itunes_get_integer_value(bytes_, tag); }

private:
    char bytes_[line_limit + 1];
};

/// What the import reads as the text of the element; such a value is always there, if memory is.
ImportText value_in(std::string_view line, const char* element) {
    ImportText value = LineCopy(line).value(element);
    if (value == nullptr) {
        throw std::bad_alloc();
    }
    return value;
}

LineReading reading_of(bool is_same) {
    return is_same ? LineReading::same : LineReading::other;
}

/// Makes the line in the first form that fits; false where none does.
bool fit_line(std::string* line, std::string_view key, std::initializer_list<std::string_view> forms) {
    for (const std::string_view indent : {indentation, std::string_view()}) {
        for (const std::string_view form : forms) {
            make_line(line, indent, key, "string", form);
            if (line->size() <= line_limit) {
                return true;
            }
        }
    }
    return false;
}

} // namespace

std::string as_references(std::string_view text) {
    std::string line;
    for (size_t special = 0; !text.empty(); text.remove_prefix(special)) {
        special = std::min(text.find_first_of("%+&<>\r\n"), text.size());
        line.append(text.substr(0, special));
        if (special < text.size()) {
            line.append("&#").append(std::to_string(static_cast<int>(text[special]))) += ';';
            ++special;
        }
    }
    return line;
}

LineReading make_string_line(std::string* line, std::string_view key,
                             std::initializer_list<std::string_view> forms, std::string_view value) {
    if (!fit_line(line, key, forms)) {
        return LineReading::too_long;
    }
    return reading_of(value_in(*line, "string").get() == value);
}

LineReading make_location_line(std::string* line, std::string_view path) {
    const bool is_shortened = path.find("localhost") == std::string_view::npos;
    std::string forms[3];
    append_location(&forms[0], path, LocationForm::references);
    make_line(line, indentation, "Location", "string", forms[0]);
    if (line->size() > line_limit) {
        append_location(&forms[1], path, LocationForm::escapes);
        append_location(&forms[2], path, is_shortened ? LocationForm::short_prefix : LocationForm::escapes);
        if (!fit_line(line, "Location", {forms[0], forms[1], forms[2]})) {
            return LineReading::too_long;
        }
    }
    const ImportText location = value_in(*line, "string");
    const ImportText read(itunes_location_to_path(location.get()));
    if (read == nullptr) {
        throw std::bad_alloc();
    }
    return reading_of(read.get() == path);
}

LineReading make_integer_line(std::string* line, std::string_view key, std::string_view number) {
    make_line(line, indentation, key, "integer", number);
    const long long wanted = strtoll(std::string(number).c_str(), nullptr, 10);
    return reading_of(LineCopy(*line).number("integer") == wanted);
}

LineReading make_date_line(std::string* line, std::string_view key, std::string_view element,
                           std::string_view date) {
    constexpr std::string_view blanks = " \t\n\r";
    date.remove_prefix(std::min(date.find_first_not_of(blanks), date.size()));
    date = utf8_first_characters(date.substr(0, date.find_last_not_of(blanks) + 1), date_limit);
    make_line(line, indentation, key, element, as_references(date));
    return reading_of(value_in(*line, std::string(element).c_str()).get() == date);
}

void make_flag_line(std::string* line, std::string_view key, std::string_view element) {
    line->assign(indentation).append("<key>").append(key).append("</key><").append(element).append("/>\n");
}
