#pragma once
// The values on the library's lines, and what the server makes of them: texts, numbers, durations, locations,
// dates.
//
//     char* name = itunes_get_value(scanner.line, "string");

#include <cstdint>

/// Returns the decoded text between the first opening tag of the element `tag` ("string", "integer", "date")
/// and the first closing tag after it, as a new text that the caller frees; empty for an empty element. Null
/// where either tag is missing, without memory and for a null argument. The line is cut at the closing tag.
[[nodiscard]] char* itunes_get_value(char* line, const char* tag);

/// Returns the decoded text of the first element of `elements`, bits of library_key.h in the order of the bits,
/// that the line holds: as itunes_get_value, but where it stands in the line, with which it ends.
[[nodiscard]] char* itunes_find_value(char* line, uint8_t elements);

/// Returns the value as a number of 32 bits that saturates; 0 where there is no value.
[[nodiscard]] int32_t itunes_get_integer_value(char* line, const char* tag);

/// Decodes a value in place: "%41" and "&#65;" become the byte they name (the low 8 bits of a decimal
/// reference), '+' becomes a blank. Named entities stay as they are. A byte of 0, which hexadecimal
/// references give as well, ends the value.
void itunes_url_decode(char* text);

/// Returns "H:MM:SS.mmm" for a duration, at most 14 characters, as a new text that the caller frees; null
/// without memory. Negative durations come out negative field by field.
[[nodiscard]] char* itunes_format_duration(int32_t milliseconds);

/// Returns the local path in a decoded file URL as a new text that the caller frees: without its first 5
/// characters ("file:"), or 16 where it holds "localhost" ("file://localhost"), the slash before a drive
/// letter, the host of a network share, and one closing slash, which is cut off `location` itself. Empty
/// where a location is shorter than its prefix or a share has no path; null without memory and for a null
/// location.
[[nodiscard]] char* itunes_location_to_path(char* location);

/// Returns a stamp that grows with the date, for a text like 2008-03-15T10:20:30Z: seconds in a calendar of
/// its own, of 31-day months and 366-day years, that starts with 1980. It wraps to negative numbers late in
/// 2047. A shorter text reads as if filled with NUL characters.
[[nodiscard]] int32_t itunes_modification_stamp(const char* date);
