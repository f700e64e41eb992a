#include "fonts/ttf/NameTables.h"

#include <cstring>

namespace TTF
{

namespace
{

constexpr int g_nStandardNames = 258;
constexpr int g_nPostHeader = 32;

constexpr const char* g_standardNames[] = {
#include "fonts/ttf/StandardNames.inc"
};
static_assert(std::size(g_standardNames) == g_nStandardNames);

}  // namespace

bool CPost::Parse()
{
  BSE::CByteCursor cursor = GetCursor();
  m_nVersion = cursor.Card32();
  m_nItalicAngle = cursor.Int32();
  m_nUnderlinePosition = static_cast<std::int16_t>(cursor.Int16());
  m_nUnderlineThickness = static_cast<std::int16_t>(cursor.Int16());
  for (std::uint32_t* p :
       {&m_nIsFixedPitch, &m_nMinMemType42, &m_nMaxMemType42, &m_nMinMemType1, &m_nMaxMemType1})
    *p = cursor.Card32();
  m_names.RemoveAll();
  m_nGlyphs = 0;
  if (m_nVersion != g_nVersion2 || cursor.HasFailed())
    return !cursor.HasFailed();
  m_nGlyphs = static_cast<int>(cursor.Card16());
  cursor.Take(m_nGlyphs, 2);
  // A name that is cut off is dropped; those before it are kept.
  if (cursor.HasFailed())
    return false;
  while (!cursor.IsAtEnd())
  {
    const auto nOffset = static_cast<std::uint32_t>(cursor.GetOffset());
    cursor.Skip(cursor.Card8());
    if (!cursor.HasFailed())
      m_names.Add(nOffset);
  }
  return true;
}

std::span<const char> CPost::GetStandardName(int nName)
{
  if (nName < 0 || nName >= g_nStandardNames)
    return {};
  return {g_standardNames[nName], std::strlen(g_standardNames[nName])};
}

std::span<const char> CPost::GetGlyphName(int nGlyph) const
{
  if (m_nVersion == g_nVersion1)
    return GetStandardName(nGlyph);
  if (nGlyph < 0 || nGlyph >= m_nGlyphs)
    return {};
  BSE::CByteCursor cursor = GetCursor();
  cursor.Seek(g_nPostHeader + 2 + 2 * std::int64_t{nGlyph});
  const int nName = static_cast<int>(cursor.Card16());
  if (nName < g_nStandardNames)
    return GetStandardName(nName);
  if (nName - g_nStandardNames >= m_names.GetSize())
    return {};
  cursor.Seek(m_names[nName - g_nStandardNames]);
  const std::span<const unsigned char> name = cursor.Take(cursor.Card8());
  return {reinterpret_cast<const char*>(name.data()), name.size()};
}

void CPost::KeepNames(const BSE::CBasicArray<unsigned char>& used)
{
  if (!IsPresent() || m_nGlyphs == 0)
    return;
  CTableWriter writer;
  BSE::CBasicArray<unsigned char> names;
  BSE::CBasicArray<int> numbers;  // of the names that are kept
  numbers.SetSize(m_names.GetSize());
  int nNames = 0;
  BSE::CByteCursor cursor = GetCursor();
  writer.Append(cursor.Take(g_nPostHeader + 2));
  for (int i = 0; i < m_nGlyphs; ++i)
  {
    int nName = static_cast<int>(cursor.Card16());
    const int nOwn = nName - g_nStandardNames;
    const std::span<const char> name = GetGlyphName(i);
    if (i >= used.GetSize() || used[i] == 0 || name.empty())
      nName = 0;
    else if (nOwn >= 0)
    {
      if (numbers[nOwn] == 0)
      {
        numbers[nOwn] = ++nNames;
        names.Add(static_cast<unsigned char>(name.size()));
        names.Append({reinterpret_cast<const unsigned char*>(name.data()), name.size()});
      }
      nName = g_nStandardNames + numbers[nOwn] - 1;
    }
    writer.Card16(static_cast<unsigned>(nName));
  }
  writer.Append(names.GetSpan());
  SetBytes(writer.Detach());
  Parse();
}

bool CName::Parse()
{
  m_records.RemoveAll();
  BSE::CByteCursor cursor = GetCursor();
  cursor.Card16();
  const int nCount = static_cast<int>(cursor.Card16());
  m_nTexts = cursor.Card16();
  for (int i = 0; i < nCount; ++i)
  {
    TRecord record;
    for (std::uint16_t* p : {&record.m_nPlatform, &record.m_nEncoding, &record.m_nLanguage, &record.m_nName,
                             &record.m_nLength, &record.m_nOffset})
      *p = static_cast<std::uint16_t>(cursor.Card16());
    if (cursor.HasFailed())
      return false;
    m_records.Add(record);
  }
  return !cursor.HasFailed();
}

std::span<const unsigned char> CName::GetText(int nRecord) const
{
  if (nRecord < 0 || nRecord >= m_records.GetSize())
    return {};
  BSE::CByteCursor cursor = GetCursor();
  cursor.Seek(std::int64_t{m_nTexts} + m_records[nRecord].m_nOffset);
  return cursor.Take(m_records[nRecord].m_nLength);
}

bool CName::HasName(const char* szName) const
{
  const std::size_t nLength = std::strlen(szName);
  for (int i = 0; i < m_records.GetSize(); ++i)
  {
    const TRecord& record = m_records[i];
    if (record.m_nName != g_nFamily && record.m_nName != g_nFullName && record.m_nName != g_nPostScriptName)
      continue;
    const std::span<const unsigned char> text = GetText(i);
    // All but those of the Macintosh platform are in UTF-16.
    const std::size_t nUnit = record.m_nPlatform == 1 ? 1 : 2;
    bool bEqual = text.size() == nLength * nUnit;
    for (std::size_t n = 0; bEqual && n < nLength; ++n)
      bEqual = text[n * nUnit + nUnit - 1] == static_cast<unsigned char>(szName[n]) &&
               (nUnit == 1 || text[n * nUnit] == 0);
    if (bEqual)
      return true;
  }
  return false;
}

}  // namespace TTF
