#!/usr/bin/env python3
"""Makes src/pdf/Normalization.inc: compatibility decompositions, combining classes and compositions of Unicode 3.2.

RFC 3454 fixes that version. The data is the Unicode Character Database (Unicode License v3) as the standard library of
Python carries it.
"""

import stringprep
import sys
import unicodedata

from generator import emit

UNICODE = unicodedata.ucd_3_2_0
HANGUL = range(0xAC00, 0xAC00 + 11172)  # composed by rule
PER_LINE = 6


def characters():
    return (c for c in range(0x110000) if not 0xD800 <= c < 0xE000 and c not in HANGUL)


def literal(code):
    return f"0x{code:04X}"


def array(declaration, items):
    yield f"constexpr {declaration}[] = {{"
    for i in range(0, len(items), PER_LINE):
        yield "    " + ", ".join(items[i:i + PER_LINE]) + ","
    yield "};"


def decompositions():
    rows, pool = [], []
    for code in characters():
        text = UNICODE.normalize("NFKD", chr(code))
        if text != chr(code):
            rows.append(f"{{{literal(code)}, {len(pool)}, {len(text)}}}")
            pool += [literal(ord(c)) for c in text]
    return rows, pool


def classes():
    return [f"{{{literal(c)}, {UNICODE.combining(chr(c))}}}" for c in characters() if UNICODE.combining(chr(c))]


def compositions():
    pairs = []
    for code in characters():
        parts = UNICODE.decomposition(chr(code)).split()
        if len(parts) != 2 or parts[0].startswith("<"):
            continue
        first, second = (int(p, 16) for p in parts)
        # Those that are excluded do not come back.
        if UNICODE.normalize("NFC", chr(first) + chr(second)) == chr(code):
            pairs.append((first, second, code))
    return [f"{{{literal(a)}, {literal(b)}, {literal(c)}}}" for a, b, c in sorted(pairs)]


def mapped_away():
    return [literal(c) for c in characters() if stringprep.in_table_b1(chr(c))]


def spaces():
    return [literal(c) for c in characters() if stringprep.in_table_c12(chr(c))]


def main():
    rows, pool = decompositions()
    lines = []
    lines += array("TDecomposition g_decompositions", rows)
    lines += array("char32_t g_decomposed", pool)
    lines += array("TCombiningClass g_combiningClasses", classes())
    lines += array("TComposition g_compositions", compositions())
    lines += array("char32_t g_mappedAway", mapped_away())
    lines += array("char32_t g_spaces", spaces())
    return emit(__file__, ["the Unicode Character Database 3.2 (Unicode License v3)"], "src/pdf/Normalization.inc", lines)


if __name__ == "__main__":
    sys.exit(main())
