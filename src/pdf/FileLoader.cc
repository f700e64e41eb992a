#include "pdf/FileLoader.h"

#include "base/ErrorHandler.h"
#include "base/Limits.h"
#include "pdf/Parser.h"
#include "pdf/XRefStreamReader.h"

#include <algorithm>

namespace PDF
{

namespace
{

constexpr unsigned g_nBadTable = 0x8041010B;
constexpr unsigned g_nNoTrailer = 0x8041010E;
constexpr unsigned g_nOtherIds = 0x0341851C;
constexpr unsigned g_nWrongStreamOffset = 0x03428309;
constexpr unsigned g_nBadStream = 0x8342010B;
constexpr unsigned g_nXRefStreamUsed = 0x03418533;

}  // namespace

void CFileLoader::TestLinearized()
{
  const BSE::CErrorSuppressor quiet(m_file.OnGetErrorHandler());
  CParser& parser = *m_file.m_pParser;
  BSE::CObjectPtr<CIndirectObject> pObject(new CIndirectObject(nullptr, 0, -1, 0));
  if (!parser.ParseIndirectObject(pObject.Get(), parser.Tell()))
    return;
  const CObjectPtr value = pObject->GetValueObject();
  if (!value.IsDictionary() || value["Linearized"].GetRealValue() < 1.0)
    return;
  const std::int64_t nLength = GetIntegerOr(value["L"], -1);
  m_nLinearizedLength = nLength == m_file.m_pInput->GetLength() ? nLength : 0;
  if (m_nLinearizedLength > 0)
    m_file.m_linearized = value;
}

bool CFileLoader::IsTrailer(const CObjectPtr& trailer) const
{
  if (!trailer.IsDictionary())
    return false;
  // The main section of a linearized file names no root: its first-page section does.
  return trailer["Root"] || trailer["Size"].IsInteger() || trailer["Prev"].IsInteger();
}

bool CFileLoader::NoteRevisionEnd()
{
  CScanner& scanner = m_file.m_pParser->GetScanner();
  if (scanner.GetToken() != eTokenStartXRef)
    return true;
  scanner.ReadToken();
  if (scanner.GetToken() != eTokenInteger)
    return true;
  const std::int64_t nPos = scanner.Tell();
  constexpr int nAhead = 20;
  char aAhead[nAhead] = {};
  const std::int64_t nRead = scanner.GetStream().ReadFully(reinterpret_cast<unsigned char*>(aAhead), nAhead);
  char* pEnd = aAhead + std::max<std::int64_t>(nRead, 0);
  constexpr char szMarker[] = {'%', '%', 'E', 'O', 'F'};
  char* pMarker = std::search(aAhead + 0, pEnd, std::begin(szMarker), std::end(szMarker));
  if (pMarker == pEnd)
    return true;
  char* pBehind = pMarker + sizeof(szMarker);
  if (pBehind != pEnd && *pBehind == '\r')
    ++pBehind;
  if (pBehind != pEnd && *pBehind == '\n')
    ++pBehind;
  const std::int64_t nEnd = nPos + (pBehind - aAhead);
  if (m_file.m_revisions.Find(nEnd) != m_file.m_revisions.GetSize())
    return false;
  m_file.m_revisions.Add(nEnd);
  return true;
}

CFileLoader::TOutcome CFileLoader::ReadTrailerAt(std::int64_t nPos, CObjectPtr& trailer,
                                                 BSE::CObjectPtr<CIndirectObject>& stream)
{
  CParser& parser = *m_file.m_pParser;
  CScanner& scanner = parser.GetScanner();
  if (nPos != 0 && !parser.SeekTo(nPos))
    return eMalformed;
  const std::int64_t nStart = parser.Tell();
  scanner.ReadToken();
  if (scanner.GetToken() == eTokenXRef)
  {
    if (scanner.FindForward("trailer") < 0)
      return eNoTrailer;
    trailer = parser.ParseValue();
    if (!trailer.IsDictionary())
      return eNoTrailer;
  }
  else if (scanner.GetToken() == eTokenInteger)
  {
    stream = new CIndirectObject(nullptr, 0, -1, 0);
    if (!parser.ParseIndirectObject(stream.Get(), nStart) || !stream->IsStream())
      return eMalformed;
    trailer = stream->GetValueObject();
    scanner.ReadToken();
  }
  else
    return eMalformed;
  if (!NoteRevisionEnd())
    return eLoop;
  return IsTrailer(trailer) ? eRead : eNoTrailer;
}

void CFileLoader::TakeTrailer(const CObjectPtr& trailer, bool bFirst)
{
  if (bFirst)
    m_file.m_trailer = trailer;
  if (!m_file.m_root)
    m_file.m_root = trailer["Root"];
  if (!m_file.m_encrypt)
    m_file.m_encrypt = trailer["Encrypt"];
  if (!m_file.m_info)
    m_file.m_info = trailer["Info"];
  TakeId(trailer, bFirst);
}

void CFileLoader::TakeId(const CObjectPtr& trailer, bool bFirst)
{
  const CObjectPtr id = trailer["ID"];
  if (id.GetSize() != 2)
    return;
  const CString first = id[0].GetStringValue();
  const CString second = id[1].GetStringValue();
  if (bFirst || m_file.m_id1.IsEmpty())
  {
    m_file.m_id1 = first;
    m_file.m_id2 = second;
  }
  else if (m_nLinearizedLength > 0 && !(m_file.m_id1 == first && m_file.m_id2 == second))
    BSE::ReportError(&m_file, g_nOtherIds);
}

void CFileLoader::AddSection(std::int64_t nPos, CIndirectObject* pStream, bool bHybrid, bool bHidden)
{
  m_sections.Add({nPos, pStream ? m_streams.GetSize() : -1, bHybrid, bHidden});
  if (pStream)
    m_streams.Add(pStream);
}

void CFileLoader::AddHidden(std::int64_t nPos)
{
  CObjectPtr trailer;
  BSE::CObjectPtr<CIndirectObject> stream;
  const TOutcome nOutcome = ReadTrailerAt(nPos, trailer, stream);
  if (nOutcome == eMalformed || !stream)
  {
    BSE::ReportError(&m_file, g_nBadStream);
    return;
  }
  AddSection(nPos, stream.Get(), false, true);
  if (m_file.m_nXRefForm == eXRefTable)
    m_file.m_nXRefForm = eXRefHybrid;
}

bool CFileLoader::ReadChain(std::int64_t nStartXRef)
{
  BSE::CValueKeyPtrMap<std::int64_t, void> visited;
  std::int64_t nPos = nStartXRef;
  for (bool bFirst = true;; bFirst = false)
  {
    if (visited.Contains(nPos) || m_sections.GetSize() >= BSE::g_nMaxXRefSections)
      return true;
    visited.SetAt(nPos, nullptr);
    CObjectPtr trailer;
    BSE::CObjectPtr<CIndirectObject> stream;
    const TOutcome nOutcome = ReadTrailerAt(nPos, trailer, stream);
    if (nOutcome == eLoop)
      return true;
    if (nOutcome != eRead)
    {
      BSE::ReportError(&m_file, nOutcome == eMalformed ? g_nBadTable : g_nNoTrailer);
      return false;
    }
    TakeTrailer(trailer, bFirst);
    const std::int64_t nHidden = stream ? 0 : GetIntegerOr(trailer["XRefStm"], 0);
    AddSection(nPos, stream.Get(), nHidden > 0, false);
    if (stream)
    {
      if (m_file.m_nXRefForm == eXRefUnknown)
      {
        m_file.m_nXRefForm = eXRefStream;
        m_file.m_bWantObjectStreams = true;
      }
    }
    else if (m_file.m_nXRefForm == eXRefUnknown)
      m_file.m_nXRefForm = eXRefTable;
    if (nHidden > 0)
      AddHidden(nHidden);
    nPos = trailer["Prev"].IsNumber() ? trailer["Prev"].GetIntegerValue() : -1;
    if (nPos < 0)
      return true;
  }
}

bool CFileLoader::Merge()
{
  for (int i = m_sections.GetSize() - 1; i >= 0; --i)
  {
    const TSection& section = m_sections[i];
    const bool bLast = i >= m_sections.GetSize() - 2;
    const bool bGood = section.m_nStream >= 0 ? MergeStream(section) : MergeTable(section, bLast);
    if (!bGood)
    {
      BSE::ReportError(&m_file, g_nBadTable);
      return false;
    }
  }
  return true;
}

bool CFileLoader::MergeTable(const TSection& section, bool bLast)
{
  CParser& parser = *m_file.m_pParser;
  CScanner& scanner = parser.GetScanner();
  if (section.m_nPos != 0 && !parser.SeekTo(section.m_nPos))
    return false;
  scanner.ReadToken();
  if (scanner.GetToken() != eTokenXRef)
    return false;
  const std::int64_t nEntries = scanner.Tell();
  bool bSplit = false;
  if (!parser.ParseXRefTable(m_file.m_xref, section.m_bHybrid, bSplit) &&
      !(scanner.Seek(nEntries) && parser.ParseXRefTokens(m_file.m_xref, section.m_bHybrid, bSplit)))
    return false;
  const BSE::CBasicArray<std::int64_t>& revisions = m_file.m_revisions;
  const bool bPhysicallyFirst =
      revisions.GetSize() > 1 &&
      section.m_nPos < *std::min_element(revisions.GetSpan().begin(), revisions.GetSpan().end());
  if (bSplit && bLast && bPhysicallyFirst)
    m_file.m_bSplitXRef = true;
  return true;
}

bool CFileLoader::MergeStream(const TSection& section)
{
  CIndirectObject* pStream = m_streams[section.m_nStream];
  if (m_file.m_conformance.GetPart() == 1)
    BSE::ReportError(&m_file, g_nXRefStreamUsed);
  if (!ReadXRefStream(*pStream, m_file.m_xref))
    return false;
  const int nNumber = pStream->GetObjNumber();
  const TXRefEntry& entry = m_file.m_xref.GetEntry(nNumber);
  // Many writers leave the stream's own entry out.
  if (entry.m_nType == eXRefInUse && entry.m_nOffset != section.m_nPos)
    BSE::ReportError(&m_file, BSE::MakeError(g_nWrongStreamOffset, "Object No.", nNumber));
  if (m_numbers.Find(nNumber) != m_numbers.GetSize())
    BSE::ReportError(&m_file, BSE::MakeError(g_nBadStream, "Object No.", nNumber));
  else
    m_numbers.Add(nNumber);
  return true;
}

}  // namespace PDF
