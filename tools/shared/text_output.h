#pragma once
// What the companions print with: texts out of files, which may hold anything, for people, for programs and
// for the shell, and the check that the output arrived. What acts on a terminal is escaped in all three: the
// control characters (below U+0020, U+007F to U+009F) and those that turn the direction of the text behind
// them (U+202A to U+202E, U+2066 to U+2069), which can make a line read as what it is not.
//
//     printf("%s\n", escaped(title).c_str());
//     return finish_output("itunes-items") ? 0 : 1;

#include <string>
#include <string_view>

/// The text for people: each byte of a character that acts on a terminal as \xNN with two upper-case
/// hexadecimal digits and a backslash as \\, so that no text begins a line and the bytes can be had back. All
/// other bytes stay as they are, also those that belong to no valid character.
[[nodiscard]] std::string escaped(std::string_view text);

/// The text as a JSON string, with its quotes, always in valid UTF-8: each byte that belongs to no valid
/// character becomes U+FFFD. What acts on a terminal is escaped, so the string stays on its line.
[[nodiscard]] std::string json_string(std::string_view text);

/// The text as one word of a shell command: between single quotes, or in the form $'...' that bash and zsh
/// know where something in it acts on a terminal.
[[nodiscard]] std::string shell_word(std::string_view text);

/// Prints to standard output. What gets lost is told by finish_output, with the reason.
void put_output(std::string_view text);

/// Closes standard output; call it last. False if anything printed there since the start got lost, which
/// is then said on standard error with the reason, as a line of `program`.
[[nodiscard]] bool finish_output(const char* program);
