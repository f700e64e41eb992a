#include "pdf/linearize/PDLHints.h"

#include "base/ByteOrder.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstring>

namespace
{

constexpr std::int64_t g_nMaxField = 0xFFFFFFFF;

// Fractions tell where in a page's contents a shared object is used; they are all 0.
constexpr int g_nNumeratorWidth = 4;
constexpr int g_nDenominator = 8;

// Object numbers beyond the limit do not occur; the field is reduced all the same.
constexpr std::int64_t g_nNumberModulus = 10000000;

// Keys of the tables in the dictionary of the hint stream (ISO 32000-1, Table F.2), in the order of the data.
// Only the first four are ever filled.
enum TTable
{
  eTablePages,
  eTableShared,
  eTableOutlines = 3,
  eTableInformation = 7
};
constexpr const char g_tableKeys[] = "PSTOAEVICL";
static_assert(sizeof(g_tableKeys) == PDLHints::g_nTableCount + 1);

using CBytes = BSE::CBasicArray<unsigned char>;

// Fields of a table's header, big-endian. Failure lasts.
class CHeader
{
public:
  explicit CHeader(CBytes& data) : m_data(data) {}

  CHeader& Put32(std::int64_t nValue)
  {
    m_bFits = m_bFits && nValue >= 0 && nValue <= g_nMaxField;
    unsigned char bytes[4];
    BSE::StoreBigEndian(static_cast<std::uint32_t>(nValue), bytes);
    m_data.Append(bytes);
    return *this;
  }
  CHeader& Put16(int nValue)
  {
    unsigned char bytes[2];
    BSE::StoreBigEndian(static_cast<std::uint16_t>(nValue), bytes);
    m_data.Append(bytes);
    return *this;
  }
  bool Fits() const { return m_bFits; }

private:
  CBytes& m_data;
  bool m_bFits = true;
};

}  // namespace

bool PDLColumn::Pack(bool bLeast, int nWidth)
{
  m_bytes.RemoveAll();
  m_nLeast = 0;
  m_nWidth = 0;
  const std::span<const std::int64_t> values = m_values.GetSpan();
  if (values.empty())
    return true;
  const auto [least, largest] = std::minmax_element(values.begin(), values.end());
  if (*least < 0 || *largest > g_nMaxField)
    return false;
  m_nLeast = bLeast ? *least : 0;
  const auto nNeeded = static_cast<int>(std::bit_width(static_cast<std::uint64_t>(*largest - m_nLeast)));
  m_nWidth = nWidth > g_nMaxWidth ? nNeeded : nWidth;
  if (nNeeded > m_nWidth)
    return false;
  std::uint64_t nBits = 0;
  int nPending = 0;
  for (const std::int64_t nValue : values)
  {
    nBits = nBits << m_nWidth | static_cast<std::uint64_t>(nValue - m_nLeast);
    for (nPending += m_nWidth; nPending >= 8; nPending -= 8)
      m_bytes.Add(static_cast<unsigned char>(nBits >> (nPending - 8)));
  }
  if (nPending > 0)
    m_bytes.Add(static_cast<unsigned char>(nBits << (8 - nPending)));
  return true;
}

void PDLHints::AddPage(std::int64_t nObjects, std::int64_t nLength)
{
  if (m_bPageOpen)
    m_sharedCounts.Add(m_nPageReferences);
  m_bPageOpen = true;
  m_nPageReferences = 0;
  m_objectCounts.Add(nObjects);
  m_pageLengths.Add(nLength);
}

void PDLHints::AddSharedReference(std::int64_t nIdentifier)
{
  ++m_nPageReferences;
  m_sharedIdentifiers.Add(nIdentifier);
}

// Table F.3 and F.4. The lengths of pages stand in for those of their contents.
bool PDLHints::BuildPageTable(CBytes& data)
{
  if (m_bPageOpen)
    m_sharedCounts.Add(m_nPageReferences);
  m_bPageOpen = false;
  PDLColumn numerators;
  for (int i = 0; i < m_sharedIdentifiers.GetSize(); ++i)
    numerators.Add(0);
  if (!m_objectCounts.Pack(true, PDLColumn::g_nNarrowest) ||
      !m_pageLengths.Pack(true, PDLColumn::g_nNarrowest) ||
      !m_sharedCounts.Pack(false, PDLColumn::g_nNarrowest) ||
      !m_sharedIdentifiers.Pack(false, PDLColumn::g_nNarrowest) || !numerators.Pack(false, g_nNumeratorWidth))
    return false;
  CHeader header(data);
  header.Put32(m_objectCounts.GetLeast()).Put32(m_nFirstPageLocation).Put16(m_objectCounts.GetWidth());
  header.Put32(m_pageLengths.GetLeast()).Put16(m_pageLengths.GetWidth());
  header.Put32(0).Put16(0);  // where contents start
  header.Put32(0).Put16(m_pageLengths.GetWidth());
  header.Put16(m_sharedCounts.GetWidth()).Put16(m_sharedIdentifiers.GetWidth());
  header.Put16(g_nNumeratorWidth).Put16(g_nDenominator);
  const PDLColumn* columns[] = {&m_objectCounts,      &m_pageLengths, &m_sharedCounts,
                                &m_sharedIdentifiers, &numerators,    &m_pageLengths};
  for (const PDLColumn* pColumn : columns)
    data.Append(pColumn->GetBytes());
  return header.Fits();
}

// Table F.5 and F.6. Every object is a group of its own and has no signature.
bool PDLHints::BuildSharedTable(CBytes& data)
{
  if (!m_sharedLengths.Pack(true, PDLColumn::g_nNarrowest))
    return false;
  CHeader header(data);
  header.Put32(m_nSharedNumber % g_nNumberModulus).Put32(m_nSharedLocation);
  header.Put32(m_nFirstPageEntries).Put32(m_sharedLengths.GetSize());
  header.Put16(0).Put32(m_sharedLengths.GetLeast()).Put16(m_sharedLengths.GetWidth());
  data.Append(m_sharedLengths.GetBytes());
  data.SetSize(data.GetSize() + (m_sharedLengths.GetSize() + 7) / 8);
  return header.Fits();
}

// Table F.9.
bool PDLHints::BuildGroupTable(const TGroup& group, CBytes& data)
{
  CHeader header(data);
  header.Put32(group.m_nNumber % g_nNumberModulus).Put32(group.m_nLocation);
  header.Put32(group.m_nCount).Put32(group.m_nLength);
  return header.Fits();
}

bool PDLHints::Build(CBytes& data)
{
  data.RemoveAll();
  if (!BuildPageTable(data))
    return false;
  m_offsets[eTableShared] = m_sharedLengths.GetSize() > 0 ? data.GetSize() : 0;
  if (m_sharedLengths.GetSize() > 0 && !BuildSharedTable(data))
    return false;
  m_offsets[eTableOutlines] = m_outlines.m_nCount > 0 ? data.GetSize() : 0;
  if (m_outlines.m_nCount > 0 && !BuildGroupTable(m_outlines, data))
    return false;
  m_offsets[eTableInformation] = m_information.m_nCount > 0 ? data.GetSize() : 0;
  return m_information.m_nCount == 0 || BuildGroupTable(m_information, data);
}

void PDLHints::AppendEntries(CBytes& entries) const
{
  for (int i = 0; i < g_nTableCount; ++i)
  {
    if (m_offsets[i] == 0)
      continue;
    char text[16] = {'/', g_tableKeys[i], ' '};
    const auto result = std::to_chars(text + 3, text + sizeof(text), m_offsets[i]);
    entries.Append(
        {reinterpret_cast<const unsigned char*>(text), static_cast<std::size_t>(result.ptr - text)});
  }
}
