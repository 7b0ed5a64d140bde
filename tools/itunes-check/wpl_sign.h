#pragma once
// Whether a playlist file is well-formed XML. The import writes names and paths as they are, and strict
// players refuse a file that is not. A parser decides; the signs by which a person can find the reason are
// looked for in the values that were written.

#include <cstdint>
#include <string>

enum class WplSign : uint8_t {
    none, // well-formed
    ampersand,
    less_than,
    quote,       // a double quote in a path
    section_end, // ]]>
    control,     // a control character
    encoding,    // bytes that are not UTF-8
    cut_short,   // the file ends too early, an entry was cut, or it can not be read at all
};

/// Whether the file at `path` is a well-formed document; not so one that can not be read.
[[nodiscard]] bool wpl_is_well_formed(const std::string& path);

/// The sign of a value that is no well-formed XML where the import writes it: a path stands in an attribute,
/// a title is the text of an element. None for one that is.
[[nodiscard]] WplSign wpl_path_sign(const char* path);
[[nodiscard]] WplSign wpl_title_sign(const char* title);

/// The sign in a few words, as "&" or "a control character"; empty for none.
[[nodiscard]] const char* wpl_sign_text(WplSign sign);
