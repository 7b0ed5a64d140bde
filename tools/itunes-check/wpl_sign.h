#pragma once
// Whether a playlist file is well-formed XML. The import writes names and paths as they are, so the answer
// lies in what was written, and strict players refuse a file that is not.

enum class WplSign {
    none, // well-formed
    ampersand,
    less_than,
    quote,       // a double quote in a path
    section_end, // ]]>
    control,     // a control character
    encoding,    // bytes that are not UTF-8
    cut_short,   // the file ends too early, or can not be read at all
};

/// Reads the playlist file at `path` and returns the first sign by which it is not well-formed XML.
[[nodiscard]] WplSign wpl_find_sign(const char* path);

/// Returns the sign in a few words, as "&" or "a control character"; empty for none.
[[nodiscard]] const char* wpl_sign_text(WplSign sign);
