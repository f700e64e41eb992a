#!/usr/bin/env python3
"""Makes the dingbats font that is compiled in: a Type 1 program, from the outlines in dingbats.tsv.

With --extract FONT it makes that table first, from a TrueType font that has the characters: it was made from
DejaVuSans.ttf, version 2.37. The glyphs get the widths of ZapfDingbats in standard-fonts.tsv, at the same size where
their outlines fit in, and the codes that they have there. Glyphs whose characters the font lacks are listed.
"""

import struct
import sys
from pathlib import Path

from generator import TABLES, emit

OUTLINES = TABLES / "dingbats.tsv"
NOTICE = """\
# The outlines of the dingbats font: name of the glyph, and its path in thousandths of the em, with x and y after each
# M (start of a contour), L (line) and C (cubic curve).
#
# Extracted from DejaVuSans.ttf, version 2.37, of the DejaVu fonts, whose licence is that of Bitstream Vera; changes of
# DejaVu are in the public domain. Copyright (c) 2003 by Bitstream, Inc. All Rights Reserved. Bitstream Vera is a
# trademark of Bitstream, Inc. Permission is hereby granted, free of charge, to any person obtaining a copy of the fonts
# accompanying this license ("Fonts") and associated documentation files (the "Font Software"), to reproduce and
# distribute the Font Software, including without limitation the rights to use, copy, merge, publish, distribute, and/or
# sell copies of the Font Software, and to permit persons to whom the Font Software is furnished to do so, subject to the
# following conditions: The above copyright and trademark notices and this permission notice shall be included in all
# copies of one or more of the Font Software typefaces. The Font Software may be modified, altered, or added to, and in
# particular the designs of glyphs or characters in the Fonts may be modified and additional glyphs or characters may be
# added to the Fonts, only if the fonts are renamed to names not containing either the words "Bitstream" or the word
# "Vera". This License becomes null and void to the extent applicable to Fonts or Font Software that has been modified
# and is distributed under the "Bitstream Vera" names. The Font Software may be sold as part of a larger software package
# but no copy of one or more of the Font Software typefaces may be sold by itself. THE FONT SOFTWARE IS PROVIDED "AS IS",
# WITHOUT WARRANTY OF ANY KIND, EXPRESS OR IMPLIED, INCLUDING BUT NOT LIMITED TO ANY WARRANTIES OF MERCHANTABILITY,
# FITNESS FOR A PARTICULAR PURPOSE AND NONINFRINGEMENT OF COPYRIGHT, PATENT, TRADEMARK, OR OTHER RIGHT. IN NO EVENT SHALL
# BITSTREAM OR THE GNOME FOUNDATION BE LIABLE FOR ANY CLAIM, DAMAGES OR OTHER LIABILITY, INCLUDING ANY GENERAL, SPECIAL,
# INDIRECT, INCIDENTAL, OR CONSEQUENTIAL DAMAGES, WHETHER IN AN ACTION OF CONTRACT, TORT OR OTHERWISE, ARISING FROM, OUT
# OF THE USE OR INABILITY TO USE THE FONT SOFTWARE OR FROM OTHER DEALINGS IN THE FONT SOFTWARE.
#
# Modified: scaled and moved to the widths of another font, and curves made cubic.
"""

SCALE = 1.1     # of the source to the size of ZapfDingbats
MIDDLE = (320, 338)  # height of the middle of a glyph, there and here
MARGIN = 0.97   # of the width that an outline may take

# The source has the glyphs of these characters (two sparkles and the asterisk of balloons) at each other's places.
MISPLACED = {0x2747: 0x2748, 0x2748: 0x2749, 0x2749: 0x2747}


def table_rows(name):
    with open(TABLES / name, encoding="utf-8") as table:
        return [line.rstrip("\n").split("\t") for line in table if not line.startswith("#")]


def metrics():
    """Code and width of each glyph of ZapfDingbats."""
    wanted, glyphs = False, {}
    for row in table_rows("standard-fonts.tsv"):
        if row[0] == "font":
            wanted = row[1] == "ZapfDingbats"
        elif wanted:
            glyphs[row[2]] = (int(row[0]), int(row[1]))
    return glyphs


class TrueType:
    """As much of a font as outlines need."""

    def __init__(self, path):
        self.data = Path(path).read_bytes()
        count = struct.unpack_from(">H", self.data, 4)[0]
        self.tables = {}
        for i in range(count):
            tag, _, offset, _ = struct.unpack_from(">4sLLL", self.data, 12 + 16 * i)
            self.tables[tag.decode()] = offset
        self.units = self.read("H", "head", 18)
        self.long = self.read("h", "head", 50)
        self.cmap = self.find_cmap()

    def read(self, kind, table, offset):
        return struct.unpack_from(">" + kind, self.data, self.tables[table] + offset)[0]

    def find_cmap(self):
        for i in range(self.read("H", "cmap", 2)):
            platform, encoding = self.read("H", "cmap", 4 + 8 * i), self.read("H", "cmap", 6 + 8 * i)
            offset = self.read("L", "cmap", 8 + 8 * i)
            if (platform, encoding) == (3, 1) and self.read("H", "cmap", offset) == 4:
                return self.read_segments(offset)
        sys.exit("There is no table of characters.")

    def read_segments(self, offset):
        glyphs, segments = {}, self.read("H", "cmap", offset + 6) // 2
        for i in range(segments):
            at = offset + 14 + 2 * i
            end, start = self.read("H", "cmap", at), self.read("H", "cmap", at + 2 * segments + 2)
            delta, spread = self.read("H", "cmap", at + 4 * segments + 2), self.read("H", "cmap", at + 6 * segments + 2)
            for code in range(start, min(end, 0xFFFE) + 1):
                glyph = code
                if spread:
                    glyph = self.read("H", "cmap", at + 6 * segments + 2 + spread + 2 * (code - start))
                if glyph or not spread:
                    glyphs[code] = (glyph + delta) & 0xFFFF
        return glyphs

    def location(self, glyph):
        if self.long:
            return self.read("L", "loca", 4 * glyph)
        return 2 * self.read("H", "loca", 2 * glyph)

    def contours(self, glyph):
        start, end = self.location(glyph), self.location(glyph + 1)
        if start == end:
            return []
        count = self.read("h", "glyf", start)
        return self.simple(start, count) if count >= 0 else self.composite(start + 10)

    def simple(self, start, count):
        at = start + 10
        ends = [self.read("H", "glyf", at + 2 * i) for i in range(count)]
        at += 2 * count
        at += 2 + self.read("H", "glyf", at)
        flags, points = [], (ends[-1] + 1 if ends else 0)
        while len(flags) < points:
            flag, at = self.read("B", "glyf", at), at + 1
            flags.append(flag)
            if flag & 8:
                flags += [flag] * self.read("B", "glyf", at)
                at += 1
        axes = []
        for short, same in ((2, 16), (4, 32)):
            value, values = 0, []
            for flag in flags:
                if flag & short:
                    value += self.read("B", "glyf", at) * (1 if flag & same else -1)
                    at += 1
                elif not flag & same:
                    value += self.read("h", "glyf", at)
                    at += 2
                values.append(value)
            axes.append(values)
        result, first = [], 0
        for last in ends:
            result.append([(axes[0][i], axes[1][i], flags[i] & 1) for i in range(first, last + 1)])
            first = last + 1
        return result

    def composite(self, at):
        result, more = [], True
        while more:
            flags, glyph = self.read("H", "glyf", at), self.read("H", "glyf", at + 2)
            at += 4
            dx, dy = ((self.read("h", "glyf", at), self.read("h", "glyf", at + 2)) if flags & 1
                      else (self.read("b", "glyf", at), self.read("b", "glyf", at + 1)))
            at += 4 if flags & 1 else 2
            matrix = [1, 0, 0, 1]
            if flags & 8:
                matrix[0] = matrix[3] = self.read("h", "glyf", at) / 16384
            elif flags & 0x40:
                matrix[0], matrix[3] = (self.read("h", "glyf", at + 2 * i) / 16384 for i in range(2))
            elif flags & 0x80:
                matrix = [self.read("h", "glyf", at + 2 * i) / 16384 for i in range(4)]
            at += 2 if flags & 8 else 4 if flags & 0x40 else 8 if flags & 0x80 else 0
            for contour in self.contours(glyph):
                result.append([(x * matrix[0] + y * matrix[2] + dx, x * matrix[1] + y * matrix[3] + dy, on)
                               for x, y, on in contour])
            more = flags & 0x20
        return result


def to_path(contours, place):
    """Steps of M, L and C with whole numbers."""
    path = []
    for contour in contours:
        points = []
        for i, (x, y, on) in enumerate(contour):
            before = contour[i - 1]
            if not on and not before[2]:
                points.append(((x + before[0]) / 2, (y + before[1]) / 2, 1))
            points.append((x, y, on))
        while points and not points[0][2]:
            points.append(points.pop(0))
        if len(points) < 2:
            continue
        path.append(("M", place(points[0])))
        last, control = points[0], None
        for point in [*points[1:], points[0]]:
            if not point[2]:
                control = point
                continue
            if control is None:
                if point is not points[0]:
                    path.append(("L", place(point)))
            else:
                a = [last[i] + (control[i] - last[i]) * 2 / 3 for i in range(2)]
                b = [point[i] + (control[i] - point[i]) * 2 / 3 for i in range(2)]
                path.append(("C", place(a) + place(b) + place(point)))
            last, control = point, None
    return path


def fit(contours, units, width):
    """Scaled about the middle, and moved to the middle of the width."""
    xs = [x * 1000 / units for contour in contours for x, _, _ in contour]
    left, right = min(xs), max(xs)
    scale = min(SCALE, MARGIN * width / (right - left))
    return lambda point: (round(width / 2 + (point[0] * 1000 / units - (left + right) / 2) * scale),
                          round(MIDDLE[1] + (point[1] * 1000 / units - MIDDLE[0]) * scale))


def extract(path):
    font, lines, missing = TrueType(path), [], []
    characters = {row[0]: row[1] for row in table_rows("glyphs.tsv") if len(row) > 1}
    for name, (_, width) in metrics().items():
        if name == "space":
            continue
        character = int(characters[name].split()[0], 16)
        character = MISPLACED.get(character, character)
        contours = font.contours(font.cmap.get(character, 0))
        if character not in font.cmap:
            missing.append(name)
            continue
        steps = to_path(contours, fit(contours, font.units, width))
        lines.append(name + "\t" + " ".join(kind + " ".join(map(str, numbers)) for kind, numbers in steps))
    OUTLINES.write_text(NOTICE + "".join(line + "\n" for line in lines), encoding="utf-8")
    print(f"{len(lines)} glyphs; without a character: {' '.join(missing) or 'none'}")


def encrypt(data, key):
    result = bytearray()
    for byte in data:
        result.append(byte ^ key >> 8)
        key = ((result[-1] + key) * 52845 + 22719) & 0xFFFF
    return bytes(result)


def number(value):
    if -107 <= value <= 107:
        return bytes([value + 139])
    if 108 <= value <= 1131:
        return bytes([(value - 108 >> 8) + 247, value - 108 & 0xFF])
    if -1131 <= value <= -108:
        return bytes([(-value - 108 >> 8) + 251, -value - 108 & 0xFF])
    return b"\xff" + struct.pack(">l", value)


class CharString:
    """Of Type 1, with the shortest operators."""

    def __init__(self, width):
        self.last = (0, 0)
        self.code = number(0) + number(width) + bytes([13])

    def add(self, kind, numbers):
        steps = []
        for point in zip(numbers[::2], numbers[1::2]):
            steps += [point[0] - self.last[0], point[1] - self.last[1]]
            self.last = point
        across, up, both = {"M": (22, 4, 21), "L": (6, 7, 5), "C": (31, 30, 8)}[kind]
        if kind == "C" and steps[1] == steps[4] == 0:
            steps, operator = [steps[0], steps[2], steps[3], steps[5]], across
        elif kind == "C" and steps[0] == steps[5] == 0:
            steps, operator = steps[1:5], up
        elif kind != "C" and steps[1] == 0:
            steps, operator = steps[:1], across
        elif kind != "C" and steps[0] == 0:
            steps, operator = steps[1:], up
        else:
            operator = both
        self.code += b"".join(map(number, steps)) + bytes([operator])


def char_string(width, path):
    glyph = CharString(width)
    for i, (kind, numbers) in enumerate(path):
        if kind == "M" and i:
            glyph.code += bytes([9])
        glyph.add(kind, numbers)
    return glyph.code + (bytes([9]) if path else b"") + bytes([14])


def read_outlines():
    glyphs = {".notdef": [], "space": []}
    for name, path in table_rows("dingbats.tsv"):
        steps = path.replace("M", "\nM").replace("L", "\nL").replace("C", "\nC").split("\n")[1:]
        glyphs[name] = [(step[0], [int(value) for value in step[1:].split()]) for step in steps]
    return glyphs


def program():
    glyphs, known = read_outlines(), metrics()
    points = [step for path in glyphs.values() for _, numbers in path for step in zip(numbers[::2], numbers[1::2])]
    box = [edge(point[axis] for point in points) for edge in (min, max) for axis in range(2)]
    clear = ["%!PS-AdobeFont-1.0: D050000L 001.000", "11 dict begin",
             "/FontInfo 5 dict dup begin /version (001.000) readonly def",
             "/Notice (Outlines of DejaVu: Copyright \\(c\\) 2003 by Bitstream, Inc.) readonly def",
             "/FullName (D050000L) readonly def /FamilyName (D050000L) readonly def /Weight (Regular) readonly def",
             "end readonly def",
             "/FontName /D050000L def /PaintType 0 def /FontType 1 def /FontMatrix [0.001 0 0 0.001 0 0] readonly def",
             f"/FontBBox {{{' '.join(map(str, box))}}} readonly def", "/Encoding 256 array",
             "0 1 255 {1 index exch /.notdef put} for"]
    clear += [f"dup {known[name][0]} /{name} put" for name in glyphs if name in known and known[name][0] >= 0]
    clear += ["readonly def", "currentdict end", "currentfile eexec", ""]
    private = b"dup /Private 8 dict dup begin /RD {string currentfile exch readstring pop} executeonly def\n"
    private += b"/ND {noaccess def} executeonly def /NP {noaccess put} executeonly def\n"
    private += b"/BlueValues [] def /MinFeature {16 16} def /password 5839 def\n"
    private += f"2 index /CharStrings {len(glyphs)} dict dup begin\n".encode()
    for name, path in glyphs.items():
        code = encrypt(b"\0\0\0\0" + char_string(known.get(name, (0, 278))[1], path), 4330)
        private += f"/{name} {len(code)} RD ".encode() + code + b" ND\n"
    private += b"end end readonly put noaccess put dup /FontName get exch definefont pop mark currentfile closefile\n"
    trailer = ("0" * 64 + "\n") * 8 + "cleartomark\n"
    return "\n".join(clear).encode() + encrypt(b"\0\0\0\0" + private, 55665) + trailer.encode()


def literals(data, size=40):
    for i in range(0, len(data), size):
        text = ""
        for byte in data[i:i + size]:
            text += chr(byte) if 0x20 <= byte <= 0x7E and chr(byte) not in '"\\?' else f"\\{byte:03o}"
        yield f'"{text}"'


def main():
    if sys.argv[1:2] == ["--extract"]:
        extract(sys.argv[2])
        del sys.argv[1:]
    return emit(__file__, ["tools/tables/dingbats.tsv", "tools/tables/standard-fonts.tsv"],
                "src/fonts/installed/Dingbats.inc", literals(program()))


if __name__ == "__main__":
    sys.exit(main())
