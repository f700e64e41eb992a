// Every update of a file appends a section of cross-references whose Prev names the one before; a linearized
// file adds one for its first page, a hybrid revision a stream in addition to its table. Walking the chain
// meets the newest first, but an entry of a newer section must win, so the sections are only collected on the
// way and entered from the oldest to the newest. The trailer of the newest counts, completed by what only
// older ones have. The chain is the file's word: a position met twice ends it, and the bytes and entries of
// all sections together may not exceed what the file's length can justify. Where a section is missing,
// entries of the newest revision may be among what is lost, so that the file is scanned.

#include "pdf/FileLoader.h"

#include "base/ErrorHandler.h"
#include "base/Limits.h"
#include "base/ScopedValue.h"
#include "pdf/Parser.h"
#include "pdf/StatusCodes.h"
#include "pdf/XRefStreamReader.h"

#include <algorithm>

namespace PDF
{

namespace
{

// A section is read for its trailer, then for its entries, and perhaps once more in another way.
constexpr std::int64_t g_nMaxReadings = 8;
constexpr std::int64_t g_nFreeBytes = 1 << 20;

// Sections that are found through references, which nobody writes more than once or twice.
constexpr int g_nMaxReferences = 8;

}  // namespace

CFileLoader::CFileLoader(CFile& file, TFileState& state)
    : m_file(file), m_state(state), m_nBytesLeft(g_nFreeBytes + g_nMaxReadings * state.m_pInput->GetLength())
{
}

void CFileLoader::TestLinearized()
{
  const BSE::CScopedValue noLoads(m_state.m_bScanning, true);
  const BSE::CErrorSuppressor quiet(m_file.OnGetErrorHandler());
  CParser& parser = *m_state.m_pParser;
  BSE::CObjectPtr<CIndirectObject> pObject(new CIndirectObject(nullptr, 0, -1, 0));
  if (!parser.ParseIndirectObject(pObject.Get(), parser.Tell()))
    return;
  const CObjectPtr value = pObject->GetValueObject();
  if (!value.IsDictionary() || value["Linearized"].GetRealValue() < 1.0)
    return;
  const std::int64_t nLength = GetIntegerOr(value["L"], -1);
  m_nLinearizedLength = nLength == m_state.m_pInput->GetLength() ? nLength : 0;
  if (m_nLinearizedLength > 0)
    m_state.m_linearized = value;
}

bool CFileLoader::IsTrailer(const CObjectPtr& trailer) const
{
  if (!trailer.IsDictionary())
    return false;
  // The main section of a linearized file names no root: its first-page section does.
  const CObjectPtr size = trailer["Size"];
  const CObjectPtr prev = trailer["Prev"];
  return trailer["Root"] || size.IsIndirect() || size.IsInteger() || prev.IsIndirect() || prev.IsInteger();
}

bool CFileLoader::NoteRevisionEnd()
{
  CScanner& scanner = m_state.m_pParser->GetScanner();
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
  if (m_state.m_revisions.Find(nEnd) != m_state.m_revisions.GetSize())
    return false;
  m_state.m_revisions.Add(nEnd);
  return true;
}

CFileLoader::TOutcome CFileLoader::ReadTrailerAt(std::int64_t nPos, CObjectPtr& trailer,
                                                 BSE::CObjectPtr<CIndirectObject>& stream)
{
  CParser& parser = *m_state.m_pParser;
  CScanner& scanner = parser.GetScanner();
  if (nPos != 0 && !parser.SeekTo(nPos))
    return eMalformed;
  const std::int64_t nStart = parser.Tell();
  scanner.ReadToken();
  if (scanner.GetToken() == eTokenXRef)
  {
    if (scanner.FindForward("trailer") < 0 || !TakeBytes(nStart))
      return eNoTrailer;
    parser.BeginValue();
    trailer = parser.ParseValue();
    m_state.NoteTrailer(trailer, parser.IsCut());
    if (!trailer.IsDictionary() || trailer.IsIndirect())
      return eNoTrailer;
  }
  else if (scanner.GetToken() == eTokenInteger)
  {
    stream = new CIndirectObject(nullptr, 0, -1, 0);
    if (!parser.ParseIndirectObject(stream.Get(), nStart) || !stream->IsStream() || !TakeBytes(nStart))
      return eMalformed;
    trailer = stream->GetValueObject();
    m_state.NoteTrailer(trailer, parser.IsCut());
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
    m_state.m_trailer = trailer;
  if (!m_state.m_root)
    m_state.m_root = trailer["Root"];
  if (!m_state.m_encrypt)
    m_state.m_encrypt = trailer["Encrypt"];
  if (!m_state.m_info)
    m_state.m_info = trailer["Info"];
  TakeId(trailer, bFirst);
}

void CFileLoader::TakeId(const CObjectPtr& trailer, bool bFirst)
{
  const CObjectPtr id = trailer["ID"];
  if (!m_state.m_id && m_state.m_id1.IsEmpty() &&
      (id.IsIndirect() || id[0].IsIndirect() || id[1].IsIndirect()))
    m_state.m_id = id;
  // The first part alone is against the rules, but keys are made of it.
  if (!id.IsArray() || !id[0].IsString())
    return;
  const CString first = id[0].GetStringValue();
  const CString second = id[1].IsString() ? id[1].GetStringValue() : first;
  if (bFirst || m_state.m_id1.IsEmpty())
  {
    m_state.m_id1 = first;
    m_state.m_id2 = second;
  }
  else if (m_nLinearizedLength > 0 && !(m_state.m_id1 == first && m_state.m_id2 == second))
    BSE::ReportError(&m_file, g_nOtherIds);
}

void CFileLoader::InsertSection(int nIndex, std::int64_t nPos, CIndirectObject* pStream, bool bHidden)
{
  m_sections.InsertAt(nIndex, {nPos, pStream ? m_streams.GetSize() : -1, bHidden});
  if (pStream)
  {
    m_streams.Add(pStream);
    m_state.m_xrefStreams.Add(nPos);
  }
}

bool CFileLoader::TakeBytes(std::int64_t nStart)
{
  m_nBytesLeft -= std::max<std::int64_t>(m_state.m_pParser->Tell() - nStart, 0);
  return m_nBytesLeft >= 0;
}

void CFileLoader::AddHidden(int nTable, const CObjectPtr& place)
{
  if (place.IsIndirect() && m_state.m_bScanning)
  {
    m_hiddenPlaces.Add(place.Get());
    m_hiddenTables.Add(m_sections[nTable].m_nPos);
    return;
  }
  const std::int64_t nPos = GetIntegerOr(place, 0);
  m_state.m_bXRefIncomplete = m_state.m_bXRefIncomplete || (place && nPos <= 0);
  // Of a stream that several revisions name, the newest one counts.
  if (nPos <= 0 || m_visited.Contains(nPos))
    return;
  m_visited.SetAt(nPos, nullptr);
  const BSE::CScopedValue noLoads(m_state.m_bScanning, true);
  CObjectPtr trailer;
  BSE::CObjectPtr<CIndirectObject> stream;
  const TOutcome nOutcome = ReadTrailerAt(nPos, trailer, stream);
  if (nOutcome == eMalformed || !stream)
  {
    // What it lists reads as free from now on.
    m_state.m_bXRefIncomplete = true;
    BSE::ReportError(&m_file, g_nBadStream);
    return;
  }
  InsertSection(nTable + 1, nPos, stream.Get(), true);
  if (m_state.m_nXRefForm == eXRefTable)
    m_state.m_nXRefForm = eXRefHybrid;
}

bool CFileLoader::Read(std::int64_t nStartXRef)
{
  if (!ReadChain(nStartXRef) || !Merge())
    return false;
  for (int i = 0; m_prev || m_hiddenPlaces.GetSize() > 0; ++i)
  {
    if (i >= g_nMaxReferences)
      return false;
    if (!FollowReferences() || !Merge())
      return false;
  }
  return true;
}

bool CFileLoader::FollowReferences()
{
  const BSE::CObjectArray<CObject> places(std::move(m_hiddenPlaces));
  const BSE::CBasicArray<std::int64_t> tables(std::move(m_hiddenTables));
  for (int i = 0; i < places.GetSize(); ++i)
  {
    const std::span<TSection> sections = m_sections.GetSpan();
    const auto pTable = std::ranges::find_if(
        sections, [&](const TSection& s) { return s.m_nPos == tables[i] && !s.m_bHidden; });
    if (pTable != sections.end())
      AddHidden(static_cast<int>(pTable - sections.begin()), places[i]);
  }
  const CObjectPtr prev = std::exchange(m_prev, CObjectPtr());
  return !prev || (prev.IsNumber() && ReadChain(prev.GetIntegerValue()));
}

bool CFileLoader::ReadChain(std::int64_t nPos)
{
  const BSE::CScopedValue noLoads(m_state.m_bScanning, true);
  for (;;)
  {
    if (m_visited.Contains(nPos))
      return true;
    if (m_sections.GetSize() >= BSE::g_nMaxXRefSections)
    {
      BSE::ReportError(&m_file, g_nBadTable);
      return false;
    }
    const bool bFirst = m_sections.IsEmpty();
    m_visited.SetAt(nPos, nullptr);
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
    InsertSection(m_sections.GetSize(), nPos, stream.Get(), false);
    if (m_state.m_nXRefForm == eXRefUnknown)
    {
      m_state.m_nXRefForm = stream ? eXRefStream : eXRefTable;
      m_state.m_bWantObjectStreams = static_cast<bool>(stream);
    }
    if (!stream)
      AddHidden(m_sections.GetSize() - 1, trailer["XRefStm"]);
    const CObjectPtr prev = trailer["Prev"];
    if (prev.IsIndirect())
      m_prev = prev;
    nPos = prev.IsNumber() ? prev.GetIntegerValue() : -1;
    if (nPos < 0)
      return true;
  }
}

bool CFileLoader::Merge()
{
  const BSE::CScopedValue noLoads(m_state.m_bScanning, true);
  CXRefSink sink(m_state.m_xref, m_state.m_pInput->GetLength());
  m_numbers.RemoveAll();
  for (int i = m_sections.GetSize() - 1; i >= 0; --i)
  {
    const TSection& section = m_sections[i];
    const bool bLast = i >= m_sections.GetSize() - 2;
    const bool bGood = section.m_nStream >= 0 ? MergeStream(section, sink) : MergeTable(section, sink, bLast);
    if (!bGood)
    {
      BSE::ReportError(&m_file, g_nBadTable);
      return false;
    }
  }
  return true;
}

bool CFileLoader::MergeTable(const TSection& section, CXRefSink& sink, bool bLast)
{
  CParser& parser = *m_state.m_pParser;
  CScanner& scanner = parser.GetScanner();
  if (section.m_nPos != 0 && !parser.SeekTo(section.m_nPos))
    return false;
  scanner.ReadToken();
  if (scanner.GetToken() != eTokenXRef)
    return false;
  const std::int64_t nEntries = scanner.Tell();
  bool bSplit = false;
  const bool bRead =
      parser.ParseXRefTable(sink, bSplit) ||
      (TakeBytes(section.m_nPos) && scanner.Seek(nEntries) && parser.ParseXRefTokens(sink, bSplit));
  sink.ForgetHidden();
  if (!TakeBytes(section.m_nPos) || !bRead)
    return false;
  const BSE::CBasicArray<std::int64_t>& revisions = m_state.m_revisions;
  const bool bPhysicallyFirst =
      revisions.GetSize() > 1 &&
      section.m_nPos < *std::min_element(revisions.GetSpan().begin(), revisions.GetSpan().end());
  if (bSplit && bLast && bPhysicallyFirst)
    m_state.m_bSplitXRef = true;
  return true;
}

bool CFileLoader::MergeStream(const TSection& section, CXRefSink& sink)
{
  CIndirectObject* pStream = m_streams[section.m_nStream];
  if (m_state.m_conformance.GetPart() == 1)
    BSE::ReportError(&m_file, g_nXRefStreamUsed);
  if (section.m_bHidden)
    sink.BeginHidden();
  const TXRefOutcome nOutcome = ReadXRefStream(*pStream, sink);
  sink.EndHidden();
  if (nOutcome == eXRefBroken && (!section.m_bHidden || sink.IsExhausted()))
    return false;
  if (nOutcome != eXRefWhole)
    m_state.m_bXRefIncomplete = true;
  const int nNumber = pStream->GetObjNumber();
  const TXRefEntry& entry = m_state.m_xref.GetEntry(nNumber);
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
