#pragma once
// Lines of a prepared library, and whether the import reads from them what they are to say: its own functions
// do that.

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

/// The text, written such that the import decodes it to just that.
[[nodiscard]] std::string as_references(std::string_view text);

/// What the import makes of a line.
enum class LineReading : uint8_t {
    same,     // what it is to say
    other,    // something else, such as the largest number that it can hold
    too_long, // nothing
};

/// Makes the line of a key with a string, whose text is given as it stands there, from the clearest form of
/// it to the shortest: with the first that the import takes in one piece, or else with the last. The import
/// is to read `value` from it.
[[nodiscard]] LineReading make_string_line(std::string* line, std::string_view key,
                                           std::initializer_list<std::string_view> forms,
                                           std::string_view value);

/// The same of a location, from which the import is to get the path.
[[nodiscard]] LineReading make_location_line(std::string* line, std::string_view path);

/// The same of a number, which is written as library_integer puts it.
[[nodiscard]] LineReading make_integer_line(std::string* line, std::string_view key, std::string_view number);

/// The same of a date, in an element "date" or "string"; blanks around it go, and what is far too long.
[[nodiscard]] LineReading make_date_line(std::string* line, std::string_view key, std::string_view element,
                                         std::string_view date);

/// The line of a key with an empty element, such as "true".
void make_flag_line(std::string* line, std::string_view key, std::string_view element);
