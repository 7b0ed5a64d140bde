#pragma once
// What the fuzzer feeds, and what the normal tests feed with everything that ever broke something (corpus/).

#include <cstddef>
#include <cstdint>

/// Each takes any bytes and aborts where a promise is broken: a byte outside a buffer, a leak, a bad record.
void fuzz_value(const uint8_t* data, size_t size);   // value extraction, decoding, and what is made of values
void fuzz_library(const uint8_t* data, size_t size); // a whole library walk
void fuzz_record(const uint8_t* data, size_t size);  // the record reader
