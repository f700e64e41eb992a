#include "pdf/linearize/PDFile.h"

#include "base/Limits.h"
#include "pdf/linearize/PDCharacters.h"
#include "pdf/linearize/PDParser.h"

#include <algorithm>
#include <string_view>

namespace
{

// Most objects fit into the first piece.
constexpr std::int64_t g_nFirstPiece = 1 << 11;
constexpr std::int64_t g_nPieceGrowth = 4;

// What has to be seen after a value to tell whether a stream follows.
constexpr std::int64_t g_nLookAhead = 64;

constexpr std::string_view g_szEndStream = "endstream";

}  // namespace

int PDNumberMap::Find(int nNumber) const
{
  if (nNumber < 0 || nNumber > BSE::g_nMaxObjNumber)
    return -1;
  const int nPage = m_pages[nNumber >> g_nPageBits];
  return nPage > 0 ? m_slots[nPage - 1 + (nNumber & ((1 << g_nPageBits) - 1))] - 1 : -1;
}

void PDNumberMap::Set(int nNumber, int nIndex)
{
  const int nSlot = nNumber >> g_nPageBits;
  if (nSlot >= m_pages.GetSize())
    m_pages.SetSize(nSlot + 1);
  if (m_pages[nSlot] == 0)
  {
    m_pages[nSlot] = m_slots.GetSize() + 1;
    m_slots.SetSize(m_slots.GetSize() + (1 << g_nPageBits));
  }
  m_slots[m_pages[nSlot] - 1 + (nNumber & ((1 << g_nPageBits) - 1))] = nIndex + 1;
}

bool PDFile::HasReadFailed() const
{
  const auto hasFailed = [](const PDInput* pInput) { return pInput && pInput->HasFailed(); };
  return hasFailed(m_pInput.Get()) || hasFailed(m_pSide.Get()) || hasFailed(m_pStore.Get());
}

bool PDFile::ReadObject(int nObject, PDObj& object, TPDStream& stream)
{
  stream = TPDStream();
  if (nObject < 0 || nObject >= GetCount())
    return false;
  const TPDEntry& entry = m_entries[nObject];
  if (entry.m_nPos < 0)
    return false;
  if (entry.m_bStored)
    return ReadStored(entry, object);
  int nNumber = 0;
  return ReadAt(entry.m_nPos, entry.m_nExtent, object, stream, nNumber) && nNumber == entry.m_nNumber;
}

bool PDFile::ReadStored(const TPDEntry& entry, PDObj& object)
{
  if (entry.m_nExtent > g_nMaxObjectSize)
    return false;
  PDParser parser(m_pStore->Get(entry.m_nPos, entry.m_nExtent), true);
  return parser.ParseValue(object) == TPDResult::Complete;
}

bool PDFile::ReadAt(std::int64_t nPos, std::int64_t nExtent, PDObj& object, TPDStream& stream, int& nNumber)
{
  nExtent = std::min(nExtent, m_pInput->GetLength() - nPos);
  for (std::int64_t nPiece = g_nFirstPiece;; nPiece *= g_nPieceGrowth)
  {
    nPiece = std::min({nPiece, nExtent, g_nMaxObjectSize});
    const std::span<const unsigned char> text = m_pInput->Get(nPos, nPiece);
    if (std::ssize(text) < nPiece)
      return false;
    const bool bFinal = nPiece == nExtent || nPiece == g_nMaxObjectSize;
    PDParser parser(text, bFinal);
    std::int64_t nObject = 0;
    std::int64_t nGeneration = 0;
    TPDResult eResult = parser.ParseNumber(nObject);
    if (eResult == TPDResult::Complete)
      eResult = parser.ParseNumber(nGeneration);
    if (eResult == TPDResult::Complete)
      eResult = parser.ParseWord("obj");
    if (eResult == TPDResult::Complete)
      eResult = parser.ParseValue(object);
    const auto nEnd = static_cast<std::int64_t>(parser.GetPosition());
    if (eResult == TPDResult::Damaged || (eResult == TPDResult::Incomplete && bFinal))
      return false;
    if (eResult == TPDResult::Incomplete || (!bFinal && nEnd + g_nLookAhead > nPiece))
      continue;
    nNumber = static_cast<int>(std::min<std::int64_t>(nObject, BSE::g_nMaxObjNumber + 1));
    if (object.GetType(0) != ePDDictionary || parser.ParseWord("stream") != TPDResult::Complete)
      return true;
    const auto nStream = static_cast<std::int64_t>(parser.GetPosition());
    return LocateStream(nPos + nStream, nPos + nExtent, object, stream);
  }
}

bool PDFile::LocateStream(std::int64_t nPos, std::int64_t nEnd, const PDObj& object, TPDStream& stream)
{
  const std::span<const unsigned char> eol = m_pSide->Get(nPos, 2);
  if (eol.size() == 2 && eol[0] == '\r' && eol[1] == '\n')
    nPos += 2;
  else if (!eol.empty() && (eol[0] == '\n' || eol[0] == '\r'))
    nPos += 1;
  stream.m_bStream = true;
  stream.m_nPos = nPos;
  if (ReadLength(object, stream.m_nLength) && stream.m_nLength >= 0 && stream.m_nLength <= nEnd - nPos &&
      IsStreamEnd(nPos + stream.m_nLength))
    return true;
  if (!m_bSearchStreams)
    return false;
  const std::int64_t nFound = FindStreamEnd(nPos, nEnd);
  stream.m_nLength = nFound - nPos;
  return nFound >= 0;
}

bool PDFile::ReadLength(const PDObj& object, std::int64_t& nLength)
{
  const int nNode = object.Find(0, "Length");
  if (object.GetInteger(nNode, nLength))
    return true;
  const int nObject = FindObject(object.GetReference(nNode));
  if (nObject < 0 || m_entries[nObject].m_nPos < 0)
    return false;
  const TPDEntry& entry = m_entries[nObject];
  const std::int64_t nExtent = std::min<std::int64_t>(entry.m_nExtent, g_nLookAhead);
  if (entry.m_bStored)
  {
    PDParser parser(m_pStore->Get(entry.m_nPos, nExtent), true);
    return parser.ParseNumber(nLength) == TPDResult::Complete;
  }
  PDParser parser(m_pSide->Get(entry.m_nPos, nExtent), true);
  std::int64_t nIgnored = 0;
  return parser.ParseNumber(nIgnored) == TPDResult::Complete &&
         parser.ParseNumber(nIgnored) == TPDResult::Complete &&
         parser.ParseWord("obj") == TPDResult::Complete && parser.ParseNumber(nLength) == TPDResult::Complete;
}

bool PDFile::IsStreamEnd(std::int64_t nPos)
{
  constexpr std::size_t nMaxSpace = 2;
  const std::span<const unsigned char> bytes =
      m_pSide->Get(nPos, static_cast<std::int64_t>(nMaxSpace + g_szEndStream.size()));
  std::size_t i = 0;
  while (i < bytes.size() && i < nMaxSpace && IsPDSpace(bytes[i]))
    ++i;
  return bytes.size() >= i + g_szEndStream.size() &&
         std::equal(g_szEndStream.begin(), g_szEndStream.end(), bytes.begin() + static_cast<long>(i));
}

std::int64_t PDFile::FindStreamEnd(std::int64_t nPos, std::int64_t nEnd)
{
  constexpr std::int64_t nBlock = 1 << 16;
  constexpr auto nOverlap = static_cast<std::int64_t>(g_szEndStream.size()) - 1;
  for (std::int64_t nAt = nPos; nAt < nEnd; nAt += nBlock)
  {
    const std::span<const unsigned char> bytes = m_pSide->Get(nAt, std::min(nBlock + nOverlap, nEnd - nAt));
    if (bytes.empty())
      return -1;
    const auto found = std::search(bytes.begin(), bytes.end(), g_szEndStream.begin(), g_szEndStream.end());
    if (found == bytes.end())
      continue;
    std::int64_t nFound = nAt + (found - bytes.begin());
    const std::span<const unsigned char> eol = m_pSide->Get(nFound - 2, 2);
    if (nFound > nPos && eol.size() == 2 && (eol[1] == '\n' || eol[1] == '\r'))
      --nFound;
    if (nFound > nPos && eol.size() == 2 && eol[0] == '\r' && eol[1] == '\n')
      --nFound;
    return nFound;
  }
  return -1;
}
