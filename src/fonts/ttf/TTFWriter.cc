#include "fonts/ttf/TTF.h"

#include <bit>

namespace TTF
{

namespace
{

constexpr std::uint32_t g_nTrueTypeVersion = 0x00010000;
constexpr std::uint32_t g_nWholeChecksum = 0xB1B0AFBA;
constexpr std::size_t g_nAdjustmentAt = 8;

int CompareTags(const void* pA, const void* pB)
{
  const std::uint32_t nA = (*static_cast<CTable* const*>(pA))->GetTag();
  const std::uint32_t nB = (*static_cast<CTable* const*>(pB))->GetTag();
  return nA < nB ? -1 : (nA > nB ? 1 : 0);
}

std::size_t GetPadded(std::size_t nLength)
{
  return (nLength + 3) & ~std::size_t{3};
}

void WriteDirectory(std::uint32_t nVersion, const BSE::CPtrArray<CTable>& tables, CTableWriter& writer)
{
  const auto nTables = static_cast<unsigned>(tables.GetSize());
  const unsigned nSearch = 16 * std::bit_floor(nTables);
  writer.Card32(nVersion);
  writer.Card16(nTables);
  writer.Card16(nSearch);
  writer.Card16(static_cast<unsigned>(std::bit_width(nTables)) - 1);
  writer.Card16(16 * nTables - nSearch);
  std::size_t nOffset = 12 + 16 * std::size_t{nTables};
  for (const CTable* pTable : tables.GetSpan())
  {
    const std::span<const unsigned char> bytes = pTable->GetBytes();
    writer.Card32(pTable->GetTag());
    writer.Card32(CTable::GetChecksum(bytes));
    writer.Card32(static_cast<std::uint32_t>(nOffset));
    writer.Card32(static_cast<std::uint32_t>(bytes.size()));
    nOffset += GetPadded(bytes.size());
  }
}

bool WriteTable(BSE::IByteStream& stream, std::span<const unsigned char> bytes)
{
  static constexpr unsigned char zeros[3] = {};
  const std::size_t nPad = GetPadded(bytes.size()) - bytes.size();
  return stream.WriteAll(bytes.data(), static_cast<std::int64_t>(bytes.size())) &&
         (nPad == 0 || stream.WriteAll(zeros, static_cast<std::int64_t>(nPad)));
}

}  // namespace

bool CTTF::Write(BSE::IByteStream& stream)
{
  BSE::CPtrArray<CTable> tables;
  for (const BSE::CPtrArray<CTable>* pTables : {&m_known, &m_others})
    for (CTable* pTable : pTables->GetSpan())
      if (pTable->IsPresent())
        tables.Add(pTable);
  if (tables.IsEmpty())
    return false;
  tables.Sort(&CompareTags);
  // The checksum of the whole file is in head, and is made with a zero in its place.
  BSE::CBasicArray<unsigned char> head;
  head.Append(m_head.GetBytes());
  unsigned char* pAdjustment = head.GetData() + g_nAdjustmentAt;
  BSE::StoreBigEndian(std::uint32_t{0}, pAdjustment);
  m_head.SetBytes(std::move(head));
  // Readers go by the version, and it may be that of the other kind of outlines.
  if (HasGlyphData() && m_nVersion == MakeTag("OTTO"))
    m_nVersion = g_nTrueTypeVersion;
  else if (!HasGlyphData() && FindTable(MakeTag("CFF ")))
    m_nVersion = MakeTag("OTTO");
  CTableWriter directory;
  WriteDirectory(m_nVersion, tables, directory);
  const BSE::CBasicArray<unsigned char> start = directory.Detach();
  std::uint32_t nSum = CTable::GetChecksum(start.GetSpan());
  for (const CTable* pTable : tables.GetSpan())
    nSum += CTable::GetChecksum(pTable->GetBytes());
  head.Append(m_head.GetBytes());
  BSE::StoreBigEndian(g_nWholeChecksum - nSum, head.GetData() + g_nAdjustmentAt);
  m_head.m_nCheckSumAdjustment = g_nWholeChecksum - nSum;
  m_head.SetBytes(std::move(head));
  bool bWritten = WriteTable(stream, start.GetSpan());
  for (const CTable* pTable : tables.GetSpan())
    bWritten = bWritten && WriteTable(stream, pTable->GetBytes());
  return bWritten;
}

}  // namespace TTF
