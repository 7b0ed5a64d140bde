#pragma once
// The line scanner over the library file. iTunes writes a key with its value on a line, so the property list
// is never parsed as XML: a key is recognised where its full literal occurs in the line, and its value, which
// library_values.h takes, stands on the same line between an opening and a closing tag.
//
//     PlistScanner scanner = {library, 0, {}};
//     while (itunes_next_line(&scanner)) {
//         if (itunes_line_holds(scanner.line, "<key>Name</key>")) ...
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
