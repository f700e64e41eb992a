#include "fonts/installed/FontFile.h"

#include "base/Tracer.h"
#include "base/Unicode.h"
#include "fonts/ttf/HeaderTables.h"
#include "fonts/ttf/NameTables.h"
#include "fonts/type1/Scanner.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>

namespace PDF
{

namespace
{

constexpr int g_nMaxTables = 256;
constexpr int g_nMaxCollection = 1024;
constexpr int g_nMaxName = 255;

// Bytes that are read of one file, and of one table; of cmap and post the beginning is enough.
constexpr std::int64_t g_nMaxRead = std::int64_t{8} << 20;
constexpr std::int64_t g_nMaxTable = std::int64_t{1} << 20;
constexpr std::int64_t g_nTableStart = 1024;

// Of a Type 1 font, of which the names come first.
constexpr std::int64_t g_nType1Start = 64 << 10;

constexpr int g_nFamilyName = TTF::CName::g_nFamily;
constexpr int g_nFullName = TTF::CName::g_nFullName;
constexpr int g_nPostScriptName = TTF::CName::g_nPostScriptName;

constexpr int g_nPlatformMac = 1;
constexpr int g_nPlatformMicrosoft = 3;
constexpr int g_nEnglish = 0x409;

// What can be part of a name that a document says in bytes; without blanks, which documents leave out.
void AppendName(BSE::CStr16& name, unsigned nUnit, bool bBlanks)
{
  if (nUnit > 0x20 || (nUnit == 0x20 && bBlanks))
    if (name.GetLength() < g_nMaxName)
      name.Append(static_cast<char16_t>(nUnit));
}

BSE::CStr16 DecodeName(std::span<const unsigned char> text, int nPlatform, bool bBlanks)
{
  BSE::CStr16 name;
  const std::size_t nUnit = nPlatform == g_nPlatformMac ? 1 : 2;
  for (std::size_t i = 0; i + nUnit <= text.size(); i += nUnit)
    AppendName(name, nUnit == 1 ? text[i] : unsigned{text[i]} << 8 | text[i + 1], bBlanks);
  return name;
}

BSE::CStr8 ToUtf8(const BSE::CStr16& text)
{
  BSE::CStr8 utf8;
  BSE::ConvertText(text.GetText(), utf8, BSE::TInvalidText::Replace);
  return utf8;
}

// That in English, if there is one.
BSE::CStr16 FindName(const TTF::CName& table, unsigned nName, bool bBlanks)
{
  int nBest = -1;
  int nBestRank = 0;
  for (int i = 0; i < table.GetRecordCount(); ++i)
  {
    const TTF::CName::TRecord& record = table.GetRecord(i);
    if (record.m_nName != nName || table.GetText(i).empty())
      continue;
    const bool bMicrosoft = record.m_nPlatform == g_nPlatformMicrosoft;
    const int nRank =
        bMicrosoft && record.m_nLanguage == g_nEnglish
            ? 4
            : (record.m_nPlatform == g_nPlatformMac && record.m_nLanguage == 0 ? 3 : (bMicrosoft ? 2 : 1));
    if (nRank > nBestRank)
    {
      nBest = i;
      nBestRank = nRank;
    }
  }
  return nBest < 0 ? BSE::CStr16()
                   : DecodeName(table.GetText(nBest), table.GetRecord(nBest).m_nPlatform, bBlanks);
}

// Whether all codes of the font are its own.
bool IsSymbolMap(std::span<const unsigned char> cmap)
{
  BSE::CByteCursor cursor(cmap);
  cursor.Card16();
  const unsigned nCount = cursor.Card16();
  bool bSymbol = false;
  for (unsigned i = 0; i < nCount; ++i)
  {
    const unsigned nPlatform = cursor.Card16();
    const unsigned nEncoding = cursor.Card16();
    cursor.Card32();
    if (cursor.HasFailed())
      break;
    if (nPlatform == 0 || (nPlatform == g_nPlatformMicrosoft && nEncoding != 0))
      return false;
    bSymbol = bSymbol || nPlatform == g_nPlatformMicrosoft;
  }
  return bSymbol;
}

// The free fonts in place of those of PostScript printers say nothing of serifs but by their names.
bool HasSerifWord(const char* szName)
{
  if (std::strstr(szName, "Sans"))
    return false;
  for (const char* szWord : {"Serif", "Roman", "Times", "Courier", "NimbusMono", "Nimbus Mono", "Bookm",
                             "Palladio", "Schoolbook", "CenturySchL", "C059", "P052"})
    if (std::strstr(szName, szWord))
      return true;
  return false;
}

// By the class of the family, or by PANOSE, which few fonts have both.
bool IsSerif(const TTF::COS_2& os2, const char* szName)
{
  const int nClass = os2.m_nFamilyClass >> 8;
  if (nClass > 0 && nClass <= 8)
    return nClass != 6 && nClass != 8;
  if (os2.m_panose[0] == 2 && os2.m_panose[1] >= 2)
    return os2.m_panose[1] <= 10;
  return HasSerifWord(szName);
}

void FillStyle(const TTF::COS_2& os2, const TTF::CHead& head, const TTF::CPost& post, CInstalledFont& font)
{
  constexpr unsigned nItalic = 0x001;
  constexpr unsigned nBold = 0x020;
  constexpr unsigned nOblique = 0x200;
  const bool bText = os2.m_panose[0] == 2;
  font.m_dWeight = os2.m_nWeightClass < 10 ? os2.m_nWeightClass * 100 : os2.m_nWeightClass;
  font.m_dItalicAngle = post.m_nItalicAngle / 65536.0;
  font.m_bBold = (os2.m_nFsSelection & nBold) != 0 || (head.m_nMacStyle & 1) != 0;
  font.m_bItalic = (os2.m_nFsSelection & (nItalic | nOblique)) != 0 || (head.m_nMacStyle & 2) != 0 ||
                   post.m_nItalicAngle != 0;
  font.m_bFixedPitch = post.m_nIsFixedPitch != 0 || (bText && os2.m_panose[3] == 9);
  font.m_bSerif = IsSerif(os2, ToUtf8(font.m_sFamily).GetText());
  font.m_bScript = os2.m_nFamilyClass >> 8 == 10 || os2.m_panose[0] == 3;
  font.m_bNarrow = os2.m_nWidthClass > 0 && os2.m_nWidthClass < 5;
  font.m_bExpanded = os2.m_nWidthClass > 5;
}

}  // namespace

BSE::CObjectPtr<BSE::CFileStream> OpenRegularFile(const char* szPath, std::int64_t nMaxSize,
                                                  BSE::IErrorContext* pErrorContext)
{
  // Opening a pipe without a writer waits; reading a file never does.
  int fd = open(szPath, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  struct stat status = {};
  if (fd < 0 || fstat(fd, &status) != 0 || !S_ISREG(status.st_mode) || status.st_size > nMaxSize)
  {
    const int nErrno = fd < 0 ? errno : (S_ISREG(status.st_mode) ? EFBIG : EINVAL);
    if (fd >= 0)
      close(fd);
    fd = -nErrno;
  }
  BSE::CObjectPtr<BSE::CFileStream> pStream(new BSE::CFileStream(pErrorContext));
  if (!pStream->Attach(fd, BSE::CFile(szPath)))
    pStream.Reset();
  return pStream;
}

int CFontFileReader::Read(BSE::CObjectArray<CInstalledFont>& fonts)
{
  const int nBefore = fonts.GetSize();
  CBytes start;
  if (!ReadAt(0, 4, start))
  {
    Trace("Font file stream could not be read.");
    return 0;
  }
  const std::uint32_t nVersion = BSE::CByteCursor(start.GetSpan()).Card32();
  bool bRead = false;
  if (nVersion == TTF::MakeTag("ttcf"))
    bRead = ReadCollection(fonts);
  else if (nVersion == 0x00010000 || nVersion == TTF::MakeTag("true") || nVersion == TTF::MakeTag("OTTO"))
    bRead = ReadFont(0, 0, fonts);
  else if (start[0] == 0x80 || (start[0] == '%' && start[1] == '!'))
    bRead = ReadType1(fonts);
  if (!bRead && BSE::CTracer::IsOn())
    BSE::CTracer::Trace("E", "Font Collection", "Error reading font family '%s' from font file %s",
                        m_family.GetText(), m_szPath);
  return fonts.GetSize() - nBefore;
}

bool CFontFileReader::Trace(const char* szFormat)
{
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("E", "Font Collection", szFormat, m_szPath);
  return false;
}

bool CFontFileReader::ReadAt(std::int64_t nOffset, std::int64_t nLength, CBytes& bytes)
{
  m_nRead += nLength;
  if (nLength <= 0 || m_nRead > g_nMaxRead || !m_stream.Seek(nOffset))
    return false;
  bytes.SetSize(static_cast<int>(nLength));
  return m_stream.ReadAll(bytes.GetData(), nLength) == nLength;
}

bool CFontFileReader::ReadCollection(BSE::CObjectArray<CInstalledFont>& fonts)
{
  CBytes header;
  CBytes offsets;
  if (!ReadAt(0, 12, header))
    return false;
  const std::uint32_t nFonts = BSE::CByteCursor(header.GetSpan().subspan(8)).Card32();
  if (nFonts > g_nMaxCollection || !ReadAt(12, 4 * std::int64_t{nFonts}, offsets))
    return false;
  bool bAll = true;
  BSE::CByteCursor cursor(offsets.GetSpan());
  for (int i = 0; std::cmp_less(i, nFonts); ++i)
    bAll = ReadFont(cursor.Card32(), i, fonts) && bAll;
  return bAll;
}

bool CFontFileReader::ReadFont(std::int64_t nOffset, int nIndex, BSE::CObjectArray<CInstalledFont>& fonts)
{
  TTables tables;
  m_family.RemoveAll();
  if (!ReadTables(nOffset, tables))
    return Trace(nIndex > 0 ? "Font \"%s\" not found in collection." : "Font %s is missing required tables.");
  const BSE::CObjectPtr<CInstalledFont> pFont(new CInstalledFont);
  pFont->m_sFile = BSE::CStr8(m_szPath);
  pFont->m_nIndex = nIndex;
  if (!FillFont(tables, *pFont))
    return false;
  fonts.Add(pFont.Get());
  return true;
}

bool CFontFileReader::ReadTables(std::int64_t nOffset, TTables& tables)
{
  CBytes header;
  CBytes directory;
  if (!ReadAt(nOffset, 12, header))
    return false;
  const unsigned nTables = BSE::CByteCursor(header.GetSpan().subspan(4)).Card16();
  if (nTables > g_nMaxTables || !ReadAt(nOffset + 12, 16 * std::int64_t{nTables}, directory))
    return false;
  BSE::CByteCursor cursor(directory.GetSpan());
  for (unsigned i = 0; i < nTables; ++i)
  {
    const std::uint32_t nTag = cursor.Card32();
    cursor.Skip(4);
    const std::int64_t nTable = cursor.Card32();
    const std::int64_t nLength = cursor.Card32();
    const struct
    {
      std::uint32_t m_nTag;
      CBytes& m_bytes;
      std::int64_t m_nMax;
    } wanted[] = {{TTF::MakeTag("head"), tables.m_head, g_nTableStart},
                  {TTF::MakeTag("name"), tables.m_name, g_nMaxTable},
                  {TTF::MakeTag("OS/2"), tables.m_os2, g_nTableStart},
                  {TTF::MakeTag("post"), tables.m_post, 32},
                  {TTF::MakeTag("hhea"), tables.m_hhea, g_nTableStart},
                  {TTF::MakeTag("cmap"), tables.m_cmap, g_nTableStart}};
    for (const auto& table : wanted)
      if (nTag == table.m_nTag && table.m_bytes.IsEmpty() &&
          !ReadAt(nTable, std::min(nLength, table.m_nMax), table.m_bytes))
        return false;
  }
  for (const CBytes* p :
       {&tables.m_head, &tables.m_name, &tables.m_os2, &tables.m_post, &tables.m_hhea, &tables.m_cmap})
    if (p->IsEmpty())
      return false;
  return true;
}

bool CFontFileReader::FillFont(const TTables& tables, CInstalledFont& font)
{
  TTF::CHead head;
  TTF::CName name;
  TTF::COS_2 os2;
  TTF::CPost post;
  TTF::Chhea hhea;
  head.Borrow(tables.m_head.GetSpan());
  name.Borrow(tables.m_name.GetSpan());
  os2.Borrow(tables.m_os2.GetSpan());
  post.Borrow(tables.m_post.GetSpan());
  hhea.Borrow(tables.m_hhea.GetSpan());
  if (!head.Parse() || head.m_nMagicNumber != TTF::CHead::g_nMagic || head.m_nUnitsPerEm == 0)
    return Trace("Font %s has invalid head table.");
  name.Parse();
  font.m_sFamily = FindName(name, g_nFamilyName, true);
  m_family = ToUtf8(font.m_sFamily);
  font.m_sName = FindName(name, g_nPostScriptName, false);
  if (font.m_sName.IsEmpty())
    font.m_sName = FindName(name, g_nFullName, false);
  if (font.m_sName.IsEmpty())
    return Trace("Unable to extract font name of font %s.");
  // Of post only the header was read, which has names for nobody. Its version says there are some.
  post.Parse();
  if (!os2.Parse() || !hhea.Parse())
    return Trace("Font %s is missing required tables.");
  FillStyle(os2, head, post, font);
  font.m_bSymbol =
      os2.m_panose[0] == 5 || os2.m_nFamilyClass >> 8 == 12 || IsSymbolMap(tables.m_cmap.GetSpan());
  font.m_nCoverage[0] = os2.m_codePageRange[0];
  font.m_nCoverage[1] = os2.m_codePageRange[1];
  const auto scale = [&](int nValue) { return std::round(nValue * 1000.0 / head.m_nUnitsPerEm); };
  font.m_dAscent = scale(os2.m_nTypoAscender != 0 ? os2.m_nTypoAscender : hhea.m_nAscender);
  font.m_dDescent = scale(os2.m_nTypoDescender != 0 ? os2.m_nTypoDescender : hhea.m_nDescender);
  font.m_dCapHeight = scale(os2.m_nCapHeight);
  font.m_dXHeight = scale(os2.m_nXHeight);
  font.m_dWidth = scale(os2.m_nAvgCharWidth);
  return true;
}

// The keys that are wanted are in the clear text, as names with a value after them.
bool CFontFileReader::ReadType1(BSE::CObjectArray<CInstalledFont>& fonts)
{
  CBytes text;
  const std::int64_t nLength = std::min(m_stream.GetLength(), g_nType1Start);
  if (!ReadAt(0, nLength, text))
    return false;
  const BSE::CObjectPtr<CInstalledFont> pFont(new CInstalledFont);
  CInstalledFont& font = *pFont;
  font.m_sFile = BSE::CStr8(m_szPath);
  // An em of Type 1 has a thousand units but for fonts that hardly exist.
  PS::CScanner scanner(text.GetSpan().subspan(text[0] == 0x80 && text.GetSize() > 6 ? 6 : 0));
  const auto takeText = [&](BSE::CStr16& target, bool bBlanks)
  {
    const PS::TToken nToken = scanner.ReadToken();
    if (target.IsEmpty() && (nToken == PS::eTokenLiteralName || nToken == PS::eTokenString))
      target = DecodeName(scanner.GetText(), g_nPlatformMac, bBlanks);
  };
  for (PS::TToken nToken = scanner.ReadToken(); nToken != PS::eTokenEnd && !scanner.HasText("eexec");
       nToken = scanner.ReadToken())
  {
    if (nToken != PS::eTokenLiteralName)
      continue;
    if (scanner.HasText("FontName"))
      takeText(font.m_sName, false);
    else if (scanner.HasText("FamilyName"))
      takeText(font.m_sFamily, true);
    else if (scanner.HasText("ItalicAngle") && scanner.ReadToken() != PS::eTokenEnd)
      font.m_dItalicAngle = scanner.GetReal();
    else if (scanner.HasText("isFixedPitch") && scanner.ReadToken() == PS::eTokenName)
      font.m_bFixedPitch = scanner.HasText("true");
    else if (scanner.HasText("StandardEncoding"))
      font.m_bSymbol = 0;
    else if (scanner.HasText("Encoding") && scanner.ReadToken() != PS::eTokenEnd)
      font.m_bSymbol = !scanner.HasText("StandardEncoding");
  }
  m_family = ToUtf8(font.m_sFamily);
  if (font.m_sName.IsEmpty())
    return Trace("Unable to extract font name of font %s.");
  font.m_bItalic = font.m_dItalicAngle != 0;
  font.m_dWidth = 0;
  font.m_bSerif = HasSerifWord(ToUtf8(font.m_sName).GetText());
  font.AddNameHints(ToUtf8(font.m_sName).GetText());
  fonts.Add(pFont.Get());
  return true;
}

}  // namespace PDF
