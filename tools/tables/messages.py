#!/usr/bin/env python3
"""Makes src/api/MessageTable.inc, the texts of the status codes, from messages.tsv."""

import csv
import sys

from generator import TABLES, emit, utf16_literal

SOURCE = "messages.tsv"
LONGEST = 511  # a rendered message has room for 512 units with its terminator


def rows():
    with open(TABLES / SOURCE, encoding="utf-8", newline="") as file:
        for row in csv.DictReader(file, delimiter="\t", quoting=csv.QUOTE_NONE):
            yield int(row["code"], 16), row["text"]


def main():
    table = sorted(rows())
    codes = [code for code, _ in table]
    if len(set(codes)) != len(codes):
        sys.exit(f"{SOURCE}: a code stands twice")
    if any(len(text) > LONGEST for _, text in table):
        sys.exit(f"{SOURCE}: a text is too long")
    lines = [f"{{0x{code:08X}, {utf16_literal(text)}}}," for code, text in table]
    return emit(__file__, [SOURCE], "src/api/MessageTable.inc", lines)


if __name__ == "__main__":
    sys.exit(main())
