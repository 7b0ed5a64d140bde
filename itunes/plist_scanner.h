#pragma once
// The line scanner over the library file, and the extraction of values from its lines. iTunes writes a key
// with its value on a line, so the property list is never parsed as XML: a key is recognised where its full
// literal occurs in the line, and its value stands on the same line between an opening and a closing tag.
//
//     PlistScanner scanner = {library, 0, {}};
//     while (itunes_next_line(&scanner)) {
//         char* name = itunes_get_value(scanner.line, "string");
//     }

#include <cstdint>

#include "common/upnp_fileio.h"

/// Bytes of the library that one read delivers at most; a longer line comes in pieces of this size.
constexpr uint32_t itunes_line_size = 1024;

/// One reader's view of the open library: the position is the file's, and several scanners share it.
struct PlistScanner {
    UpnpFile* file;                  // borrowed
    uint32_t idle_reads;             // reads in a row that moved nothing
    char line[itunes_line_size + 1]; // the current line with its line feed; the last byte stays 0
};

/// Reads the next line into scanner->line. Returns false at the end of the library: where its position has
/// reached the size it had when it was opened, or where a row of reads moves nothing (a directory, a file
/// that shrinks while it is read), and for null. A line that could not be read comes as an empty one and is
/// tried again.
[[nodiscard]] bool itunes_next_line(PlistScanner* scanner);

/// Opens the library for reading. Null where it cannot be opened, and for a FIFO, whose opening would wait
/// for a writer; it could not be read anyway, as every line costs a step back.
[[nodiscard]] UpnpFile* itunes_open_library(const char* path);

/// Returns whether the line holds a key literal, tags included ("<key>Name</key>"), anywhere. False for a
/// null argument.
[[nodiscard]] bool itunes_line_holds(const char* line, const char* literal);

/// Returns the decoded text between the first opening tag of the element `tag` ("string", "integer", "date")
/// and the first closing tag after it, as a new text that the caller frees; empty for an empty element. Null
/// where either tag is missing, without memory and for a null argument. The line is cut at the closing tag.
[[nodiscard]] char* itunes_get_value(char* line, const char* tag);

/// Returns the value as a number of 32 bits that saturates; 0 where there is no value.
[[nodiscard]] int32_t itunes_get_integer_value(char* line, const char* tag);

/// Decodes a value in place: "%41" and "&#65;" become the byte they name (the low 8 bits of a decimal
/// reference), '+' becomes a blank. Named entities stay as they are. A byte of 0, which hexadecimal
/// references give as well, ends the value.
void itunes_url_decode(char* text);

/// Returns "H:MM:SS.mmm" for a duration, at most 14 characters, as a new text that the caller frees; null
/// without memory. Negative durations come out negative field by field.
[[nodiscard]] char* itunes_format_duration(int32_t milliseconds);
