#pragma once
// Texts out of files, which may hold anything, as a page may hold them.

#include <string>
#include <string_view>

/// The text for an element of HTML or XML: what marks one up becomes a reference, what acts on a terminal or
/// turns the direction of writing is escaped as for people, and bytes of no valid character become U+FFFD.
[[nodiscard]] std::string html_text(std::string_view text);

/// The same for lines that were written for a terminal and are escaped already: line feeds stay.
[[nodiscard]] std::string html_lines(std::string_view lines);
