#!/usr/bin/env python3
"""Makes the tables of glyph names, of the predefined encodings and of the standard fonts in src/fonts/pdf.

Names and metrics come from glyphs.tsv and standard-fonts.tsv, which say whose they are. The standard encoding and those
of Symbol and ZapfDingbats are in the metrics; WinAnsiEncoding, MacRomanEncoding and PDFDocEncoding are code pages as
Python has them, with the changes of ISO 32000-1, Annex D; MacExpertEncoding is below as that annex has it.
"""

import sys

from generator import TABLES, emit

PER_LINE = 12
NONE = 0xFFFF
SEQUENCE = 0xD800  # Unicode values from here on are places in the table of sequences

MAC_EXPERT = {
    0x20: "space exclamsmall Hungarumlautsmall centoldstyle dollaroldstyle dollarsuperior ampersandsmall Acutesmall "
          "parenleftsuperior parenrightsuperior twodotenleader onedotenleader comma hyphen period fraction",
    0x30: "zerooldstyle oneoldstyle twooldstyle threeoldstyle fouroldstyle fiveoldstyle sixoldstyle sevenoldstyle "
          "eightoldstyle nineoldstyle colon semicolon - threequartersemdash - questionsmall",
    0x44: "Ethsmall - - onequarter onehalf threequarters oneeighth threeeighths fiveeighths seveneighths onethird "
          "twothirds",
    0x56: "ff fi fl ffi ffl parenleftinferior - parenrightinferior Circumflexsmall hypheninferior",
    0x60: "Gravesmall Asmall Bsmall Csmall Dsmall Esmall Fsmall Gsmall Hsmall Ismall Jsmall Ksmall Lsmall Msmall Nsmall "
          "Osmall Psmall Qsmall Rsmall Ssmall Tsmall Usmall Vsmall Wsmall Xsmall Ysmall Zsmall colonmonetary onefitted "
          "rupiah Tildesmall",
    0x81: "asuperior centsuperior",
    0x87: "Aacutesmall Agravesmall Acircumflexsmall Adieresissmall Atildesmall Aringsmall Ccedillasmall Eacutesmall "
          "Egravesmall Ecircumflexsmall Edieresissmall Iacutesmall Igravesmall Icircumflexsmall Idieresissmall "
          "Ntildesmall Oacutesmall Ogravesmall Ocircumflexsmall Odieresissmall Otildesmall Uacutesmall Ugravesmall "
          "Ucircumflexsmall Udieresissmall - eightsuperior fourinferior threeinferior sixinferior eightinferior "
          "seveninferior Scaronsmall - centinferior twoinferior - Dieresissmall - Caronsmall osuperior fiveinferior - "
          "commainferior periodinferior Yacutesmall - dollarinferior - - Thornsmall - nineinferior zeroinferior "
          "Zcaronsmall AEsmall Oslashsmall questiondownsmall oneinferior Lslashsmall",
    0xC9: "Cedillasmall - - - - - OEsmall figuredash hyphensuperior - - - - exclamdownsmall - Ydieresissmall - "
          "onesuperior twosuperior threesuperior foursuperior fivesuperior sixsuperior sevensuperior ninesuperior "
          "zerosuperior - esuperior rsuperior tsuperior - - isuperior ssuperior dsuperior",
    0xF1: "lsuperior Ogoneksmall Brevesmall Macronsmall bsuperior nsuperior msuperior commasuperior periodsuperior "
          "Dotaccentsmall Ringsmall",
}
PDF_DOC = {
    0x18: "breve caron circumflex dotaccent hungarumlaut ogonek ring tilde",
    0x80: "bullet dagger daggerdbl ellipsis emdash endash florin fraction guilsinglleft guilsinglright minus perthousand "
          "quotedblbase quotedblleft quotedblright quoteleft quoteright quotesinglbase trademark fi fl Lslash OE Scaron "
          "Ydieresis Zcaron dotlessi lslash oe scaron zcaron",
    0xA0: "Euro",
}

# In the code page of the Macintosh, and not in MacRomanEncoding.
NOT_MAC_ROMAN = (0xAD, 0xB0, 0xB2, 0xB3, 0xB6, 0xB7, 0xB8, 0xB9, 0xBA, 0xBD, 0xC3, 0xC5, 0xC6, 0xD7, 0xF0)


def rows(source):
    for line in (TABLES / source).read_text(encoding="utf-8").splitlines():
        if line and not line.startswith("#"):
            yield line.split("\t")


def array(declaration, items, per_line=PER_LINE):
    yield f"constexpr {declaration}[] = {{"
    for i in range(0, len(items), per_line):
        yield "    " + ", ".join(str(item) for item in items[i:i + per_line]) + ","
    yield "};"


class Glyphs:
    def __init__(self):
        self.names, self.unicode, self.by_value = [], {}, {}
        for name, *columns in rows("glyphs.tsv"):
            self.names.append(name)
            self.unicode[name] = [int(v, 16) for v in "".join(columns[:1]).split()]
            if len(self.unicode[name]) == 1:
                self.by_value.setdefault(self.unicode[name][0], name)
                if columns[1:]:
                    self.by_value[self.unicode[name][0]] = name
        self.index = {name: i for i, name in enumerate(self.names)}

    def lines(self):
        offsets, pool = [], []
        length = 0
        for name in self.names:
            offsets.append(length)
            pool.append(name + "\\0")
            length += len(name) + 1
        assert length < 0x10000 and self.names == sorted(self.names)
        values, sequences = [], []
        for name in self.names:
            value = self.unicode[name]
            if len(value) > 1:
                values.append(SEQUENCE + len(sequences))
                sequences += [len(value), *value]
            else:
                values.append(value[0] if value else 0)
        yield "constexpr char g_names[] ="
        for i in range(0, len(pool), 8):
            # Apart, so that no name goes on an escape of the one before it.
            yield "    " + " ".join(f'"{name}"' for name in pool[i:i + 8])
        yield "    ;"
        yield from array("std::uint16_t g_nameOffsets", offsets)
        yield from array("std::uint16_t g_unicode", values)
        yield from array("std::uint16_t g_sequences", sequences)
        pairs = [f"{{{value}, {self.index[name]}}}" for value, name in sorted(self.by_value.items())]
        yield from array("TUnicodeName g_unicodeNames", pairs, 8)


def read_fonts():
    fonts = []
    for row in rows("standard-fonts.tsv"):
        if row[0] == "font":
            fonts.append((row[1:], []))
        else:
            fonts[-1][1].append((int(row[0]), int(row[1]), row[2]))
    return fonts


def own_encoding(fonts, name):
    glyphs = next(glyphs for head, glyphs in fonts if head[0] == name)
    return {code: glyph for code, _, glyph in glyphs if code >= 0}


def spread(blocks):
    return {start + i: name for start, names in blocks.items() for i, name in enumerate(names.split()) if name != "-"}


def code_page(glyphs, page, codes):
    table = {}
    for code in codes:
        try:
            table[code] = glyphs.by_value[ord(bytes([code]).decode(page))]
        except (UnicodeDecodeError, KeyError):
            pass
    return table


def win_ansi(glyphs):
    table = code_page(glyphs, "cp1252", range(0x20, 0x100))
    table |= {code: "bullet" for code in range(0x7F, 0x100) if code not in table}
    return table | {0x7F: "bullet", 0xA0: "space", 0xAD: "hyphen", 0xB5: "mu", 0xAF: "macron", 0xB7: "periodcentered"}


def mac_roman(glyphs):
    table = code_page(glyphs, "mac_roman", [c for c in range(0x20, 0x100) if c not in NOT_MAC_ROMAN and c != 0x7F])
    return table | {0xCA: "space", 0xDB: "currency", 0xB5: "mu", 0xDA: "fraction", 0xE1: "periodcentered",
                    0xF8: "macron"}


def pdf_doc(glyphs):
    table = code_page(glyphs, "latin_1", [*range(0x20, 0x7F), *range(0xA1, 0x100)])
    del table[0xAD]
    return table | spread(PDF_DOC) | {0xB5: "mu", 0xAF: "macron", 0xB7: "periodcentered"}


def encoding_lines(glyphs, fonts):
    for name, table in (("standard", own_encoding(fonts, "Times-Roman")), ("winAnsi", win_ansi(glyphs)),
                        ("macRoman", mac_roman(glyphs)), ("macExpert", spread(MAC_EXPERT)),
                        ("symbol", own_encoding(fonts, "Symbol")),
                        ("zapfDingbats", own_encoding(fonts, "ZapfDingbats")), ("pdfDoc", pdf_doc(glyphs))):
        items = [glyphs.index[table[code]] if code in table else NONE for code in range(256)]
        yield from array(f"std::uint16_t g_{name}", items)


def font_lines(glyphs, fonts):
    records, widths = [], []
    for head, metrics in fonts:
        name, weight, angle, fixed, box, cap, x_height, ascent, descent, stem_h, stem_v = head
        symbol = own_encoding(fonts, name) != own_encoding(fonts, "Times-Roman")
        flags = (4 if symbol else 32) | (1 if fixed == "true" else 0) | (64 if float(angle) else 0)
        flags |= 2 if name.startswith(("Times", "Courier")) else 0
        pairs = sorted((glyphs.index[glyph], width) for _, width, glyph in metrics)
        encoding = name + "Encoding" if symbol else "StandardEncoding"
        missing = pairs[0][1] if fixed == "true" else 0
        records.append(f'{{"{name}", "{encoding}", {700 if weight == "Bold" else 400}, {flags}, '
                       f'{{{", ".join(box.split())}}}, {angle}, {ascent}, {descent}, {cap}, {x_height}, '
                       f"{stem_v}, {stem_h}, {missing}, {len(widths)}, {len(pairs)}}}")
        widths += [f"{{{glyph}, {width}}}" for glyph, width in pairs]
    yield from array("TGlyphWidth g_standardWidths", widths, 8)
    yield from array("TStandardFont g_standardFonts", records, 1)


def main():
    glyphs, fonts = Glyphs(), read_fonts()
    target, names, metrics = "src/fonts/pdf/", "tools/tables/glyphs.tsv", "tools/tables/standard-fonts.tsv"
    failed = emit(__file__, [names], target + "GlyphNames.inc", glyphs.lines())
    failed |= emit(__file__, [names, metrics], target + "EncodingTables.inc", encoding_lines(glyphs, fonts))
    failed |= emit(__file__, [names, metrics], target + "StandardFonts.inc", font_lines(glyphs, fonts))
    return failed


if __name__ == "__main__":
    sys.exit(main())
