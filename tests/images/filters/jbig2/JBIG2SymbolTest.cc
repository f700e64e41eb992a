// Symbol dictionaries and text regions.

#include "tests/images/filters/jbig2/JBIG2Fixture.h"

namespace BSE
{
namespace
{

using CBitmaps = std::vector<TBitmap>;

int CodeBits(size_t nCount)
{
  int nBits = 0;
  while (size_t{1} << nBits < nCount)
    ++nBits;
  return nBits;
}

// Symbols by rising height, some of them empty.
CBitmaps MakeSymbols(int nCount, unsigned nSeed)
{
  std::mt19937 random(nSeed);
  CBitmaps symbols;
  for (int i = 0; i < nCount; ++i)
    symbols.push_back(
        MakeNoise(static_cast<int>(random() % 20), 3 + 4 * (i / 3), 600, nSeed + static_cast<unsigned>(i)));
  symbols.back() = MakeNoise(75, symbols.back().m_nHeight, 500, nSeed);
  return symbols;
}

// A symbol that differs from another one in size, place and some pixels.
struct TRefined
{
  TBitmap m_bitmap;
  int m_x;
  int m_y;
};

TRefined Refine(const TBitmap& symbol, int nWider, int nHigher, int x, int y)
{
  TBitmap bitmap =
      Part(symbol, -x, -y, std::max(symbol.m_nWidth + nWider, 0), std::max(symbol.m_nHeight + nHigher, 0));
  bitmap.Invert(2, 1);
  return {bitmap, x, y};
}

const CPlaces g_refinementPlaces{{-1, -1}, {-1, -1}};

// The numbers of a text region, in either coding.
struct TTextWriter
{
  void Write(const char* szProcedure, int nTable, std::optional<std::int64_t> value)
  {
    if (m_pBits)
      m_pBits->Number(m_tables.at(static_cast<size_t>(nTable)), value);
    else
      m_arithmetic.Integer(szProcedure, value);
  }

  void WriteSymbol(int nSymbol)
  {
    if (!m_pBits)
      m_arithmetic.Symbol(nSymbol, m_nSymbolBits);
    else if (m_symbolCodes.empty())
      m_pBits->Bits(static_cast<std::uint64_t>(nSymbol), m_nSymbolBits);
    else
      m_pBits->Number(m_symbolCodes, nSymbol);
  }

  void WritePlace(int nPlace, int nBits)
  {
    if (m_pBits)
      m_pBits->Bits(static_cast<std::uint64_t>(nPlace), nBits);
    else if (nBits > 0)
      m_arithmetic.Integer("IAIT", nPlace);
  }

  void WriteIsRefined(bool bRefined)
  {
    if (m_pBits)
      m_pBits->Bits(bRefined ? 1 : 0, 1);
    else
      m_arithmetic.Integer("IARI", bRefined ? 1 : 0);
  }

  void WriteRefinement(const TRefined& refined, const TBitmap& symbol)
  {
    CArithmeticWriter* pWriter = &m_arithmetic;
    CArithmeticWriter own;
    if (m_pBits)
    {
      // Each bitmap is a code of its own; what has been learned stays.
      own.m_refinement = m_refinement;
      pWriter = &own;
    }
    pWriter->Refinement(refined.m_bitmap, symbol, {refined.m_x, refined.m_y}, m_nRefinementTemplate,
                        m_nRefinementTemplate == 0 ? g_refinementPlaces : CPlaces());
    if (!m_pBits)
      return;
    m_refinement = own.m_refinement;
    const std::string bytes = own.Finish();
    m_pBits->Number(m_tables[7], static_cast<std::int64_t>(bytes.size()));
    m_pBits->Bytes(bytes);
  }

  CBitWriter* m_pBits = nullptr;  // null for arithmetic coding
  CArithmeticWriter m_arithmetic;
  std::vector<CLines> m_tables;  // first, steps, strips, widths, heights, columns, rows, sizes
  CLines m_symbolCodes;
  int m_nSymbolBits = 0;
  int m_nRefinementTemplate = 0;
  CArithmeticWriter::CContexts m_refinement;
};

struct TTextForm
{
  bool m_bTransposed = false;
  bool m_bRefined = false;
  int m_nStripBits = 0;
  int m_nCorner = 1;  // bottom left, top left, bottom right, top right
  int m_nOperator = 0;
  int m_nStep = 0;
  bool m_bBlack = false;
};

// Writes symbols in strips and draws them as ITU-T T.88, 6.4.5 has it.
void WriteText(TTextWriter& writer, const TTextForm& form, const CBitmaps& symbols, int nStrips, int nLength,
               TBitmap& region, unsigned nSeed)
{
  std::mt19937 random(nSeed);
  const auto pick = [&random](int nFrom, int nTo)
  { return nFrom + static_cast<int>(random() % static_cast<unsigned>(nTo - nFrom + 1)); };
  const int nStripSize = 1 << form.m_nStripBits;
  const bool bBottom = form.m_nCorner == 0 || form.m_nCorner == 2;
  const bool bRight = form.m_nCorner == 2 || form.m_nCorner == 3;
  const int nStart = pick(1, 3);
  writer.Write("IADT", 2, nStart);
  int nStrip = -nStart * nStripSize;
  int nFirst = 0;
  for (int i = 0; i < nStrips; ++i)
  {
    const int nDown = pick(1, 40 / nStripSize);
    const int nIndent = pick(-10, 15);
    writer.Write("IADT", 2, nDown);
    writer.Write("IAFS", 0, nIndent);
    nStrip += nDown * nStripSize;
    nFirst += nIndent;
    int nAlong = nFirst;
    for (int k = 0; k < nLength; ++k)
    {
      if (k > 0)
      {
        const int nGap = pick(-5, 30);
        writer.Write("IADS", 1, nGap);
        nAlong += nGap + form.m_nStep;
      }
      const int nPlace = pick(0, nStripSize - 1);
      const int nSymbol = pick(0, static_cast<int>(symbols.size()) - 1);
      TBitmap symbol = symbols[static_cast<size_t>(nSymbol)];
      writer.WritePlace(nPlace, form.m_nStripBits);
      writer.WriteSymbol(nSymbol);
      const bool bRefined = form.m_bRefined && pick(0, 1) != 0;
      if (form.m_bRefined)
        writer.WriteIsRefined(bRefined);
      if (bRefined)
      {
        const int nWider = pick(-1, 2);
        const int nHigher = pick(-2, 1);
        const int x = pick(-1, 1);
        const int y = pick(-1, 2);
        // Halves are rounded down.
        const TRefined refined =
            Refine(symbol, std::max(nWider, -symbol.m_nWidth), nHigher,
                   (std::max(nWider, -symbol.m_nWidth) + 2) / 2 - 1 + x, (nHigher + 2) / 2 - 1 + y);
        writer.Write("IARDW", 3, std::max(nWider, -symbol.m_nWidth));
        writer.Write("IARDH", 4, nHigher);
        writer.Write("IARDX", 5, x);
        writer.Write("IARDY", 6, y);
        writer.WriteRefinement(refined, symbol);
        symbol = refined.m_bitmap;
      }
      const int nAdvance = (form.m_bTransposed ? symbol.m_nHeight : symbol.m_nWidth) - 1;
      const bool bBefore = form.m_bTransposed ? bBottom : bRight;
      nAlong += bBefore ? nAdvance : 0;
      const int nAcross = nStrip + nPlace;
      const int x = form.m_bTransposed ? nAcross : nAlong;
      const int y = form.m_bTransposed ? nAlong : nAcross;
      Draw(region, symbol, bRight ? x - symbol.m_nWidth + 1 : x, bBottom ? y - symbol.m_nHeight + 1 : y,
           form.m_nOperator);
      nAlong += bBefore ? 0 : nAdvance;
    }
    writer.Write("IADS", 1, std::nullopt);
  }
}

// The data of a dictionary in arithmetic coding that makes all its symbols known and none of those before.
std::string PlainDictionary(const CBitmaps& symbols, int nTemplate, size_t nGiven = 0, int nFlags = 0,
                            CArithmeticWriter::CContexts* pContexts = nullptr)
{
  CArithmeticWriter writer;
  if (pContexts)
    writer.m_generic = *pContexts;
  int nHeight = 0;
  for (size_t i = 0; i < symbols.size();)
  {
    writer.Integer("IADH", symbols[i].m_nHeight - nHeight);
    nHeight = symbols[i].m_nHeight;
    int nWidth = 0;
    for (; i < symbols.size() && symbols[i].m_nHeight == nHeight; ++i)
    {
      writer.Integer("IADW", symbols[i].m_nWidth - nWidth);
      nWidth = symbols[i].m_nWidth;
      writer.Generic(symbols[i], nTemplate, DefaultPlaces(nTemplate));
    }
    writer.Integer("IADW", std::nullopt);
  }
  writer.Integer("IAEX", static_cast<std::int64_t>(nGiven));
  writer.Integer("IAEX", static_cast<std::int64_t>(symbols.size()));
  if (pContexts)
    *pContexts = writer.m_generic;
  const auto nCount = static_cast<std::int64_t>(symbols.size());
  return Number16(nFlags | nTemplate << 10) + Numbers(DefaultPlaces(nTemplate)) + Number32(nCount) +
         Number32(nCount) + writer.Finish();
}

int TextFlags(const TTextForm& form, bool bHuffman, int nRefinementTemplate)
{
  return (bHuffman ? 1 : 0) | (form.m_bRefined ? 2 : 0) | form.m_nStripBits << 2 | form.m_nCorner << 4 |
         (form.m_bTransposed ? 64 : 0) | form.m_nOperator << 7 | (form.m_bBlack ? 512 : 0) |
         (form.m_nStep & 31) << 10 | nRefinementTemplate << 15;
}

TTextForm MakeForm(int i)
{
  TTextForm form;
  form.m_nCorner = i % 4;
  form.m_bTransposed = i / 4 % 2 != 0;
  form.m_nStripBits = i / 8 % 4;
  form.m_nOperator = i / 3 % 4;
  form.m_bBlack = i / 5 % 2 != 0;
  form.m_nStep = i % 7 * 5 - 16;
  form.m_bRefined = i / 2 % 2 != 0;
  return form;
}

TEST(JBIG2Symbols, LayOutText)
{
  CBitmaps symbols = MakeSymbols(9, 1);
  const CBitmaps more = MakeSymbols(14, 2);
  const std::string dictionaries = PageSegment(200, 160) + Segment(1, 0, {}, PlainDictionary(symbols, 1)) +
                                   Segment(2, 0, {}, PlainDictionary(more, 3));
  symbols.insert(symbols.end(), more.begin(), more.end());
  for (int i = 0; i < 64; ++i)
  {
    SCOPED_TRACE(i);
    const TTextForm form = MakeForm(i);
    TTextWriter writer;
    writer.m_nSymbolBits = CodeBits(symbols.size());
    writer.m_nRefinementTemplate = i / 4 % 2;
    TBitmap region(180, 150);
    if (form.m_bBlack)
      Draw(region, region, 0, 0, 3);
    WriteText(writer, form, symbols, 5, 7, region, static_cast<unsigned>(i));
    TBitmap expected(200, 160);
    Draw(expected, region, 11, 6, 2);
    const bool bPlaces = form.m_bRefined && writer.m_nRefinementTemplate == 0;
    ExpectPicture(dictionaries + Segment(3, 6, {1, 2},
                                         RegionHead(180, 150, 11, 6, 2) +
                                             Number16(TextFlags(form, false, writer.m_nRefinementTemplate)) +
                                             (bPlaces ? Numbers(g_refinementPlaces) : "") + Number32(35) +
                                             writer.m_arithmetic.Finish()),
                  expected);
  }
}

// A table of one's own for any number: short codes for small ones.
const CLines g_ownTable{{-3, 2, 3, eJBIG2Range},  {5, 2, 4, eJBIG2Range},    {21, 3, 9, eJBIG2Range},
                        {-4, 4, 32, eJBIG2Lower}, {533, 4, 32, eJBIG2Range}, {0, 2, 0, eJBIG2None}};

// The code lengths of symbols as they come first of Huffman coded text, with runs of each kind.
void WriteSymbolCodes(CBitWriter& writer, const CLines& codes)
{
  // Lengths of the run codes: 5 bits for each that is used.
  for (int i = 0; i < 35; ++i)
    writer.Bits(5 + (i > 28 ? 1 : 0), 4);
  CLines runCodes;
  for (int i = 0; i < 35; ++i)
    runCodes.push_back({i, static_cast<unsigned char>(5 + (i > 28 ? 1 : 0)), 0, eJBIG2Range});
  for (size_t i = 0; i < codes.size();)
  {
    size_t nRun = 1;
    while (i + nRun < codes.size() && codes[i + nRun].m_nLength == codes[i].m_nLength)
      ++nRun;
    if (codes[i].m_nLength == 0 && nRun >= 11)
    {
      nRun = std::min<size_t>(nRun, 138);
      writer.Number(runCodes, 34);
      writer.Bits(nRun - 11, 7);
    }
    else if (codes[i].m_nLength == 0 && nRun >= 3)
    {
      writer.Number(runCodes, 33);
      writer.Bits(nRun - 3, 3);
    }
    else if (i > 0 && codes[i - 1].m_nLength == codes[i].m_nLength && nRun >= 3)
    {
      nRun = std::min<size_t>(nRun, 6);
      writer.Number(runCodes, 32);
      writer.Bits(nRun - 3, 2);
    }
    else
    {
      nRun = 1;
      writer.Number(runCodes, codes[i].m_nLength);
    }
    i += nRun;
  }
  writer.Align();
}

TEST(JBIG2Symbols, LayOutTextInHuffmanCoding)
{
  const CBitmaps symbols = MakeSymbols(60, 3);
  // Some symbols have no code, the others have codes of two lengths.
  CLines codes;
  CBitmaps usable;
  for (int i = 0; i < 60; ++i)
  {
    const bool bUsed = i < 20 || i > 35;
    codes.push_back({i,
                     static_cast<unsigned char>(!bUsed || i % 9 == 5 ? 0
                                                : i < 10             ? 5
                                                                     : 6),
                     0, eJBIG2Range});
  }
  for (const TJBIG2HuffmanLine& line : codes)
  {
    if (line.m_nLength > 0)
      usable.push_back(symbols[static_cast<size_t>(line.m_nFirst)]);
  }
  const int tables[][4] = {{6, 7, 0, 0},   {8, 9, 10, 0},  {11, 12, 13, 0}, {14, 15, 0, 0},
                           {14, 15, 0, 0}, {14, 15, 0, 0}, {14, 15, 0, 0},  {1, 0, 0, 0}};
  const int choices[] = {3, 4, 4, 3, 3, 3, 3, 2};
  for (int i = 0; i < 48; ++i)
  {
    SCOPED_TRACE(i);
    const TTextForm form = MakeForm(i);
    CBitWriter bits;
    TTextWriter writer;
    writer.m_pBits = &bits;
    writer.m_nRefinementTemplate = i / 4 % 2;
    int nTableFlags = 0;
    std::vector<unsigned> references{1};
    for (int k = 0; k < 8; ++k)
    {
      const int nChoice = (i + k) % choices[k];
      const int nTable = tables[k][nChoice];
      const bool bField = k < 7;
      nTableFlags |= (nTable == 0 && bField ? 3 : nChoice) << (2 * k);
      writer.m_tables.push_back(nTable == 0 ? g_ownTable : StandardTable(nTable));
      if (nTable == 0)
        references.push_back(2);
    }
    WriteSymbolCodes(bits, codes);
    // Those without a code do not come in the text.
    for (const TJBIG2HuffmanLine& line : codes)
    {
      if (line.m_nLength > 0)
        writer.m_symbolCodes.push_back(
            {static_cast<int>(writer.m_symbolCodes.size()), line.m_nLength, 0, eJBIG2Range});
    }
    TBitmap region(180, 150);
    if (form.m_bBlack)
      Draw(region, region, 0, 0, 3);
    WriteText(writer, form, usable, 5, 7, region, static_cast<unsigned>(i));
    const bool bPlaces = form.m_bRefined && writer.m_nRefinementTemplate == 0;
    const std::string data =
        RegionHead(180, 150, 0, 0) + Number16(TextFlags(form, true, writer.m_nRefinementTemplate)) +
        Number16(nTableFlags) + (bPlaces ? Numbers(g_refinementPlaces) : "") + Number32(35) + bits.Finish();
    ExpectPicture(PageSegment(180, 150) + Segment(1, 0, {}, PlainDictionary(symbols, 0)) +
                      Segment(2, 53, {}, TableData(g_ownTable, 533, 3, 4)) + Segment(3, 7, references, data),
                  region);
  }
}

// Text that shows all symbols of a dictionary, in their order, as region 9 of a page.
std::string ShowSymbols(const CBitmaps& symbols, unsigned nDictionary, TBitmap& expected)
{
  CArithmeticWriter writer;
  writer.Integer("IADT", 0);
  writer.Integer("IADT", 2);
  writer.Integer("IAFS", 1);
  int x = 1;
  for (size_t i = 0; i < symbols.size(); ++i)
  {
    if (i > 0)
      writer.Integer("IADS", 3);
    writer.Symbol(static_cast<int>(i), CodeBits(symbols.size()));
    Draw(expected, symbols[i], x, 2, 0);
    x += symbols[i].m_nWidth + 2;
  }
  writer.Integer("IADS", std::nullopt);
  return Segment(9, 6, {nDictionary},
                 RegionHead(expected.m_nWidth, expected.m_nHeight, 0, 0) + Number16(TextFlags({}, false, 0)) +
                     Number32(static_cast<std::int64_t>(symbols.size())) + writer.Finish());
}

TEST(JBIG2Symbols, BuildOnOtherDictionaries)
{
  // The second goes on with the contexts of the first, and makes known symbols of both.
  const CBitmaps first = MakeSymbols(7, 4);
  const CBitmaps second = MakeSymbols(5, 5);
  for (int nTemplate = 0; nTemplate < 4; ++nTemplate)
  {
    SCOPED_TRACE(nTemplate);
    CArithmeticWriter::CContexts contexts;
    const std::string globals = Segment(1, 0, {}, PlainDictionary(first, nTemplate, 0, 512, &contexts));
    CArithmeticWriter writer;
    writer.m_generic = contexts;
    int nHeight = 0;
    for (size_t i = 0; i < second.size(); ++i)
    {
      writer.Integer("IADH", second[i].m_nHeight - nHeight);
      nHeight = second[i].m_nHeight;
      writer.Integer("IADW", second[i].m_nWidth);
      writer.Generic(second[i], nTemplate, DefaultPlaces(nTemplate));
      writer.Integer("IADW", std::nullopt);
    }
    CBitmaps exported(first.begin() + 2, first.begin() + 5);
    exported.insert(exported.end(), second.begin() + 1, second.end());
    for (const int nRun : {2, 3, 3, 4})
      writer.Integer("IAEX", nRun);
    TBitmap expected(250, 60);
    const std::string text = ShowSymbols(exported, 2, expected);
    ExpectPicture(PageSegment(250, 60) +
                      Segment(2, 0, {1},
                              Number16(256 | nTemplate << 10) + Numbers(DefaultPlaces(nTemplate)) +
                                  Number32(7) + Number32(5) + writer.Finish()) +
                      text,
                  expected, globals);
  }
}

TEST(JBIG2Symbols, DecodeSymbolsOfAClassInOneBitmap)
{
  CBitmaps symbols = MakeSymbols(11, 6);
  // One of the tables has no code for a width that falls.
  std::sort(symbols.begin(), symbols.end(),
            [](const TBitmap& a, const TBitmap& b)
            { return std::pair(a.m_nHeight, a.m_nWidth) < std::pair(b.m_nHeight, b.m_nWidth); });
  for (int nForm = 0; nForm < 4; ++nForm)
  {
    SCOPED_TRACE(nForm);
    const bool bMMR = nForm % 2 != 0;
    const bool bOwnTables = nForm / 2 != 0;
    const CLines heights = bOwnTables ? g_ownTable : StandardTable(nForm % 2 == 0 ? 4 : 5);
    const CLines widths = bOwnTables ? g_ownTable : StandardTable(nForm % 2 == 0 ? 2 : 3);
    const CLines sizes = bOwnTables ? g_ownTable : StandardTable(1);
    CBitWriter bits;
    int nHeight = 0;
    for (size_t i = 0; i < symbols.size();)
    {
      bits.Number(heights, symbols[i].m_nHeight - nHeight);
      nHeight = symbols[i].m_nHeight;
      CBitmaps members;
      int nTotal = 0;
      int nWidth = 0;
      for (; i < symbols.size() && symbols[i].m_nHeight == nHeight; ++i)
      {
        bits.Number(widths, symbols[i].m_nWidth - nWidth);
        nWidth = symbols[i].m_nWidth;
        nTotal += nWidth;
        members.push_back(symbols[i]);
      }
      bits.Number(widths, std::nullopt);
      TBitmap all(nTotal, nHeight);
      int x = 0;
      for (const TBitmap& member : members)
      {
        Draw(all, member, x, 0, 0);
        x += member.m_nWidth;
      }
      const std::string bytes = bMMR ? EncodeMMR(all, false) : all.m_rows;
      bits.Number(sizes, bMMR ? static_cast<std::int64_t>(bytes.size()) : 0);
      bits.Bytes(bytes);
    }
    bits.Number(StandardTable(1), 0);
    bits.Number(StandardTable(1), 11);
    const int nFlags = 1 | (bOwnTables ? 3 << 2 | 3 << 4 | 1 << 6 : (bMMR ? 1 << 2 | 1 << 4 : 0));
    TBitmap expected(300, 60);
    const std::string text = ShowSymbols(symbols, 5, expected);
    const auto references = bOwnTables ? std::vector<unsigned>{4, 4, 4} : std::vector<unsigned>();
    ExpectPicture(
        PageSegment(300, 60) + Segment(4, 53, {}, TableData(g_ownTable, 533, 3, 4)) +
            Segment(5, 0, references, Number16(nFlags) + Number32(11) + Number32(11) + bits.Finish()) + text,
        expected);
  }
}

TEST(JBIG2Symbols, MakeSymbolsOfOthers)
{
  const CBitmaps given = MakeSymbols(6, 7);
  for (int nForm = 0; nForm < 4; ++nForm)
  {
    SCOPED_TRACE(nForm);
    const bool bHuffman = nForm % 2 != 0;
    CBitWriter bits;
    TTextWriter writer;
    writer.m_pBits = bHuffman ? &bits : nullptr;
    writer.m_nRefinementTemplate = nForm / 2;
    writer.m_nSymbolBits = CodeBits(given.size() + 4);
    for (const int nTable : {6, 8, 11, 15, 15, 15, 15, 1, 4, 2})
      writer.m_tables.push_back(StandardTable(nTable));
    CBitmaps all = given;
    const auto addClass = [&](int nHigher) { writer.Write("IADH", 8, nHigher); };
    const auto addRefined = [&](int nWider, const TRefined& refined, int nSymbol)
    {
      writer.Write("IADW", 9, nWider);
      writer.Write("IAAI", 7, 1);
      writer.WriteSymbol(nSymbol);
      writer.Write("IARDX", 5, refined.m_x);
      writer.Write("IARDY", 6, refined.m_y);
      writer.WriteRefinement(refined, all[static_cast<size_t>(nSymbol)]);
      all.push_back(refined.m_bitmap);
    };
    const auto addText = [&](int nWider, TBitmap bitmap)
    {
      writer.Write("IADW", 9, nWider);
      writer.Write("IAAI", 7, 6);
      TTextForm form;
      form.m_bRefined = true;
      WriteText(writer, form, all, 2, 3, bitmap, 5);
      all.push_back(bitmap);
    };
    // One refined, one of several, one that refines a new one, and another of several.
    addClass(12);
    addRefined(30, {Refine(given[4], 30 - given[4].m_nWidth, 12 - given[4].m_nHeight, 2, 1)}, 4);
    addText(10, TBitmap(40, 12));
    writer.Write("IADW", 9, std::nullopt);
    addClass(8);
    addRefined(25, {Refine(all[7], -15, 8, -3, 2)}, 7);
    addText(10, TBitmap(35, 20));
    writer.Write("IADW", 9, std::nullopt);
    writer.Write("IAEX", 7, 6);
    writer.Write("IAEX", 7, 4);
    const std::string places = writer.m_nRefinementTemplate == 0 ? Numbers(g_refinementPlaces) : "";
    TBitmap expected(200, 60);
    const std::string text = ShowSymbols(CBitmaps(all.begin() + 6, all.end()), 2, expected);
    ExpectPicture(PageSegment(200, 60) + Segment(1, 0, {}, PlainDictionary(given, 2)) +
                      Segment(2, 0, {1},
                              Number16((bHuffman ? 1 : 0) | 2 | writer.m_nRefinementTemplate << 12) +
                                  (bHuffman ? "" : Numbers(DefaultPlaces(0))) + places + Number32(4) +
                                  Number32(4) + (bHuffman ? bits.Finish() : writer.m_arithmetic.Finish())) +
                      text,
                  expected);
  }
}

}  // namespace
}  // namespace BSE
