#pragma once
// What the companion programs print with: texts out of files, which may hold anything, for people and for
// programs, and the check that the output arrived.

#include <cstdio>

/// Whether UTF-8 may have the byte `second` behind the byte `lead`, which begins a character: narrower where it
/// would make an overlong form, a surrogate or more than U+10FFFF.
[[nodiscard]] bool is_second_byte(unsigned lead, unsigned second);

/// Prints the text for people: each byte below 0x20, and 0x7F, as \xNN with two upper-case hexadecimal digits
/// and a backslash as \\, so that no text acts on a terminal or begins a line, and the bytes can be had back.
/// All other bytes are printed as they are. Null prints nothing.
void print_escaped(FILE* stream, const char* text);

/// Prints the text as a JSON string, with its quotes, always in valid UTF-8: each byte that belongs to no
/// valid character becomes U+FFFD. Control characters are escaped, so the string stays on its line. A null
/// text is printed as null.
void print_json_string(FILE* stream, const char* text);

/// Closes standard output; call it last. False if anything printed there since the start got lost, which
/// is then said on standard error with the reason, as a line of `program`.
[[nodiscard]] bool finish_output(const char* program);
