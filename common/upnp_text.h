#pragma once
// Bounded texts and numbers: the one place where texts are cut to their buffers and digits become numbers.

#include <cstdint>

/// Formats like snprintf into `buffer` of `size` bytes; a longer text is cut at size - 1 characters.
/// Returns the length of the whole, uncut text, so a result of `size` or more says that it was cut;
/// 0 without buffer, size or format and after a formatting error, the buffer then holding the empty text.
[[gnu::format(printf, 3, 4)]] int32_t upnp_format(char* buffer, uint32_t size, const char* format, ...);

/// Formats a number as "%d" does, many times faster, into `buffer` of `size` bytes; 12 hold every number. A buffer
/// that is too small gets the empty text. Does nothing without a buffer or size.
void upnp_format_number(char* buffer, uint32_t size, int32_t number);

/// Copies `text` into `buffer` of `size` bytes, cut at size - 1 characters and always terminated.
/// A null text leaves the empty text.
void upnp_copy_text(char* buffer, uint32_t size, const char* text);

/// Reads a decimal number as POSIX strtol does where `long` has 32 bits: white space and a sign are accepted,
/// reading stops at the first non-digit, and the result saturates at the limits of 32 bits on every host.
/// Returns 0 for a null text and for one without digits.
int32_t upnp_parse_int32(const char* text);

/// Returns the value of a hexadecimal digit of either case, or -1.
int32_t upnp_hex_digit(char digit);

/// Reads a decimal number as upnp_parse_int32 does, with 64 bits, for times.
int64_t upnp_parse_int64(const char* text);
