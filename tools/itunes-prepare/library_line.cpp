#include "tools/itunes-prepare/library_line.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#include "common/upnp_memory.h"
#include "itunes/library_key.h"
#include "itunes/library_values.h"
#include "itunes/plist_scanner.h"
#include "tools/shared/library_location.h"
#include "tools/shared/text_pieces.h"
#include "tools/shared/utf8.h"

namespace {

constexpr size_t line_limit = itunes_line_size; // bytes, a line feed too, that the import takes in one piece
constexpr size_t date_limit = 127;              // characters; a date has 20
constexpr std::string_view indentation = "\t\t\t";

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
    /// What the import reads as the value, which ends the line.
    [[nodiscard]] char* value(uint8_t elements) { return itunes_find_value(bytes_, elements); }
    [[nodiscard]] LineReading compared(uint8_t elements, std::string_view wanted) {
        const char* read = value(elements);
        return read != nullptr && read == wanted ? LineReading::same : LineReading::other;
    }
    [[nodiscard]] int32_t number() { return itunes_get_integer_value(bytes_, "integer"); }

private:
    char bytes_[line_limit + 1];
};

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
    return LineCopy(*line).compared(library_element_string, value);
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
    LineCopy copy(*line);
    char* read = itunes_location_to_path(copy.value(library_element_string));
    if (read == nullptr) {
        throw std::bad_alloc();
    }
    const bool is_same = read == path;
    upnp_free(read);
    return reading_of(is_same);
}

LineReading make_integer_line(std::string* line, std::string_view key, std::string_view number) {
    make_line(line, indentation, key, "integer", number);
    const long long wanted = strtoll(std::string(number).c_str(), nullptr, 10);
    return reading_of(LineCopy(*line).number() == wanted);
}

LineReading make_date_line(std::string* line, std::string_view key, std::string_view element,
                           std::string_view date) {
    constexpr std::string_view blanks = " \t\n\r";
    date = utf8_first_characters(trimmed(date, blanks), date_limit);
    make_line(line, indentation, key, element, as_references(date));
    return LineCopy(*line).compared(library_element_date | library_element_string, date);
}

void make_flag_line(std::string* line, std::string_view key, std::string_view element) {
    line->assign(indentation).append("<key>").append(key).append("</key><").append(element).append("/>\n");
}
