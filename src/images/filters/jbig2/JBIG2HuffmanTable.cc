#include "images/filters/jbig2/JBIG2HuffmanTable.h"

#include "base/ByteCursor.h"

#include <algorithm>

namespace BSE
{

CObjectPtr<CJBIG2HuffmanTable> CJBIG2HuffmanTable::Create(CJBIG2Run& run,
                                                          std::span<const TJBIG2HuffmanLine> lines)
{
  CObjectPtr<CJBIG2HuffmanTable> pTable(new CJBIG2HuffmanTable);
  TLength* const pLengths = pTable->m_lengths;
  int nLines = 0;
  for (const TJBIG2HuffmanLine& line : lines)
  {
    if (line.m_nLength > g_nMaxLength)
    {
      run.Fail("a Huffman code is too long");
      return nullptr;
    }
    if (line.m_nLength == 0)
      continue;
    ++pLengths[line.m_nLength].m_nCount;
    pTable->m_nMaxLength = std::max<int>(pTable->m_nMaxLength, line.m_nLength);
    ++nLines;
  }
  std::uint64_t nCode = 0;
  int nFirstLine = 0;
  for (int i = 1; i <= pTable->m_nMaxLength; ++i)
  {
    nCode <<= 1;
    pLengths[i].m_nFirstCode = static_cast<std::uint32_t>(nCode);
    pLengths[i].m_nFirstLine = nFirstLine;
    nFirstLine += static_cast<int>(pLengths[i].m_nCount);
    nCode += pLengths[i].m_nCount;
    if (nCode > std::uint64_t{1} << i)
    {
      run.Fail("a Huffman table has more codes than there can be");
      return nullptr;
    }
  }
  pTable->m_lines.SetSize(nLines);
  int nNext[g_nMaxLength + 1];
  for (int i = 0; i <= g_nMaxLength; ++i)
    nNext[i] = pLengths[i].m_nFirstLine;
  for (const TJBIG2HuffmanLine& line : lines)
  {
    if (line.m_nLength > 0)
      pTable->m_lines.GetData()[nNext[line.m_nLength]++] = line;
  }
  return pTable;
}

TJBIG2HuffmanStatus CJBIG2HuffmanTable::Decode(CJBIG2BitReader& reader, std::int64_t& nValue) const
{
  std::uint32_t nCode = 0;
  for (int i = 1; i <= m_nMaxLength; ++i)
  {
    nCode = nCode << 1 | reader.ReadBit();
    const TLength& length = m_lengths[i];
    if (nCode < length.m_nFirstCode || nCode - length.m_nFirstCode >= length.m_nCount)
      continue;
    const TJBIG2HuffmanLine& line =
        m_lines.GetData()[length.m_nFirstLine + static_cast<int>(nCode - length.m_nFirstCode)];
    if (line.m_kind == eJBIG2None)
      return reader.HasFailed() ? eJBIG2UnknownCode : eJBIG2NoNumber;
    const std::int64_t nOffset = reader.ReadBits(line.m_nBits);
    nValue = line.m_kind == eJBIG2Lower ? line.m_nFirst - nOffset : line.m_nFirst + nOffset;
    return reader.HasFailed() ? eJBIG2UnknownCode : eJBIG2Number;
  }
  return eJBIG2UnknownCode;
}

CObjectPtr<CJBIG2HuffmanTable> CJBIG2HuffmanTable::Read(CJBIG2Run& run, std::span<const unsigned char> data)
{
  CByteCursor cursor(data);
  const unsigned nFlags = cursor.Card8();
  const std::int32_t nLow = cursor.Int32();
  const std::int32_t nHigh = cursor.Int32();
  const int nLengthBits = static_cast<int>(nFlags >> 1 & 7) + 1;
  const int nRangeBits = static_cast<int>(nFlags >> 4 & 7) + 1;
  CJBIG2BitReader reader(data.subspan(std::min<std::size_t>(data.size(), cursor.GetOffset())));
  CBasicArray<TJBIG2HuffmanLine> lines;
  const auto add = [&](std::int64_t nFirst, unsigned nBits, TJBIG2LineKind kind, unsigned nLength)
  {
    lines.Add({static_cast<std::int32_t>(nFirst), static_cast<unsigned char>(nLength),
               static_cast<unsigned char>(nBits), kind});
  };
  bool bValid = !cursor.HasFailed() && nLow > INT32_MIN;
  for (std::int64_t nFirst = nLow; bValid && nFirst < nHigh;)
  {
    const unsigned nLength = reader.ReadBits(nLengthBits);
    const unsigned nBits = reader.ReadBits(nRangeBits);
    bValid = nBits <= 32 && !reader.HasFailed();
    add(nFirst, nBits, eJBIG2Range, nLength);
    nFirst += std::int64_t{1} << (bValid ? nBits : 0);
  }
  add(std::int64_t{nLow} - 1, 32, eJBIG2Lower, reader.ReadBits(nLengthBits));
  add(nHigh, 32, eJBIG2Range, reader.ReadBits(nLengthBits));
  if ((nFlags & 1) != 0)
    add(0, 0, eJBIG2None, reader.ReadBits(nLengthBits));
  if (!bValid || reader.HasFailed())
  {
    run.Fail("the Huffman table is cut or has an impossible range");
    return nullptr;
  }
  return Create(run, lines.GetSpan());
}

CObjectPtr<CJBIG2HuffmanTable> CJBIG2HuffmanTable::CreateStandard(CJBIG2Run& run, int nTable)
{
  return Create(run, GetJBIG2StandardLines(nTable));
}

}  // namespace BSE
