#!/usr/bin/env python3
"""Prints canonical_decomposition.h, from the Unicode data that comes with Python:

tools/make_decomposition_table.py >tools/canonical_decomposition.h
"""

import unicodedata

ROWS_A_LINE = 4


def pairs():
    for code in range(0x10000):
        if 0xD800 <= code < 0xE000:
            continue
        parts = unicodedata.decomposition(chr(code)).split()
        if len(parts) == 2 and not parts[0].startswith("<"):
            yield code, int(parts[0], 16), int(parts[1], 16)


rows = ["{0x%04X, 0x%04X, 0x%04X}," % pair for pair in pairs()]
print(
    """#pragma once
// Characters that can be written as a base character and a mark, sorted by the composed character. Written by
// make_decomposition_table.py from Unicode %s; characters above U+FFFF are left out, and Hangul, which is
// composed by arithmetic.

#include <cstdint>

struct CanonicalDecomposition {
    uint16_t composed;
    uint16_t base; // may be composed itself
    uint16_t mark;
};

// clang-format off
constexpr CanonicalDecomposition canonical_decompositions[] = {"""
    % unicodedata.unidata_version
)
for start in range(0, len(rows), ROWS_A_LINE):
    print("    " + " ".join(rows[start : start + ROWS_A_LINE]))
print("};\n// clang-format on")
