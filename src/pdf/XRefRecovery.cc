// The scan takes the file as a string of tokens and believes what is where, not what any table says: "n g
// obj" is an object, and of two with one number the later is the newer. Data of streams are passed over by
// looking for their end, so that what they hold is never taken for objects. A first scan makes the table
// anew; a second one, for a file that is open, only collects objects that are not where their entries say,
// and, if the table is not whole, the members of object streams that it calls free. Trailers and the heads of
// streams are noted as positions, and read after the scan has ended: to load anything meanwhile would move
// the reader that scans. Object streams are opened last, since they may need the password, and give their
// members where no plain object is newer.

#include "pdf/XRefRecovery.h"

#include "base/ErrorHandler.h"
#include "base/Limits.h"
#include "base/ScopedValue.h"
#include "base/Tracer.h"
#include "pdf/ObjectStream.h"
#include "pdf/Parser.h"
#include "pdf/StatusCodes.h"

namespace PDF
{

namespace
{

constexpr int g_nMaxGeneration = 65535;

}  // namespace

bool CXRefRecovery::Run(bool bSecondary)
{
  m_bSecondary = bSecondary;
  BSE::CTracer::Trace("E", "PDF File", "Recover XRef table.");
  m_state.m_bRecoveryDone = true;
  CScanner& scanner = m_state.m_pParser->GetScanner();
  TScannerState state;
  scanner.SaveContext(state);
  if (!bSecondary)
  {
    m_state.m_bOpened = false;
    m_state.DropTrailer();
    m_reader.ForgetObjects();
    m_state.m_bXRefIncomplete = true;
    m_state.m_nHeaderOffset = 0;
    m_state.m_pParser->SetHeaderOffset(0);
  }
  m_state.m_scanned.RemoveAll();
  scanner.RecordPositions(true);
  scanner.StopStringsAtEndObj(true);
  Scan();
  scanner.StopStringsAtEndObj(false);
  scanner.RecordPositions(false);
  if (!bSecondary || m_state.m_bXRefIncomplete)
  {
    ReadStreamObjects();
    m_file.NotifyXRefChanged();
  }
  scanner.RestoreContext(state);
  if (bSecondary)
    return true;
  m_state.m_bOpened = true;
  const int nRoot = m_state.m_root.GetObjNumber();
  if (m_bTrailerFound && nRoot > 0 && nRoot <= m_state.m_xref.GetSize())
    return true;
  m_state.m_bOpened = false;
  BSE::ReportError(&m_file, m_bTrailerFound ? g_nNoRoot : g_nNoTrailer);
  return false;
}

void CXRefRecovery::Scan()
{
  CParser& parser = *m_state.m_pParser;
  CScanner& scanner = parser.GetScanner();
  const BSE::CScopedValue noLoads(m_state.m_bScanning, true);
  // Stray text between objects is nothing to report: the scan meets every byte of the file.
  const BSE::CErrorSuppressor quiet(m_file.OnGetErrorHandler());
  scanner.SeekBegin();
  TNumber first;
  TNumber second;
  const std::int64_t nHeaderOffset = m_state.m_nHeaderOffset;
  while (scanner.ReadToken() && scanner.GetToken() != eTokenEnd)
  {
    switch (scanner.GetToken())
    {
    case eTokenInteger:
      first = second;
      second = {scanner.GetInteger(), scanner.GetTokenPos()};
      continue;
    case eTokenObj:
      if (first.m_nValue >= 1 && first.m_nValue <= BSE::g_nMaxObjNumber && second.m_nValue >= 0 &&
          second.m_nValue <= g_nMaxGeneration)
        EnterObject(static_cast<int>(first.m_nValue), static_cast<int>(second.m_nValue),
                    first.m_nPos - nHeaderOffset);
      break;
    case eTokenStream:
      if (m_nLastPos >= 0 && (!m_bSecondary || m_state.m_bXRefIncomplete))
        m_streams.Add({m_nLastObject, m_nLastPos});
      m_nLastPos = -1;
      scanner.SkipStreamEol();
      scanner.FindEndStream();
      break;
    case eTokenTrailer:
    {
      parser.BeginValue();
      const CObjectPtr trailer = parser.ParseValue();
      m_state.NoteTrailer(trailer, parser.IsCut() && !m_bSecondary);
      if (trailer.GetType() == eDictionary && !m_bSecondary)
      {
        TakeTrailer(trailer);
        m_bTrailerFound = true;
      }
      // The token after the dictionary may begin an object.
      scanner.Seek(scanner.GetTokenPos());
      break;
    }
    default:
      break;
    }
    first = second = TNumber();
  }
}

void CXRefRecovery::EnterObject(int nObjNumber, int nGenNumber, std::int64_t nPos)
{
  m_nLastObject = nObjNumber;
  m_nLastPos = nPos;
  if (!m_bSecondary)
  {
    m_state.m_xref.SetOffset(nObjNumber, nGenNumber, nPos);
    return;
  }
  const TXRefEntry& entry = m_state.m_xref.GetEntry(nObjNumber);
  if (entry.m_nType == eXRefInUse && entry.m_nOffset == nPos)
    return;
  if (entry.m_nType == eXRefCompressed || !IsKnownGood(nObjNumber))
    m_state.m_scanned.SetOffset(nObjNumber, nGenNumber, nPos);
}

bool CXRefRecovery::IsKnownGood(int nObjNumber)
{
  const TXRefEntry& entry = m_state.m_xref.GetEntry(nObjNumber);
  if (entry.m_nType != eXRefInUse)
    return false;
  signed char& nVerdict = m_verdicts.Provide(nObjNumber);
  if (nVerdict == 0)
  {
    CScanner& scanner = m_state.m_pParser->GetScanner();
    TScannerState state;
    scanner.SaveContext(state);
    const bool bGood = m_state.m_pParser->IsObjectAt(nObjNumber, entry.m_nOffset);
    scanner.RestoreContext(state);
    nVerdict = bGood ? 1 : -1;
  }
  return nVerdict > 0;
}

void CXRefRecovery::TakeTrailer(const CObjectPtr& trailer)
{
  m_state.m_trailer = trailer;
  if (CObjectPtr root = trailer["Root"])
    m_state.m_root = root;
  if (CObjectPtr encrypt = trailer["Encrypt"])
    m_state.m_encrypt = encrypt;
  if (CObjectPtr info = trailer["Info"])
    m_state.m_info = info;
  if (CObjectPtr id = trailer["ID"])
    m_state.m_id = id;
}

void CXRefRecovery::ReadStreamObjects()
{
  BSE::CBasicArray<int> holders;
  {
    const BSE::CErrorSuppressor quiet(m_file.OnGetErrorHandler());
    for (const TStreamObject& stream : m_streams.GetSpan())
    {
      if (m_state.m_xref.GetEntry(stream.m_nObjNumber).m_nOffset != stream.m_nPos &&
          m_state.m_scanned.GetEntry(stream.m_nObjNumber).m_nOffset != stream.m_nPos)
        continue;
      const CObjectPtr object = m_state.m_xref.GetObject(stream.m_nObjNumber, -1);
      const CObjectPtr type = object["Type"];
      if (type.IsName("ObjStm"))
        holders.Add(stream.m_nObjNumber);
      else if (type.IsName("XRef") && object["Root"])
      {
        m_xrefTrailer = object.GetValueObject();
        m_state.NoteTrailer(m_xrefTrailer, m_file.GetDamage(stream.m_nObjNumber) != 0);
      }
    }
  }
  if (!m_bSecondary && !m_bTrailerFound && m_xrefTrailer)
  {
    TakeTrailer(m_xrefTrailer);
    m_bTrailerFound = true;
  }
  m_state.m_bHoldersBeside = m_bSecondary;
  if (m_state.m_encrypt && !m_state.m_pSecurity)
    m_state.m_recoveredHolders = holders;
  else
    m_reader.EnterRecoveredHolders(holders, m_bSecondary);
  // What was met while entries were missing is met again.
  if (!m_bSecondary)
    m_state.m_damage.RemoveAll();
}

}  // namespace PDF
