#!/usr/bin/env python3
"""Packs the predefined CMaps: cmaps.py FOLDER OUTPUT, as the build calls it.

FOLDER has those that Adobe publishes (BSD license), in a folder for each character collection, as the package
poppler-data installs them. Without FOLDER the result is empty. OUTPUT is included by src/fonts/pdf/StandardCMaps.cc,
which describes the format.
"""

import re
import sys
from pathlib import Path

PER_BLOCK = 32
NONE = 0xFFFF

# What leads from or to something else than text and CIDs; and what no document has.
LEFT_OUT = re.compile(r"UTF(8|32)|UCS2C?$|^UCS2-|^Adobe-\w+-(?!\d$)")
TOKEN = re.compile(rb"<([0-9A-Fa-f\s]*)>|\(([^()]*)\)|(/?[^\s<>()\[\]/%]+)|%[^\n\r]*|[\[\]]")


class CMap:
    def __init__(self, path):
        self.name = path.name
        self.parent, self.wmode, self.supplement, self.ordering = None, 0, 0, ""
        self.spaces, self.ranges, self.notdefs = [], {}, {}
        self.parse(path.read_bytes())

    def parse(self, data):
        operands = []
        for match in TOKEN.finditer(data):
            digits, text, word = match.groups()
            if digits is not None:
                value = bytes.fromhex(digits.decode())
                operands.append((len(value), int.from_bytes(value, "big")))
            elif text is not None:
                operands.append(text.decode("latin-1"))
            elif word is not None:
                word = word.decode("latin-1")
                if re.fullmatch(r"-?\d+", word) or word.startswith("/"):
                    operands.append(word if word.startswith("/") else int(word))
                else:
                    self.execute(word, operands)
                    operands = []

    def execute(self, word, operands):
        if word == "usecmap":
            self.parent = operands[-1][1:]
        elif word == "def" and len(operands) >= 2:
            key, value = operands[-2:]
            if key == "/WMode":
                self.wmode = value
            elif key == "/Supplement":
                self.supplement = value
            elif key == "/Ordering":
                self.ordering = value
        elif word == "endcodespacerange":
            self.spaces += [(*low, high[1]) for low, high in zip(operands[::2], operands[1::2])]
        elif word in ("endcidrange", "endnotdefrange"):
            for low, high, cid in zip(operands[::3], operands[1::3], operands[2::3]):
                self.add(word, low, high, cid)
        elif word in ("endcidchar", "endnotdefchar"):
            for code, cid in zip(operands[::2], operands[1::2]):
                self.add(word, code, code, cid)

    def add(self, word, low, high, cid):
        table = self.ranges if "cid" in word else self.notdefs
        table.setdefault(low[0], []).append((low[1], high[1], cid))


def joined(ranges):
    """Sorted, with those that continue each other as one. Ranges of one CMap do not overlap."""
    result = []
    for low, high, cid in sorted(ranges):
        if result and low == result[-1][1] + 1 and cid == result[-1][2] + low - result[-1][0]:
            result[-1][1] = high
        else:
            assert not result or low > result[-1][1]
            result.append([low, high, cid])
    return result


def varint(value):
    parts = [value & 0x7F]
    while value := value >> 7:
        parts.append(value & 0x7F | 0x80)
    return bytes(reversed(parts))


def number(value, size):
    return value.to_bytes(size, "big")


def packed(ranges):
    index, data = b"", b""
    for i in range(0, len(ranges), PER_BLOCK):
        block = ranges[i:i + PER_BLOCK]
        index += number(block[0][0], 4) + number(len(data), 4)
        code, cid = block[0][0], 0
        for low, high, first in block:
            delta = first - cid
            data += varint(low - code) + varint(high - low) + varint(delta * 2 if delta >= 0 else -delta * 2 - 1)
            code, cid = high + 1, first + high - low + 1
    return number(len(ranges), 4) + number(len(data), 4) + index + data


def pack(cmap, names):
    name, ordering = cmap.name.encode(), cmap.ordering.encode()
    data = number(len(name), 1) + name + number(len(ordering), 1) + ordering
    data += number(names.index(cmap.parent) if cmap.parent else NONE, 2)
    data += number(cmap.wmode, 1) + number(cmap.supplement, 1) + number(len(cmap.spaces), 1)
    for length, low, high in cmap.spaces:
        data += number(length, 1) + number(low, 4) + number(high, 4)
    notdefs = [(length, *entry) for length, entries in cmap.notdefs.items() for entry in entries]
    data += number(len(notdefs), 1)
    for length, low, high, cid in notdefs:
        data += number(length, 1) + number(low, 4) + number(high, 4) + number(cid, 2)
    data += number(len(cmap.ranges), 1)
    for length, ranges in sorted(cmap.ranges.items()):
        table = packed(joined(ranges))
        data += number(length, 1) + number(len(table), 4) + table
    return data


def pack_all(folder):
    cmaps = {}
    for path in sorted(folder.glob("Adobe-*/*")) if folder else []:
        cmap = CMap(path)
        if (cmap.ranges or cmap.parent) and not LEFT_OUT.search(path.name):
            cmaps[path.name] = cmap
    names = sorted(cmaps)
    for cmap in cmaps.values():
        assert cmap.parent is None or cmap.parent in cmaps, cmap.parent
    parts = [pack(cmaps[name], names) for name in names]
    offset = 2 + 4 * len(parts)
    data = number(len(parts), 2)
    for part in parts:
        data += number(offset, 4)
        offset += len(part)
    return data + b"".join(parts)


def main():
    if sys.argv[1:] == ["--check"]:
        return 0  # the result is not in the tree
    *folder, output = sys.argv[1:]
    data = pack_all(Path(folder[0]) if folder else None)
    with open(output, "w", encoding="ascii") as file:
        for i in range(0, len(data), 32):
            file.write('"' + "".join(f"\\{byte:03o}" for byte in data[i:i + 32]) + '"\n')
    return 0


if __name__ == "__main__":
    sys.exit(main())
