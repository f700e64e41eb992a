#include "base/Limits.h"
#include "pdf/linearize/PDLInput.h"
#include "pdf/linearize/PDOSObj.h"
#include "pdf/linearize/PDParser.h"

#include <algorithm>

// The chain of cross-reference sections, newest first: what is said first holds.

namespace
{

// Bytes of an entry of a table.
constexpr std::int64_t g_nTableEntry = 20;

// Widest field of a cross-reference stream.
constexpr std::int64_t g_nMaxFieldWidth = 8;

constexpr std::int64_t g_nTrailerPiece = 1 << 12;

// Entries, free ones included, that a file of any size may have.
constexpr std::int64_t g_nFreeEntries = 1 << 16;

std::int64_t GetPrev(const PDObj& trailer)
{
  std::int64_t nPrev = -1;
  return trailer.GetInteger(trailer.Find(0, "Prev"), nPrev) ? nPrev : -1;
}

}  // namespace

bool PDLInput::ReadChain(std::int64_t nPos)
{
  for (int nSections = 0; nPos >= 0; ++nSections)
  {
    // A chain that comes back to where it was has said all that it has to say.
    if (m_sections.Contains(nPos))
      break;
    m_sections.SetAt(nPos, nullptr);
    std::int64_t nPrev = -1;
    if (nSections >= BSE::g_nMaxXRefSections || !ReadSection(nPos, nPrev))
      return Fail("The input's cross-reference data cannot be read.");
    nPos = nPrev;
  }
  return m_nRootNumber > 0 || Fail("The input has no trailer.");
}

bool PDLInput::ReadSection(std::int64_t nPos, std::int64_t& nPrev)
{
  if (nPos >= m_pInput->GetLength() - m_nHeaderOffset)
    return false;
  PDCursor cursor(*m_pInput, nPos + m_nHeaderOffset);
  cursor.SkipSpace();
  return cursor.Peek() == 'x' ? ReadTableSection(nPos, nPrev) : ReadXRefStream(nPos, nPrev);
}

// In a hybrid file the table hides what only its cross-reference stream says: that comes first.
bool PDLInput::ReadTableSection(std::int64_t nPos, std::int64_t& nPrev)
{
  PDCursor cursor(*m_pInput, nPos + m_nHeaderOffset);
  const int nKnown = m_xref.GetSize();
  if (!cursor.ReadWord("xref") || !ReadTable(cursor))
    return false;
  PDObj trailer;
  if (!ReadTrailer(cursor.Tell(), trailer))
    return false;
  TakeTrailer(trailer);
  nPrev = GetPrev(trailer);
  std::int64_t nStream = -1;
  if (!trailer.GetInteger(trailer.Find(0, "XRefStm"), nStream) || nStream < 0 || m_sections.Contains(nStream))
    return true;
  m_sections.SetAt(nStream, nullptr);
  const int nTold = m_xref.GetSize();
  for (int i = nKnown; i < nTold; ++i)
  {
    if (m_xref[i].m_nType == 0)
      m_numbers.Set(m_xref[i].m_nNumber, -1);
  }
  std::int64_t nIgnored = -1;
  const bool bRead = ReadXRefStream(nStream, nIgnored);
  for (int i = nKnown; i < nTold; ++i)
  {
    if (m_xref[i].m_nType == 0 && m_numbers.Find(m_xref[i].m_nNumber) < 0)
      m_numbers.Set(m_xref[i].m_nNumber, i);
  }
  return bRead;
}

bool PDLInput::ReadTable(PDCursor& cursor)
{
  for (;;)
  {
    cursor.SkipSpace();
    if (cursor.Peek() < '0' || cursor.Peek() > '9')
      return cursor.ReadWord("trailer");
    std::int64_t nFirst = 0;
    std::int64_t nCount = 0;
    if (!cursor.ReadNumber(nFirst) || !cursor.ReadNumber(nCount) || !ReadTableRange(cursor, nFirst, nCount))
      return false;
  }
}

bool PDLInput::ReadTableRange(PDCursor& cursor, std::int64_t nFirst, std::int64_t nCount)
{
  if (nFirst > BSE::g_nMaxObjNumber || nCount > BSE::g_nMaxObjNumber + 1 - nFirst ||
      nCount > m_nBudget / g_nTableEntry)
    return false;
  m_nBudget -= nCount * g_nTableEntry;
  for (std::int64_t i = 0; i < nCount; ++i)
  {
    std::int64_t nPos = 0;
    std::int64_t nGeneration = 0;
    if (!cursor.ReadNumber(nPos) || !cursor.ReadNumber(nGeneration))
      return false;
    cursor.SkipSpace();
    const int nType = cursor.Get();
    if (nType != 'n' && nType != 'f')
      return false;
    AddEntry(nFirst + i, nType == 'n' ? 1 : 0, nPos, nGeneration);
  }
  return true;
}

void PDLInput::AddEntry(std::int64_t nNumber, unsigned char nType, std::int64_t nPos,
                        std::int64_t nGeneration)
{
  // An honest file has more bytes than objects.
  if (nNumber <= 0 || nNumber > BSE::g_nMaxObjNumber || m_numbers.Find(static_cast<int>(nNumber)) >= 0 ||
      m_xref.GetSize() >= m_pInput->GetLength() + g_nFreeEntries)
    return;
  const int nGen = static_cast<int>(std::clamp<std::int64_t>(nGeneration, 0, 0xFFFF));
  const int nObject = static_cast<int>(nNumber);
  m_numbers.Set(nObject, m_xref.Add({nPos, nObject, nGen, nType}));
}

bool PDLInput::ReadTrailer(std::int64_t nPos, PDObj& trailer)
{
  const std::int64_t nRest = m_pInput->GetLength() - nPos;
  for (std::int64_t nPiece = g_nTrailerPiece; m_nBudget > 0; nPiece *= 4)
  {
    nPiece = std::min(nPiece, nRest);
    m_nBudget -= nPiece;
    PDParser parser(m_pInput->Get(nPos, nPiece), nPiece == nRest);
    const TPDResult eResult = parser.ParseValue(trailer);
    if (eResult != TPDResult::Incomplete || nPiece == nRest || nPiece > g_nMaxObjectSize)
      return eResult == TPDResult::Complete && trailer.GetType(0) == ePDDictionary;
  }
  return false;
}

void PDLInput::TakeTrailer(const PDObj& trailer)
{
  const int nRoot = trailer.GetReference(trailer.Find(0, "Root"));
  if (m_nRootNumber > 0 || nRoot <= 0)
    return;
  m_nRootNumber = nRoot;
  m_nInfoNumber = trailer.GetReference(trailer.Find(0, "Info"));
  const int nId = trailer.Find(0, "ID");
  m_nIdNumber = trailer.GetReference(nId);
  if (trailer.GetType(nId) == ePDArray && !trailer.GetNode(nId).m_bReferences)
    m_id.Append(trailer.GetText(nId));
  const int nEncrypt = trailer.Find(0, "Encrypt");
  m_nEncryptNumber = trailer.GetReference(nEncrypt);
  if (trailer.GetType(nEncrypt) == ePDDictionary)
    m_encryptText.Append(trailer.GetText(nEncrypt));
}

bool PDLInput::ReadXRefStream(std::int64_t nPos, std::int64_t& nPrev)
{
  PDObj dictionary;
  TPDStream stream;
  int nNumber = 0;
  nPos += m_nHeaderOffset;
  if (nPos >= m_pInput->GetLength() ||
      !ReadAt(nPos, m_pInput->GetLength() - nPos, dictionary, stream, nNumber) || !stream.m_bStream)
    return false;
  TakeTrailer(dictionary);
  nPrev = GetPrev(dictionary);
  BSE::CBasicArray<unsigned char> data;
  const BSE::CObjectPtr<BSE::IByteStream> pEncoded = m_pSide->CreateSection(stream.m_nPos, stream.m_nLength);
  if (stream.m_nLength > m_nBudget || !DecodePDStream(dictionary, pEncoded.Get(), m_nBudget, data))
    return false;
  m_nBudget -= stream.m_nLength + data.GetSize();
  return ReadXRefData(dictionary, data.GetSpan());
}

bool PDLInput::ReadXRefData(const PDObj& dictionary, std::span<const unsigned char> data)
{
  const int nW = dictionary.Find(0, "W");
  if (dictionary.GetType(nW) != ePDArray || dictionary.CountItems(nW) < 3)
    return false;
  int widths[3] = {};
  int nRow = 0;
  for (int i = 0, nNode = nW + 1; i < 3; ++i, nNode = dictionary.GetNext(nNode))
  {
    std::int64_t nWidth = -1;
    if (!dictionary.GetInteger(nNode, nWidth) || nWidth < 0 || nWidth > g_nMaxFieldWidth)
      return false;
    widths[i] = static_cast<int>(nWidth);
    nRow += widths[i];
  }
  if (nRow == 0)
    return false;
  const int nIndex = dictionary.Find(0, "Index");
  if (dictionary.GetType(nIndex) != ePDArray)
    return ReadXRefRows(data, widths, 0);
  const int nEnd = dictionary.GetNext(nIndex);
  for (int nNode = nIndex + 1; nNode + 1 < nEnd; nNode += 2)
  {
    std::int64_t nFirst = -1;
    std::int64_t nCount = -1;
    if (!dictionary.GetInteger(nNode, nFirst) || !dictionary.GetInteger(nNode + 1, nCount) || nFirst < 0 ||
        nCount < 0)
      return false;
    const auto nRows = static_cast<std::size_t>(std::min<std::int64_t>(nCount, std::ssize(data) / nRow));
    if (!ReadXRefRows(data.first(nRows * static_cast<std::size_t>(nRow)), widths, nFirst))
      return false;
    data = data.subspan(nRows * static_cast<std::size_t>(nRow));
  }
  return true;
}

// A field of no width has its default: type 1, all others 0 (ISO 32000-1, Table 17).
bool PDLInput::ReadXRefRows(std::span<const unsigned char> rows, std::span<const int, 3> widths,
                            std::int64_t nFirst)
{
  const auto nRow = static_cast<std::size_t>(widths[0] + widths[1] + widths[2]);
  for (; rows.size() >= nRow; rows = rows.subspan(nRow), ++nFirst)
  {
    std::uint64_t fields[3] = {widths[0] == 0 ? 1U : 0U, 0, 0};
    std::size_t nAt = 0;
    for (std::size_t i = 0; i < 3; ++i)
    {
      for (int n = 0; n < widths[i]; ++n)
        fields[i] = fields[i] << 8 | rows[nAt++];
    }
    if (fields[0] > 2 || fields[1] > 0x7FFFFFFFFFFFFFFF)
      continue;
    if (nFirst > BSE::g_nMaxObjNumber)
      return true;
    AddEntry(nFirst, static_cast<unsigned char>(fields[0]), static_cast<std::int64_t>(fields[1]),
             static_cast<std::int64_t>(std::min<std::uint64_t>(fields[2], 0xFFFF)));
  }
  return true;
}
